#pragma once

#include <functional>
#include <string>

namespace vexa::tool {

/// Passes the library's log records on from now on, such as "warning: text", unless they are captured. Without this,
/// Boost.Log would print them to standard output, among the results.
void receiveLog(std::function<void(const std::string&)> receive);

/// While it lives, log records of any severity go to this function only. There can be one at a time.
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
