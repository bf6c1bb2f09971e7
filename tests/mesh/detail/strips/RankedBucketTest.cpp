#include <vexa/mesh/detail/strips/RankedBucket.h>

#include "support/BuildKind.h"
#include "support/Meshes.h"

#include <gtest/gtest.h>

#include <utility>
#include <vector>

namespace {

using vexa::mesh::detail::RankedBucket;

std::vector<std::uint32_t> entriesOf(const RankedBucket& bucket) {
    std::vector<std::uint32_t> entries;
    bucket.forEach([&entries](std::uint32_t entry) { entries.push_back(entry); });
    return entries;
}

/// A bucket and a plain vector of its entries with their positions.
class Compared {
public:
    explicit Compared(std::uint32_t capacity) : bucket_(capacity) {}

    void push(std::uint32_t entry) { plain_.emplace_back(bucket_.push(entry), entry); }
    void erase(std::size_t k) {
        bucket_.erase(plain_[k].first);
        plain_.erase(plain_.begin() + static_cast<std::ptrdiff_t>(k));
    }
    void restart(const std::vector<std::uint32_t>& entries) {
        plain_.clear();
        for (std::uint32_t i = 0; i < entries.size(); ++i) {
            bucket_.log()[i] = entries[i];
            plain_.emplace_back(i, entries[i]);
        }
        bucket_.restart(static_cast<std::uint32_t>(entries.size()));
    }
    [[nodiscard]] std::size_t size() const { return plain_.size(); }

    void expectSame() const {
        ASSERT_EQ(bucket_.size(), plain_.size());
        std::vector<std::uint32_t> entries;
        for (std::uint32_t k = 0; k < plain_.size(); ++k) {
            entries.push_back(plain_[k].second);
            ASSERT_EQ(bucket_.entry(bucket_.find(k)), plain_[k].second) << k;
        }
        ASSERT_EQ(entriesOf(bucket_), entries);
    }

private:
    RankedBucket bucket_;
    std::vector<std::pair<std::uint32_t, std::uint32_t>> plain_;
};

TEST(RankedBucket, StartsEmpty) {
    for (const std::uint32_t capacity : {0U, 1U, 64U, 70000U}) {
        const RankedBucket bucket(capacity);
        EXPECT_EQ(bucket.size(), 0u);
        EXPECT_TRUE(entriesOf(bucket).empty());
    }
}

TEST(RankedBucket, KeepsTheOrderOfInsertion) {
    RankedBucket bucket(4);
    EXPECT_EQ(bucket.push(30), 0u);
    EXPECT_EQ(bucket.push(10), 1u);
    EXPECT_EQ(bucket.push(20), 2u);
    EXPECT_EQ(entriesOf(bucket), (std::vector<std::uint32_t>{30, 10, 20}));
    bucket.erase(1);
    EXPECT_EQ(bucket.push(10), 3u);
    EXPECT_EQ(entriesOf(bucket), (std::vector<std::uint32_t>{30, 20, 10}));
    EXPECT_EQ(bucket.entry(bucket.find(2)), 10u);
}

TEST(RankedBucket, IsFullToTheLastEntryAtBlockBoundaries) {
    for (const std::uint32_t capacity : {1U, 63U, 64U, 65U, 1023U, 1024U, 1025U, 65535U, 65536U, 65537U}) {
        RankedBucket bucket(capacity);
        for (std::uint32_t i = 0; i < capacity; ++i) {
            bucket.push(2 * i);
        }
        EXPECT_EQ(bucket.entry(bucket.find(capacity - 1)), 2 * (capacity - 1));
        for (std::uint32_t i = 0; i + 1 < capacity; ++i) {
            bucket.erase(i);
        }
        EXPECT_EQ(bucket.entry(bucket.find(0)), 2 * (capacity - 1));
        bucket.restart(capacity);
        EXPECT_EQ(bucket.size(), capacity);
        EXPECT_EQ(bucket.entry(bucket.find(capacity - 1)), 2 * (capacity - 1));
    }
}

TEST(RankedBucket, MatchesAPlainVector) {
    meshes::Random random(11);
    for (const std::uint32_t capacity : {10U, 100U, 3000U}) {
        for (int round = 0; round < 20; ++round) {
            Compared compared(capacity);
            const unsigned int erased = random.below(101);
            for (std::uint32_t i = 0; i < capacity; ++i) {
                compared.push(random.below(1000000));
                if (random.chance(erased)) {
                    compared.erase(random.below(static_cast<unsigned int>(compared.size())));
                }
            }
            compared.expectSame();
        }
    }
}

TEST(RankedBucket, RestartsWithTheFirstEntriesOfTheLog) {
    meshes::Random random(12);
    constexpr std::uint32_t capacity = 3000;
    Compared compared(capacity);
    for (int round = 0; round < 50; ++round) {
        std::vector<std::uint32_t> entries(random.below(capacity + 1));
        for (std::uint32_t& entry : entries) {
            entry = random.below(1000000);
        }
        compared.restart(entries);
        compared.expectSame();
        for (std::size_t i = entries.size(); i < capacity && random.chance(99); ++i) {
            compared.push(random.below(1000000));
            compared.erase(random.below(static_cast<unsigned int>(compared.size())));
        }
        compared.expectSame();
    }
}

TEST(RankedBucket, MayBeRewrittenWhileItIsVisited) {
    RankedBucket bucket(200);
    for (std::uint32_t i = 0; i < 200; ++i) {
        bucket.push(i);
    }
    for (std::uint32_t i = 0; i < 200; i += 3) {
        bucket.erase(i);
    }
    const std::vector<std::uint32_t> entries = entriesOf(bucket);
    std::uint32_t count = 0;
    bucket.forEach([&](std::uint32_t entry) { bucket.log()[count++] = entry; });
    bucket.restart(count);
    EXPECT_EQ(entriesOf(bucket), entries);
}

TEST(RankedBucket, FindsTheFewLeftOfVeryMany) {
    constexpr std::uint32_t count = vexa::test::isSlowBuild ? 4300000 : 9000000;
    RankedBucket bucket(count);
    for (std::uint32_t i = 0; i < count; ++i) {
        bucket.push(count - i);
    }
    EXPECT_EQ(bucket.entry(bucket.find(4194304)), count - 4194304);
    const std::vector<std::uint32_t> left = {0, 1023, 65536, 4194303, 4194304, count - 1};
    for (std::uint32_t i = 0, k = 0; i < count; ++i) {
        if (i == left[k]) {
            ++k;
        } else {
            bucket.erase(i);
        }
    }
    ASSERT_EQ(bucket.size(), left.size());
    for (std::uint32_t k = 0; k < left.size(); ++k) {
        EXPECT_EQ(bucket.entry(bucket.find(k)), count - left[k]);
    }
}

} // namespace
