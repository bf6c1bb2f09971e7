#include "PeakMemory.h"

#include <exception>
#include <fstream>
#include <malloc.h>
#include <string>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace bench {

namespace {

/// Reads a line of /proc/self/status whose unit is kB.
std::uint64_t readStatus(const std::string& key) {
    std::ifstream status("/proc/self/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with(key + ":")) {
            return std::stoull(line.substr(key.size() + 1)) * 1024;
        }
    }
    return 0;
}

[[noreturn]] void measureInChild(const std::function<void()>& function, int target) {
    // A huge page would count in full however little of it is touched.
    prctl(PR_SET_THP_DISABLE, 1, 0, 0, 0);
    // The threshold of a fresh process; the parent's has grown with every large block that it freed.
    mallopt(M_MMAP_THRESHOLD, 128 * 1024);
    bool done = false;
    const std::uint64_t before = readStatus("VmRSS");
    const std::uint64_t codeBefore = readStatus("RssFile");
    try {
        function();
        done = true;
    } catch (const std::exception&) { // the missing answer reports it
    }
    // Code pages that are mapped for the first time are not the function's memory.
    const std::uint64_t baseline = before + readStatus("RssFile") - codeBefore;
    const std::uint64_t peakResident = readStatus("VmHWM");
    const std::uint64_t peak = peakResident > baseline ? peakResident - baseline : 0;
    done = done && write(target, &peak, sizeof(peak)) == sizeof(peak);
    _exit(done ? 0 : 1);
}

} // namespace

std::optional<std::uint64_t> peakBytesOf(const std::function<void()>& function) {
    // The child could use free memory that the process holds without growing, and its peak starts at its initial size:
    // so trim before the fork.
    malloc_trim(0);
    int ends[2];
    if (pipe(ends) != 0) {
        return std::nullopt;
    }
    const pid_t child = fork();
    if (child == 0) {
        close(ends[0]);
        measureInChild(function, ends[1]);
    }
    close(ends[1]);
    std::uint64_t peak = 0;
    const bool answered = child > 0 && read(ends[0], &peak, sizeof(peak)) == sizeof(peak);
    close(ends[0]);
    int status = 0;
    if (child > 0) {
        waitpid(child, &status, 0);
    }
    return answered ? std::optional(peak) : std::nullopt;
}

} // namespace bench
