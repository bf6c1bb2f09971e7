#pragma once

#include "vexa/mesh/Executor.h"

#include <cstddef>
#include <functional>
#include <span>

namespace vexa::mesh::detail {

/// Calls `work(i)` once for each triangle list, in any order and in several threads at once: large lists first, so that
/// none of them is left for the end, and small ones several to a task.
///
/// \param caller name of the public function, with which the messages begin
/// \throw std::invalid_argument the number of indices of a list is not a multiple of 3, or an index is 4294967295: names the
///                              first such list, before any work begins
/// \throw std::length_error     a list has more triangles than strips can be built from, likewise
/// Also throws whatever the work and the executor throw.
void forEachList(const char* caller, std::span<const std::span<const unsigned int>> lists, const Executor& executor,
                 const std::function<void(std::size_t)>& work);

} // namespace vexa::mesh::detail
