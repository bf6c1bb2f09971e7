#pragma once

#include <chrono>
#include <cstddef>
#include <string>

namespace vexa::tool {

class Console;

/// A bar on the last line of a terminal, for work that takes long. Elsewhere it shows nothing.
class Progress {
public:
    explicit Progress(Console& console) : console_(console) {}
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { clear(); }

    /// Redraws the bar, unless that was just done.
    ///
    /// \param noun of the units of work, such as "passes"
    void show(const std::string& noun, std::size_t done, std::size_t all);

    /// Redraws the bar for work that is not counted, unless something was just drawn.
    ///
    /// \param fraction of the work that is done, from 0 to 1
    void showPart(const std::string& noun, double fraction);

    /// Removes the bar, so that other lines can be printed.
    void clear();

private:
    void draw(double fraction, const std::string& text);

    Console& console_;
    bool isDrawn_ = false;
    std::string noun_;
    std::chrono::steady_clock::time_point last_;
};

} // namespace vexa::tool
