#include "process/Subprocess.h"

#include "process/Interruption.h"
#include "process/Memory.h"

#include <algorithm>
#include <cerrno>
#include <climits>
#include <csignal>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <fstream>
#include <new>
#include <poll.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace vexa::tool {

namespace {

constexpr int outOfMemoryCode = 100;
constexpr int failureCode = 101;
constexpr int pipeSize = 1 << 20;

/// The pipes of all child processes of this one.
std::vector<int>& openPipes() {
    static std::vector<int> descriptors;
    return descriptors;
}

/// Bytes of address space that this process has.
std::size_t addressSpace() {
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    return pages * static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
}

void setLimit(__rlimit_resource_t resource, rlim_t value) {
    rlimit limit{};
    ::getrlimit(resource, &limit);
    // Never more than what the program was started with.
    limit.rlim_cur = std::min({value, limit.rlim_cur, limit.rlim_max});
    ::setrlimit(resource, &limit);
}

/// The address space that this process may have, if a child with these limits cannot have more.
std::optional<rlim_t> lowerSystemLimit(const ProcessLimits& limits) {
    rlimit limit{};
    ::getrlimit(RLIMIT_AS, &limit);
    const bool isLower =
        limit.rlim_cur != RLIM_INFINITY && (limits.memory == 0 || limit.rlim_cur < addressSpace() + limits.memory);
    return isLower ? std::optional(limit.rlim_cur) : std::nullopt;
}

void applyLimits(const ProcessLimits& limits) {
    setLimit(RLIMIT_CORE, 0);
    if (limits.memory != 0) {
        setLimit(RLIMIT_AS, addressSpace() + limits.memory);
        disregardAddressLimit();
        // Otherwise a library may catch the exception and report a fault of the file.
        std::set_new_handler([] { ::_exit(outOfMemoryCode); });
    }
    if (limits.seconds != 0) {
        setLimit(RLIMIT_CPU, limits.seconds);
    }
}

/// \param count what a read returned
void checkRead(ssize_t count) {
    if (count < 0 && errno != EINTR) {
        throw ProcessError(ProcessError::Cause::Crash, "broke off: " + std::generic_category().message(errno));
    }
}

/// Libraries print when they end the process, which would only confuse the user.
void silence() {
    const int nowhere = ::open("/dev/null", O_RDWR);
    if (nowhere >= 0) {
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(nowhere, STDERR_FILENO);
    }
    if (nowhere > STDERR_FILENO) {
        ::close(nowhere);
    }
}

/// Throws if an interruption ended the process.
void checkInterruption(int status) {
    const int signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    if (signal == SIGINT || signal == SIGTERM || signal == SIGHUP || signal == SIGQUIT || signal == SIGKILL) {
        throw ProcessError(ProcessError::Cause::Interruption,
                           std::string("was interrupted (") + ::strsignal(signal) + ")");
    }
}

[[noreturn]] void throwForTime(const ProcessLimits& limits) {
    throw ProcessError(ProcessError::Cause::Time, "took more than " + std::to_string(limits.seconds) +
                                                      (limits.seconds == 1 ? " second" : " seconds"));
}

[[noreturn]] void runChild(const std::function<void(PipeWriter&)>& work, const ProcessLimits& limits, pid_t parent,
                           int deathSignal, int output) {
    ::prctl(PR_SET_PDEATHSIG, deathSignal);
    if (::getppid() != parent) {
        ::_exit(failureCode);
    }
    DeferredInterruption::leaveToParent();
    for (const int descriptor : openPipes()) {
        ::close(descriptor);
    }
    openPipes().clear();
    for (const int signal : {SIGSEGV, SIGBUS, SIGFPE, SIGILL, SIGABRT, SIGXCPU}) {
        std::signal(signal, SIG_DFL);
    }
    std::signal(SIGPIPE, SIG_IGN);
    silence();
    applyLimits(limits);
    try {
        PipeWriter writer(output);
        work(writer);
    } catch (const std::bad_alloc&) {
        ::_exit(outOfMemoryCode);
    } catch (...) {
        ::_exit(failureCode);
    }
    // Not through exit: what the parent has not printed yet is the parent's to print.
    ::_exit(0);
}

} // namespace

