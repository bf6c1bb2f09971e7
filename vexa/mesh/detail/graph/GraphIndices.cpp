#include "vexa/mesh/HalfEdgeGraph.h"
#include "vexa/mesh/Types.h"
#include "vexa/mesh/detail/LogRecord.h"
#include "vexa/mesh/detail/TriangleLists.h"

#include <array>
#include <cstddef>

namespace vexa::mesh {

namespace {

using HalfEdge = HalfEdgeGraph::HalfEdge;
using Triangle = HalfEdgeGraph::Triangle;

/// The edge of a triangle that it shares with its successor in a strip: the first, where they share several; null when
/// they share none.
const HalfEdge* findShared(const Triangle& triangle, const Triangle* successor) {
    for (const HalfEdge& halfEdge : triangle.halfEdge) {
        if (halfEdge.twin != nullptr && halfEdge.twin->triangle == successor) {
            return &halfEdge;
        }
    }
    return nullptr;
}

/// The half-edge by which a strip leaves a triangle towards its successor, as seen from there.
const HalfEdge* findExit(const Triangle& triangle, const Triangle* successor) {
    return findShared(triangle, successor)->twin->twin;
}

std::uint32_t apex(const HalfEdge& exit) {
    return exit.twin->next->next->vertex;
}

void fillIndexFromBatch(std::vector<unsigned int>& indices, const HalfEdgeGraph::TriangleList& batch) {
    std::size_t count = 0;
    for (const Triangle* triangle = batch.first; triangle != nullptr; triangle = triangle->next) {
        ++count;
    }
    indices.resize(3 * count);
    auto index = indices.begin();
    for (const Triangle* triangle = batch.first; triangle != nullptr; triangle = triangle->next) {
        for (const HalfEdge& halfEdge : triangle->halfEdge) {
            *index++ = halfEdge.vertex;
        }
    }
}

/// `HalfEdgeGraph::fillIndexFromStrip`, with a call to `onTriangle` for each triangle that it comes to.
template <class OnTriangle>
std::uint32_t fillFromStrip(std::vector<unsigned int>& indices, const HalfEdgeGraph::TriangleList& strip, bool reversed,
                            OnTriangle onTriangle) {
    const auto step = [reversed](const Triangle* triangle) { return reversed ? triangle->prev : triangle->next; };
    const Triangle* current = reversed ? strip.last : strip.first;
    if (current == nullptr) {
        return 0;
    }
    indices.reserve(32);
    indices.resize(3);
    onTriangle();
    const Triangle* successor = step(current);
    // The corner that the first triangle begins with, so that its last edge is the one that it shares.
    const HalfEdge* start = &current->halfEdge[0];
    if (successor != nullptr) {
        const HalfEdge* exit = findExit(*current, successor);
        start = exit->next->next;
        indices.push_back(apex(*exit));
        bool isOdd = true;
        for (;;) {
            const HalfEdge* const entering = exit->twin;
            onTriangle();
            current = successor;
            successor = step(current);
            if (successor == nullptr) {
                break;
            }
            exit = findExit(*current, successor);
            const HalfEdge* const continuing = isOdd ? entering->next->next : entering->next;
            if (exit == continuing) {
                isOdd = !isOdd;
            } else {
                // A swap: the newest vertex is put in again behind the other one, in a degenerate triangle.
                indices.back() = isOdd ? exit->vertex : exit->next->vertex;
                indices.push_back(isOdd ? exit->next->vertex : exit->vertex);
            }
            indices.push_back(apex(*exit));
        }
    }
    indices[0] = start->vertex;
    indices[1] = start->next->vertex;
    indices[2] = start->next->next->vertex;
    return static_cast<std::uint32_t>(indices.size());
}

/// Brings both ends of a triangle's record near.
void fetch(const Triangle* triangle) {
    __builtin_prefetch(triangle, 1);
    __builtin_prefetch(&triangle->halfEdge[2]);
}

/// Appends edges to a list of lines, in blocks.
class EdgeWriter {
public:
    /// \param halfEdgeCount of which most are taken to be shared
    EdgeWriter(std::vector<unsigned int>& lines, bool withShareFlag, std::size_t halfEdgeCount)
        : lines_(lines), stride_(withShareFlag ? 3 : 2) {
        lines_.reserve(stride_ * (halfEdgeCount / 2 + halfEdgeCount / 64));
    }

    /// Writes an edge and keeps it only if it is wanted, which is cheaper than a branch that none can foresee.
    void write(std::uint32_t from, std::uint32_t to, bool isShared, bool isWanted) {
        if (used_ + 3 > block_.size()) {
            flush();
        }
        block_[used_] = from;
        block_[used_ + 1] = to;
        block_[used_ + 2] = isShared ? 1 : 0;
        used_ += isWanted ? stride_ : 0;
        edgeCount_ += isWanted ? 1 : 0;
    }
    /// Returns the number of edges.
    std::uint32_t finish() {
        flush();
        return edgeCount_;
    }

private:
    void flush() {
        lines_.insert(lines_.end(), block_.begin(), block_.begin() + static_cast<std::ptrdiff_t>(used_));
        used_ = 0;
    }

