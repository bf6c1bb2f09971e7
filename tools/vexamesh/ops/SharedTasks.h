#pragma once

#include <cstddef>
#include <functional>
#include <vector>

namespace vexa::tool {

/// Shares tasks between threads, the largest first, so that none of them is left for the end.
///
/// A task that is refused for lack of memory (`FormatError`) while others run is called again once they have ended, alone
/// and in the calling thread.
///
/// \param sizes   of the tasks, in any unit
/// \param threads most threads, the calling one included; 1: calls all tasks there, in their order
/// \param isDivisible whether a task can use several threads itself: one that holds more than half of all then comes first,
///                with all of them
/// \param work    called as `work(task, threads)` with the threads that it may use, otherwise 1 of them
/// Also throws whatever a task throws, once none is running any more; tasks that have not begun are then left out.
void shareTasks(const std::vector<std::size_t>& sizes, unsigned threads, bool isDivisible,
                const std::function<void(std::size_t, unsigned)>& work);

} // namespace vexa::tool
