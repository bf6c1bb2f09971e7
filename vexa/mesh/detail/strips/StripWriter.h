#pragma once

#include "vexa/mesh/detail/strips/StripPartition.h"

#include <bit>
#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace vexa::mesh::detail {

/// A strip's indices as its triangles follow one another, without a word on where it is put.
struct WrittenStrip {
    std::span<unsigned int> indices; ///< with room for one more after the last; free to be changed
    bool startsOdd;                  ///< its first triangle belongs at an odd position; not where `fitsEither`
    bool fitsEither; ///< one or two triangles: exchanging the second and third index fits it to the other parity
    TriangleId triangleCount;
};

/// Writes the strips of a partition one after the other.
class StripWriter {
public:
    StripWriter(std::span<const unsigned int> triangles, StripPartition& partition)
        : triangles_(triangles), partition_(partition), indices_(1024),
          isWritten_((std::size_t{partition.count()} + 63) / 64) {}

    /// Calls `take(strip)` for every strip, in the order of the lowest of their ends, and for closed loops after that;
    /// these are cut. The indices are valid during the call.
    template <class Take>
    void forEach(Take take, const Poll& poll);

    /// The strip with this end, starting there.
    WrittenStrip write(TriangleId end);

private:
    [[nodiscard]] const unsigned int* cornersOf(TriangleId triangle) const {
        return &triangles_[std::size_t{3} * partition_.original(triangle)];
    }
    [[nodiscard]] bool isWritten(TriangleId triangle) const {
        return (isWritten_[triangle / 64] >> triangle % 64 & 1) != 0;
    }
    void markWritten(TriangleId triangle) { isWritten_[triangle / 64] |= std::uint64_t{1} << triangle % 64; }
    unsigned int* grow(unsigned int* next);

    std::span<const unsigned int> triangles_;
    StripPartition& partition_;
    std::vector<unsigned int> indices_; ///< of the newest strip
    std::vector<std::uint64_t> isWritten_;
};

template <class Take>
void StripWriter::forEach(Take take, const Poll& poll) {
    WorkMeter meter(poll);
    for (TriangleId triangle = 0; triangle < partition_.count(); ++triangle) {
        if (partition_.isEnd(triangle) && !isWritten(triangle)) {
            const WrittenStrip strip = write(triangle);
            meter.add(strip.triangleCount);
            take(strip);
        }
    }
    for (TriangleId block = 0; block < isWritten_.size(); ++block) {
        for (std::uint64_t left = ~isWritten_[block]; left != 0; left = ~isWritten_[block] & left & (left - 1)) {
            const TriangleId triangle = 64 * block + static_cast<TriangleId>(std::countr_zero(left));
            if (triangle >= partition_.count()) {
                return;
            }
            if (!partition_.isCollapsed(triangle)) {
                take(write(triangleOf(cutLoop(partition_, triangle))));
            }
        }
    }
}

} // namespace vexa::mesh::detail
