#include "alloc/EveryAllocation.h"

#include "alloc/FailingNew.h"

#include <gtest/gtest.h>

#include <new>

namespace vexa::test {

void failEveryAllocation(const std::function<void()>& operation, const std::function<void()>& check,
                         std::size_t minCount) {
    for (std::size_t n = 0;; ++n) {
        const std::size_t before = liveAllocations();
        bool hasThrown = false;
        bool hasFailed = false;
        {
            const FailingNew failing(n, FailingNew::Mode::Once);
            try {
                operation();
            } catch (const std::bad_alloc&) {
                hasThrown = true;
            }
            hasFailed = failing.hasFailed();
        }
        if (!hasFailed) {
            ASSERT_FALSE(hasThrown);
            ASSERT_GE(n, minCount);
            return;
        }
        ASSERT_LE(liveAllocations(), before) << "allocation " << n;
        if (hasThrown) {
            ASSERT_EQ(liveAllocations(), before) << "allocation " << n;
            check();
        }
    }
}

} // namespace vexa::test
