#include "reference/ReferenceDecode.h"
#include "support/Meshes.h"
#include "support/Messages.h"

#include <vexa/mesh/StripBuffer.h>
#include <vexa/mesh/Strips.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace vexa::mesh;
using meshes::Indices;

constexpr unsigned int restart = 4294967295U;
constexpr unsigned maxEffort = 4;

struct Setting {
    unsigned effort;
    StripJoin join;

    [[nodiscard]] StripBufferOptions options() const {
        return {.effort = effort, .join = join, .microsecondsPerTriangle = 1};
    }
    [[nodiscard]] std::string name() const {
        return "effort " + std::to_string(effort) + (join == StripJoin::Restart ? ", restart" : ", degenerate");
    }
};

std::vector<Setting> settings() {
    std::vector<Setting> all;
    for (unsigned effort = 0; effort <= maxEffort; ++effort) {
        all.push_back({effort, StripJoin::Restart});
        all.push_back({effort, StripJoin::Degenerate});
    }
    return all;
}

Indices canonicalTriangles(const Indices& mesh) {
    return reference::canonical(reference::withoutCollapsed(mesh));
}

Indices canonicalStrip(const Indices& strip) {
    return reference::canonical(reference::decode(TRIANGLE_STRIP, strip));
}

class StripBufferOfSuite : public testing::TestWithParam<std::string> {};

TEST_P(StripBufferOfSuite, HoldsEveryTriangleOnceInItsWinding) {
    for (const auto& mesh : meshes::family(GetParam())) {
        for (const Setting& setting : settings()) {
            EXPECT_EQ(canonicalStrip(buildStripBuffer(mesh.indices, setting.options())),
                      canonicalTriangles(mesh.indices))
                << mesh.name << ", " << setting.name();
        }
    }
}

TEST_P(StripBufferOfSuite, IsNeverLongerThanBuildPrimitivesJoined) {
    for (const auto& mesh : meshes::family(GetParam())) {
        const auto primitives = buildPrimitives(mesh.indices, {.allStrips = true});
        for (const Setting& setting : settings()) {
            EXPECT_LE(buildStripBuffer(mesh.indices, setting.options()).size(),
                      joinStrips(primitives, setting.join).size())
                << mesh.name << ", " << setting.name();
        }
    }
}

