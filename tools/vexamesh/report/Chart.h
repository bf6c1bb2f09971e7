#pragma once

#include <functional>
#include <string>
#include <vector>

namespace vexa::tool {

/// A class of a histogram.
struct Bin {
    std::string label; ///< on the axis; may be empty
    std::string title; ///< what a person reads who points at it
    std::size_t count = 0;
};

/// An SVG drawing with axes, made piece by piece.
class Chart {
public:
    static constexpr double width = 460;
    static constexpr double height = 240;
    static constexpr double left = 60;
    static constexpr double right = 12;
    static constexpr double top = 26;
    static constexpr double bottom = 44;

    /// \param label what a screen reader says in place of the drawing
    explicit Chart(const std::string& label);

    [[nodiscard]] double plotWidth() const { return width - left - right; }
    [[nodiscard]] double plotHeight() const { return height - top - bottom; }
    [[nodiscard]] double floor() const { return height - bottom; }

    void addGridLine(double y, const std::string& label);
    void addTickLabel(double x, const std::string& label);
    void addAxisTitles(const std::string& x, const std::string& y);
    void addBar(double x, double y, double barWidth, const std::string& title);
    void addDot(double x, double y, const std::string& title, const std::string& kind);
    /// A marked height, with its label at the right end above or below it.
    void addLevel(double y, const std::string& label, const std::string& kind, bool isAbove);
    /// A marked place, with its label beside it.
    void addMark(double x, const std::string& label, const std::string& kind, double labelY);

    [[nodiscard]] std::string finish() const;

private:
    std::string svg_;
};

/// A bar per class. Counts are on a logarithmic scale if wanted.
///
/// \param extra draws on top of the bars
std::string histogram(const std::string& label, const std::vector<Bin>& bins, const std::string& xTitle,
                      const std::string& yTitle, bool isLogarithmic, const std::function<void(Chart&)>& extra = {});

/// The distance of about four round values up to `range`: 1, 2 or 5 times a power of ten.
double roundStep(double range);

/// "1,234", "12k", "3.4M": short numbers for axes.
std::string axisNumber(double value);

} // namespace vexa::tool
