#pragma once

#include "base/Bytes.h"

#include <chrono>
#include <csignal>
#include <cstddef>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <type_traits>

namespace vexa::tool {

/// Limits on a child process; 0 is unlimited.
struct ProcessLimits {
    std::size_t memory = 0;   ///< bytes of address space beyond those of its parent
    unsigned int seconds = 0; ///< of wall-clock time, and of processor time
};

/// A child process that did not finish its work; the text says how it ended.
class ProcessError : public std::runtime_error {
public:
    enum class Cause {
        Crash,
        Memory,       ///< it reached `ProcessLimits::memory`
        SystemMemory, ///< it reached a lower limit, which this process was started with
        Time,
        Interruption ///< another process or a person ended it
    };

    ProcessError(Cause cause, const std::string& what) : std::runtime_error(what), cause_(cause) {}
    [[nodiscard]] Cause cause() const { return cause_; }

private:
    Cause cause_;
};

/// The child's end of a pipe to its parent.
class PipeWriter {
public:
    explicit PipeWriter(int descriptor) : descriptor_(descriptor) {}

    void writeBytes(const void* data, std::size_t size);
    void writeBlock(const void* data, std::size_t size);
    void writeText(const std::string& text) { writeBlock(text.data(), text.size()); }

    template <typename T>
    void writeValue(const T& value) {
        static_assert(std::is_trivially_copyable_v<T>);
        writeBytes(&value, sizeof value);
    }

private:
    int descriptor_;
};

/// A child process that runs a function and sends data to its parent.
///
/// It is forked, so the caller must not have other threads. It prints nothing, and of its parent's child processes it
/// inherits nothing.
class ChildProcess {
public:
    /// \param work        runs in the child
    /// \param deathSignal ends the child when its parent dies: SIGTERM if it writes files
    /// \throw std::runtime_error the system refuses another process or pipe
    explicit ChildProcess(const std::function<void(PipeWriter&)>& work, const ProcessLimits& limits = {},
                          int deathSignal = SIGKILL);
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    /// Kills the child if `wait` was not called.
    ~ChildProcess();

    /// Reads what the child sends.
    ///
    /// \throw ProcessError it ended before it sent that, or reached a limit
    void readBytes(void* data, std::size_t size);
    Bytes readBlock();
    std::string readText();

    template <typename T>
    T readValue() {
        static_assert(std::is_trivially_copyable_v<T>);
        T value;
        readBytes(&value, sizeof value);
        return value;
    }

    /// Waits until the child has ended.
    ///
    /// \throw ProcessError it did not end by itself
    void wait();

    /// Asks the child to end. What it has sent can still be read; `grace` later it is killed.
    void terminate(std::chrono::milliseconds grace);

    /// To wait with `poll` until there is something to read.
    [[nodiscard]] int descriptor() const { return descriptor_; }

private:
    [[noreturn]] void failAtEnd();
    [[noreturn]] void failForTime();
    void waitForInput();
    void end(int signal) const;
    int reap();

    ProcessLimits limits_;
    std::optional<std::chrono::steady_clock::time_point> deadline_;
    pid_t pid_ = -1;
    int descriptor_ = -1;
};

} // namespace vexa::tool
