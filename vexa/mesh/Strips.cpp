#include "vexa/mesh/Strips.h"

#include "vexa/mesh/detail/EdgePairing.h"
#include "vexa/mesh/detail/FanSearch.h"
#include "vexa/mesh/detail/StripSearch.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <limits>
#include <stdexcept>
#include <string>
#include <utility>

namespace vexa::mesh {

namespace {

using detail::CompactGraph;
using detail::HalfEdgeId;
using detail::TriangleId;

constexpr unsigned int restartIndex = std::numeric_limits<unsigned int>::max();

class SilentObserver final : public detail::SearchObserver {
public:
    void onInvalidTriangle() override {}
    void onPass(std::int32_t, std::int32_t, std::int32_t) override {}
};

void checkTriangles(std::span<const unsigned int> triangles) {
    if (triangles.size() % 3 != 0) {
        throw std::invalid_argument("buildPrimitives: " + std::to_string(triangles.size()) +
                                    " indices are no whole number of triangles");
    }
    const auto found = std::find(triangles.begin(), triangles.end(), restartIndex);
    if (found != triangles.end()) {
        throw std::invalid_argument("buildPrimitives: index " + std::to_string(found - triangles.begin()) +
                                    " is 4294967295, which restarts a primitive and names no vertex");
    }
}

/// Every vertex that has as many triangles as a fan needs, with the first half-edge that starts there.
std::vector<detail::FanCandidate> findCandidates(std::span<const unsigned int> triangles,
                                                 std::uint32_t minFanTriangles) {
    // By vertex and then by place in the list, which is the order in which a graph would have entered them.
    std::vector<std::pair<unsigned int, HalfEdgeId>> starts(triangles.size());
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        starts[i] = {triangles[i],
                     detail::halfEdgeOf(static_cast<TriangleId>(i / 3), static_cast<std::uint32_t>(i % 3))};
    }
    std::sort(starts.begin(), starts.end());
    std::vector<detail::FanCandidate> candidates;
    for (auto first = starts.begin(); first != starts.end();) {
        const auto end =
            std::find_if(first, starts.end(), [first](const auto& start) { return start.first != first->first; });
        const auto size = static_cast<std::uint32_t>(end - first);
        if (size >= minFanTriangles) {
            candidates.push_back({first->first, size, first->second});
        }
        first = end;
    }
    return candidates;
}

/// Writes the index lists of primitives that were found on a compact graph.
class IndexWriter {
public:
    IndexWriter(std::span<const unsigned int> triangles, const CompactGraph& graph)
        : triangles_(triangles), graph_(graph) {}

    [[nodiscard]] IndexedPrimitive fan(HalfEdgeId start) const {
        IndexedPrimitive primitive{TRIANGLE_FAN, {vertexOf(start), vertexOf(detail::nextOf(start))}};
        for (HalfEdgeId spoke = nextSpoke(start); spoke != start; spoke = nextSpoke(spoke)) {
            primitive.indices.push_back(vertexOf(detail::nextOf(spoke)));
        }
        primitive.indices.push_back(vertexOf(detail::nextOf(start)));
        return primitive;
    }

    [[nodiscard]] IndexedPrimitive strip(const detail::StripSet::Strip& strip);

    [[nodiscard]] IndexedPrimitive batch(std::span<const TriangleId> ids) const {
        IndexedPrimitive primitive{TRIANGLES, {}};
        primitive.indices.reserve(3 * ids.size());
        for (const TriangleId id : ids) {
            const auto corners = triangles_.subspan(std::size_t{3} * id, 3);
            primitive.indices.insert(primitive.indices.end(), corners.begin(), corners.end());
        }
        return primitive;
    }

private:
    [[nodiscard]] const unsigned int* cornersOf(TriangleId triangle) const {
        return triangles_.data() + std::size_t{3} * triangle;
    }
    [[nodiscard]] unsigned int vertexOf(HalfEdgeId halfEdge) const {
        return cornersOf(detail::triangleOf(halfEdge))[detail::placeOf(halfEdge)];
    }
    [[nodiscard]] HalfEdgeId nextSpoke(HalfEdgeId spoke) const { return graph_.twin(detail::prevOf(spoke)); }

    std::size_t writeForward(std::span<const detail::StripTriangle> strip, unsigned int* indices) const;
    std::size_t writeByLinks(const detail::StripSet::Strip& strip, unsigned int* indices) const;

