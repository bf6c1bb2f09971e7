#pragma once

#include <cstdint>
#include <span>
#include <vector>

namespace vexa::mesh::detail {

/// An index list over vertices without large gaps, for tables with an entry a vertex: the list itself if its vertices
/// are dense enough, else a copy with the vertices numbered in the same order.
class DenseIndices {
public:
    /// \param indices must outlive the object
    explicit DenseIndices(std::span<const unsigned int> indices);
    DenseIndices(const DenseIndices&) = delete;
    DenseIndices& operator=(const DenseIndices&) = delete;

    [[nodiscard]] std::span<const unsigned int> indices() const { return indices_; }
    [[nodiscard]] std::uint32_t vertexCount() const { return vertexCount_; }

private:
    std::uint32_t vertexCount_;
    std::vector<unsigned int> dense_;
    std::span<const unsigned int> indices_;
};

} // namespace vexa::mesh::detail
