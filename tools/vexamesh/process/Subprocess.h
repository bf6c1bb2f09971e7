#pragma once

#include "io/Bytes.h"

#include <chrono>
#include <cstddef>
#include <functional>
#include <optional>
#include <stdexcept>
#include <string>
#include <sys/types.h>
#include <type_traits>

namespace vexa::tool {

/// What a child process may take; 0 is without limit.
struct ProcessLimits {
    std::size_t memory = 0;   ///< bytes of address space beyond those of its parent
    unsigned int seconds = 0; ///< of the clock, and of the processor
};

/// A child process that did not do what it was to do; the text tells how it ended.
class ProcessError : public std::runtime_error {
public:
    enum class Cause { Crash, Memory, Time };

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

/// A child process that runs a function and sends its parent something.
///
/// It is forked, so that the caller must have no other threads, and prints nothing. It ends with its parent.
class ChildProcess {
public:
    /// \param work runs in the child
    /// \throw std::runtime_error there can be no further process
    explicit ChildProcess(const std::function<void(PipeWriter&)>& work, const ProcessLimits& limits = {});
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;
    /// Ends the child if `wait` was not called.
    ~ChildProcess();

    /// Reads what the child sends.
    ///
    /// \throw ProcessError it has ended before it sent that, or has reached a limit
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

    /// To learn with `poll` when there is something to read.
    [[nodiscard]] int descriptor() const { return descriptor_; }

private:
    [[noreturn]] void failAtEnd();
    [[noreturn]] void failForTime();
    void waitForInput();
    int reap();

    ProcessLimits limits_;
    std::optional<std::chrono::steady_clock::time_point> deadline_;
    pid_t pid_ = -1;
    int descriptor_ = -1;
};

} // namespace vexa::tool