    std::span<const unsigned int> triangles_;
    const CompactGraph& graph_;
    std::vector<unsigned int> scratch_; ///< room for the longest strip so far
};

IndexedPrimitive IndexWriter::strip(const detail::StripSet::Strip& strip) {
    // Each triangle adds one index, or two with a swap.
    scratch_.resize(std::max(scratch_.size(), 2 * strip.triangles.size() + 3));
    const std::size_t count = strip.isReversed || strip.isIrregular ? writeByLinks(strip, scratch_.data())
                                                                    : writeForward(strip.triangles, scratch_.data());
    return {TRIANGLE_STRIP, {scratch_.data(), scratch_.data() + count}};
}

/// Writes a strip as it grew, which needs no more than the corners of its triangles.
std::size_t IndexWriter::writeForward(std::span<const detail::StripTriangle> strip, unsigned int* indices) const {
    constexpr std::size_t ahead = detail::StripSet::lookAhead / 2;
    const unsigned int* corners = cornersOf(detail::triangleOf(strip[0]));
    const std::uint32_t exit = detail::placeOf(strip[0]);
    // The edge from `from` to `to` is the one that the strip leaves the newest triangle by.
    unsigned int from = corners[exit];
    unsigned int to = corners[(exit + 1) % 3];
    indices[0] = corners[(exit + 2) % 3];
    indices[1] = from;
    indices[2] = to;
    std::size_t count = 3;
    bool isOdd = true;
    for (std::size_t i = 1; i < strip.size(); ++i) {
        __builtin_prefetch(cornersOf(detail::triangleOf(strip.data()[i + ahead])));
        corners = cornersOf(detail::triangleOf(strip[i]));
        const unsigned int apex = corners[0] ^ corners[1] ^ corners[2] ^ from ^ to;
        indices[count++] = apex;
        if (i + 1 == strip.size()) {
            break;
        }
        const bool isBefore = detail::placeOf(strip[i]) == detail::leavesBefore;
        const bool isSwap = isOdd != isBefore;
        // A swap: the newest vertex is put in again behind the other one, in a degenerate triangle.
        indices[count] = apex;
        indices[count - 1] = !isSwap ? apex : isOdd ? from : to;
        count += isSwap ? 1 : 0;
        isOdd ^= !isSwap;
        (isBefore ? from : to) = apex;
    }
    return count;
}

/// Writes a strip by way of the links between its triangles, in either direction.
std::size_t IndexWriter::writeByLinks(const detail::StripSet::Strip& strip, unsigned int* indices) const {
    const std::size_t size = strip.triangles.size();
    const auto at = [&](std::size_t i) {
        return detail::triangleOf(strip.triangles[strip.isReversed ? size - 1 - i : i]);
    };
    HalfEdgeId exit = size > 1 ? graph_.findExit(at(0), at(1)) : detail::halfEdgeOf(at(0), 1);
    indices[0] = vertexOf(detail::prevOf(exit));
    indices[1] = vertexOf(exit);
    indices[2] = vertexOf(detail::nextOf(exit));
    std::size_t count = 3;
    bool isOdd = true;
    for (std::size_t i = 1; i < size; ++i) {
        const HalfEdgeId entering = graph_.twin(exit);
        indices[count++] = vertexOf(detail::prevOf(entering));
        if (i + 1 == size) {
            break;
        }
        exit = graph_.findExit(at(i), at(i + 1));
        if (exit == (isOdd ? detail::prevOf(entering) : detail::nextOf(entering))) {
            isOdd = !isOdd;
        } else {
            indices[count - 1] = vertexOf(isOdd ? exit : detail::nextOf(exit));
            indices[count++] = vertexOf(isOdd ? detail::nextOf(exit) : exit);
        }
    }
    return count;
}

/// Appends a strip such that it begins at an even position: from an odd one, each of its triangles would turn round.
void joinDegenerate(std::vector<unsigned int>& joined, const std::vector<unsigned int>& strip) {
    if (!joined.empty()) {
        if (joined.back() != strip.front()) {
            joined.insert(joined.end(), {joined.back(), strip.front()});
        }
        if (joined.size() % 2 != 0) {
            joined.push_back(strip.front());
        }
    }
    joined.insert(joined.end(), strip.begin(), strip.end());
}

void joinRestart(std::vector<unsigned int>& joined, const std::vector<unsigned int>& strip) {
    if (!joined.empty()) {
        joined.push_back(restartIndex);
    }
    joined.insert(joined.end(), strip.begin(), strip.end());
}

/// The triangles of a list without restart indices.
void decode(PrimitiveType type, std::span<const unsigned int> indices, std::vector<unsigned int>& triangles) {
    const std::size_t step = type == TRIANGLES ? 3 : 1;
    for (std::size_t i = 0; i + 2 < indices.size(); i += step) {
        const unsigned int first = type == TRIANGLE_FAN ? indices[0] : indices[i];
        unsigned int second = indices[i + 1];
        unsigned int third = indices[i + 2];
        if (first == second || second == third || third == first) {
            continue;
        }
        if (type == TRIANGLE_STRIP && i % 2 != 0) {
            std::swap(second, third);
        }
        triangles.insert(triangles.end(), {first, second, third});
    }
}

/// The whole triangles of a list, each from its smallest corner, in ascending order.
std::vector<std::array<unsigned int, 3>> canonical(std::span<const unsigned int> indices) {
    std::vector<std::array<unsigned int, 3>> triangles(indices.size() / 3);
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        auto& triangle = triangles[i];
        std::copy_n(indices.begin() + static_cast<std::ptrdiff_t>(3 * i), 3, triangle.begin());
        // With a smallest corner that stands twice, the smallest of the three rotations is the one that counts.
        auto rotated = triangle;
        for (int turn = 0; turn < 2; ++turn) {
            std::rotate(rotated.begin(), rotated.begin() + 1, rotated.end());
            triangle = std::min(triangle, rotated);
        }
    }
    std::sort(triangles.begin(), triangles.end());
    return triangles;
}

} // namespace

