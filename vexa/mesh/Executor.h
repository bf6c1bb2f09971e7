#pragma once

#include "vexa/mesh/Export.h"

#include <cstddef>
#include <functional>

/// Operations in threads of the program's own.
namespace vexa::mesh {

/// Shares the tasks of an operation between threads that the caller provides: of a thread pool, or of a library for tasks.
///
/// Called in the thread that called the operation, perhaps several times in turn. Must call `task(i)` once for every `i`
/// below `count`, in any order and in any threads, and return when all calls have returned. Tasks never throw: their
/// exceptions are passed to the caller of the operation. They never wait for one another, so that one thread may make all
/// of the calls, the calling thread too. What an executor leaves out is done in the calling thread.
///
/// Results are the same to the bit with every executor. An empty one leaves everything to the calling thread. If the
/// executor itself throws, which it may do while none of the tasks is running, its exception leaves the operation.
using Executor = std::function<void(std::size_t count, const std::function<void(std::size_t)>& task)>;

/// An executor for programs without a thread pool: starts threads whenever it is called, and ends them.
///
/// May be called in several threads at once; each call has threads of its own. If the system cannot start as many, fewer
/// do the work.
///
/// \param threads most threads of a call, the calling one included; 0 for as many as the processor runs
VEXA_MESH_EXPORT Executor startThreads(unsigned threads = 0);

} // namespace vexa::mesh
