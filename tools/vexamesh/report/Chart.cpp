#include "report/Chart.h"

#include "base/Text.h"
#include "report/Html.h"

#include <algorithm>
#include <cmath>

namespace vexa::tool {

namespace {

std::string at(double value) {
    return fixedText(value, 1);
}

std::string attribute(const char* name, const std::string& value) {
    return std::string(" ") + name + "=\"" + value + "\"";
}

std::string text(double x, double y, const std::string& kind, const std::string& content) {
    return "<text" + attribute("x", at(x)) + attribute("y", at(y)) + attribute("class", kind) + ">" +
           escapeHtml(content) + "</text>\n";
}

std::string line(double x1, double y1, double x2, double y2, const std::string& kind) {
    return "<line" + attribute("x1", at(x1)) + attribute("y1", at(y1)) + attribute("x2", at(x2)) +
           attribute("y2", at(y2)) + attribute("class", kind) + "/>\n";
}

} // namespace

Chart::Chart(const std::string& label)
    : svg_("<svg viewBox=\"0 0 " + fixedText(width, 0) + " " + fixedText(height, 0) + "\" role=\"img\"" +
           attribute("aria-label", escapeHtml(label)) + ">\n") {}

void Chart::addGridLine(double y, const std::string& label) {
    svg_ += line(left, y, width - right, y, "grid") + text(left - 8, y + 4, "tick y", label);
}

void Chart::addTickLabel(double x, const std::string& label) {
    svg_ += text(x, floor() + 16, "tick x", label);
}

void Chart::addAxisTitles(const std::string& x, const std::string& y) {
    svg_ += text(left + plotWidth() / 2, height - 8, "axis", x);
    svg_ += text(0, 10, "y-title", y);
}

void Chart::addBar(double x, double y, double barWidth, const std::string& title) {
    svg_ += "<rect" + attribute("x", at(x)) + attribute("y", at(y)) + attribute("width", at(barWidth)) +
            attribute("height", at(floor() - y)) + " class=\"bar\"><title>" + escapeHtml(title) + "</title></rect>\n";
}

void Chart::addDot(double x, double y, const std::string& title, const std::string& kind) {
    svg_ += "<circle" + attribute("cx", at(x)) + attribute("cy", at(y)) + attribute("r", "3") +
            attribute("class", "dot " + kind) + "><title>" + escapeHtml(title) + "</title></circle>\n";
}

void Chart::addLevel(double y, const std::string& label, const std::string& kind, bool isAbove) {
    svg_ += line(left, y, width - right, y, "level " + kind) +
            text(width - right, isAbove ? y - 5 : y + 13, "level-label " + kind, label);
}

void Chart::addMark(double x, const std::string& label, const std::string& kind, double labelY) {
    const bool isRight = x > left + plotWidth() * 2 / 3;
    svg_ += line(x, top, x, floor(), "level " + kind) +
            text(isRight ? x - 5 : x + 5, labelY, isRight ? "mark-label end" : "mark-label", label);
}

std::string Chart::finish() const {
    return svg_ + "</svg>\n";
}

double roundStep(double range) {
    const double raw = range / 4;
    const double power = std::pow(10, std::floor(std::log10(raw)));
    for (const double factor : {1.0, 2.0, 5.0}) {
        if (raw <= factor * power) {
            return factor * power;
        }
    }
    return 10 * power;
}

std::string axisNumber(double value) {
    const auto scaled = [&](double unit, const char* suffix) {
        const double number = value / unit;
        return fixedText(number, number == std::floor(number) ? 0 : 1) + suffix;
    };
    return value >= 1e6 ? scaled(1e6, "M") : value >= 1e4 ? scaled(1e3, "k") : fixedText(value, 0);
}

std::string histogram(const std::string& label, const std::vector<Bin>& bins, const std::string& xTitle,
                      const std::string& yTitle, bool isLogarithmic, const std::function<void(Chart&)>& extra) {
    Chart chart(label);
    double max = 1;
    for (const Bin& bin : bins) {
        max = std::max(max, static_cast<double>(bin.count));
    }
    const double step = std::max(roundStep(max), 1.0);
    const double decades = std::max(1.0, std::ceil(std::log10(max)));
    const double linearTop = std::ceil(max / step) * step;
    // On the logarithmic scale the floor is half an element, so that a bar of one is seen.
    const double lowest = std::log10(0.5);
    const auto heightOf = [&](double count) {
        const double share = isLogarithmic ? (std::log10(count) - lowest) / (decades - lowest) : count / linearTop;
        return chart.floor() - share * chart.plotHeight();
    };
    if (isLogarithmic) {
        for (double decade = 0; decade <= decades; ++decade) {
            chart.addGridLine(heightOf(std::pow(10, decade)), axisNumber(std::pow(10, decade)));
        }
    } else {
        for (double value = 0; value <= linearTop; value += step) {
            chart.addGridLine(heightOf(value), axisNumber(value));
        }
    }
    const double slot = chart.plotWidth() / static_cast<double>(std::max<std::size_t>(bins.size(), 1));
    const double gap = std::min(slot * 0.16, 6.0);
    for (std::size_t i = 0; i < bins.size(); ++i) {
        const double x = Chart::left + static_cast<double>(i) * slot;
        if (bins[i].count > 0) {
            chart.addBar(x + gap / 2, heightOf(static_cast<double>(bins[i].count)), slot - gap, bins[i].title);
        }
        if (!bins[i].label.empty()) {
            chart.addTickLabel(x + slot / 2, bins[i].label);
        }
    }
    chart.addAxisTitles(xTitle, yTitle);
    if (extra) {
        extra(chart);
    }
    return chart.finish();
}

} // namespace vexa::tool
