#include "MemoryStream.h"

#include <csignal>
#include <cstddef>
#include <cstring>
#include <sched.h>
#include <stdexcept>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

namespace bench {

namespace {

[[noreturn]] void stream() {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    cpu_set_t own;
    cpu_set_t others;
    CPU_ZERO(&others);
    sched_getaffinity(0, sizeof own, &own);
    for (std::size_t core = 0; core < CPU_SETSIZE; ++core) {
        if (!CPU_ISSET(core, &own)) {
            CPU_SET(core, &others);
        }
    }
    sched_setaffinity(0, sizeof others, &others);
    // Far larger than any cache.
    constexpr std::size_t size = std::size_t{1} << 28;
    std::vector<unsigned char> from(size, 1);
    std::vector<unsigned char> to(size);
    for (;;) {
        std::memcpy(to.data(), from.data(), size);
        from.swap(to);
    }
}

} // namespace

MemoryStream::MemoryStream() : process_(fork()) {
    if (process_ == 0) {
        stream();
    }
    if (process_ < 0) {
        throw std::runtime_error("cannot start a process that streams memory");
    }
}

MemoryStream::~MemoryStream() {
    kill(process_, SIGKILL);
    waitpid(process_, nullptr, 0);
}

} // namespace bench
