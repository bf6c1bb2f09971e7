#pragma once

#include <cstddef>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace vexa::test {

/// Boost.Log's trivial levels, so that suites need none of its headers.
enum class Severity { Trace, Debug, Info, Warning, Error, Fatal };

/// One log record as it reached the sink. Absent attributes read -1 and "".
struct LogRecord {
    Severity severity = Severity::Trace;
    std::string message;
    int line = -1;
    std::string function;
    std::string file;

    friend bool operator==(const LogRecord&, const LogRecord&) = default;
};

/// Collects every log record of the process from its construction to its destruction.
///
/// Its sink is the only one while it lives, unless others are added, so what it refuses is refused by the core.
class LogCapture {
public:
    static constexpr std::size_t never = std::numeric_limits<std::size_t>::max();

    /// \param minimum less severe records are refused
    /// \param throwAt 0-based number of the record at which the sink throws std::runtime_error("log sink"); that record
    ///                is not kept, later ones are
    explicit LogCapture(Severity minimum = Severity::Trace, std::size_t throwAt = never);
    ~LogCapture();
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;

    /// The records so far, oldest first.
    std::vector<LogRecord> records() const;

    /// Their messages alone.
    std::vector<std::string> messages() const;

    /// Forgets the records so far; the count towards `throwAt` goes on.
    void clear();

private:
    class Impl;
    std::unique_ptr<Impl> impl_;
};

} // namespace vexa::test
