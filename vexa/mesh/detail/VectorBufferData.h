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

private:
    std::vector<unsigned char> bytes_;
};

} // namespace vexa::mesh::detail
