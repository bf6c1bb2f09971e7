#pragma once

#include <cstddef>
#include <functional>

namespace vexa::test {

/// Lets one allocation of an operation after the other fail, until none is left to fail. Expects that each time nothing
/// is left behind, and calls a check each time that the failure made the operation throw: the standard library's stable
/// sort, for example, manages with less memory.
///
/// \param minCount how many allocations the operation makes at least
void failEveryAllocation(
    const std::function<void()>& operation, const std::function<void()>& check = [] {}, std::size_t minCount = 2);

} // namespace vexa::test
