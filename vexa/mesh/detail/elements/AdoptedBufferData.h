#pragma once

#include "vexa/mesh/detail/BufferData.h"

#include <cstddef>
#include <memory>
#include <span>

namespace vexa::mesh::detail {

/// Bytes that the program owns.
class AdoptedBufferData : public BufferData {
public:
    /// \param owner released with the storage; may be empty
    AdoptedBufferData(std::span<std::byte> bytes, std::shared_ptr<const void> owner);

    void* getData() override;
    const void* getData() const override;
    unsigned long getSizeInBytes() const override;
    /// \throw std::length_error the size is another one; nothing is changed
    void resize(unsigned long sizeInBytes) override;

private:
    std::span<std::byte> bytes_;
    std::shared_ptr<const void> owner_;
};

} // namespace vexa::mesh::detail
