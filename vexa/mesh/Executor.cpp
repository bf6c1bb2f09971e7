#include "vexa/mesh/Executor.h"

#include "vexa/mesh/detail/strips/WorkTeam.h"

#include <algorithm>
#include <cstdint>
#include <limits>

namespace vexa::mesh {

Executor startThreads(unsigned threads) {
    return [threads](std::size_t count, const std::function<void(std::size_t)>& task) {
        constexpr std::size_t most = std::numeric_limits<std::uint32_t>::max();
        detail::WorkTeam team(static_cast<unsigned>(std::min<std::size_t>(detail::threadsAllowed(threads), count)));
        for (std::size_t begin = 0; begin < count; begin += most) {
            team.forEach(static_cast<std::uint32_t>(std::min(count - begin, most)),
                         [&](std::uint32_t i, unsigned) { task(begin + i); });
        }
    };
}

} // namespace vexa::mesh