TEST_P(StripBufferOfSuite, StripsApartAreThoseJoinedByRestart) {
    for (const auto& mesh : meshes::family(GetParam())) {
        for (unsigned effort = 0; effort <= 3; ++effort) {
            const auto strips = buildStrips(mesh.indices, {.effort = effort});
            EXPECT_EQ(joinStrips(strips, StripJoin::Restart), buildStripBuffer(mesh.indices, {.effort = effort}))
                << mesh.name << ", effort " << effort;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(Families, StripBufferOfSuite,
                         testing::Values("Plain", "Knotted", "Soups", "Variants", "Large"),
                         [](const auto& test) { return test.param; });

TEST(StripBuffer, OfNothingIsEmpty) {
    EXPECT_TRUE(buildStripBuffer({}).empty());
    EXPECT_TRUE(buildStrips({}).empty());
}

TEST(StripBuffer, LeavesOutCollapsedTriangles) {
    EXPECT_EQ(buildStripBuffer(Indices{0, 1, 1, 2, 3, 4, 5, 5, 5}), (Indices{2, 3, 4}));
    EXPECT_TRUE(buildStripBuffer(Indices{0, 1, 1}).empty());
}

TEST(StripBuffer, WritesAStripFromTheEndThatSuitsAnEvenPosition) {
    const Indices mesh = meshes::strip(7);
    EXPECT_EQ(buildStripBuffer(mesh).size(), 9U);
}

TEST(StripBuffer, DegenerateJointsRepeatNoIndexForParity) {
    // Two single triangles after one another: the second begins at an odd position, with two indices exchanged.
    const Indices joined = buildStripBuffer(meshes::scattered(2), {.join = StripJoin::Degenerate});
    EXPECT_EQ(joined.size(), 8U);
}

TEST(StripBuffer, RestartsBetweenStripsOnly) {
    const Indices joined = buildStripBuffer(meshes::scattered(3));
    EXPECT_EQ(joined.size(), 11U);
    EXPECT_EQ(std::count(joined.begin(), joined.end(), restart), 2);
}

TEST_P(StripBufferOfSuite, NoStripIsLongerThanAllowed) {
    for (const auto& mesh : meshes::family(GetParam())) {
        for (const std::uint32_t longest : {1U, 2U, 5U, 16U}) {
            Indices all;
            for (const auto& strip : buildStrips(mesh.indices, {.maxTriangles = longest})) {
                const Indices triangles = reference::decode(strip.type, strip.indices);
                EXPECT_LE(triangles.size(), 3 * longest) << mesh.name;
                all.insert(all.end(), triangles.begin(), triangles.end());
            }
            EXPECT_EQ(reference::canonical(all), canonicalTriangles(mesh.indices)) << mesh.name << ", " << longest;
        }
    }
}

TEST_P(StripBufferOfSuite, OrderedForTheVertexCacheHoldsTheSameTriangles) {
    for (const auto& mesh : meshes::family(GetParam())) {
        for (const Setting& setting : settings()) {
            StripBufferOptions options = setting.options();
            options.forVertexCache = true;
            EXPECT_EQ(canonicalStrip(buildStripBuffer(mesh.indices, options)), canonicalTriangles(mesh.indices))
                << mesh.name << ", " << setting.name();
        }
    }
}

/// Vertices that a first-in first-out cache of this size has to load.
std::size_t countMisses(const Indices& strip, std::size_t cacheSize) {
    std::vector<unsigned int> cache;
    std::size_t misses = 0;
    for (const unsigned int vertex : strip) {
        if (vertex != restart && std::find(cache.begin(), cache.end(), vertex) == cache.end()) {
            ++misses;
            cache.push_back(vertex);
            cache.erase(cache.begin(), cache.end() - static_cast<std::ptrdiff_t>(std::min(cacheSize, cache.size())));
        }
    }
    return misses;
}

TEST(StripBuffer, OrderedForTheVertexCacheMissesLess) {
    const Indices mesh = meshes::sphere(60, 40);
    const std::size_t plain = countMisses(buildStripBuffer(mesh), 32);
    const std::size_t ordered = countMisses(buildStripBuffer(mesh, {.forVertexCache = true}), 32);
    EXPECT_LT(10 * ordered, 9 * plain);
}

TEST(StripBuffer, OrdersManyStripsAtAVertexForTheVertexCache) {
    const Indices mesh = meshes::hub(200);
    EXPECT_EQ(canonicalStrip(buildStripBuffer(mesh, {.forVertexCache = true})), canonicalTriangles(mesh));
}

TEST(StripBuffer, OrdersALargeMeshForTheVertexCache) {
    const Indices mesh = meshes::grid(100, 90);
    EXPECT_EQ(canonicalStrip(buildStripBuffer(mesh, {.effort = 2, .forVertexCache = true})), canonicalTriangles(mesh));
}

TEST(StripBuffer, LimitsStripsInTheOrderForTheVertexCacheToo) {
    const StripBufferOptions options{.maxTriangles = 3, .forVertexCache = true};
    for (const IndexedPrimitive& strip : buildStrips(meshes::grid(20, 20), options)) {
        EXPECT_LE(toTriangles(strip.type, strip.indices).size(), 9U);
    }
}

TEST(StripBuffer, OrdersVerticesWithGapsForTheVertexCache) {
    const Indices mesh = meshes::shifted(meshes::grid(6, 6), 4'000'000'000U);
    EXPECT_EQ(canonicalStrip(buildStripBuffer(mesh, {.forVertexCache = true})), canonicalTriangles(mesh));
}

TEST(StripBuffer, RefusesIndicesThatAreNotWholeTriangles) {
    const Indices indices{0, 1, 2, 3};
    EXPECT_EQ(messageOf([&] { buildStripBuffer(indices); }),
              "buildStripBuffer: 4 indices are not a whole number of triangles");
    EXPECT_EQ(messageOf([&] { buildStrips(indices); }), "buildStrips: 4 indices are not a whole number of triangles");
}

TEST(StripBuffer, RefusesTheRestartIndex) {
    EXPECT_EQ(messageOf([] {
                  buildStripBuffer(Indices{0, 1, restart});
              }),
              "buildStripBuffer: index 2 is 4294967295, which is reserved for primitive restart");
}

TEST(StripBuffer, RefusesAnEffortThatDoesNotExist) {
    EXPECT_EQ(messageOf([] { buildStripBuffer(Indices{}, {.effort = 99}); }),
              "buildStripBuffer: effort 99 is not supported; the highest is " + std::to_string(maxEffort));
}

TEST(StripBuffer, RefusesATimeThatIsNone) {
    EXPECT_EQ(messageOf([] { buildStripBuffer(Indices{}, {.effort = 4, .microsecondsPerTriangle = -1}); }),
              "buildStripBuffer: -1.000000 microseconds per triangle are not a time; give 0 or more");
}

TEST(StripBuffer, TakesAnnealingOfNoTime) {
    const Indices mesh = meshes::sphere(6, 5);
    const auto lengthAt = [&mesh](unsigned effort) {
        return buildStripBuffer(mesh, {.effort = effort, .microsecondsPerTriangle = 0}).size();
    };
    EXPECT_LE(lengthAt(4), lengthAt(3));
}

TEST(StripBuffer, NeedsNoMoreIndicesWithTimeForEffort4ThanAtEffort3) {
    const Indices mesh = meshes::shuffled(meshes::damaged(meshes::sphere(16, 12), 3), 7);
    const auto goesOn = [](const StripProgress&) { return true; };
    for (const StripJoin join : {StripJoin::Restart, StripJoin::Degenerate}) {
        const std::size_t expected = buildStripBuffer(mesh, {.effort = 3, .join = join}).size();
        for (const bool isWatched : {false, true}) {
            StripBufferOptions options{.effort = 4, .join = join, .microsecondsPerTriangle = 150};
            options.onProgress = isWatched ? goesOn : options.onProgress;
            const Indices strip = buildStripBuffer(mesh, options);
            EXPECT_LE(strip.size(), expected) << isWatched;
            EXPECT_EQ(canonicalStrip(strip), canonicalTriangles(mesh)) << isWatched;
        }
    }
}

TEST(StripBuffer, DependsOnTheSeedFromEffort3On) {
    const Indices mesh = meshes::shuffled(meshes::damaged(meshes::sphere(40, 30), 3), 7);
    const auto build = [&mesh](unsigned effort, std::uint32_t seed) {
        return buildStripBuffer(mesh, {.effort = effort, .seed = seed});
    };
    EXPECT_EQ(build(2, 1), build(2, 2));
    EXPECT_EQ(build(3, 1), build(3, 1));
    EXPECT_NE(build(3, 1), build(3, 2));
}

TEST(StripBuffer, AnnealsInAsManyPassesAsAskedFor) {
    const Indices mesh = meshes::shuffled(meshes::damaged(meshes::sphere(90, 70), 5), 2);
    const auto lengthAt = [&mesh](unsigned effort, std::uint32_t passes) {
        return buildStripBuffer(mesh, {.effort = effort, .microsecondsPerTriangle = 0, .annealingPasses = passes})
            .size();
    };
    EXPECT_LT(lengthAt(3, 10), lengthAt(2, 0));
    EXPECT_LT(lengthAt(3, 0), lengthAt(3, 10));
    EXPECT_EQ(lengthAt(3, 88), lengthAt(3, 0));
    EXPECT_EQ(lengthAt(4, 10), lengthAt(3, 10));
    EXPECT_EQ(lengthAt(2, 10), lengthAt(2, 0));
}

TEST(StripBuffer, FewAnnealingPassesNeverNeedMoreIndicesThanNone) {
    for (std::uint32_t seed = 0; seed < 40; ++seed) {
        const Indices mesh = meshes::damaged(meshes::sphere(9, 7), seed);
        for (const StripJoin join : {StripJoin::Restart, StripJoin::Degenerate}) {
            const Indices strip = buildStripBuffer(mesh, {.effort = 3, .join = join, .annealingPasses = 1});
            EXPECT_LE(strip.size(), buildStripBuffer(mesh, {.effort = 2, .join = join}).size()) << seed;
            EXPECT_EQ(canonicalStrip(strip), canonicalTriangles(mesh)) << seed;
        }
    }
}

TEST(StripBuffer, ReportsProgressThatNeverFalls) {
    double last = 0;
    unsigned calls = 0;
    buildStripBuffer(meshes::grid(30, 30), {.onProgress = [&](const StripProgress& progress) {
                         EXPECT_GE(progress.fraction, last);
                         EXPECT_LE(progress.fraction, 1);
                         last = progress.fraction;
                         ++calls;
                         return true;
                     }});
    EXPECT_GE(calls, 1U);
}

TEST(StripBuffer, StoppedAtOnceStillHoldsEveryTriangle) {
    const Indices mesh = meshes::damaged(meshes::sphere(20, 12), 5);
    for (const Setting& setting : settings()) {
        StripBufferOptions options = setting.options();
        unsigned calls = 0;
        options.onProgress = [&](const StripProgress&) {
            ++calls;
            return false;
        };
        EXPECT_EQ(canonicalStrip(buildStripBuffer(mesh, options)), canonicalTriangles(mesh)) << setting.name();
        EXPECT_EQ(calls, 1U) << setting.name();
    }
}

TEST(StripBuffer, StoppedAtAnyTimeStillHoldsEveryTriangle) {
    const Indices mesh = meshes::shuffled(meshes::damaged(meshes::sphere(90, 70), 5), 2);
    for (const StripPhase last :
         {StripPhase::Greedy, StripPhase::Flow, StripPhase::Tunnelling, StripPhase::Annealing}) {
        for (const unsigned threads : {1U, 3U}) {
            const auto goesOn = [last](const StripProgress& progress) { return progress.phase != last; };
            EXPECT_EQ(canonicalStrip(buildStripBuffer(mesh, {.effort = 3, .onProgress = goesOn, .threads = threads})),
                      canonicalTriangles(mesh))
                << static_cast<int>(last) << ", " << threads << " threads";
        }
    }
}

TEST(StripBuffer, StoppedDuringAnnealingStillHoldsEveryTriangle) {
    const Indices mesh = meshes::shuffled(meshes::damaged(meshes::sphere(40, 30), 5), 2);
    unsigned calls = 0;
    const auto goesOn = [&](const StripProgress& progress) {
        return progress.phase != StripPhase::Annealing || ++calls < 2;
    };
    EXPECT_EQ(
        canonicalStrip(buildStripBuffer(mesh, {.effort = 4, .microsecondsPerTriangle = 10000, .onProgress = goesOn})),
        canonicalTriangles(mesh));
    EXPECT_EQ(calls, 2U);
}

TEST(StripBuffer, StoppedWhilePatchesAreAnnealedNeedsNoMoreIndicesThanEffort3) {
    const Indices mesh = meshes::shuffled(meshes::damaged(meshes::sphere(16, 12), 5), 2);
    unsigned annealings = 0;
    StripPhase last = StripPhase::Greedy;
    const auto goesOn = [&](const StripProgress& progress) {
        annealings += progress.phase == StripPhase::Annealing && last != StripPhase::Annealing ? 1 : 0;
        last = progress.phase;
        return annealings < 3;
    };
    // The third annealing is the one by patches, if there is time for it.
    const Indices strip = buildStripBuffer(mesh, {.effort = 4, .microsecondsPerTriangle = 150, .onProgress = goesOn});
    EXPECT_LE(strip.size(), buildStripBuffer(mesh, {.effort = 3}).size());
    EXPECT_EQ(canonicalStrip(strip), canonicalTriangles(mesh));
}

TEST(StripBuffer, StoppedAfterAnnealingStillHoldsEveryTriangle) {
    const Indices mesh = meshes::shuffled(meshes::damaged(meshes::sphere(40, 30), 5), 2);
    bool isAnnealed = false;
    const auto goesOn = [&](const StripProgress& progress) {
        isAnnealed |= progress.phase == StripPhase::Annealing;
        return !isAnnealed || progress.phase == StripPhase::Annealing;
    };
    EXPECT_EQ(canonicalStrip(buildStripBuffer(mesh, {.effort = 3, .onProgress = goesOn})), canonicalTriangles(mesh));
    EXPECT_TRUE(isAnnealed);
}

TEST(StripBuffer, StoppedBeforeAnnealingReturnsTheStripsOfEffortTwo) {
    const Indices mesh = meshes::shuffled(meshes::damaged(meshes::sphere(60, 50), 5), 2);
    const auto goesOn = [](const StripProgress& progress) { return progress.phase != StripPhase::Annealing; };
    EXPECT_EQ(buildStripBuffer(mesh, {.effort = 3, .onProgress = goesOn}), buildStripBuffer(mesh, {.effort = 2}));
}

TEST(StripBuffer, StoppedDuringTheFlowReturnsGreedyStrips) {
    const Indices mesh = meshes::damaged(meshes::sphere(60, 50), 5);
    const auto goesOn = [](const StripProgress& progress) { return progress.phase != StripPhase::Flow; };
    EXPECT_EQ(buildStripBuffer(mesh, {.effort = 2, .onProgress = goesOn}), buildStripBuffer(mesh, {.effort = 0}));
}

TEST(StripBuffer, StoppedAfterTheFlowNeedsNoMoreIndicesThanGreedyStrips) {
    for (const Indices& mesh : {meshes::grid(60, 50), meshes::cylinder(80, 40),
                                meshes::damaged(meshes::grid(70, 60), 9), meshes::damaged(meshes::sphere(60, 50), 5)}) {
        const std::size_t greedy = buildStripBuffer(mesh, {.effort = 0}).size();
        for (const unsigned threads : {1U, 3U}) {
            const auto goesOn = [](const StripProgress& progress) { return progress.phase != StripPhase::Tunnelling; };
            const Indices stopped = buildStripBuffer(mesh, {.effort = 2, .onProgress = goesOn, .threads = threads});
            EXPECT_LE(stopped.size(), greedy) << threads << " threads";
            EXPECT_EQ(canonicalStrip(stopped), canonicalTriangles(mesh));
        }
    }
}

TEST(StripBuffer, CallsBackFromTheCallingThread) {
    const Indices mesh = meshes::shuffled(meshes::sphere(120, 90), 2);
    const std::thread::id caller = std::this_thread::get_id();
    const auto checkThread = [caller](const StripProgress&) {
        EXPECT_EQ(std::this_thread::get_id(), caller);
        return true;
    };
    buildStripBuffer(mesh, {.effort = 3, .onProgress = checkThread, .threads = 3});
}

TEST(StripBuffer, PassesOnWhatTheProgressCallbackThrows) {
    const StripBufferOptions options{.onProgress = [](const StripProgress&) -> bool { throw std::runtime_error("x"); }};
    EXPECT_THROW(buildStripBuffer(meshes::grid(4, 4), options), std::runtime_error);
}

std::vector<StripStep> stepsOf(const Indices& mesh, const StripBufferOptions& options) {
    std::vector<StripStep> steps;
    traceStripBuffer(mesh, options, [&](StripStep step) { steps.push_back(std::move(step)); });
    return steps;
}

std::vector<StripChange> changesOf(const Indices& mesh, const StripBufferOptions& options) {
    std::vector<StripChange> changes;
    for (const StripStep& step : stepsOf(mesh, options)) {
        changes.push_back(step.change);
    }
    return changes;
}

TEST_P(StripBufferOfSuite, TracedIsTheSame) {
    for (const auto& mesh : meshes::family(GetParam())) {
        for (const Setting& setting : settings()) {
            if (setting.effort < maxEffort) {
                EXPECT_EQ(traceStripBuffer(mesh.indices, setting.options(), [](const StripStep&) {}),
                          buildStripBuffer(mesh.indices, setting.options()))
                    << mesh.name << ", " << setting.name();
            }
        }
    }
}

TEST(TraceStripBuffer, ShowsEveryPassInItsOrder) {
    using enum StripChange;
    const Indices mesh = meshes::damaged(meshes::sphere(40, 30), 5);
    EXPECT_EQ(changesOf(mesh, {.effort = 0}), (std::vector{Greedy}));
    EXPECT_EQ(changesOf(mesh, {.effort = 1}), (std::vector{Greedy, Tunnelling}));
    EXPECT_EQ(changesOf(mesh, {.effort = 2}), (std::vector{Flow, Tunnelling}));
    EXPECT_EQ(changesOf(mesh, {.effort = 3}), (std::vector{Flow, Tunnelling, Annealing, Tunnelling, Parity}));
    EXPECT_EQ(changesOf(mesh, {.effort = 3, .join = StripJoin::Degenerate}),
              (std::vector{Flow, Tunnelling, Annealing, Tunnelling}));
}

TEST(TraceStripBuffer, EveryStepHoldsEveryTriangleAndCountsItsIndices) {
    const Indices mesh = meshes::shuffled(meshes::damaged(meshes::sphere(40, 30), 5), 2);
    for (const Setting& setting : settings()) {
        for (const StripStep& step : stepsOf(mesh, setting.options())) {
            const Indices joined = joinStrips(step.strips, StripJoin::Restart);
            EXPECT_EQ(canonicalStrip(joined), canonicalTriangles(mesh)) << setting.name();
            if (setting.join == StripJoin::Restart) {
                EXPECT_EQ(step.indices, joined.size()) << setting.name();
            }
        }
    }
}

TEST(TraceStripBuffer, EndsWithTheStripsOfTheResult) {
    const Indices mesh = meshes::sphere(40, 30);
    for (const StripJoin join : {StripJoin::Restart, StripJoin::Degenerate}) {
        const StripBufferOptions options{.effort = 2, .join = join};
        const std::vector<StripStep> steps = stepsOf(mesh, options);
        ASSERT_EQ(steps.size(), 2U);
        EXPECT_LE(steps[1].indices, steps[0].indices);
        EXPECT_EQ(steps[1].indices, buildStripBuffer(mesh, options).size());
    }
}

TEST(TraceStripBuffer, ShowsNoLowerEffortThatItComparesWith) {
    // In the plain order of the greedy search, many strips begin where the preceding one ends.
    Indices mesh;
    for (unsigned int i = 0; i < 1000; ++i) {
        for (const unsigned int index : meshes::icosahedron()) {
            mesh.push_back(12 * i + index);
        }
    }
    EXPECT_EQ(changesOf(mesh, {.effort = 2, .join = StripJoin::Degenerate}),
              (std::vector{StripChange::Flow, StripChange::Tunnelling}));
}

TEST(TraceStripBuffer, PassesOnWhatTheCallbackThrows) {
    EXPECT_THROW(traceStripBuffer(meshes::grid(4, 4), {}, [](const StripStep&) { throw std::runtime_error("x"); }),
                 std::runtime_error);
}

TEST(TraceStripBuffer, NamesItselfInItsErrors) {
    EXPECT_EQ(messageOf([] {
                  traceStripBuffer(Indices{0, 1}, {}, [](const StripStep&) {});
              }),
              "traceStripBuffer: 2 indices are not a whole number of triangles");
    EXPECT_EQ(messageOf([] { traceStripBuffer(Indices{}, {.effort = 99}, [](const StripStep&) {}); }),
              "traceStripBuffer: effort 99 is not supported; the highest is " + std::to_string(maxEffort));
}

} // namespace
