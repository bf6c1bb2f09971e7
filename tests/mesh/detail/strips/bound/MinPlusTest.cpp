#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/bound/MinPlus.h>

#include <array>

namespace {

using vexa::mesh::detail::CostTable;
using vexa::mesh::detail::EdgeCosts;
using vexa::mesh::detail::PlainMatrix;

using Costs = std::array<std::array<int, 3>, 3>;

CostTable tableOf(const Costs& costs) {
    CostTable table;
    for (unsigned row = 0; row < 3; ++row) {
        for (unsigned column = 0; column < 3; ++column) {
            table.at(row, column) = static_cast<std::int16_t>(costs[row][column]);
        }
    }
    return table;
}

template <class Matrix>
Costs costsOf(const Matrix& matrix) {
    CostTable table;
    matrix.store(table);
    Costs costs{};
    for (unsigned row = 0; row < 3; ++row) {
        for (unsigned column = 0; column < 3; ++column) {
            costs[row][column] = table.at(row, column);
        }
    }
    return costs;
}

template <class Matrix>
Matrix matrixOf(const Costs& costs) {
    return Matrix(tableOf(costs));
}

/// Costs of all sizes, the largest included.
Costs randomCosts(meshes::Random& random) {
    Costs costs{};
    const unsigned int limit = 1U << (1 + random.below(16));
    for (auto& row : costs) {
        for (int& cost : row) {
            cost = static_cast<int>(random.below(limit)) - static_cast<int>(limit / 2);
        }
    }
    return costs;
}

Costs positive(Costs costs) {
    for (auto& row : costs) {
        for (int& cost : row) {
            cost = cost < 0 ? -(cost + 1) : cost;
        }
    }
    return costs;
}

TEST(MinPlus, ProductIsTheCheapestWayThroughBoth) {
    const auto a = matrixOf<PlainMatrix>({{{1, 5, 9}, {2, 0, 7}, {30, 20, 10}}});
    const auto b = matrixOf<PlainMatrix>({{{10, 20, 30}, {-4, 8, 0}, {3, 3, 3}}});
    EXPECT_EQ(costsOf(a * b), (Costs{{{1, 12, 5}, {-4, 8, 0}, {13, 13, 13}}}));
}

TEST(MinPlus, SumsStayWithinSixteenBits) {
    const auto most = matrixOf<PlainMatrix>({{{32767, 0, -32768}, {0, 0, 0}, {0, 0, 0}}});
    EXPECT_EQ(costsOf(most + most)[0], (std::array{32767, 0, -32768}));
    EXPECT_EQ(costsOf(matrixOf<PlainMatrix>({}) - most)[0], (std::array{-32767, 0, 32767}));
}

TEST(MinPlus, SharesAreRoundedUp) {
    const auto spare = matrixOf<PlainMatrix>({{{0, 1, 2}, {3, 100, 101}, {32767, 4, 5}}});
    EXPECT_EQ(costsOf(spare.share(0)), costsOf(spare));
    EXPECT_EQ(costsOf(spare.share(32768)), (Costs{{{0, 1, 1}, {2, 50, 51}, {16384, 2, 3}}}));
    EXPECT_EQ(costsOf(spare.share(65535))[2][0], 1);
}

TEST(MinPlus, LookingFromTheOtherEndTwiceGivesTheTableItself) {
    meshes::Random random(1);
    const CostTable table = tableOf(randomCosts(random));
    EXPECT_EQ(seenFromOtherEnd(seenFromOtherEnd(table)), table);
    EXPECT_NE(seenFromOtherEnd(table), table);
}

TEST(EdgeCosts, AreTheSameFromEitherEnd) {
    constexpr EdgeCosts costs(6144);
    EXPECT_EQ(seenFromOtherEnd(costs.inner), costs.inner);
    EXPECT_EQ(seenFromOtherEnd(costs.borderFirst), costs.borderLast);
}

TEST(EdgeCosts, ChargeSwapsAndEnds) {
    constexpr EdgeCosts costs(6144);
    // Both unlinked there; both turn around this vertex; both turn, the other way each; one unlinked.
    EXPECT_EQ(costs.inner.at(2, 0), 0);
    EXPECT_EQ(costs.inner.at(1, 1), 4096);
    EXPECT_EQ(costs.inner.at(0, 1), 0);
    EXPECT_EQ(costs.inner.at(2, 1), 6144);
    EXPECT_EQ(costs.borderFirst.at(1, 0), 0);
    EXPECT_EQ(costs.borderLast.at(1, 0), 6144);
}

#if defined(__SSE2__)

using vexa::mesh::detail::SseMatrix;

TEST(MinPlus, VectorsGiveTheNumbersOfPlainCode) {
    meshes::Random random(7);
    for (int i = 0; i < 3000; ++i) {
        const Costs a = randomCosts(random);
        const Costs b = randomCosts(random);
        const auto kept = static_cast<std::uint16_t>(random.below(65536));
        const auto apply = [&](auto operation) {
            EXPECT_EQ(costsOf(operation(matrixOf<SseMatrix>(a), matrixOf<SseMatrix>(b))),
                      costsOf(operation(matrixOf<PlainMatrix>(a), matrixOf<PlainMatrix>(b))));
        };
        apply([](const auto& x, const auto& y) { return x * y; });
        apply([](const auto& x, const auto& y) { return x + y; });
        apply([](const auto& x, const auto& y) { return x - y; });
        apply([](const auto& x, const auto&) { return x.transposed(); });
        apply([](const auto& x, const auto&) { return x.seenFromOtherEnd(); });
        apply([](const auto& x, const auto&) { return x.fromFirst(); });
        apply([](const auto& x, const auto&) { return x.fromLowest(); });
        EXPECT_EQ(costsOf(matrixOf<SseMatrix>(positive(a)).share(kept)),
                  costsOf(matrixOf<PlainMatrix>(positive(a)).share(kept)));
    }
}

#endif

} // namespace
