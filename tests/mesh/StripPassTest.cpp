#include "support/Graphs.h"
#include "support/LogCapture.h"

#include <vexa/mesh/Strips.h>

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

// StripOptions::onPass: the passes of a search, as they are finished.

namespace {

using namespace vexa::mesh;
using meshes::Indices;

struct ObservedSearch {
    std::vector<StripPass> passes;
    std::vector<IndexedPrimitive> primitives;
};

/// A search with an observer that stops it after some passes.
ObservedSearch observe(const Indices& mesh, StripOptions options,
                       std::size_t stopAfter = std::numeric_limits<std::size_t>::max()) {
    ObservedSearch observed;
    options.onPass = [&](const StripPass& pass) {
        observed.passes.push_back(pass);
        return observed.passes.size() < stopAfter;
    };
    observed.primitives = buildPrimitives(mesh, options);
    return observed;
}

/// A pass as the half-edge graph logs it.
std::string recordOf(const StripPass& pass) {
    return " cost/best/worst: " + std::to_string(pass.cost) + "/" + std::to_string(pass.best) + "/" +
           std::to_string(pass.worst);
}

std::size_t indexCount(const std::vector<IndexedPrimitive>& primitives) {
    std::size_t count = 0;
    for (const IndexedPrimitive& primitive : primitives) {
        count += primitive.indices.size();
    }
    return count;
}

std::vector<std::string> texts(const std::vector<IndexedPrimitive>& primitives) {
    std::vector<std::string> found;
    for (const IndexedPrimitive& primitive : primitives) {
        found.push_back(std::to_string(primitive.type) + ": " + graphs::text(primitive.indices));
    }
    return found;
}

TEST(StripPass, IsReportedWithItsNumberAndTheNumberOfPasses) {
    const std::vector<StripPass> passes = observe(meshes::torus(8, 6), {.iterations = 3}).passes;
    ASSERT_EQ(passes.size(), 3u);
    for (std::uint32_t i = 0; i < 3; ++i) {
        EXPECT_EQ(passes[i].number, i + 1);
        EXPECT_EQ(passes[i].wanted, 3u);
    }
}

TEST(StripPass, HasTheCostsThatTheGraphLogs) {
    const Indices mesh = meshes::torus(12, 9);
    const vexa::test::LogCapture capture(vexa::test::Severity::Info);
    graphs::FilledGraph graph(mesh);
    graph.calcOptPrim(6, true, true, 5, false);
    const std::vector<std::string> logged = capture.messages();

    std::vector<std::string> reported;
    for (const StripPass& pass : observe(mesh, {.iterations = 6, .buildFans = true, .minFanTriangles = 5}).passes) {
        reported.push_back(recordOf(pass));
    }
    ASSERT_EQ(logged.size(), 7u); // and the range at the end
    EXPECT_EQ(reported, std::vector<std::string>(logged.begin(), logged.end() - 1));
}

TEST(StripPass, OfTheReplayCostsAsMuchAsTheResultHolds) {
    for (const bool allStrips : {false, true}) {
        const ObservedSearch found = observe(meshes::grid(9, 7), {.iterations = 5, .allStrips = allStrips});
        EXPECT_EQ(found.passes.back().cost, indexCount(found.primitives));
    }
}

TEST(StripPass, IsReportedOnceForASinglePass) {
    const ObservedSearch found = observe(meshes::grid(9, 7), {.buildFans = true});
    ASSERT_EQ(found.passes.size(), 1u);
    EXPECT_EQ(found.passes[0].number, 1u);
    EXPECT_EQ(found.passes[0].wanted, 1u);
    EXPECT_EQ(found.passes[0].cost, indexCount(found.primitives));
    EXPECT_EQ(found.passes[0].best, found.passes[0].cost);
    EXPECT_EQ(found.passes[0].worst, found.passes[0].cost);
}

TEST(StripPass, IsNotReportedWhenNoStripsAreBuilt) {
    EXPECT_TRUE(observe(meshes::grid(4, 4), {.iterations = 0}).passes.empty());
    EXPECT_TRUE(observe(meshes::grid(4, 4), {.iterations = 3, .buildStrips = false}).passes.empty());
}

TEST(StripPass, DoesNotChangeTheResult) {
    for (const std::uint32_t iterations : {0U, 1U, 2U, 7U}) {
        const StripOptions options{.iterations = iterations, .buildFans = true};
        EXPECT_EQ(texts(observe(meshes::torus(9, 7), options).primitives),
                  texts(buildPrimitives(meshes::torus(9, 7), options)));
    }
}

TEST(StripPass, StoppedSearchReplaysTheBestPassSoFar) {
    const Indices mesh = meshes::torus(12, 9);
    for (const std::uint32_t passes : {1U, 2U, 5U}) {
        const ObservedSearch stopped = observe(mesh, {.iterations = 4000000000U}, passes);
        EXPECT_EQ(stopped.passes.size(), passes);
        EXPECT_EQ(texts(stopped.primitives), texts(buildPrimitives(mesh, {.iterations = passes + 1})));
    }
}

TEST(StripPass, StoppingAtTheLastPassChangesNothing) {
    const Indices mesh = meshes::torus(12, 9);
    for (const std::uint32_t iterations : {1U, 4U}) {
        const ObservedSearch stopped = observe(mesh, {.iterations = iterations}, iterations);
        EXPECT_EQ(stopped.passes.size(), iterations);
        EXPECT_EQ(texts(stopped.primitives), texts(buildPrimitives(mesh, {.iterations = iterations})));
    }
}

TEST(StripPass, ObserverMayThrow) {
    for (const std::uint32_t iterations : {1U, 3U}) {
        const StripOptions options{.iterations = iterations,
                                   .onPass = [](const StripPass&) -> bool { throw std::runtime_error("enough"); }};
        EXPECT_THROW(buildPrimitives(meshes::torus(6, 5), options), std::runtime_error);
    }
}

} // namespace
