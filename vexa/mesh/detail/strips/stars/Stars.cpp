#include "vexa/mesh/detail/strips/stars/Stars.h"

#include <algorithm>
#include <iterator>
#include <numeric>
#include <span>
#include <tuple>
#include <utility>

namespace vexa::mesh::detail {

namespace {

constexpr StarCorner noCorner{noHalfEdge, noHalfEdge};

bool holds(std::span<const StarCorner> corners, HalfEdgeId halfEdge) {
    return std::any_of(corners.begin(), corners.end(), [halfEdge](const StarCorner& corner) {
        return triangleOf(corner.spoke) == triangleOf(halfEdge);
    });
}

/// Whether a triangle occurs twice, or faces another one of the same star.
bool meetsItself(std::span<const StarCorner> corners) {
    for (std::size_t i = 0; i < corners.size(); ++i) {
        if (holds(corners.first(i), corners[i].spoke) || holds(corners, corners[i].outer)) {
            return true;
        }
    }
    return false;
}

} // namespace

Stars::Stars(const StripPartition& partition, const PatchGroups& groups, const Poll& poll)
    : groups_(groups), border_(partition.border()) {
    std::vector<std::uint8_t> isSeen(partition.count());
    stars_.reserve(partition.count() / 2 + partition.count() / 8);
    groupOf_.reserve(stars_.capacity());
    corners_.reserve(3 * std::size_t{partition.count()} + partition.count() / 4);
    forEachPolled(partition.count(), poll, [&](TriangleId triangle) {
        for (std::uint32_t place = 0; place < 3 && !partition.isCollapsed(triangle); ++place) {
            if ((isSeen[triangle] >> place & 1) == 0) {
                addFan(partition, halfEdgeOf(triangle, place), isSeen);
            }
        }
    });
    sortByGroup(poll);
    sortBlocks(poll);
    sortCorners(poll);
}

void Stars::addFan(const StripPartition& partition, HalfEdgeId corner, std::vector<std::uint8_t>& isSeen) {
    HalfEdgeId first = corner;
    bool isOpen = false;
    do {
        const HalfEdgeId across = partition.twin(first);
        isOpen = across == partition.border();
        first = isOpen ? first : nextUnpredicted(across);
    } while (!isOpen && first != corner);
    fan_.clear();
    HalfEdgeId spoke = first;
    do {
        std::uint8_t& seen = isSeen[triangleOf(spoke)];
        seen = static_cast<std::uint8_t>(seen | 1U << placeOf(spoke));
        fan_.push_back({spoke, partition.twin(nextUnpredicted(spoke))});
        spoke = partition.twin(prevUnpredicted(spoke));
    } while (spoke != partition.border() && spoke != first);
    if (fan_.size() <= maxStarSize) {
        addWhole(isOpen);
    } else {
        addWindows(isOpen);
    }
}

void Stars::addWhole(bool isOpen) {
    if (!meetsItself(fan_)) {
        add(isOpen ? Star::Kind::Open : Star::Kind::Ring, fan_, fan_);
    }
}

void Stars::addWindows(bool isOpen) {
    constexpr std::size_t size = maxStarSize - 1;
    constexpr std::size_t step = size / 2 + 1;
    constexpr std::size_t smallest = 3;
    const std::size_t count = fan_.size();
    for (std::size_t begin = 0; begin < count; begin += step) {
        const std::size_t end = isOpen ? std::min(begin + size, count) : begin + size;
        if (begin != 0 && end - begin < smallest) {
            break;
        }
        StarCorner window[size + 2];
        window[0] = begin != 0 ? fan_[begin - 1] : isOpen ? noCorner : fan_.back();
        for (std::size_t i = begin; i < end; ++i) {
            window[1 + i - begin] = fan_[i % count];
        }
        window[1 + end - begin] = end >= count && isOpen ? noCorner : fan_[end % count];
        const std::span<const StarCorner> inside(window + 1, end - begin);
        const std::span<const StarCorner> with(window, end - begin + 2);
        const auto isInside = [&](const StarCorner& corner) {
            return corner.spoke != noHalfEdge && holds(inside, corner.spoke);
        };
        if (!meetsItself(inside) && !isInside(with.front()) && !isInside(with.back())) {
            add(Star::Kind::Window, inside, with);
        }
    }
}

/// \param with the corners of the star, and for a window one more on either side
void Stars::add(Star::Kind kind, std::span<const StarCorner> inside, std::span<const StarCorner> with) {
    const std::uint32_t around = kind == Star::Kind::Window ? 1 : 0;
    stars_.push_back(
        {static_cast<std::uint32_t>(corners_.size() + around), static_cast<std::uint8_t>(inside.size()), kind});
    corners_.insert(corners_.end(), with.begin(), with.end());
    PatchGroups::Finder finder(groups_);
    const auto addTriangle = [&](HalfEdgeId halfEdge) {
        if (halfEdge < border_) {
            finder.add(triangleOf(halfEdge));
        }
    };
    for (const StarCorner& corner : with) {
        addTriangle(corner.spoke);
        addTriangle(corner.outer);
    }
    groupOf_.push_back(finder.group());
}

void Stars::sortByGroup(const Poll& poll) {
    groupEnds_.resize(groups_.count());
    for (const std::uint32_t group : groupOf_) {
        ++groupEnds_[group];
    }
    std::exclusive_scan(groupEnds_.begin(), groupEnds_.end(), groupEnds_.begin(), std::uint32_t{0});
    std::vector<Star> sorted(stars_.size());
    forEachPolled(static_cast<std::uint32_t>(stars_.size()), poll,
                  [&](std::uint32_t i) { sorted[groupEnds_[groupOf_[i]]++] = stars_[i]; });
    stars_ = std::move(sorted);
    groupOf_ = {};
}

/// Puts stars of the same kind and size next to one another, within blocks whose triangles fit into the cache: loops over
/// them can be predicted then.
void Stars::sortBlocks(const Poll& poll) {
    constexpr std::uint32_t blockSize = 1024;
    std::uint32_t begin = 0;
    for (const std::uint32_t groupEnd : groupEnds_) {
        while (begin != groupEnd) {
            if (poll) {
                poll();
            }
            const std::uint32_t end = std::min(groupEnd, begin + blockSize);
            std::sort(stars_.begin() + begin, stars_.begin() + end, [](const Star& a, const Star& b) {
                return std::tuple(a.kind, a.size, a.begin) < std::tuple(b.kind, b.size, b.begin);
            });
            begin = end;
        }
    }
}

/// Puts the corners into the order of the stars.
void Stars::sortCorners(const Poll& poll) {
    std::vector<StarCorner> sorted;
    sorted.reserve(corners_.size());
    forEachPolled(static_cast<std::uint32_t>(stars_.size()), poll, [&](std::uint32_t i) {
        Star& star = stars_[i];
        const std::uint32_t around = star.kind == Star::Kind::Window ? 1 : 0;
        const auto first = corners_.begin() + star.begin - around;
        star.begin = static_cast<std::uint32_t>(sorted.size()) + around;
        sorted.insert(sorted.end(), first, first + star.size + 2 * around);
    });
    corners_ = std::move(sorted);
}

} // namespace vexa::mesh::detail
