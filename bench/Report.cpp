#include "Report.h"

#include <cmath>
#include <cstdio>
#include <fstream>
#include <nlohmann/json.hpp>
#include <optional>

namespace bench {

namespace {

using nlohmann::json;

const char* textOf(Role role) {
    switch (role) {
    case Role::Own:
        return "own";
    case Role::Peer:
        return "peer";
    case Role::Part:
        return "part";
    case Role::Limit:
        return "limit";
    }
    return "";
}

std::optional<double> ratioTo(const Figure& figure, const Figure* reference) {
    return reference == nullptr ? std::nullopt : std::optional(ratio(figure, *reference));
}

std::string withDecimals(std::optional<double> value, int decimals) {
    if (!value) {
        return "-";
    }
    char text[32];
    std::snprintf(text, sizeof(text), "%.*f", decimals, *value);
    return text;
}

/// Three digits that count, so that fractions and hundreds read equally well.
std::string rounded(std::optional<double> value) {
    const double size = std::abs(value.value_or(0));
    return withDecimals(value, size < 10 ? 2 : size < 100 ? 1 : 0);
}

std::optional<double> perElement(const Figure& figure, std::optional<double> amount) {
    return amount ? std::optional(*amount / figure.elements) : std::nullopt;
}

std::optional<double> indicesOf(const Figure& figure) {
    return figure.output.indices == 0 ? std::nullopt : std::optional(static_cast<double>(figure.output.indices));
}

json valueOf(std::optional<double> value) {
    return value ? json(*value) : json(nullptr);
}

json describe(const Figure& figure, const Figure* peer, const Figure* limit) {
    return {{"name", figure.name},
            {"role", textOf(figure.role)},
            {"elements", figure.elements},
            {"seconds", figure.seconds},
            {"medianSeconds", figure.median()},
            {"nanosecondsPerElement", figure.median() * 1e9 / figure.elements},
            {"ratioToBestPeer", valueOf(ratioTo(figure, peer))},
            {"ratioToLimit", valueOf(ratioTo(figure, limit))},
            {"indices", valueOf(indicesOf(figure))},
            {"peakBytesPerElement", valueOf(perElement(figure, figure.peakBytes))},
            {"fault", figure.output.fault}};
}

const char* verdict(const Goal& goal) {
    return !goal.value ? "not measured" : goal.isReached() ? "reached" : "not reached";
}

} // namespace

void printHeading(const Surroundings& surroundings) {
    for (const auto& [key, value] : surroundings) {
        std::printf("%-14s %s\n", key.c_str(), value.c_str());
    }
    std::printf(
        "\nTimes are medians of the core's time; ratios are medians over the rounds, this one through that one.\n"
        "The best peer is the fastest that does all of the work.\n"
        "Memory is what a run on a large model touches at its peak beyond input and result; where a graph or a\n"
        "mesh is the result, all that it touches.\n\n%-34s %9s %8s %9s %9s %8s %8s\n",
        "", "ms", "ns each", "to peer", "to limit", "indices", "bytes");
}

void printMeasurement(const Measurement& measurement) {
    const Figure* const peer = measurement.best(Role::Peer);
    const Figure* const limit = measurement.best(Role::Limit);
    std::printf("%s, per %s\n", measurement.name.c_str(), measurement.unit.c_str());
    for (const Figure& figure : measurement.figures) {
        const double median = figure.median();
        std::printf("  %-32s %9s %8s %9s %9s %8s %8s%s%s\n", figure.name.c_str(), rounded(median * 1e3).c_str(),
                    rounded(median * 1e9 / figure.elements).c_str(), rounded(ratioTo(figure, peer)).c_str(),
                    rounded(ratioTo(figure, limit)).c_str(),
                    withDecimals(perElement(figure, indicesOf(figure)), 3).c_str(),
                    withDecimals(perElement(figure, figure.peakBytes), 1).c_str(),
                    figure.output.fault.empty() ? "" : "  WRONG: ", figure.output.fault.c_str());
    }
    std::fflush(stdout);
}

void printGoals(const std::vector<Goal>& goals) {
    std::printf("\nGoals\n");
    for (const Goal& goal : goals) {
        std::printf("  %-12s %7s, at most %s: %s\n", verdict(goal), rounded(goal.value).c_str(),
                    rounded(goal.limit).c_str(), goal.text.c_str());
    }
}

void writeJson(const std::filesystem::path& file, const Surroundings& surroundings, const Results& results,
               const std::vector<Goal>& goals) {
    json document;
    for (const auto& [key, value] : surroundings) {
        document["surroundings"][key] = value;
    }
    document["measurements"] = json::array();
    for (const Measurement& measurement : results.all()) {
        json figures = json::array();
        for (const Figure& figure : measurement.figures) {
            figures.push_back(describe(figure, measurement.best(Role::Peer), measurement.best(Role::Limit)));
        }
        document["measurements"].push_back({{"name", measurement.name},
                                            {"unit", measurement.unit},
                                            {"realModel", measurement.real},
                                            {"figures", figures}});
    }
    document["goals"] = json::array();
    for (const Goal& goal : goals) {
        document["goals"].push_back({{"goal", goal.text},
                                     {"atMost", goal.limit},
                                     {"measured", valueOf(goal.value)},
                                     {"verdict", verdict(goal)}});
    }
    std::ofstream stream(file);
    stream << document.dump(2) << '\n';
    if (!stream.flush()) {
        throw std::runtime_error("cannot write " + file.string());
    }
}

} // namespace bench
