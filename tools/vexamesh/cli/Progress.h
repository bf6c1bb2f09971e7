#pragma once

#include <chrono>
#include <cstddef>
#include <ostream>
#include <string>

namespace vexa::tool {

/// A bar on the last line of a terminal, for work that takes long. Where standard error is no terminal it shows nothing.
class Progress {
public:
    explicit Progress(std::ostream& err);
    Progress(const Progress&) = delete;
    Progress& operator=(const Progress&) = delete;
    ~Progress() { clear(); }

    /// Draws anew, unless that was just done.
    ///
    /// \param what is done, such as "passes"
    void show(const std::string& what, std::size_t done, std::size_t all);

    /// Takes the bar away, so that other lines can be printed.
    void clear();

    [[nodiscard]] bool isShown() const { return isTerminal_; }

private:
    std::ostream& err_;
    bool isTerminal_;
    bool isDrawn_ = false;
    std::string what_;
    std::chrono::steady_clock::time_point last_;
};

} // namespace vexa::tool