std::vector<IndexedPrimitive> buildPrimitives(std::span<const unsigned int> triangles, const StripOptions& options) {
    checkTriangles(triangles);
    CompactGraph graph = detail::pairEdges(triangles);
    detail::FanSet fans;
    if (options.buildFans) {
        fans = detail::cutFans(graph, findCandidates(triangles, options.minFanTriangles));
    }
    detail::StripSet strips;
    if (options.buildStrips && options.iterations != 0) {
        detail::OwnRandom random;
        SilentObserver observer;
        strips = detail::searchStrips(graph, {options.iterations, options.allStrips, graph.count(), fans.cost}, random,
                                      observer);
    } else {
        strips = detail::leaveAll(graph);
    }

    // The newest come first; they are written in the order in which they were found, which is the one in memory.
    const bool hasBatch = !options.allStrips && !strips.leftOver.empty();
    std::vector<IndexedPrimitive> primitives(fans.fans.size() + strips.size() + (hasBatch ? 1 : 0));
    IndexWriter writer(triangles, graph);
    auto primitive = primitives.begin() + static_cast<std::ptrdiff_t>(fans.fans.size());
    for (const detail::FanSet::Fan& fan : fans.fans) {
        *--primitive = writer.fan(fan.start);
    }
    primitive = primitives.begin() + static_cast<std::ptrdiff_t>(fans.fans.size() + strips.size());
    for (std::size_t i = 0; i < strips.size(); ++i) {
        *--primitive = writer.strip(strips[i]);
    }
    if (hasBatch) {
        primitives.back() = writer.batch(strips.leftOver);
    }
    return primitives;
}

std::vector<unsigned int> joinStrips(std::span<const IndexedPrimitive> strips, StripJoin join) {
    std::size_t size = 0;
    for (const IndexedPrimitive& strip : strips) {
        if (strip.type != TRIANGLE_STRIP) {
            throw std::invalid_argument("joinStrips: primitive " + std::to_string(&strip - strips.data()) +
                                        " is of type " + getStringForPrimitiveType(strip.type) + ", no TRIANGLE_STRIP");
        }
        size += strip.indices.size() + 3;
    }
    std::vector<unsigned int> joined;
    joined.reserve(size);
    for (const IndexedPrimitive& strip : strips) {
        if (strip.indices.size() >= 3) {
            (join == StripJoin::Degenerate ? joinDegenerate : joinRestart)(joined, strip.indices);
        }
    }
    return joined;
}

std::vector<unsigned int> toTriangles(PrimitiveType type, std::span<const unsigned int> indices) {
    if (type != TRIANGLES && type != TRIANGLE_STRIP && type != TRIANGLE_FAN) {
        throw std::invalid_argument("toTriangles: " + getStringForPrimitiveType(type) +
                                    " holds no triangles (TRIANGLES, TRIANGLE_STRIP and TRIANGLE_FAN do)");
    }
    std::vector<unsigned int> triangles;
    for (auto begin = indices.begin(); begin != indices.end();) {
        const auto end = std::find(begin, indices.end(), restartIndex);
        decode(type, {begin, end}, triangles);
        begin = end == indices.end() ? end : end + 1;
    }
    return triangles;
}

bool sameTriangles(std::span<const unsigned int> a, std::span<const unsigned int> b) {
    return a.size() / 3 == b.size() / 3 && canonical(a) == canonical(b);
}

} // namespace vexa::mesh
