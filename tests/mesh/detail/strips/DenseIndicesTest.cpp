#include "support/Meshes.h"

#include <vexa/mesh/detail/strips/DenseIndices.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <map>

namespace {

using meshes::Indices;
using vexa::mesh::detail::DenseIndices;

/// The vertices numbered in ascending order, from a sorted map.
Indices numbered(const Indices& indices) {
    std::map<unsigned int, unsigned int> numbers;
    for (const unsigned int vertex : indices) {
        numbers[vertex] = 0;
    }
    unsigned int count = 0;
    for (auto& [vertex, number] : numbers) {
        number = count++;
    }
    Indices result = indices;
    std::transform(result.begin(), result.end(), result.begin(), [&](unsigned int vertex) { return numbers[vertex]; });
    return result;
}

Indices copyOf(std::span<const unsigned int> indices) {
    return {indices.begin(), indices.end()};
}

/// 3000 random vertices below a limit, in which the highest occurs.
Indices randomIndices(unsigned int limit) {
    meshes::Random random(limit);
    Indices indices(3000);
    std::generate(indices.begin(), indices.end(), [&] { return random.below(limit); });
    indices[1500] = limit - 1;
    return indices;
}

TEST(DenseIndices, AreTheListItselfWithoutLargeGaps) {
    const Indices indices = randomIndices(12000);
    const DenseIndices dense(indices);
    EXPECT_EQ(dense.indices().data(), indices.data());
    EXPECT_EQ(dense.vertexCount(), 12000u);
}

TEST(DenseIndices, AreNumberedInTheSameOrderWithLargeGaps) {
    for (const unsigned int limit : {12100U, 100000U, 254999U, 255100U, 256000U, 1U << 22, 1U << 27, 4294967295U}) {
        const Indices indices = randomIndices(limit);
        const DenseIndices dense(indices);
        const Indices expected = numbered(indices);
        EXPECT_EQ(copyOf(dense.indices()), expected) << limit;
        EXPECT_EQ(dense.vertexCount(), *std::max_element(expected.begin(), expected.end()) + 1) << limit;
    }
}

TEST(DenseIndices, AreNumberedFromZeroForASingleVertex) {
    for (const unsigned int vertex : {20U, 900U, 4294967294U}) {
        const Indices indices(3, vertex);
        const DenseIndices dense(indices);
        EXPECT_EQ(copyOf(dense.indices()), Indices(3, 0));
        EXPECT_EQ(dense.vertexCount(), 1u);
    }
}

TEST(DenseIndices, AreNoneWithoutIndices) {
    const DenseIndices dense({});
    EXPECT_TRUE(dense.indices().empty());
    EXPECT_EQ(dense.vertexCount(), 0u);
}

} // namespace
