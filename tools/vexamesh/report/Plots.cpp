#include "report/Plots.h"

#include "base/Text.h"
#include "report/Chart.h"
#include "report/Html.h"

#include <algorithm>
#include <bit>
#include <cmath>
#include <numeric>

namespace vexa::tool {

namespace {

std::string figure(const std::string& title, const std::string& drawing, const std::string& caption) {
    return "<figure class=\"plot\">\n<h3>" + title + "</h3>\n" + drawing + "<figcaption>" + caption +
           "</figcaption>\n</figure>\n";
}

std::string nothing(const std::string& title, const std::string& reason) {
    return figure(title, "<p class=\"nothing\">" + reason + "</p>\n", "");
}

std::string labelOf(std::size_t first, std::size_t last) {
    return first == last ? std::to_string(last) : std::string("\u2264") + axisNumber(static_cast<double>(last));
}

/// Classes that double: 1, 2, 3-4, 5-8, ... and before them 0 if wanted.
std::vector<Bin> doublingBins(const std::vector<std::size_t>& values, bool withZero, const std::string& noun,
                              const std::string& counted) {
    std::vector<std::size_t> counts(withZero ? 1 : 0);
    for (const std::size_t value : values) {
        const std::size_t bin =
            (value == 0 ? 0 : static_cast<std::size_t>(std::bit_width(value - 1))) + (withZero && value > 0 ? 1 : 0);
        counts.resize(std::max(counts.size(), bin + 1));
        ++counts[bin];
    }
    std::vector<Bin> bins;
    for (std::size_t i = 0; i < counts.size(); ++i) {
        const std::size_t power = withZero ? i - 1 : i;
        const std::size_t last = withZero && i == 0 ? 0 : std::size_t{1} << power;
        const std::size_t first = last < 3 ? last : last / 2 + 1;
        // All labels would overlap; the last value of a class is enough to identify it.
        const bool isLabelled = counts.size() <= 10 || i % 2 == 0;
        const std::string range =
            first == last ? std::to_string(last) : std::to_string(first) + "\u2013" + std::to_string(last);
        bins.push_back({isLabelled ? labelOf(first, last) : "",
                        range + " " + noun + ": " + std::to_string(counts[i]) + " " + counted, counts[i]});
    }
    return bins;
}

std::size_t sumOf(const std::vector<std::size_t>& values) {
    return std::accumulate(values.begin(), values.end(), std::size_t{0});
}

double meanOf(const std::vector<std::size_t>& values) {
    return static_cast<double>(sumOf(values)) / static_cast<double>(values.size());
}

std::size_t medianOf(std::vector<std::size_t> values) {
    const auto middle = values.begin() + static_cast<std::ptrdiff_t>(values.size() / 2);
    std::nth_element(values.begin(), middle, values.end());
    return *middle;
}

std::string signedPercent(double share) {
    return std::string(share < 0 ? "\u2212" : "+") + fixedText(std::abs(share) * 100, 1) + "\u202f%";
}

/// The points of a pass plot: every pass of few, every n-th of many.
void addPasses(Chart& chart, const PassCosts& passes, const std::function<double(double)>& heightOf) {
    constexpr std::size_t maxDots = 400;
    const std::size_t count = passes.totals.size();
    const std::size_t every = (count + maxDots - 1) / maxDots;
    const auto place = [&](std::size_t i) {
        return Chart::left + chart.plotWidth() * (static_cast<double>(i) + 0.5) / static_cast<double>(count);
    };
    for (std::size_t i = 0; i < count; i += every) {
        chart.addDot(place(i), heightOf(static_cast<double>(passes.totals[i])),
                     "pass " + std::to_string(i + 1) + ": " + std::to_string(passes.totals[i]) + " indices",
                     i + 1 == count ? "last" : "");
    }
    const std::size_t labels = std::min<std::size_t>(count, 6);
    for (std::size_t i = 0; i < labels; ++i) {
        const std::size_t pass = labels < 2 ? 0 : i * (count - 1) / (labels - 1);
        chart.addTickLabel(place(pass), std::to_string(pass + 1));
    }
}

} // namespace

std::string stripLengthPlot(const std::vector<std::size_t>& lengths) {
    const std::string title = "Strip lengths";
    if (lengths.empty()) {
        return nothing(title, "There are no strips.");
    }
    const std::size_t longest = *std::max_element(lengths.begin(), lengths.end());
    return figure(title,
                  histogram("How many strips have how many triangles",
                            doublingBins(lengths, false, "triangles", "strips"), "triangles per strip", "strips", true),
                  numberHtml(lengths.size()) + (lengths.size() == 1 ? " strip: " : " strips: ") +
                      fixedText(meanOf(lengths), 1) + " triangles on average, median " + numberHtml(medianOf(lengths)) +
                      ", longest " + numberHtml(longest) + ". Both axes are logarithmic.");
}

std::string swapPlot(const std::vector<std::size_t>& swaps) {
    const std::string title = "Swaps per strip";
    if (swaps.empty()) {
        return nothing(title, "There are no strips.");
    }
    const auto without = std::count(swaps.begin(), swaps.end(), std::size_t{0});
    return figure(title,
                  histogram("How many strips have how many swaps", doublingBins(swaps, true, "swaps", "strips"),
                            "swaps per strip", "strips", true),
                  numberHtml(sumOf(swaps)) + " swaps in all, " + fixedText(meanOf(swaps), 1) + " per strip; " +
                      numberHtml(static_cast<std::uint64_t>(without)) +
                      " strips have none. A swap repeats a vertex to turn the other way and costs one index.");
}

std::string effortPlot(const ReportContent& content) {
    const std::string title = "Indices per triangle";
    const StripStats& total = content.outcome.total;
    if (total.triangles == 0 || !total.minIndices) {
        return nothing(title, "There are no triangles.");
    }
    const auto share = [&](std::uint64_t indices) {
        return static_cast<double>(indices) / static_cast<double>(total.triangles);
    };
    std::vector<std::pair<std::string, double>> bars{{"input", share(total.indicesBefore)}};
    for (std::size_t effort = 0; effort < content.efforts.size(); ++effort) {
        bars.emplace_back("effort " + std::to_string(effort), share(content.efforts[effort]));
    }
    bars.emplace_back("these", share(total.indicesAfter));
    const double minimum = share(*total.minIndices);
    double high = minimum;
    for (const auto& [name, height] : bars) {
        high = std::max(high, height * 1.1);
    }
    Chart chart("Indices per triangle of the input, of every effort and of these strips, with the proven minimum");
    const auto heightOf = [&](double value) { return chart.floor() - value / high * chart.plotHeight(); };
    for (double value = 0; value <= high; value += roundStep(high)) {
        chart.addGridLine(heightOf(value), shortText(value));
    }
    const double place = chart.plotWidth() / static_cast<double>(bars.size());
    for (std::size_t i = 0; i < bars.size(); ++i) {
        const double x = Chart::left + place * static_cast<double>(i);
        chart.addBar(x + place * 0.15, heightOf(bars[i].second), place * 0.7,
                     bars[i].first + ": " + fixedText(bars[i].second, 3) + " indices per triangle");
        chart.addTickLabel(x + place / 2, bars[i].first);
    }
    chart.addLevel(heightOf(minimum), "minimum " + fixedText(minimum, 3), "bound", true);
    chart.addAxisTitles("search", "indices per triangle");
    return figure(title, chart.finish(),
                  "These strips take " + fixedText(share(total.indicesAfter), 3) + "; no strips can have fewer than " +
                      fixedText(minimum, 3) + ", which is proven (the dotted line).");
}

std::string passPlot(const ReportContent& content) {
    const std::string title = "Cost of every pass";
    const PassCosts& passes = content.passes;
    if (passes.totals.empty() || passes.worst == 0) {
        return nothing(title, "No passes were tried. With <code>--iterations 50</code> the costs of 50 are plotted.");
    }
    const auto best = static_cast<double>(passes.best);
    const auto worst = static_cast<double>(passes.worst);
    const auto shown = static_cast<double>(content.cost);
    const auto bound = static_cast<double>(content.minCost);
    const double lowest = std::min({best, shown, bound});
    const double highest = std::max(worst, shown);
    const double margin = std::max((highest - lowest) * 0.15, 1.0);
    const double low = std::max(0.0, lowest - margin);
    const double high = highest + margin;
    Chart chart("The cost of each pass, between the best and the worst");
    const std::function<double(double)> heightOf = [&](double value) {
        return chart.floor() - (value - low) / (high - low) * chart.plotHeight();
    };
    const double step = std::max(roundStep(high - low), 1.0);
    for (double value = std::ceil(low / step) * step; value <= high; value += step) {
        chart.addGridLine(heightOf(value), groupedText(static_cast<std::uint64_t>(value)));
    }
    addPasses(chart, passes, heightOf);
    chart.addLevel(heightOf(worst), "worst " + groupedText(static_cast<std::uint64_t>(passes.worst)), "worst", true);
    chart.addLevel(heightOf(best), "best " + groupedText(static_cast<std::uint64_t>(passes.best)), "best", false);
    chart.addLevel(heightOf(bound), "minimum " + groupedText(content.minCost), "bound", false);
    if (!content.isSearched) {
        chart.addLevel(heightOf(shown), "", "shown", true);
    }
    chart.addAxisTitles("pass", "indices before joining");
    const std::string range = "Best " + numberHtml(static_cast<std::uint64_t>(passes.best)) + ", worst " +
                              numberHtml(static_cast<std::uint64_t>(passes.worst)) + ": " +
                              signedPercent((worst - best) / best) + ". ";
    const std::string these = "These strips take " + numberHtml(static_cast<std::uint64_t>(content.cost)) +
                              " indices before they are joined; none can take fewer than " +
                              numberHtml(content.minCost) + " (the dotted line). ";
    return figure(title, chart.finish(),
                  range + these +
                      (content.isSearched ? "Every primitive is searched on its own, so that the best of all is the "
                                            "sum of the best of each."
                                          : "They (the dashed line) come from a search of another kind; the passes, "
                                            "which draw at random, are a trial of what <code>--iterations</code> "
                                            "finds."));
}

std::string anglePlot(const std::vector<float>& angles, const AngleStats& stats) {
    const std::string title = "Angular error of packed normals";
    if (angles.empty()) {
        return nothing(title, "There are no normals.");
    }
    constexpr std::size_t count = 28;
    const double max = stats.max > 0 ? stats.max : 1;
    std::vector<Bin> bins(count);
    for (const float angle : angles) {
        const auto bin = static_cast<std::size_t>(static_cast<double>(angle) / max * count);
        ++bins[std::min(bin, count - 1)].count;
    }
    for (std::size_t i = 0; i < count; ++i) {
        const auto edge = [&](std::size_t bin) { return fixedText(max * static_cast<double>(bin) / count, 3); };
        bins[i].title = edge(i) + "\u2013" + edge(i + 1) + " degrees: " + std::to_string(bins[i].count) + " normals";
    }
    const auto draw = [&](Chart& chart) {
        const double step = roundStep(max);
        for (int i = 0; i * step <= max; ++i) {
            chart.addTickLabel(Chart::left + chart.plotWidth() * i * step / max, shortText(i * step) + "\u00b0");
        }
        chart.addMark(Chart::left + chart.plotWidth() * stats.mean() / max,
                      "mean " + fixedText(stats.mean(), 3) + "\u00b0", "best", Chart::top + 10);
    };
    std::string caption = numberHtml(angles.size()) + " normals as two bytes each are off by " +
                          fixedText(stats.mean(), 4) + "\u00b0 on average and by " + fixedText(stats.max, 4) +
                          "\u00b0 at most.";
    if (stats.withoutDirection > 0) {
        caption += ' ';
        caption += numberHtml(stats.withoutDirection) + " have no direction and do not count.";
    }
    return figure(title, histogram("How many normals are off by which angle", bins, "degrees", "normals", false, draw),
                  caption);
}

} // namespace vexa::tool
