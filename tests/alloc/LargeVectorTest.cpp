#include "alloc/FailingNew.h"
#include "support/Meshes.h"

#include <vexa/mesh/StripBound.h>
#include <vexa/mesh/detail/strips/LargeVector.h>

#include <gtest/gtest.h>

#include <cstddef>
#include <new>

#if __has_include(<sys/mman.h>)
#include <sys/mman.h>
#endif

namespace {

using vexa::mesh::minIndexCount;
using vexa::mesh::StripJoin;
using vexa::mesh::detail::LargeVector;
using vexa::test::FailingNew;

constexpr std::size_t kilobyte = 1024;

#ifdef MADV_HUGEPAGE

TEST(LargeVector, NeedsTheHeapForSmallSizesOnly) {
    const FailingNew failing(0);
    EXPECT_THROW(LargeVector<char>(100 * kilobyte), std::bad_alloc);
    EXPECT_EQ(LargeVector<char>(300 * kilobyte, 'x').back(), 'x');
    EXPECT_EQ(LargeVector<char>(3000 * kilobyte, 'x').back(), 'x');
}

// A heap that has held more before keeps what one phase frees while the next one allocates.
TEST(MinIndexCount, TakesNoLargeBlockFromTheHeap) {
    const meshes::Indices sphere = meshes::sphere(340, 260);
    const FailingNew failing(300 * kilobyte);
    EXPECT_GT(minIndexCount(sphere, StripJoin::Restart, {.sweeps = 1}), sphere.size() / 3);
    EXPECT_FALSE(failing.hasFailed());
}

#endif

} // namespace
