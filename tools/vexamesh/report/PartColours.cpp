#include "report/PartColours.h"

#include <algorithm>
#include <limits>
#include <utility>

namespace vexa::tool {

namespace {

using PartPair = std::pair<std::uint32_t, std::uint32_t>;

/// Which parts share an edge, in both directions, sorted.
std::vector<PartPair> neighbours(const std::vector<EdgeUse>& edges, const std::vector<std::uint32_t>& partOf) {
    std::vector<PartPair> pairs;
    forEachEdge(edges, [&](const EdgeUse* first, const EdgeUse* last) {
        // Neighbours in the row are enough: an edge of many triangles would give as many pairs as their square.
        for (; first + 1 < last; ++first) {
            const std::uint32_t a = partOf[first[0].triangle];
            const std::uint32_t b = partOf[first[1].triangle];
            if (a != b) {
                pairs.emplace_back(a, b);
                pairs.emplace_back(b, a);
            }
        }
    });
    std::sort(pairs.begin(), pairs.end());
    pairs.erase(std::unique(pairs.begin(), pairs.end()), pairs.end());
    return pairs;
}

} // namespace

std::vector<std::uint8_t> colourParts(const std::vector<EdgeUse>& edges, const std::vector<std::uint32_t>& partOf,
                                      std::size_t parts, std::uint32_t colours, std::size_t offset) {
    const std::vector<PartPair> pairs = neighbours(edges, partOf);
    std::vector<std::uint8_t> result(parts);
    std::vector<std::size_t> used(colours);
    std::size_t next = 0;
    for (std::uint32_t part = 0; part < parts; ++part) {
        std::uint32_t taken = 0;
        for (; next < pairs.size() && pairs[next].first == part; ++next) {
            if (pairs[next].second < part) {
                taken |= std::uint32_t{1} << result[pairs[next].second];
            }
        }
        std::uint32_t best = colours;
        for (std::uint32_t i = 0; i < colours; ++i) {
            // Not from the first colour on: equally frequent ones would come in the same order everywhere.
            const auto colour = static_cast<std::uint32_t>((i + (offset + part) * 5) % colours);
            const bool isFree = (taken >> colour & 1) == 0;
            if (isFree && (best == colours || used[colour] < used[best])) {
                best = colour;
            }
        }
        best = best == colours ? part % colours : best;
        ++used[best];
        result[part] = static_cast<std::uint8_t>(best);
    }
    return result;
}

std::vector<std::uint32_t> groupParts(const std::vector<EdgeUse>& edges, const std::vector<std::uint32_t>& partOf,
                                      std::size_t parts, std::size_t triangles) {
    constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();
    const std::vector<PartPair> pairs = neighbours(edges, partOf);
    std::vector<std::size_t> sizes(parts);
    for (const std::uint32_t part : partOf) {
        ++sizes[part];
    }
    std::vector<std::uint32_t> groups(parts, none);
    std::uint32_t group = 0;
    for (std::uint32_t first = 0; first < parts; ++first) {
        if (groups[first] != none) {
            continue;
        }
        // Breadth first, so that a group is about as wide as it is long.
        std::vector<std::uint32_t> members{first};
        std::size_t size = sizes[first];
        groups[first] = group;
        for (std::size_t i = 0; i < members.size() && size < triangles; ++i) {
            auto pair = std::lower_bound(pairs.begin(), pairs.end(), PartPair{members[i], 0});
            for (; pair != pairs.end() && pair->first == members[i] && size < triangles; ++pair) {
                const std::uint32_t next = pair->second;
                if (groups[next] == none && size + sizes[next] < 2 * triangles) {
                    groups[next] = group;
                    size += sizes[next];
                    members.push_back(next);
                }
            }
        }
        ++group;
    }
    return groups;
}

} // namespace vexa::tool
