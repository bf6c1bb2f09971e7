#pragma once

#include <vexa/mesh/Executor.h>

#include <algorithm>
#include <cstddef>
#include <functional>
#include <string>
#include <thread>
#include <vector>

namespace executors {

using Task = std::function<void(std::size_t)>;

struct NamedExecutor {
    std::string name;
    vexa::mesh::Executor run;
};

inline void inReverse(std::size_t count, const Task& task) {
    while (count > 0) {
        task(--count);
    }
}

inline void inAThreadEach(std::size_t count, const Task& task) {
    std::vector<std::thread> threads;
    for (std::size_t i = 0; i < count; ++i) {
        threads.emplace_back(task, i);
    }
    std::for_each(threads.begin(), threads.end(), [](std::thread& thread) { thread.join(); });
}

inline void inAnotherThread(std::size_t count, const Task& task) {
    std::thread([&] { inReverse(count, task); }).join();
}

/// Executors of many kinds, some of which leave tasks out.
inline std::vector<NamedExecutor> all() {
    return {{"none", {}},
            {"the calling thread", inReverse},
            {"a thread for each", inAThreadEach},
            {"another thread", inAnotherThread},
            {"threads that are started", vexa::mesh::startThreads(3)},
            {"as many as the processor runs", vexa::mesh::startThreads()},
            {"nobody", [](std::size_t, const Task&) {}},
            {"the first only", [](std::size_t, const Task& task) { task(0); }}};
}

} // namespace executors
