#pragma once

#include <functional>
#include <string>

namespace vexa::tool {

/// Sends the library's log records to standard error, one line each; without a sink Boost.Log would print them to
/// standard output, among the results.
void logToStandardError();

/// While it lives, log records of any severity go to a function, and to standard error no longer. Only one at a time.
class LogCapture {
public:
    explicit LogCapture(std::function<void(const std::string&)> receive);
    LogCapture(const LogCapture&) = delete;
    LogCapture& operator=(const LogCapture&) = delete;
    ~LogCapture();

private:
    struct Sink;
    Sink* sink_;
};

} // namespace vexa::tool
