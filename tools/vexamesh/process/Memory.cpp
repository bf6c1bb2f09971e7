#include "process/Memory.h"

#include <algorithm>
#include <fstream>
#include <malloc.h>
#include <sstream>
#include <sys/resource.h>
#include <unistd.h>

namespace vexa::tool {

namespace fs = std::filesystem;

namespace {

constexpr std::uint64_t bytesPerMiB = 1 << 20;

std::optional<std::size_t>& maxMemorySetting() {
    static std::optional<std::size_t> mebibytes;
    return mebibytes;
}

bool& countsAddresses() {
    static bool counts = true;
    return counts;
}

/// The number after a word at the beginning of a line: "MemFree: 12 kB", "anon 4096".
std::optional<std::uint64_t> findNumber(const fs::path& file, const std::string& word) {
    std::ifstream lines(file);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string first;
        std::uint64_t number = 0;
        if (words >> first && first == word && words >> number) {
            return number;
        }
    }
    return std::nullopt;
}

/// What a file holds, if that is a number.
std::optional<std::uint64_t> readNumber(const fs::path& file) {
    std::uint64_t number = 0;
    std::ifstream stream(file);
    return stream >> number ? std::optional(number) : std::nullopt;
}

/// The pages of a process, in bytes.
struct Pages {
    std::uint64_t addresses = 0;
    std::uint64_t resident = 0;
};

Pages pagesOf(const fs::path& process) {
    Pages pages;
    std::ifstream(process / "statm") >> pages.addresses >> pages.resident;
    const auto size = static_cast<std::uint64_t>(::sysconf(_SC_PAGESIZE));
    return {pages.addresses * size, pages.resident * size};
}

/// Freed by this process, but not given back to the system.
std::uint64_t keptByAllocator() {
#ifdef __GLIBC_PREREQ
#if __GLIBC_PREREQ(2, 33)
    return ::mallinfo2().fordblks;
#endif
#endif
    return 0;
}

std::uint64_t freeSwap(const fs::path& root) {
    return findNumber(root / "proc/meminfo", "SwapFree:").value_or(0) * 1024;
}

std::optional<std::uint64_t> freeInMachine(const fs::path& root) {
    const fs::path file = root / "proc/meminfo";
    const auto available = findNumber(file, "MemAvailable:");
    if (!available) {
        return std::nullopt;
    }
    // The system counts only a part of these as available.
    std::uint64_t reclaimable = 0;
    for (const char* word : {"MemFree:", "Buffers:", "Cached:", "SReclaimable:"}) {
        reclaimable += findNumber(file, word).value_or(0);
    }
    return std::max(*available, reclaimable) * 1024 + freeSwap(root);
}

/// The files of a version of control groups.
struct GroupFiles {
    const char* directory;
    const char* limit;
    const char* used; ///< in `memory.stat`: without the files in memory
};

constexpr GroupFiles firstVersion{"sys/fs/cgroup/memory", "memory.limit_in_bytes", "total_rss"};
constexpr GroupFiles secondVersion{"sys/fs/cgroup", "memory.max", "anon"};

/// The least that a group and those around it leave.
std::optional<std::uint64_t> freeInGroup(const fs::path& root, const GroupFiles& files, fs::path group) {
    std::optional<std::uint64_t> least;
    for (bool isOutermost = false; !isOutermost; group = group.parent_path()) {
        isOutermost = group.empty();
        const fs::path directory = root / files.directory / group;
        const auto limit = readNumber(directory / files.limit);
        const auto used = findNumber(directory / "memory.stat", files.used);
        if (limit && used) {
            least = std::min(least.value_or(*limit), *limit - std::min(*limit, *used));
        }
    }
    return least;
}

/// Lines such as "4:memory:/a/b", of the second version "0::/a/b".
std::optional<std::uint64_t> freeInGroups(const fs::path& root) {
    std::optional<std::uint64_t> least;
    std::ifstream lines(root / "proc/self/cgroup");
    for (std::string line; std::getline(lines, line);) {
        const std::size_t first = line.find(':');
        const std::size_t second = line.find(":/", first == std::string::npos ? first : first + 1);
        if (second == std::string::npos) {
            continue;
        }
        const std::string controllers = "," + line.substr(first + 1, second - first - 1) + ",";
        const bool isSecond = controllers == ",,";
        if (isSecond || controllers.find(",memory,") != std::string::npos) {
            const auto left = freeInGroup(root, isSecond ? secondVersion : firstVersion, line.substr(second + 2));
            least = left ? std::min(least.value_or(*left), *left) : least;
        }
    }
    return least ? std::optional(*least + freeSwap(root)) : std::nullopt;
}

std::optional<std::uint64_t> freeAddresses(const fs::path& root) {
    rlimit limit{};
    if (!countsAddresses() || ::getrlimit(RLIMIT_AS, &limit) != 0 || limit.rlim_cur == RLIM_INFINITY) {
        return std::nullopt;
    }
    return limit.rlim_cur - std::min<std::uint64_t>(limit.rlim_cur, pagesOf(root / "proc/self").addresses);
}

} // namespace

std::optional<FreeMemory> findFreeMemory(const fs::path& root) {
    std::optional<FreeMemory> least;
    const auto consider = [&](const std::optional<std::uint64_t>& bytes, const char* owner) {
        if (bytes && (!least || *bytes + keptByAllocator() < least->bytes)) {
            least = {*bytes + keptByAllocator(), owner, false};
        }
    };
    if (const auto most = maxMemory()) {
        const std::uint64_t bytes = *most * bytesPerMiB;
        return FreeMemory{bytes - std::min(bytes, pagesOf(root / "proc/self").resident), "--max-memory", true};
    }
    consider(freeInMachine(root), "the machine");
    consider(freeInGroups(root), "the control group (cgroup)");
    consider(freeAddresses(root), "the limit on address space (ulimit -v)");
    return least;
}

void setMaxMemory(std::optional<std::size_t> mebibytes) {
    maxMemorySetting() = mebibytes;
}

std::optional<std::size_t> maxMemory() {
    return maxMemorySetting();
}

void disregardAddressLimit() {
    countsAddresses() = false;
}

std::uint64_t residentMemory(int process) {
    return pagesOf("/proc/" + std::to_string(process)).resident;
}

} // namespace vexa::tool
