#include "vexa/mesh/detail/strips/DenseIndices.h"

#include <algorithm>

namespace vexa::mesh::detail {

namespace {

/// Number of vertices up to the largest index; 0 when there are too few indices for that many vertices.
std::uint32_t denseVertexCount(std::span<const unsigned int> indices) {
    if (indices.empty()) {
        return 0;
    }
    const std::uint32_t largest = *std::max_element(indices.begin(), indices.end());
    return largest / 4 > indices.size() ? 0 : largest + 1;
}

std::vector<unsigned int> closeGaps(std::span<const unsigned int> indices, std::uint32_t& vertexCount) {
    std::vector<unsigned int> vertices(indices.begin(), indices.end());
    std::sort(vertices.begin(), vertices.end());
    vertices.erase(std::unique(vertices.begin(), vertices.end()), vertices.end());
    vertexCount = static_cast<std::uint32_t>(vertices.size());
    std::vector<unsigned int> dense(indices.size());
    std::transform(indices.begin(), indices.end(), dense.begin(), [&](unsigned int vertex) {
        return static_cast<unsigned int>(std::lower_bound(vertices.begin(), vertices.end(), vertex) - vertices.begin());
    });
    return dense;
}

} // namespace

DenseIndices::DenseIndices(std::span<const unsigned int> indices)
    : vertexCount_(denseVertexCount(indices)), indices_(indices) {
    if (vertexCount_ == 0) {
        dense_ = closeGaps(indices, vertexCount_);
        indices_ = dense_;
    }
}

} // namespace vexa::mesh::detail
