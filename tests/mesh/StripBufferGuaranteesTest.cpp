#include "reference/ReferenceDecode.h"
#include "reference/ReferenceShortestStrip.h"
#include "support/Meshes.h"

#include <vexa/mesh/StripBuffer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <limits>
#include <vector>

namespace {

using namespace vexa::mesh;
using meshes::Indices;
using meshes::Random;

/// Meshes of each random test; VEXA_RANDOM_MESHES asks for more, for example 1000000.
unsigned randomMeshes(unsigned usual) {
    const char* const wanted = std::getenv("VEXA_RANDOM_MESHES");
    return wanted != nullptr ? static_cast<unsigned>(std::strtoul(wanted, nullptr, 10)) : usual;
}

Indices pick(Random& random) {
    const std::uint32_t seed = random.below(1000000);
    switch (random.below(10)) {
    case 0:
        return meshes::soup(4 + random.below(12), random.below(50), seed);
    case 1:
        return meshes::torus(3 + random.below(10), 3 + random.below(10));
    case 2:
        return meshes::grid(1 + random.below(12), 1 + random.below(12));
    case 3:
        return random.chance(50) ? meshes::closedFan(3 + random.below(30)) : meshes::openFan(1 + random.below(30));
    case 4:
        return meshes::moebius(3 + random.below(20));
    case 5:
        return meshes::book(1 + random.below(12));
    case 6:
        return meshes::sphere(3 + random.below(8), 2 + random.below(8));
    case 7:
        return meshes::pairs(1 + random.below(10));
    case 8:
        return meshes::pinchedVertex(3 + random.below(6), 3 + random.below(6));
    default:
        return meshes::joined(meshes::octahedron(),
                              meshes::shifted(meshes::cylinder(3 + random.below(8), 1 + random.below(8)), 6));
    }
}

Indices randomMesh(Random& random) {
    Indices mesh = pick(random);
    const std::uint32_t seed = random.below(1000000);
    if (random.chance(40)) {
        mesh = meshes::holed(mesh, 1 + random.below(40), seed);
    }
    if (random.chance(20)) {
        mesh = meshes::flipped(mesh, 1 + random.below(40), seed);
    }
    if (random.chance(15)) {
        mesh = meshes::doubled(mesh, 1 + random.below(30), seed);
    }
    if (random.chance(15)) {
        mesh = meshes::collapsed(mesh, 1 + random.below(30), seed);
    }
    return random.chance(50) ? meshes::shuffled(mesh, seed) : mesh;
}

void expectNeverLonger(const Indices& mesh, unsigned maxEffort, StripJoin join, unsigned number,
                       std::uint32_t maxTriangles = 0) {
    std::size_t shortest = maxTriangles != 0 ? std::numeric_limits<std::size_t>::max()
                                             : joinStrips(buildPrimitives(mesh, {.allStrips = true}), join).size();
    for (unsigned effort = 0; effort <= maxEffort; ++effort) {
        const Indices strip = buildStripBuffer(mesh, {.effort = effort, .join = join, .maxTriangles = maxTriangles});
        EXPECT_LE(strip.size(), shortest) << "mesh " << number << ", effort " << effort;
        EXPECT_EQ(reference::canonical(reference::decode(TRIANGLE_STRIP, strip)),
                  reference::canonical(reference::withoutCollapsed(mesh)))
            << "mesh " << number << ", effort " << effort;
        shortest = strip.size();
    }
}

TEST(StripBufferGuarantees, NoEffortNeedsMoreIndicesThanALowerOneOnRandomMeshes) {
    Random random(1);
    for (unsigned i = 0; i < randomMeshes(2000); ++i) {
        const Indices mesh = randomMesh(random);
        expectNeverLonger(mesh, 2, StripJoin::Restart, i);
        expectNeverLonger(mesh, 2, StripJoin::Degenerate, i);
    }
}

TEST(StripBufferGuarantees, NoEffortNeedsMoreIndicesThanALowerOneForStripsOfLimitedLength) {
    Random random(3);
    for (unsigned i = 0; i < randomMeshes(300); ++i) {
        const Indices mesh = randomMesh(random);
        const StripJoin join = i % 2 == 0 ? StripJoin::Restart : StripJoin::Degenerate;
        expectNeverLonger(mesh, 2, join, i, 1 + random.below(20));
    }
}

TEST(StripBufferGuarantees, AnnealingNeedsNoMoreIndicesThanALowerEffortOnRandomMeshes) {
    Random random(2);
    for (unsigned i = 0; i < randomMeshes(60); ++i) {
        const Indices mesh = randomMesh(random);
        expectNeverLonger(mesh, 3, i % 2 == 0 ? StripJoin::Restart : StripJoin::Degenerate, i);
    }
}

Indices cube() {
    return {0, 1, 2, 2, 1, 3, 4, 6, 5, 5, 6, 7, 0, 4, 1, 1, 4, 5, 2, 3, 6, 6, 3, 7, 0, 2, 4, 4, 2, 6, 1, 5, 3, 3, 5, 7};
}

/// Copies of a mesh that share no vertices.
Indices copies(const Indices& mesh, unsigned count) {
    const unsigned vertices = *std::max_element(mesh.begin(), mesh.end()) + 1;
    Indices all;
    all.reserve(count * mesh.size());
    for (unsigned i = 0; i < count; ++i) {
        const Indices copy = meshes::shifted(mesh, i * vertices);
        all.insert(all.end(), copy.begin(), copy.end());
    }
    return all;
}

/// Irregular meshes that are large only because they consist of many pieces, and one that is large itself.
std::vector<Indices> largeIrregularMeshes() {
    return {copies(cube(), 2000),
            copies(meshes::icosahedron(), 1000),
            copies(meshes::tetrahedron(), 5000),
            copies(meshes::sphere(5, 4), 800),
            copies(meshes::sphere(7, 9), 200),
            copies(meshes::sphere(11, 40), 40),
            meshes::shuffled(copies(meshes::octahedron(), 3000), 2),
            meshes::turned(meshes::shuffled(copies(meshes::icosahedron(), 1500), 3), 4),
            meshes::soup(300, 20000, 5),
            meshes::holed(meshes::sphere(160, 120), 3, 6),
            meshes::damaged(meshes::torus(120, 100), 7)};
}

TEST(StripBufferGuarantees, NoEffortNeedsMoreIndicesThanALowerOneOnLargeMeshes) {
    unsigned number = 0;
    for (const Indices& mesh : largeIrregularMeshes()) {
        expectNeverLonger(mesh, 2, StripJoin::Restart, number);
        expectNeverLonger(mesh, 2, StripJoin::Degenerate, number);
        ++number;
    }
}

// With progress, the greedy search comes first and always runs to its end.
TEST(StripBufferGuarantees, ResultsDoNotDependOnProgress) {
    const auto goesOn = [](const StripProgress&) { return true; };
    for (const Indices& mesh : largeIrregularMeshes()) {
        for (const StripJoin join : {StripJoin::Restart, StripJoin::Degenerate}) {
            EXPECT_EQ(buildStripBuffer(mesh, {.join = join, .onProgress = goesOn}),
                      buildStripBuffer(mesh, {.join = join}));
        }
    }
}

std::vector<Indices> smallSurfaces() {
    std::vector<Indices> surfaces{meshes::octahedron(), meshes::tetrahedron(),  meshes::closedFan(7),
                                  meshes::grid(3, 2),   meshes::cylinder(4, 1), meshes::sphere(5, 2)};
    for (std::uint32_t seed = 0; seed < 30; ++seed) {
        surfaces.push_back(meshes::shuffled(meshes::holed(meshes::icosahedron(), 45, seed), seed));
        surfaces.push_back(meshes::holed(meshes::grid(3, 3), 40, seed));
    }
    std::erase_if(surfaces, [](const Indices& surface) { return surface.size() > 3 * 12; });
    return surfaces;
}

TEST(StripBufferGuarantees, NeedsFewMoreIndicesThanTheShortestListsOfSmallSurfaces) {
    std::uint64_t built = 0;
    std::uint64_t shortest = 0;
    for (const Indices& surface : smallSurfaces()) {
        const std::size_t length = buildStripBuffer(surface, {.effort = 3}).size();
        const std::uint64_t least = reference::minIndexCount(surface, reference::Joins::Restart);
        EXPECT_GE(length, least);
        built += length;
        shortest += least;
    }
    EXPECT_LE(100 * built, 103 * shortest);
}

TEST(StripBufferGuarantees, ResultsDoNotDependOnTheNumberOfThreads) {
    const std::vector<Indices> large{meshes::shuffled(meshes::damaged(meshes::sphere(120, 80), 3), 4),
                                     meshes::torus(130, 60), meshes::soup(300, 9000, 5)};
    for (const Indices& mesh : large) {
        for (const unsigned effort : {1U, 2U, 3U}) {
            for (const StripJoin join : {StripJoin::Restart, StripJoin::Degenerate}) {
                const Indices alone = buildStripBuffer(mesh, {.effort = effort, .join = join});
                for (const unsigned threads : {0U, 2U, 3U, 8U}) {
                    EXPECT_EQ(buildStripBuffer(mesh, {.effort = effort, .join = join, .threads = threads}), alone)
                        << "effort " << effort << ", " << threads << " threads";
                }
            }
        }
    }
}

/// FNV-1a over the results for the whole suite of meshes.
std::uint64_t hashResults(const StripBufferOptions& options) {
    std::uint64_t hash = 14695981039346656037U;
    for (const auto& mesh : meshes::suite()) {
        for (const unsigned int index : buildStripBuffer(mesh.indices, options)) {
            hash = (hash ^ index) * 1099511628211U;
        }
    }
    return hash;
}

// Written down once, and the same for every compiler, build type and processor.
TEST(StripBufferGuarantees, ResultsAreTheSameOnEveryMachine) {
    EXPECT_EQ(hashResults({.effort = 0}), 13173053047514796569U);
    EXPECT_EQ(hashResults({.effort = 0, .join = StripJoin::Degenerate}), 7697019837892706658U);
    EXPECT_EQ(hashResults({.effort = 1}), 127203136332364914U);
    EXPECT_EQ(hashResults({.effort = 1, .join = StripJoin::Degenerate}), 5072434881338278518U);
    EXPECT_EQ(hashResults({.effort = 2}), 17513231268001114056U);
    EXPECT_EQ(hashResults({.effort = 2, .join = StripJoin::Degenerate}), 7287850427953553646U);
    EXPECT_EQ(hashResults({.effort = 3}), 5087382657196454638U);
    EXPECT_EQ(hashResults({.effort = 3, .join = StripJoin::Degenerate}), 12576014152252498628U);
    EXPECT_EQ(hashResults({.effort = 2, .forVertexCache = true}), 16150070073658907245U);
}

} // namespace
