#pragma once

#include "vexa/mesh/detail/BufferData.h"

#include <vector>

namespace vexa::mesh::detail {

/// Bytes held in a vector; empty at first. getData() is null until something is allocated.
class VEXA_MESH_EXPORT VectorBufferData : public BufferData {
public:
    void* getData() override;
    const void* getData() const override;
    unsigned long getSizeInBytes() const override;
    void resize(unsigned long sizeInBytes) override;

    /// Makes room for further bytes, as much as growing by them would.
    ///
    /// \throw std::length_error, std::bad_alloc nothing is changed
    void reserveFurther(unsigned long sizeInBytes);

    /// Grows by a copy of bytes, without writing zeros first.
    ///
    /// \param bytes       not of this block; may be null when there are none
    /// \param sizeInBytes how many
    /// \throw std::length_error, std::bad_alloc nothing is changed; not when there is room for them
    void append(const unsigned char* bytes, unsigned long sizeInBytes);

    /// Replaces all bytes by a copy of others, without writing zeros first.
    ///
    /// \param bytes       not of this block; may be null when there are none
    /// \param sizeInBytes how many
    /// \throw std::length_error, std::bad_alloc nothing is changed
    void assign(const unsigned char* bytes, unsigned long sizeInBytes);

private:
    std::vector<unsigned char> bytes_;
};

} // namespace vexa::mesh::detail
