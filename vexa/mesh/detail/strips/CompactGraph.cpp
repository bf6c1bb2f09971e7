#include "vexa/mesh/detail/strips/CompactGraph.h"

#include <algorithm>
#include <iterator>
#include <stdexcept>

namespace vexa::mesh::detail {

void CompactGraph::checkCount(std::uint64_t count) {
    if (count > maxCount) {
        throw std::length_error("Strips can be built from at most 1073741821 triangles");
    }
}

CompactGraph::CompactGraph(std::uint64_t count) {
    checkCount(count);
    triangles_ = LargeArray<CompactTriangle>(count + 2);
    count_ = static_cast<TriangleId>(count);
    triangles_[count_] = {{border(), border(), border()}, stateInFan, 0, 0, false};
    triangles_[count_ + 1] = {{claimed(), claimed(), claimed()}, stateInStrip, 0, 0, false};
}

void CompactGraph::findIrregular() {
    for (TriangleId id = 0; id < count_; ++id) {
        CompactTriangle& triangle = triangles_[id];
        triangle.isIrregular = false;
        for (std::uint32_t place = 0; place < 3; ++place) {
            const HalfEdgeId across = triangle.twin[place];
            if (isSentinel(across)) {
                continue;
            }
            const HalfEdgeId nextAcross = triangle.twin[(place + 1) % 3];
            if (triangleOf(across) == triangleOf(nextAcross) || twin(across) != halfEdgeOf(id, place)) {
                triangle.isIrregular = true;
            }
        }
    }
}

bool CompactGraph::isRegular() const {
    return std::none_of(triangles_.get(), triangles_.get() + count_,
                        [](const CompactTriangle& triangle) { return triangle.isIrregular; });
}

void CompactGraph::countDegrees() {
    for (TriangleId id = 0; id < count_; ++id) {
        CompactTriangle& triangle = triangles_[id];
        triangle.degree = static_cast<std::uint8_t>(
            std::count_if(std::begin(triangle.twin), std::end(triangle.twin),
                          [this](HalfEdgeId across) { return state(across) >= stateInStrip; }));
    }
}

} // namespace vexa::mesh::detail