void PipeWriter::writeBytes(const void* data, std::size_t size) {
    const auto* at = static_cast<const unsigned char*>(data);
    while (size > 0) {
        const ssize_t count = ::write(descriptor_, at, size);
        if (count < 0 && errno != EINTR) {
            ::_exit(failureCode);
        }
        at += std::max<ssize_t>(count, 0);
        size -= static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
}

void PipeWriter::writeBlock(const void* data, std::size_t size) {
    writeValue(size);
    writeBytes(data, size);
}

ChildProcess::ChildProcess(const std::function<void(PipeWriter&)>& work, const ProcessLimits& limits, int deathSignal)
    : limits_(limits) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) {
        throw std::runtime_error("cannot open a pipe to another process: " + std::generic_category().message(errno));
    }
    const pid_t self = ::getpid();
    pid_ = ::fork();
    if (pid_ == 0) {
        ::close(ends[0]);
        runChild(work, limits, self, deathSignal, ends[1]);
    }
    const int error = errno;
    ::close(ends[1]);
    if (pid_ < 0) {
        ::close(ends[0]);
        throw std::runtime_error("cannot start another process: " + std::generic_category().message(error));
    }
    descriptor_ = ends[0];
    openPipes().push_back(descriptor_);
    // Larger than usual, for fewer changes between the two processes; it works without, too.
    ::fcntl(descriptor_, F_SETPIPE_SZ, pipeSize);
    if (limits.seconds != 0) {
        deadline_ = std::chrono::steady_clock::now() + std::chrono::seconds(limits.seconds);
    }
}

ChildProcess::~ChildProcess() {
    end(SIGKILL);
    reap();
    std::erase(openPipes(), descriptor_);
    ::close(descriptor_);
}

void ChildProcess::end(int signal) const {
    if (pid_ > 0) {
        ::kill(pid_, signal);
    }
}

void ChildProcess::terminate(std::chrono::milliseconds grace) {
    end(SIGTERM);
    deadline_ = std::chrono::steady_clock::now() + grace;
}

void ChildProcess::waitForInput() {
    if (!deadline_) {
        return;
    }
    pollfd input{descriptor_, POLLIN, 0};
    for (;;) {
        const auto left =
            std::chrono::duration_cast<std::chrono::milliseconds>(*deadline_ - std::chrono::steady_clock::now());
        const auto timeout = std::clamp<std::int64_t>(left.count(), 0, INT_MAX);
        const int ready = ::poll(&input, 1, static_cast<int>(timeout));
        if (ready > 0) {
            return;
        }
        if (ready == 0 && left.count() <= 0) {
            failForTime();
        }
    }
}

void ChildProcess::readBytes(void* data, std::size_t size) {
    auto* at = static_cast<unsigned char*>(data);
    while (size > 0) {
        waitForInput();
        const ssize_t count = ::read(descriptor_, at, size);
        if (count == 0) {
            failAtEnd();
        }
        checkRead(count);
        at += std::max<ssize_t>(count, 0);
        size -= static_cast<std::size_t>(std::max<ssize_t>(count, 0));
    }
}

Bytes ChildProcess::readBlock() {
    Bytes block(readValue<std::size_t>());
    readBytes(block.data(), block.size());
    return block;
}

std::string ChildProcess::readText() {
    std::string text(readValue<std::size_t>(), '\0');
    readBytes(text.data(), text.size());
    return text;
}

int ChildProcess::reap() {
    int status = 0;
    while (pid_ > 0 && ::waitpid(pid_, &status, 0) < 0 && errno == EINTR) {
    }
    pid_ = -1;
    return status;
}

void ChildProcess::failForTime() {
    end(SIGKILL);
    reap();
    throwForTime(limits_);
}

void ChildProcess::failAtEnd() {
    const int status = reap();
    if (WIFSIGNALED(status) && WTERMSIG(status) == SIGXCPU) {
        throwForTime(limits_);
    }
    checkInterruption(status);
    if (WIFSIGNALED(status)) {
        throw ProcessError(ProcessError::Cause::Crash, std::string("crashed (") + ::strsignal(WTERMSIG(status)) + ")");
    }
    if (WEXITSTATUS(status) == outOfMemoryCode) {
        if (const auto limit = lowerSystemLimit(limits_)) {
            throw ProcessError(ProcessError::Cause::SystemMemory, "needed more memory than the " +
                                                                      std::to_string(*limit >> 20) +
                                                                      " MiB that the program was started with");
        }
        throw ProcessError(ProcessError::Cause::Memory,
                           "needed more than " + std::to_string(limits_.memory >> 20) + " MiB of memory");
    }
    throw ProcessError(ProcessError::Cause::Crash, "ended before it was done");
}

void ChildProcess::wait() {
    unsigned char more = 0;
    waitForInput();
    ssize_t count = 0;
    do {
        count = ::read(descriptor_, &more, 1);
        checkRead(count);
    } while (count < 0);
    if (count > 0) {
        throw ProcessError(ProcessError::Cause::Crash, "sent more than it was asked for");
    }
    const int status = reap();
    checkInterruption(status);
    if (!WIFEXITED(status) || WEXITSTATUS(status) != 0) {
        throw ProcessError(ProcessError::Cause::Crash, "did not end as it should");
    }
}

} // namespace vexa::tool
