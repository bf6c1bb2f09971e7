#include "vexa/mesh/detail/strips/ManyLists.h"

#include "vexa/mesh/detail/strips/TriangleList.h"
#include "vexa/mesh/detail/strips/WorkTeam.h"

#include <algorithm>
#include <cstdint>
#include <numeric>
#include <string>
#include <vector>

namespace vexa::mesh::detail {

namespace {

/// Of a task, unless it is the last: handing over fewer to another thread costs more than they take.
constexpr std::size_t minIndices = std::size_t{3} * 4096;

void checkLists(const char* caller, std::span<const std::span<const unsigned int>> lists) {
    for (std::size_t i = 0; i < lists.size(); ++i) {
        checkStripTriangles((caller + (": mesh " + std::to_string(i))).c_str(), lists[i]);
    }
}

} // namespace

void forEachList(const char* caller, std::span<const std::span<const unsigned int>> lists, const Executor& executor,
                 const std::function<void(std::size_t)>& work) {
    checkLists(caller, lists);
    std::vector<std::size_t> order(lists.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    std::stable_sort(order.begin(), order.end(),
                     [&](std::size_t a, std::size_t b) { return lists[a].size() > lists[b].size(); });
    std::vector<std::size_t> taskEnds;
    std::size_t indices = 0;
    for (std::size_t i = 0; i < order.size(); ++i) {
        indices += lists[order[i]].size();
        if (indices >= minIndices || i + 1 == order.size()) {
            taskEnds.push_back(i + 1);
            indices = 0;
        }
    }
    WorkTeam team(executor, threadsAllowed(0));
    team.forEach(static_cast<std::uint32_t>(taskEnds.size()), [&](std::uint32_t task, unsigned) {
        for (std::size_t i = task == 0 ? 0 : taskEnds[task - 1]; i < taskEnds[task]; ++i) {
            work(order[i]);
        }
    });
}

} // namespace vexa::mesh::detail
