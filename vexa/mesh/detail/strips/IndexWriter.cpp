#include "vexa/mesh/detail/strips/IndexWriter.h"

#include "vexa/mesh/detail/strips/StripWalk.h"

#include <algorithm>

namespace vexa::mesh::detail {

namespace {

/// Indices in memory that has room for them and for one more.
class BlockSink {
public:
    explicit BlockSink(unsigned int* begin) : end_(begin) {}

    void push(unsigned int index) { *end_++ = index; }
    /// Writes both and keeps them only if they are wanted: no branch can be predicted here.
    void swap(bool isSwap, unsigned int index, unsigned int newest) {
        end_[-1] = isSwap ? index : end_[-1];
        *end_ = newest;
        end_ += isSwap ? 1 : 0;
    }
    [[nodiscard]] unsigned int* end() const { return end_; }

private:
    unsigned int* end_;
};

} // namespace

IndexedPrimitive IndexWriter::fan(HalfEdgeId start) const {
    const ListCorners corners{triangles_};
    const auto nextSpoke = [this](HalfEdgeId spoke) { return graph_.twin(prevOf(spoke)); };
    IndexedPrimitive primitive{TRIANGLE_FAN, {corners.from(start), corners.to(start)}};
    for (HalfEdgeId spoke = nextSpoke(start); spoke != start; spoke = nextSpoke(spoke)) {
        primitive.indices.push_back(corners.to(spoke));
    }
    primitive.indices.push_back(corners.to(start));
    return primitive;
}

IndexedPrimitive IndexWriter::strip(const StripSet::Strip& strip) {
    const std::span<const StripTriangle> triangles = strip.triangles;
    if (triangles.size() == 1) {
        const unsigned int* const corners = triangles_ + std::size_t{3} * triangleOf(triangles[0]);
        return {TRIANGLE_STRIP, {corners, corners + 3}};
    }
    // Each triangle adds one index, or two with a swap.
    scratch_.resize(std::max(scratch_.size(), 2 * triangles.size() + 3));
    BlockSink sink(scratch_.data());
    if (strip.isReversed || strip.isIrregular) {
        IndexEmitter emitter(ListCorners{triangles_}, sink);
        walkStrip(linkedPath(graph_, triangles, strip.isReversed), emitter);
    } else {
        IndexEmitter emitter(EdgeCorners{}, sink);
        walkStrip(BuiltPath(triangles_, triangles), emitter);
    }
    return {TRIANGLE_STRIP, {scratch_.data(), sink.end()}};
}

IndexedPrimitive IndexWriter::batch(std::span<const TriangleId> ids) const {
    IndexedPrimitive primitive{TRIANGLES, {}};
    primitive.indices.reserve(3 * ids.size());
    for (const TriangleId id : ids) {
        const unsigned int* const corners = triangles_ + std::size_t{3} * id;
        primitive.indices.insert(primitive.indices.end(), corners, corners + 3);
    }
    return primitive;
}

} // namespace vexa::mesh::detail
