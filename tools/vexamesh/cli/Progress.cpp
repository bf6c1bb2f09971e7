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
    draw(static_cast<double>(done) / static_cast<double>(all),
         std::to_string(done) + " of " + std::to_string(all) + ' ' + noun);
}

void Progress::showPart(const std::string& noun, double fraction) {
    const auto now = std::chrono::steady_clock::now();
    if (console_.isTerminal() && now - last_ >= minDelay) {
        last_ = now;
        draw(fraction, std::to_string(static_cast<int>(fraction * 100)) + " % of the " + noun);
    }
}

void Progress::draw(double fraction, const std::string& text) {
    const auto filled = static_cast<std::size_t>(static_cast<double>(barWidth) * fraction);
    const std::string bar(std::min(filled, barWidth), '#');
    console_.drawBar("[" + bar + std::string(barWidth - bar.size(), '.') + "] " + text);
    isDrawn_ = true;
}

void Progress::clear() {
    if (isDrawn_) {
        console_.drawBar("");
        isDrawn_ = false;
    }
}

} // namespace vexa::tool
