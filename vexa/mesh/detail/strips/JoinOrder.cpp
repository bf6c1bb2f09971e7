#include "vexa/mesh/detail/strips/JoinOrder.h"

#include "vexa/mesh/detail/strips/StripWriter.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace vexa::mesh::detail {

namespace {

/// Strips in the order in which they are written, joined later.
struct WaitingStrip {
    std::uint64_t begin : 46; ///< within the indices of all
    std::uint64_t startsOdd : 1;
    std::uint64_t fitsEither : 1;
};

class DegenerateJoin {
public:
    void add(const WrittenStrip& strip) {
        strips_.push_back({std::uint64_t{indices_.size()} & 0x3fffffffffff, strip.startsOdd, strip.fitsEither});
        indices_.insert(indices_.end(), strip.indices.begin(), strip.indices.end());
    }
    std::vector<unsigned int> join(const Poll& poll);

private:
    /// The positions at which a strip can begin without repeating an index.
    enum Fit : std::size_t { EVEN_ONLY, ODD_ONLY, EITHER };

    [[nodiscard]] std::span<unsigned int> indicesOf(std::size_t strip) {
        const std::size_t end = strip + 1 < strips_.size() ? strips_[strip + 1].begin : indices_.size();
        return {indices_.data() + strips_[strip].begin, indices_.data() + end};
    }
    /// Turning round a strip with an odd number of indices moves its start to the other parity.
    [[nodiscard]] Fit fitOf(std::size_t strip) {
        const bool hasChoice = strips_[strip].fitsEither != 0 || indicesOf(strip).size() % 2 != 0;
        return hasChoice ? EITHER : strips_[strip].startsOdd != 0 ? ODD_ONLY : EVEN_ONLY;
    }
    /// The first strip with this fit that is not joined yet; the number of strips when there is none.
    std::size_t firstWith(Fit fit) {
        std::size_t& strip = next_[fit];
        while (strip < strips_.size() && fitOf(strip) != fit) {
            ++strip;
        }
        return strip;
    }
    std::size_t takeFor(bool isOdd);
    void append(std::vector<unsigned int>& joined, std::size_t strip);

    std::vector<unsigned int> indices_;
    std::vector<WaitingStrip> strips_;
    std::array<std::size_t, 3> next_{};
};

/// Takes the next strip to join: one that suits no other parity first, so that the others remain for the rest.
std::size_t DegenerateJoin::takeFor(bool isOdd) {
    Fit fit = isOdd ? ODD_ONLY : EVEN_ONLY;
    if (firstWith(fit) == strips_.size()) {
        fit = firstWith(EITHER) < strips_.size() ? EITHER : isOdd ? EVEN_ONLY : ODD_ONLY;
    }
    const std::size_t strip = firstWith(fit);
    ++next_[fit];
    return strip;
}

void DegenerateJoin::append(std::vector<unsigned int>& joined, std::size_t strip) {
    const std::span<unsigned int> indices = indicesOf(strip);
    const bool isOdd = joined.size() % 2 != 0;
    const bool fits = isOdd == (strips_[strip].startsOdd != 0);
    if (!fits && strips_[strip].fitsEither != 0) {
        std::swap(indices[1], indices[2]);
    } else if (!fits && indices.size() % 2 != 0) {
        std::reverse(indices.begin(), indices.end());
    }
    const bool isRepeated = !fits && fitOf(strip) != EITHER;
    if (!joined.empty()) {
        joined.push_back(joined.back());
        joined.push_back(indices.front());
    }
    if (isRepeated) {
        joined.push_back(indices.front());
    }
    joined.insert(joined.end(), indices.begin(), indices.end());
}

std::vector<unsigned int> DegenerateJoin::join(const Poll& poll) {
    std::vector<unsigned int> joined;
    joined.reserve(indices_.size() + 2 * strips_.size() + 1);
    forEachPolled(static_cast<std::uint32_t>(strips_.size()), poll,
                  [&](std::uint32_t) { append(joined, takeFor(joined.size() % 2 != 0)); });
    return joined;
}

/// Rewrites a strip such that it begins at an even position.
std::span<unsigned int> startEven(const WrittenStrip& strip) {
    const std::span<unsigned int> indices = strip.indices;
    if (!strip.startsOdd) {
        return indices;
    }
    if (indices.size() % 2 != 0) {
        std::reverse(indices.begin(), indices.end());
        return indices;
    }
    const std::span<unsigned int> longer(indices.data(), indices.size() + 1);
    std::copy_backward(indices.begin(), indices.end(), longer.end());
    return longer;
}

} // namespace

std::vector<unsigned int> joinPartition(std::span<const unsigned int> triangles, StripPartition& partition,
                                        StripJoin join, StripMonitor& monitor) {
    StripWriter writer(triangles, partition);
    const Poll poll = monitor.poller();
    if (join == StripJoin::Degenerate) {
        DegenerateJoin strips;
        writer.forEach([&](const WrittenStrip& strip) { strips.add(strip); }, poll);
        return strips.join(poll);
    }
    std::vector<unsigned int> joined;
    joined.reserve(std::size_t{partition.count()} + partition.count() / 2);
    writer.forEach(
        [&](const WrittenStrip& strip) {
            if (!joined.empty()) {
                joined.push_back(restartIndex);
            }
            const std::span<unsigned int> indices = startEven(strip);
            joined.insert(joined.end(), indices.begin(), indices.end());
        },
        poll);
    return joined;
}

void forEachStrip(std::span<const unsigned int> triangles, StripPartition& partition, StripMonitor& monitor,
                  const std::function<void(std::span<const unsigned int>)>& take) {
    StripWriter(triangles, partition)
        .forEach([&](const WrittenStrip& strip) { take(startEven(strip)); }, monitor.poller());
}

std::uint64_t countIndices(std::span<const unsigned int> triangles, StripPartition& partition, StripJoin join,
                           const Poll& poll) {
    StripWriter writer(triangles, partition);
    std::uint64_t count = 0;
    std::uint64_t strips = 0;
    std::uint64_t oddOnly = 0;
    bool changesParity = false;
    writer.forEach(
        [&](const WrittenStrip& strip) {
            const bool isCountOdd = strip.indices.size() % 2 != 0;
            count += strip.indices.size();
            ++strips;
            oddOnly += strip.startsOdd && !isCountOdd ? 1 : 0;
            changesParity |= isCountOdd;
        },
        poll);
    if (strips == 0) {
        return 0;
    }
    const bool repeatsOne = oddOnly != 0 && !changesParity;
    return join == StripJoin::Restart ? count + strips - 1 + oddOnly : count + 2 * (strips - 1) + (repeatsOne ? 1 : 0);
}

} // namespace vexa::mesh::detail