    std::vector<unsigned int>& lines_;
    std::size_t stride_;
    std::array<unsigned int, 1024> block_;
    std::size_t used_ = 0;
    std::uint32_t edgeCount_ = 0;
};

} // namespace

int HalfEdgeGraph::getPrimitive(std::vector<unsigned int>& indices, int primitiveType) {
    const auto isWanted = [primitiveType](PrimitiveType type) { return primitiveType == 0 || primitiveType == type; };
    // An entry is removed only after its indices are written: when that throws, it is still there.
    const auto claim = [this](const Primitive& primitive) {
        detail::splice(claimedTriangles, *primitive.second);
        delete primitive.second;
    };
    indices.clear();
    if (!fans.empty() && isWanted(TRIANGLE_FAN)) {
        const auto& aroundCentre = vertexHalfEdges[fans.back().first];
        fillIndexFromFan(indices, aroundCentre.empty() ? nullptr : aroundCentre.front().second);
        claim(fans.back());
        fans.pop_back();
        return TRIANGLE_FAN;
    }
    if (!strips.empty() && isWanted(TRIANGLE_STRIP)) {
        constexpr std::size_t ahead = 8;
        std::size_t upcoming = upcomingBegin_;
        fillFromStrip(indices, *strips.back().second, strips.back().first != 0, [&] {
            if (upcoming + ahead < upcoming_.size()) {
                fetch(upcoming_[upcoming + ahead]);
            }
            ++upcoming;
        });
        upcomingBegin_ = upcoming;
        claim(strips.back());
        strips.pop_back();
        return TRIANGLE_STRIP;
    }
    if (triangleLists.empty() || !isWanted(TRIANGLES)) {
        return 0;
    }
    fillIndexFromBatch(indices, *triangleLists.front().second);
    claim(triangleLists.front());
    for (std::size_t i = 1; i < triangleLists.size(); ++i) {
        delete triangleLists[i].second;
    }
    triangleLists.clear();
    return TRIANGLES;
}

std::uint32_t HalfEdgeGraph::calcStripCost(TriangleList& strip, bool reversed) const {
    const auto step = [reversed](const Triangle* triangle) { return reversed ? triangle->prev : triangle->next; };
    const Triangle* current = reversed ? strip.last : strip.first;
    if (current == nullptr) {
        return 0;
    }
    const Triangle* successor = step(current);
    if (successor == nullptr) {
        return 3;
    }
    std::uint32_t cost = 4;
    bool isOdd = true;
    const HalfEdge* leaving = findShared(*current, successor);
    for (;;) {
        current = successor;
        successor = step(current);
        if (successor == nullptr) {
            return cost;
        }
        const HalfEdge* const entering = leaving != nullptr ? leaving->twin : nullptr;
        leaving = findShared(*current, successor);
        const bool continues =
            entering != nullptr && leaving != nullptr && leaving == (isOdd ? entering->next->next : entering->next);
        cost += continues ? 1 : 2;
        isOdd ^= continues;
    }
}

std::uint32_t HalfEdgeGraph::fillIndexFromStrip(std::vector<unsigned int>& indices, TriangleList& strip,
                                                bool reversed) const {
    return fillFromStrip(indices, strip, reversed, [] {});
}

std::int32_t HalfEdgeGraph::fillIndexFromFan(std::vector<unsigned int>& indices, HalfEdge* start) const {
    if (start == nullptr) {
        VEXA_MESH_LOG(warning,
                      "int32_t vexa::mesh::HalfEdgeGraph::fillIndexFromFan(std::vector<unsigned int>&, "
                      "vexa::mesh::HalfEdgeGraph::HalfEdge&)",
                      "vexa/mesh/HalfEdgeGraph")
            << "Invalid fac in fillIndexFromFan()";
        return 0;
    }
    indices.resize(2);
    indices[0] = start->vertex;
    indices[1] = start->next->vertex;
    for (const HalfEdge* spoke = start->next->next->twin; spoke != start; spoke = spoke->next->next->twin) {
        indices.push_back(spoke->next->vertex);
    }
    indices.push_back(start->next->vertex);
    return static_cast<std::int32_t>(indices.size());
}

std::uint32_t HalfEdgeGraph::calcEgdeLines(std::vector<unsigned int>& lines, bool withShareFlag) const {
    constexpr std::size_t ahead = 8;
    lines.clear();
    std::size_t halfEdgeCount = 0;
    for (const auto& list : vertexHalfEdges) {
        halfEdgeCount += list.size();
    }
    EdgeWriter writer(lines, withShareFlag, halfEdgeCount);
    for (std::size_t vertex = 0; vertex < vertexHalfEdges.size(); ++vertex) {
        if (vertex + 2 * ahead < vertexHalfEdges.size()) {
            __builtin_prefetch(vertexHalfEdges[vertex + 2 * ahead].data());
            for (const auto& [end, halfEdge] : vertexHalfEdges[vertex + ahead]) {
                __builtin_prefetch(halfEdge);
                __builtin_prefetch(halfEdge + 1);
            }
        }
        for (const auto& [end, halfEdge] : vertexHalfEdges[vertex]) {
            const bool isShared = halfEdge->twin != nullptr;
            const std::uint32_t to = halfEdge->next->vertex;
            writer.write(halfEdge->vertex, to, isShared, !isShared || halfEdge->vertex < to);
        }
    }
    return writer.finish();
}

} // namespace vexa::mesh
