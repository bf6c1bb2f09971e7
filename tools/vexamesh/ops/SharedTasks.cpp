#include "ops/SharedTasks.h"

#include "base/Errors.h"

#include <algorithm>
#include <mutex>
#include <numeric>
#include <vexa/mesh/Executor.h>

namespace vexa::tool {

void shareTasks(const std::vector<std::size_t>& sizes, unsigned threads, bool isDivisible,
                const std::function<void(std::size_t, unsigned)>& work) {
    if (threads == 1 || sizes.size() < 2) {
        for (std::size_t task = 0; task < sizes.size(); ++task) {
            work(task, threads);
        }
        return;
    }
    std::vector<std::size_t> order(sizes.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(), [&](std::size_t a, std::size_t b) { return sizes[a] > sizes[b]; });
    const std::size_t largest = sizes[order.front()];
    const std::size_t others = std::accumulate(sizes.begin(), sizes.end(), std::size_t{0}) - largest;
    if (isDivisible && largest > others) {
        work(order.front(), threads);
        order.erase(order.begin());
    }
    std::mutex mutex;
    std::vector<std::size_t> refused;
    const mesh::Executor executor = mesh::startThreads(threads);
    executor(order.size(), [&](std::size_t place) {
        try {
            work(order[place], 1);
        } catch (const FormatError&) {
            const std::lock_guard lock(mutex);
            refused.push_back(order[place]);
        }
    });
    std::sort(refused.begin(), refused.end());
    for (const std::size_t task : refused) {
        work(task, threads);
    }
}

} // namespace vexa::tool
