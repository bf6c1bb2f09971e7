#include "cli/Progress.h"

#include "cli/Console.h"

#include <algorithm>

namespace vexa::tool {

namespace {

constexpr std::size_t barWidth = 30;
constexpr std::chrono::milliseconds minDelay(50);

} // namespace

void Progress::show(const std::string& noun, std::size_t done, std::size_t all) {
    const auto now = std::chrono::steady_clock::now();
    const bool isDue = noun != noun_ || done == all || now - last_ >= minDelay;
    if (!console_.isTerminal() || !isDue || all == 0) {
        return;
    }
    noun_ = noun;
    last_ = now;
    const auto filled =
        static_cast<std::size_t>(static_cast<double>(barWidth) * static_cast<double>(done) / static_cast<double>(all));
    const std::string bar(std::min(filled, barWidth), '#');
    console_.drawBar("[" + bar + std::string(barWidth - bar.size(), '.') + "] " + std::to_string(done) + " of " +
                     std::to_string(all) + ' ' + noun);
    isDrawn_ = true;
}

void Progress::clear() {
    if (isDrawn_) {
        console_.drawBar("");
        isDrawn_ = false;
    }
}

} // namespace vexa::tool
