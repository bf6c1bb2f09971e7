#pragma once

#include <cstdint>

namespace vexa::mesh::detail {

/// A set of edges of one triangle: bit i is the edge at place i. A type of its own, because a byte may alias anything:
/// after every change of links, the compiler would read all pointers from memory again.
enum EdgeSet : std::uint8_t {};

constexpr EdgeSet allEdges{7};
constexpr std::uint32_t noPlace = 3;

/// Which way a strip turns in a triangle that it enters and leaves.
constexpr std::uint8_t turnsNext = 1;
constexpr std::uint8_t turnsPrev = 2;

/// Answers for every set of linked edges of a triangle, so that the walks along strips have nothing to branch on.
struct LinkTables {
    std::uint8_t count[8];    ///< edges in the set
    std::uint8_t first[8];    ///< lowest place in the set; `noPlace` in the empty one
    std::uint8_t other[8][4]; ///< the linked place besides this one; `noPlace` where the strip ends
    /// `turnsNext` or `turnsPrev`: where the strip that enters by this place leaves; 0 where it ends.
    std::uint8_t turn[8][4];
};

consteval LinkTables makeLinkTables() {
    LinkTables tables{};
    for (unsigned links = 0; links < 8; ++links) {
        tables.first[links] = noPlace;
        for (unsigned place = 3; place-- > 0;) {
            if ((links >> place & 1) != 0) {
                ++tables.count[links];
                tables.first[links] = static_cast<std::uint8_t>(place);
            }
        }
    }
    for (unsigned links = 0; links < 8; ++links) {
        for (unsigned place = 0; place < 4; ++place) {
            const bool isLinked = place < 3 && (links >> place & 1) != 0;
            const std::uint8_t other = isLinked ? tables.first[links & ~(1U << place)] : noPlace;
            tables.other[links][place] = other;
            tables.turn[links][place] = other == noPlace ? 0 : other == (place + 1) % 3 ? turnsNext : turnsPrev;
        }
    }
    return tables;
}

inline constexpr LinkTables linkTables = makeLinkTables();

} // namespace vexa::mesh::detail
