#include "vexa/mesh/detail/strips/DenseIndices.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <numeric>

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

/// A set of vertices, each of which has a rank: the number of lower ones.
class RankedVertices {
public:
    RankedVertices(std::span<const unsigned int> vertices, std::uint32_t largest)
        : blocks_(largest / Block::vertexCount + 1) {
        for (const unsigned int vertex : vertices) {
            wordOf(vertex) |= bitOf(vertex);
        }
        for (Block& block : blocks_) {
            block.rank = count_;
            for (const std::uint64_t word : block.words) {
                count_ += static_cast<std::uint32_t>(std::popcount(word));
            }
        }
    }

    [[nodiscard]] std::uint32_t count() const { return count_; }
    [[nodiscard]] std::uint32_t rank(unsigned int vertex) const {
        const Block& block = blocks_[vertex / Block::vertexCount];
        std::uint32_t rank = block.rank;
        const std::size_t last = vertex % Block::vertexCount / 64;
        for (std::size_t i = 0; i < last; ++i) {
            rank += static_cast<std::uint32_t>(std::popcount(block.words[i]));
        }
        return rank + static_cast<std::uint32_t>(std::popcount(block.words[last] & (bitOf(vertex) - 1)));
    }

private:
    struct Block {
        static constexpr unsigned int vertexCount = 256;
        std::uint64_t words[vertexCount / 64] = {};
        std::uint32_t rank = 0; ///< of its first vertex
    };

    static std::uint64_t bitOf(unsigned int vertex) { return std::uint64_t{1} << vertex % 64; }
    std::uint64_t& wordOf(unsigned int vertex) {
        return blocks_[vertex / Block::vertexCount].words[vertex % Block::vertexCount / 64];
    }

    std::vector<Block> blocks_;
    std::uint32_t count_ = 0;
};

/// An index and its place in the list.
struct PlacedIndex {
    std::uint32_t vertex;
    std::uint32_t place;
};

/// The indices sorted by vertex, digit by digit from the lowest.
std::vector<PlacedIndex> sortByVertex(std::span<const unsigned int> indices) {
    constexpr unsigned int digitBits = 11;
    constexpr std::size_t digits = std::size_t{1} << digitBits;
    std::vector<PlacedIndex> sorted(indices.size());
    std::vector<PlacedIndex> other(indices.size());
    for (std::size_t i = 0; i < indices.size(); ++i) {
        sorted[i] = {indices[i], static_cast<std::uint32_t>(i)};
    }
    for (unsigned int shift = 0; shift < 32; shift += digitBits) {
        const auto digitOf = [shift](const PlacedIndex& index) { return index.vertex >> shift & (digits - 1); };
        std::array<std::uint32_t, digits> next{};
        for (const PlacedIndex& index : sorted) {
            ++next[digitOf(index)];
        }
        std::exclusive_scan(next.begin(), next.end(), next.begin(), std::uint32_t{0});
        for (const PlacedIndex& index : sorted) {
            other[next[digitOf(index)]++] = index;
        }
        sorted.swap(other);
    }
    return sorted;
}

/// The indices with the vertices numbered without gaps, in the same order.
std::vector<unsigned int> closeGaps(std::span<const unsigned int> indices, std::uint32_t& vertexCount) {
    std::vector<unsigned int> dense(indices.size());
    const unsigned int largest = indices.empty() ? 0 : *std::max_element(indices.begin(), indices.end());
    // Up to 255 vertices per triangle, whose bits take less memory than sorting the indices.
    if (largest / 85 <= indices.size()) {
        const RankedVertices vertices(indices, largest);
        std::transform(indices.begin(), indices.end(), dense.begin(),
                       [&](unsigned int vertex) { return vertices.rank(vertex); });
        vertexCount = vertices.count();
        return dense;
    }
    vertexCount = 0;
    std::uint32_t previous = 0;
    for (const PlacedIndex& index : sortByVertex(indices)) {
        if (vertexCount == 0 || index.vertex != previous) {
            previous = index.vertex;
            ++vertexCount;
        }
        dense[index.place] = vertexCount - 1;
    }
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
