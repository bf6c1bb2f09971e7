#include "Measurement.h"

#include "PeakMemory.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <ctime>

namespace bench {

namespace {

/// Runs shorter than this are repeated within a round until they make it up together.
constexpr double minimumSeconds = 0.02;

/// Time that this thread has had a core: on a busy machine the wall clock tells more of the others.
double secondsOfThread() {
    timespec now{};
    clock_gettime(CLOCK_THREAD_CPUTIME_ID, &now);
    return static_cast<double>(now.tv_sec) + 1e-9 * static_cast<double>(now.tv_nsec);
}

void runTimed(benchmark::State& state, const Contender& contender) {
    for ([[maybe_unused]] const auto iteration : state) {
        contender.prepare();
        const double start = secondsOfThread();
        contender.run();
        benchmark::ClobberMemory();
        state.SetIterationTime(secondsOfThread() - start);
    }
}

/// Takes the times of one round, which come in the order of registration.
class RoundReporter final : public benchmark::BenchmarkReporter {
public:
    explicit RoundReporter(std::vector<Figure>& figures) : figures_(figures) {}

    bool ReportContext(const Context&) override {
        next_ = 0;
        return true;
    }
    void ReportRuns(const std::vector<Run>& runs) override {
        for (const Run& run : runs) {
            figures_.at(next_++).seconds.push_back(run.real_accumulated_time / static_cast<double>(run.iterations));
        }
    }

private:
    std::vector<Figure>& figures_;
    std::size_t next_ = 0;
};

void check(const Contender& contender, Figure& figure) {
    contender.prepare();
    contender.run();
    if (contender.inspect) {
        figure.output = contender.inspect();
    }
}

void measureMemory(const Comparison& comparison, std::vector<Figure>& figures) {
    for (const Contender& contender : comparison.contenders) {
        contender.prepare(); // frees what its last run left
    }
    for (std::size_t i = 0; i < figures.size(); ++i) {
        if (const auto peak = peakBytesOf(comparison.contenders[i].run)) {
            figures[i].peakBytes = static_cast<double>(*peak) - static_cast<double>(figures[i].output.bytes);
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

double Figure::median() const {
    return medianOf(seconds);
}

const Figure* Measurement::find(std::string_view figure) const {
    const auto found =
        std::find_if(figures.begin(), figures.end(), [figure](const Figure& each) { return each.name == figure; });
    return found == figures.end() ? nullptr : &*found;
}

const Figure* Measurement::best(Role role) const {
    const Figure* best = nullptr;
    for (const Figure& figure : figures) {
        if (figure.role == role && (best == nullptr || figure.median() < best->median())) {
            best = &figure;
        }
    }
    return best;
}

double ratio(const Figure& figure, const Figure& reference) {
    std::vector<double> ratios;
    for (std::size_t i = 0; i < std::min(figure.seconds.size(), reference.seconds.size()); ++i) {
        ratios.push_back(figure.seconds[i] / figure.elements / (reference.seconds[i] / reference.elements));
    }
    return medianOf(std::move(ratios));
}

const Figure* Results::find(std::string_view measurement, std::string_view figure) const {
    for (const Measurement& each : measurements_) {
        if (each.name == measurement) {
            return each.find(figure);
        }
    }
    return nullptr;
}

std::optional<double> Results::ratio(std::string_view measurement, std::string_view figure,
                                     std::string_view reference) const {
    const Figure* const measured = find(measurement, figure);
    const Figure* const other = find(measurement, reference);
    if (measured == nullptr || other == nullptr) {
        return std::nullopt;
    }
    return bench::ratio(*measured, *other);
}

Measurement measure(const Comparison& comparison) {
    Measurement measurement{comparison.name, comparison.unit, comparison.real, {}};
    for (const Contender& contender : comparison.contenders) {
        measurement.figures.push_back({contender.name, contender.role, contender.elements, {}, {}, {}});
        check(contender, measurement.figures.back());
        benchmark::RegisterBenchmark((comparison.name + ": " + contender.name).c_str(),
                                     [&contender](benchmark::State& state) { runTimed(state, contender); })
            ->UseManualTime()
            ->MinTime(minimumSeconds);
    }
    RoundReporter reporter(measurement.figures);
    for (int round = 0; round < comparison.rounds; ++round) {
        benchmark::RunSpecifiedBenchmarks(&reporter, ".");
    }
    benchmark::ClearRegisteredBenchmarks();
    if (comparison.measuresMemory) {
        measureMemory(comparison, measurement.figures);
    }
    return measurement;
}

} // namespace bench
