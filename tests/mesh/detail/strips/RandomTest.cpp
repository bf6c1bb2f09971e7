#include <vexa/mesh/detail/strips/Random.h>

#include <gtest/gtest.h>

#include <cstdlib>
#include <vector>

namespace {

using vexa::mesh::detail::OwnRandom;
using vexa::mesh::detail::ProcessRandom;
using vexa::mesh::detail::RandomSource;

std::vector<std::uint32_t> draws(RandomSource& random, std::size_t count) {
    std::vector<std::uint32_t> numbers(count);
    for (std::uint32_t& number : numbers) {
        number = random.draw();
    }
    return numbers;
}

std::vector<std::uint32_t> processDraws(std::uint32_t seed, std::size_t count) {
    std::srand(seed);
    std::vector<std::uint32_t> numbers(count);
    for (std::uint32_t& number : numbers) {
        number = static_cast<std::uint32_t>(std::rand());
    }
    return numbers;
}

TEST(OwnRandom, MatchesTheSequenceOfRand) {
    OwnRandom random;
    for (const std::uint32_t seed : {0U, 1U, 2U, 99U, 2147483646U, 2147483647U, 2147483648U, 4294967295U}) {
        random.seed(seed);
        EXPECT_EQ(draws(random, 2000), processDraws(seed, 2000)) << seed;
    }
    for (std::uint32_t seed = 3; seed < 3000; ++seed) {
        random.seed(seed * 1431655U);
        ASSERT_EQ(draws(random, 3), processDraws(seed * 1431655U, 3)) << seed;
    }
}

TEST(OwnRandom, StartsAsIfSeededWithOne) {
    OwnRandom random;
    EXPECT_EQ(draws(random, 10), processDraws(1, 10));
}

TEST(OwnRandom, NeitherReadsNorChangesTheStateOfRand) {
    const std::vector<std::uint32_t> undisturbed = processDraws(42, 20);
    std::srand(42);
    OwnRandom random;
    const std::vector<std::uint32_t> own = draws(random, 20);
    for (std::size_t i = 0; i < 20; ++i) {
        EXPECT_EQ(static_cast<std::uint32_t>(std::rand()), undisturbed[i]);
        random.seed(static_cast<std::uint32_t>(i));
        random.draw();
    }
    random.seed(1);
    EXPECT_EQ(draws(random, 20), own);
}

TEST(OwnRandom, ObjectsAreIndependent) {
    OwnRandom first;
    OwnRandom second;
    first.seed(5);
    second.seed(5);
    const std::vector<std::uint32_t> numbers = draws(first, 10);
    EXPECT_EQ(draws(second, 10), numbers);
}

TEST(ProcessRandom, DrawsFromRand) {
    ProcessRandom random;
    random.seed(7);
    const std::vector<std::uint32_t> numbers = draws(random, 10);
    EXPECT_EQ(numbers, processDraws(7, 10));
    std::srand(7);
    EXPECT_EQ(draws(random, 10), numbers);
}

} // namespace
