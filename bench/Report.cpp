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

std::optional<double> ratioTo(const Stats& measured, const Stats* reference) {
    return reference == nullptr ? std::nullopt : std::optional(ratio(measured, *reference));
}

std::string withDecimals(std::optional<double> value, int decimals) {
    if (!value) {
        return "-";
    }
    char text[32];
    std::snprintf(text, sizeof(text), "%.*f", decimals, *value);
    return text;
}

/// Three significant digits, so that fractions and hundreds are equally readable.
std::string rounded(std::optional<double> value) {
    const double size = std::abs(value.value_or(0));
    return withDecimals(value, size < 10 ? 2 : size < 100 ? 1 : 0);
}

std::optional<double> perElement(const Stats& stats, std::optional<double> amount) {
    return amount ? std::optional(*amount / stats.elements) : std::nullopt;
}

std::optional<double> indicesOf(const Stats& stats) {
    return stats.output.indices == 0 ? std::nullopt : std::optional(static_cast<double>(stats.output.indices));
}

json valueOf(std::optional<double> value) {
    return value ? json(*value) : json(nullptr);
}

json describe(const Stats& stats, const Stats* peer, const Stats* limit) {
    return {{"name", stats.name},
            {"role", textOf(stats.role)},
            {"elements", stats.elements},
            {"seconds", stats.seconds},
            {"medianSeconds", stats.median()},
            {"nanosecondsPerElement", stats.median() * 1e9 / stats.elements},
            {"ratioToBestPeer", valueOf(ratioTo(stats, peer))},
            {"ratioToLimit", valueOf(ratioTo(stats, limit))},
            {"indices", valueOf(indicesOf(stats))},
            {"joinedByRestart", stats.output.joined.byRestart},
            {"joinedByDegenerates", stats.output.joined.byDegenerates},
            {"peakBytesPerElement", valueOf(perElement(stats, stats.peakBytes))},
            {"error", stats.output.error}};
}

const char* verdict(const Goal& goal) {
    return !goal.value ? "not measured" : goal.isMet() ? "met" : "missed";
}

} // namespace

void printHeading(const Environment& environment) {
    for (const auto& [key, value] : environment) {
        std::printf("%-14s %s\n", key.c_str(), value.c_str());
    }
    std::printf(
        "\nTimes are medians of CPU time; ratios are medians over the rounds of one time divided by the other.\n"
        "The peer is the fastest one that does all of the work.\n"
        "Memory (bytes per element) is the peak beyond input and result, on large models only; where the result is a\n"
        "graph or a mesh, that counts too.\n\n%-34s %9s %8s %9s %9s %8s %8s\n",
        "", "ms", "ns each", "to peer", "to limit", "indices", "bytes");
}

void printMeasurement(const Measurement& measurement) {
    const Stats* const peer = measurement.best(Role::Peer);
    const Stats* const limit = measurement.best(Role::Limit);
    std::printf("%s, per %s\n", measurement.name.c_str(), measurement.unit.c_str());
    for (const Stats& stats : measurement.contenders) {
        const double median = stats.median();
        std::printf("  %-32s %9s %8s %9s %9s %8s %8s%s%s\n", stats.name.c_str(), rounded(median * 1e3).c_str(),
                    rounded(median * 1e9 / stats.elements).c_str(), rounded(ratioTo(stats, peer)).c_str(),
                    rounded(ratioTo(stats, limit)).c_str(),
                    withDecimals(perElement(stats, indicesOf(stats)), 3).c_str(),
                    withDecimals(perElement(stats, stats.peakBytes), 1).c_str(),
                    stats.output.error.empty() ? "" : "  WRONG: ", stats.output.error.c_str());
    }
    std::fflush(stdout);
}

void printIndexTable(const Results& results) {
    std::printf(
        "\nIndices per triangle of joined strips, and misses per triangle of vertex caches of 16 and 32 entries\n"
        "  %-26s %-34s %8s %10s %8s %8s\n",
        "", "", "restart", "degenerate", "FIFO 16", "FIFO 32");
    for (const Measurement& measurement : results.all()) {
        for (const Stats& stats : measurement.contenders) {
            const JoinedStrips& joined = stats.output.joined;
            const auto perTriangle = [&stats](std::uint64_t count) {
                return count == 0 ? "-" : withDecimals(static_cast<double>(count) / stats.elements, 4);
            };
            if (joined.byRestart != 0 || joined.byDegenerates != 0) {
                std::printf("  %-26s %-34s %8s %10s %8s %8s\n", measurement.name.c_str(), stats.name.c_str(),
                            perTriangle(joined.byRestart).c_str(), perTriangle(joined.byDegenerates).c_str(),
                            perTriangle(joined.misses16).c_str(), perTriangle(joined.misses32).c_str());
            }
        }
    }
}

void printGoals(const std::vector<Goal>& goals) {
    std::printf("\nGoals\n");
    for (const Goal& goal : goals) {
        std::printf("  %-12s %7s, at most %s: %s\n", verdict(goal), rounded(goal.value).c_str(),
                    rounded(goal.limit).c_str(), goal.text.c_str());
    }
}

void writeJson(const std::filesystem::path& file, const Environment& environment, const Results& results,
               const std::vector<Goal>& goals) {
    json document;
    for (const auto& [key, value] : environment) {
        document["environment"][key] = value;
    }
    document["measurements"] = json::array();
    for (const Measurement& measurement : results.all()) {
        json contenders = json::array();
        for (const Stats& stats : measurement.contenders) {
            contenders.push_back(describe(stats, measurement.best(Role::Peer), measurement.best(Role::Limit)));
        }
        document["measurements"].push_back({{"name", measurement.name},
                                            {"unit", measurement.unit},
                                            {"realModel", measurement.real},
                                            {"contenders", contenders}});
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
