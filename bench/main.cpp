#include "Goals.h"
#include "Measurement.h"
#include "Models.h"
#include "Report.h"
#include "cases/Cases.h"
#include "peers/Peers.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <boost/log/core.hpp>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <fstream>
#include <regex>
#include <sched.h>
#include <stdexcept>
#include <string>

namespace {

constexpr int quickRounds = 3;

#ifdef __clang__
constexpr const char* compilerName = __VERSION__;
#else
constexpr const char* compilerName = "g++ " __VERSION__;
#endif

struct Options {
    std::string models = "build/bench/models";
    std::string output = "build/bench/results.json";
    std::string filter = ".";
    bool quick = false;
    bool list = false;
};

[[noreturn]] void printUsageAndExit(const char* program, int status) {
    std::fprintf(status == 0 ? stdout : stderr,
                 "usage: %s [--quick] [--list] [--models=DIRECTORY] [--out=FILE] [--benchmark_filter=REGEX]\n"
                 "  --quick              three rounds, without the slowest comparisons\n"
                 "  --list               list the comparisons and exit\n"
                 "  --models             directory of the real models, see fetch.sh (build/bench/models)\n"
                 "  --out                JSON file for the results (build/bench/results.json)\n"
                 "  --benchmark_filter   run only the comparisons whose name matches\n",
                 program);
    std::exit(status);
}

Options parse(int argc, char** argv) {
    benchmark::Initialize(&argc, argv);
    Options options;
    if (!benchmark::GetBenchmarkFilter().empty()) {
        options.filter = benchmark::GetBenchmarkFilter();
    }
    for (int i = 1; i < argc; ++i) {
        const std::string argument = argv[i];
        const auto value = [&argument] { return argument.substr(argument.find('=') + 1); };
        if (argument == "--quick") {
            options.quick = true;
        } else if (argument == "--list") {
            options.list = true;
        } else if (argument.starts_with("--models=")) {
            options.models = value();
        } else if (argument.starts_with("--out=")) {
            options.output = value();
        } else {
            printUsageAndExit(argv[0], argument == "--help" ? 0 : 2);
        }
    }
    return options;
}

/// Stays on the core that the scheduler has chosen, so that caches stay warm from round to round.
int pinToOneCore() {
    const int core = sched_getcpu();
    cpu_set_t cores;
    CPU_ZERO(&cores);
    CPU_SET(static_cast<unsigned int>(core), &cores);
    if (sched_setaffinity(0, sizeof(cores), &cores) != 0) {
        std::fprintf(stderr, "cannot pin to core %d; expect more noise\n", core);
    }
    return core;
}

std::string processorName() {
    std::ifstream info("/proc/cpuinfo");
    for (std::string line; std::getline(info, line);) {
        if (line.starts_with("model name")) {
            return line.substr(line.find(':') + 2);
        }
    }
    return "unknown";
}

bench::Environment describeEnvironment(int core) {
    bench::Environment environment{{"processor", processorName() + ", core " + std::to_string(core)},
                                   {"compiler", compilerName}};
    for (auto& peer : bench::peerVersions()) {
        environment.push_back(std::move(peer));
    }
    return environment;
}

std::vector<bench::Case> chooseCases(const Options& options, const std::vector<bench::ModelPtr>& models) {
    std::vector<bench::Case> all;
    for (const auto& area :
         {bench::aloneCases(models), bench::stripCases(models), bench::busyCases(models), bench::passCases(models),
          bench::boundCases(models), bench::adjacencyCases(models), bench::edgeCases(models), bench::weldCases(models),
          bench::operationCases(), bench::bulkCases(), bench::wholeMeshCases(models), bench::growthCases()}) {
        all.insert(all.end(), area.begin(), area.end());
    }
    const std::regex filter(options.filter);
    std::erase_if(all, [&](const bench::Case& each) {
        return (options.quick && each.heavy) || !std::regex_search(each.name, filter);
    });
    return all;
}

bool ownResultsAreCorrect(const bench::Measurement& measurement) {
    return std::all_of(measurement.contenders.begin(), measurement.contenders.end(), [](const bench::Stats& contender) {
        return contender.role != bench::Role::Own || contender.output.error.empty();
    });
}

int run(const Options& options) {
    const std::vector<bench::Case> cases = chooseCases(options, bench::loadModels(options.models));
    if (options.list) {
        for (const bench::Case& each : cases) {
            std::printf("%s%s\n", each.name.c_str(), each.heavy ? " (not in a quick run)" : "");
        }
        return 0;
    }
    const bench::Environment environment = describeEnvironment(pinToOneCore());
    // Log records of every pass would dominate the time of many passes.
    boost::log::core::get()->set_filter([](const boost::log::attribute_value_set&) { return false; });

    bench::printHeading(environment);
    bench::Results results;
    bool correct = true;
    for (const bench::Case& each : cases) {
        bench::Comparison comparison = each.make();
        if (options.quick) {
            comparison.rounds = std::min(comparison.rounds, quickRounds);
        }
        bench::Measurement measurement = bench::measure(comparison);
        bench::printMeasurement(measurement);
        correct = correct && ownResultsAreCorrect(measurement);
        results.add(std::move(measurement));
    }
    bench::printIndexTable(results);
    const std::vector<bench::Goal> goals = bench::evaluateGoals(results);
    bench::printGoals(goals);
    bench::writeJson(options.output, environment, results, goals);
    return correct ? 0 : 1;
}

} // namespace

int main(int argc, char** argv) {
    try {
        return run(parse(argc, argv));
    } catch (const std::exception& error) {
        std::fprintf(stderr, "vexaMeshBench: %s\n", error.what());
        return 1;
    }
}
