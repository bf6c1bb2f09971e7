#include "support/ToolProcess.h"

#include "cli/Console.h"
#include "commands/Commands.h"
#include "support/Paths.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace tool_test {

namespace fs = std::filesystem;

namespace {

constexpr unsigned int longestRunSeconds = 120;

/// A file without a name.
class MemoryFile {
public:
    MemoryFile() : descriptor_(::memfd_create("output", MFD_CLOEXEC)) {
        if (descriptor_ < 0) {
            throw std::runtime_error("memfd_create failed");
        }
    }
    MemoryFile(const MemoryFile&) = delete;
    MemoryFile& operator=(const MemoryFile&) = delete;
    ~MemoryFile() { ::close(descriptor_); }

    void replace(int descriptor) const { ::dup2(descriptor_, descriptor); }

    void fill(const std::string& text) const {
        if (::pwrite(descriptor_, text.data(), text.size(), 0) != static_cast<ssize_t>(text.size())) {
            throw std::runtime_error("pwrite failed");
        }
    }

    [[nodiscard]] std::string content() const {
        std::string text(static_cast<std::size_t>(::lseek(descriptor_, 0, SEEK_END)), '\0');
        const ssize_t count = ::pread(descriptor_, text.data(), text.size(), 0);
        text.resize(static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
        return text;
    }

private:
    int descriptor_;
};

/// Runs `child` in a forked process and waits for it.
template <typename Child>
ProcessResult runChild(const Child& child) {
    const MemoryFile out;
    const MemoryFile err;
    const pid_t pid = ::fork();
    if (pid < 0) {
        throw std::runtime_error("fork failed");
    }
    if (pid == 0) {
        out.replace(STDOUT_FILENO);
        err.replace(STDERR_FILENO);
        ::alarm(longestRunSeconds);
        child();
        ::_exit(127);
    }
    int status = 0;
    rusage usage{};
    ::wait4(pid, &status, 0, &usage);
    ProcessResult result;
    result.maxMemory = static_cast<std::size_t>(usage.ru_maxrss) * 1024;
    if (WIFEXITED(status)) {
        result.exitCode = WEXITSTATUS(status);
    } else {
        result.signal = WTERMSIG(status);
    }
    result.out = out.content();
    result.err = err.content();
    return result;
}

std::vector<const char*> argumentVector(const std::vector<std::string>& arguments) {
    std::vector<const char*> argv{programPath};
    for (const std::string& argument : arguments) {
        argv.push_back(argument.c_str());
    }
    argv.push_back(nullptr);
    return argv;
}

void writeAll(int descriptor, const std::string& text) {
    std::size_t done = 0;
    while (done < text.size()) {
        const ssize_t count = ::write(descriptor, text.data() + done, text.size() - done);
        if (count <= 0) {
            ::_exit(126);
        }
        done += static_cast<std::size_t>(count);
    }
}

} // namespace

TemporaryDirectory::TemporaryDirectory() {
    std::string name = (fs::temp_directory_path() / "vexameshTest.XXXXXX").string();
    if (::mkdtemp(name.data()) == nullptr) {
        throw std::runtime_error("no temporary directory");
    }
    path_ = name;
}

TemporaryDirectory::~TemporaryDirectory() {
    std::error_code error;
    fs::remove_all(path_, error);
}

std::vector<std::string> TemporaryDirectory::files() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(path_)) {
        names.push_back(entry.path().filename().string());
    }
    std::sort(names.begin(), names.end());
    return names;
}

ProcessResult runProgram(const std::vector<std::string>& arguments) {
    const std::vector<const char*> argv = argumentVector(arguments);
    return runChild([&] { ::execv(programPath, const_cast<char* const*>(argv.data())); });
}

ProcessResult runProgram(const std::vector<std::string>& arguments, const std::string& input) {
    const std::vector<const char*> argv = argumentVector(arguments);
    const MemoryFile in;
    in.fill(input);
    return runChild([&] {
        in.replace(STDIN_FILENO);
        ::execv(programPath, const_cast<char* const*>(argv.data()));
    });
}

ProcessResult runForked(const std::vector<std::string>& arguments) {
    const std::vector<const char*> argv = argumentVector(arguments);
    return runChild([&] {
        std::ostringstream out;
        std::ostringstream err;
        vexa::tool::Console console(out, err);
        const int code = vexa::tool::runTool(static_cast<int>(argv.size()) - 1, argv.data(), console);
        writeAll(STDOUT_FILENO, out.str());
        writeAll(STDERR_FILENO, err.str());
        ::_exit(code);
    });
}

std::string readText(const fs::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

void writeText(const fs::path& file, const std::string& text) {
    std::ofstream stream(file, std::ios::binary);
    stream << text;
    if (!stream.flush()) {
        throw std::runtime_error("cannot write " + file.string());
    }
}

std::size_t countOf(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

} // namespace tool_test
