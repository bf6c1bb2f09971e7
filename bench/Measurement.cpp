#include "Measurement.h"

#include "PeakMemory.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <ctime>
#include <sys/resource.h>
#include <utility>

namespace bench {

namespace {

/// Shorter runs are repeated within a round until they add up to this.
constexpr double minSeconds = 0.02;

/// CPU time of this thread: on a busy machine the wall clock mostly measures other processes.
double threadSeconds() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

/// CPU time of the processes that have ended for this one.
double processSeconds() {
    rusage ended{};
    getrusage(RUSAGE_CHILDREN, &ended);
    const auto seconds = [](const timeval& time) {
        return static_cast<double>(time.tv_sec) + 1e-6 * static_cast<double>(time.tv_usec);
    };
    return seconds(ended.ru_utime) + seconds(ended.ru_stime);
}

void runTimed(benchmark::State& state, const Contender& contender) {
    for ([[maybe_unused]] const auto iteration : state) {
        contender.prepare();
        const double start = threadSeconds();
        contender.run();
        benchmark::ClobberMemory();
        state.SetIterationTime(threadSeconds() - start);
    }
}

/// Records the times of one round, which arrive in order of registration.
class RoundReporter final : public benchmark::BenchmarkReporter {
public:
    explicit RoundReporter(std::vector<Stats*> contenders) : contenders_(std::move(contenders)) {}

    bool ReportContext(const Context&) override {
        next_ = 0;
        return true;
    }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            contenders_.at(next_++)->seconds.push_back(run.real_accumulated_time / static_cast<double>(run.iterations));
        }
    }

private:
    std::vector<Stats*> contenders_;
    std::size_t next_ = 0;
};

void check(const Contender& contender, Stats& stats) {
    contender.prepare();
    const double start = threadSeconds() + processSeconds();
    contender.run();
    if (contender.isSlow) {
        stats.seconds.push_back(threadSeconds() + processSeconds() - start);
    }
    if (contender.inspect) {
        stats.output = contender.inspect();
        stats.peakBytes = stats.output.processBytes;
    }
}

void measureMemory(const Comparison& comparison, std::vector<Stats>& stats) {
    for (const Contender& contender : comparison.contenders) {
        contender.prepare(); // frees the result of its last run
    }
    for (std::size_t i = 0; i < stats.size(); ++i) {
        if (comparison.contenders[i].isSlow) {
            continue;
        }
        if (const auto peak = peakBytesOf(comparison.contenders[i].run)) {
            stats[i].peakBytes = static_cast<double>(*peak) - static_cast<double>(stats[i].output.bytes);
        }
    }
}

double medianOf(std::vector<double> values) {
    if (values.empty()) {
        return 0;
    }
    std::sort(values.begin(), values.end());
    const std::size_t middle = values.size() / 2;
    return values.size() % 2 == 1 ? values[middle] : (values[middle - 1] + values[middle]) / 2;
}

} // namespace

double Stats::median() const {
    return medianOf(seconds);
}

const Stats* Measurement::find(std::string_view contender) const {
    const auto found = std::find_if(contenders.begin(), contenders.end(),
                                    [contender](const Stats& each) { return each.name == contender; });
    return found == contenders.end() ? nullptr : &*found;
}

const Stats* Measurement::best(Role role) const {
    const Stats* best = nullptr;
    for (const Stats& contender : contenders) {
        if (contender.role == role && (best == nullptr || contender.median() < best->median())) {
            best = &contender;
        }
    }
    return best;
}

double ratio(const Stats& measured, const Stats& reference) {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < std::min(measured.seconds.size(), reference.seconds.size()); ++i) {
        ratios.push_back(measured.seconds[i] / measured.elements / (reference.seconds[i] / reference.elements));
    }
    return medianOf(std::move(ratios));
}

const Stats* Results::find(std::string_view measurement, std::string_view contender) const {
    for (const Measurement& each : measurements_) {
        if (each.name == measurement) {
            return each.find(contender);
        }
    }
    return nullptr;
}

std::optional<double> Results::ratio(std::string_view measurement, std::string_view contender,
                                     std::string_view reference) const {
    const Stats* const measured = find(measurement, contender);
    const Stats* const other = find(measurement, reference);
    if (measured == nullptr || other == nullptr) {
        return std::nullopt;
    }
    return bench::ratio(*measured, *other);
}

Measurement measure(const Comparison& comparison) {
    Measurement measurement{comparison.name, comparison.unit, comparison.real, {}};
    for (const Contender& contender : comparison.contenders) {
        measurement.contenders.push_back({contender.name, contender.role, contender.elements, {}, {}, {}});
        check(contender, measurement.contenders.back());
    }
    std::vector<Stats*> timed;
    for (std::size_t i = 0; i < comparison.contenders.size(); ++i) {
        const Contender& contender = comparison.contenders[i];
        if (contender.isSlow) {
            continue;
        }
        timed.push_back(&measurement.contenders[i]);
        benchmark::RegisterBenchmark((comparison.name + ": " + contender.name).c_str(),
                                     [&contender](benchmark::State& state) { runTimed(state, contender); })
            ->UseManualTime()
            ->MinTime(minSeconds);
    }
    RoundReporter reporter(std::move(timed));
    for (int round = 0; round < comparison.rounds; ++round) {
        benchmark::RunSpecifiedBenchmarks(&reporter, ".");
    }
    benchmark::ClearRegisteredBenchmarks();
    if (comparison.measuresMemory) {
        measureMemory(comparison, measurement.contenders);
    }
    return measurement;
}

} // namespace bench
