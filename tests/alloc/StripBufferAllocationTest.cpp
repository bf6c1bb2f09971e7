#include "alloc/EveryAllocation.h"
#include "alloc/FailingNew.h"
#include "support/Meshes.h"

#include <vexa/mesh/StripBuffer.h>

#include <gtest/gtest.h>

#include <new>

namespace {

using namespace vexa::mesh;
using vexa::test::FailingNew;
using vexa::test::liveAllocations;

void failEveryAllocation(const meshes::Indices& mesh, const StripBufferOptions& options) {
    const auto build = [&] { buildStripBuffer(mesh, options); };
    vexa::test::failEveryAllocation(
        build, [] {}, 10);
}

TEST(StripBufferAllocation, FailureAtAnyPointLeavesNothingBehind) {
    const meshes::Indices mesh = meshes::damaged(meshes::sphere(12, 8), 1);
    failEveryAllocation(mesh, {.effort = 1, .join = StripJoin::Degenerate});
    failEveryAllocation(mesh, {.effort = 2});
    failEveryAllocation(mesh, {.effort = 2, .forVertexCache = true});
}

TEST(StripBufferAllocation, FailureWhileAnnealingLeavesNothingBehind) {
#if defined(_LIBCPP_VERSION) && _LIBCPP_VERSION < 16000
    GTEST_SKIP() << "this libc++ loses the memory of a vector whose elements cannot be copied";
#endif
    failEveryAllocation(meshes::octahedron(), {.effort = 3});
}

// Threads allocate in any order, so that the failing allocation is another one each time.
TEST(StripBufferAllocation, FailureInAThreadIsReported) {
    const meshes::Indices mesh = meshes::shuffled(meshes::sphere(100, 60), 1);
    unsigned failures = 0;
    for (std::size_t n = 0; n < 400; n += 3) {
        const std::size_t before = liveAllocations();
        const FailingNew failing(n, FailingNew::Mode::Once);
        try {
            buildStripBuffer(mesh, {.threads = 3});
        } catch (const std::bad_alloc&) {
            ++failures;
        }
        ASSERT_EQ(liveAllocations(), before) << "allocation " << n;
    }
    EXPECT_GT(failures, 5U);
}

} // namespace
