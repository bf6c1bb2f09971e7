#include "alloc/FailingNew.h"

#include <gtest/gtest.h>

#include <array>
#include <new>

namespace {

using vexa::test::FailingNew;

/// Whether an allocation fails. Calls the operator itself, which a compiler may not elide as it may a `new`.
bool fails(std::size_t size) {
    try {
        ::operator delete(::operator new(size));
    } catch (const std::bad_alloc&) {
        return true;
    }
    return false;
}

/// Which of four allocations fail.
std::array<bool, 4> failures(std::size_t n, FailingNew::Mode mode) {
    const FailingNew failing(n, mode);
    return {fails(1), fails(1), fails(1), fails(1)};
}

TEST(FailingNew, FailsOnceOrFromThenOn) {
    EXPECT_EQ(failures(1, FailingNew::Mode::Once), (std::array<bool, 4>{false, true, false, false}));
    EXPECT_EQ(failures(1, FailingNew::Mode::FromThenOn), (std::array<bool, 4>{false, true, true, true}));
    EXPECT_EQ(failures(4, FailingNew::Mode::FromThenOn), (std::array<bool, 4>{}));
}

TEST(FailingNew, FailsBeyondASize) {
    std::array<bool, 2> failed{};
    {
        const FailingNew failing(1000);
        failed = {fails(1000), fails(1001)};
    }
    EXPECT_EQ(failed, (std::array<bool, 2>{false, true}));
    EXPECT_FALSE(fails(1001));
}

TEST(FailingNew, ReportsWhetherAnyAllocationFailed) {
    std::array<bool, 2> told{};
    {
        const FailingNew failing(1, FailingNew::Mode::Once);
        fails(1);
        told[0] = failing.hasFailed();
        fails(1);
        fails(1);
        told[1] = failing.hasFailed();
    }
    EXPECT_EQ(told, (std::array<bool, 2>{false, true}));
}

TEST(FailingNew, CountsLiveAllocations) {
    const std::size_t before = vexa::test::liveAllocations();
    void* const one = ::operator new(1);
    void* const two = ::operator new[](1);
    EXPECT_EQ(vexa::test::liveAllocations(), before + 2);
    ::operator delete(one);
    ::operator delete[](two);
    EXPECT_EQ(vexa::test::liveAllocations(), before);
}

} // namespace
