#include "Progress.h"

#include <algorithm>
#include <iostream>
#include <unistd.h>

namespace vexa::tool {

namespace {

constexpr std::size_t barWidth = 30;
constexpr std::chrono::milliseconds leastDelay(50);

} // namespace

Progress::Progress(std::ostream& err) : err_(err), isTerminal_(&err == &std::cerr && ::isatty(STDERR_FILENO) != 0) {}

void Progress::show(const std::string& what, std::size_t done, std::size_t all) {
    const auto now = std::chrono::steady_clock::now();
    const bool isDue = what != what_ || done == all || now - last_ >= leastDelay;
    if (!isTerminal_ || !isDue || all == 0) {
        return;
    }
    what_ = what;
    last_ = now;
    const auto filled =
        static_cast<std::size_t>(static_cast<double>(barWidth) * static_cast<double>(done) / static_cast<double>(all));
    const std::string bar(std::min(filled, barWidth), '#');
    err_ << "\r[" << bar << std::string(barWidth - bar.size(), '.') << "] " << done << " of " << all << ' ' << what
         << "\x1b[K" << std::flush;
    isDrawn_ = true;
}

void Progress::clear() {
    if (isDrawn_) {
        err_ << "\r\x1b[K" << std::flush;
        isDrawn_ = false;
    }
}

} // namespace vexa::tool
