#include "reference/ReferenceDecode.h"
#include "reference/ReferenceShortestStrip.h"
#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/StripBound.h>

#include <functional>

// The bound beside the shortest list of all: it is never above, and mostly it is the same.

namespace {

using meshes::Indices;
using meshes::Random;
using reference::Joins;
using vexa::mesh::minIndexCount;
using vexa::mesh::StripJoin;

class Comparison {
public:
    explicit Comparison(StripJoin join) : join_(join) {}

    void add(const Indices& triangles) {
        const std::uint64_t bound = minIndexCount(triangles, join_);
        const std::uint64_t shortest =
            reference::minIndexCount(triangles, join_ == StripJoin::Restart ? Joins::Restart : Joins::Any);
        EXPECT_LE(bound, shortest) << ::testing::PrintToString(triangles);
        ++meshes_;
        exact_ += bound == shortest ? 1 : 0;
        proven_ += bound;
        needed_ += shortest;
    }

    [[nodiscard]] std::uint64_t meshCount() const { return meshes_; }
    /// Of the meshes, those for which the bound is the truth.
    [[nodiscard]] std::uint64_t percentExact() const { return 100 * exact_ / meshes_; }
    /// Of the indices that all meshes need together.
    [[nodiscard]] std::uint64_t percentProven() const { return 100 * proven_ / needed_; }

private:
    StripJoin join_;
    std::uint64_t meshes_ = 0;
    std::uint64_t exact_ = 0;
    std::uint64_t proven_ = 0;
    std::uint64_t needed_ = 0;
};

using MakeMesh = std::function<Indices(std::uint32_t seed)>;

Comparison compare(const MakeMesh& make, StripJoin join) {
    Comparison comparison(join);
    for (std::uint32_t seed = 0; seed < 12; ++seed) {
        const Indices mesh = make(seed);
        comparison.add(seed % 2 == 0 ? mesh : meshes::turned(meshes::shuffled(mesh, seed), seed));
    }
    return comparison;
}

/// Calls back with every choice of `count` of these triangles, equal ones included.
void forEachChoice(const Indices& triangles, unsigned count, const std::function<void(const Indices&)>& visit,
                   const Indices& chosen = {}, std::size_t first = 0) {
    if (chosen.size() == 3 * count) {
        visit(chosen);
        return;
    }
    for (std::size_t i = first; i < triangles.size(); i += 3) {
        Indices longer = chosen;
        longer.insert(longer.end(), {triangles[i], triangles[i + 1], triangles[i + 2]});
        forEachChoice(triangles, count, visit, longer, i);
    }
}

/// Every triangle on some vertices, wound either way.
Indices allTriangles(unsigned int vertexCount) {
    Indices triangles;
    for (unsigned int a = 0; a < vertexCount; ++a) {
        for (unsigned int b = a + 1; b < vertexCount; ++b) {
            for (unsigned int c = b + 1; c < vertexCount; ++c) {
                triangles.insert(triangles.end(), {a, b, c, a, c, b});
            }
        }
    }
    return triangles;
}

/// A closed surface of that many triangles, an even number: a tetrahedron whose triangles are split at random.
Indices randomSphere(unsigned int triangleCount, std::uint32_t seed) {
    Random random(seed);
    Indices mesh = meshes::tetrahedron();
    for (unsigned int vertex = 4; mesh.size() < 3 * triangleCount; ++vertex) {
        const std::size_t split = 3 * random.below(static_cast<unsigned int>(mesh.size() / 3));
        const Indices old(mesh.begin() + static_cast<std::ptrdiff_t>(split),
                          mesh.begin() + static_cast<std::ptrdiff_t>(split) + 3);
        mesh[split + 2] = vertex;
        mesh.insert(mesh.end(), {old[1], old[2], vertex, old[2], old[0], vertex});
    }
    return mesh;
}

/// Seven vertices, each joined to all others.
Indices smallestTorus() {
    Indices mesh;
    for (unsigned int a = 0; a < 7; ++a) {
        mesh.insert(mesh.end(), {a, (a + 1) % 7, (a + 3) % 7, a, (a + 3) % 7, (a + 2) % 7});
    }
    return mesh;
}

Indices firstTriangles(Indices mesh, std::size_t count) {
    mesh.resize(std::min(mesh.size(), 3 * count));
    return mesh;
}

Comparison compareChoices(unsigned int vertexCount, unsigned int triangleCount, StripJoin join) {
    Comparison comparison(join);
    forEachChoice(allTriangles(vertexCount), triangleCount, [&](const Indices& chosen) { comparison.add(chosen); });
    return comparison;
}

TEST(StripBoundDifferential, HoldsForAllSetsOfThreeTrianglesOnFiveVertices) {
    const Comparison restart = compareChoices(5, 3, StripJoin::Restart);
    EXPECT_EQ(restart.meshCount(), 1540u);
    EXPECT_GE(restart.percentExact(), 85u);
    EXPECT_GE(restart.percentProven(), 97u);
    const Comparison any = compareChoices(5, 3, StripJoin::Degenerate);
    EXPECT_GE(any.percentExact(), 85u);
    EXPECT_GE(any.percentProven(), 96u);
}

TEST(StripBoundDifferential, HoldsForAllSetsOfFourTrianglesOnFourVertices) {
    const Comparison restart = compareChoices(4, 4, StripJoin::Restart);
    EXPECT_EQ(restart.meshCount(), 330u);
    EXPECT_GE(restart.percentExact(), 45u);
    EXPECT_GE(restart.percentProven(), 88u);
    const Comparison any = compareChoices(4, 4, StripJoin::Degenerate);
    EXPECT_GE(any.percentExact(), 45u);
    EXPECT_GE(any.percentProven(), 90u);
}

/// How good the bound is on a kind of mesh, in percent, at least.
struct Quality {
    std::uint64_t exact;
    std::uint64_t proven;
};

struct Family {
    const char* name;
    MakeMesh make;
    Quality restart;
    Quality any;
};

std::ostream& operator<<(std::ostream& stream, const Family& family) {
    return stream << family.name;
}

std::vector<Family> families() {
    return {
        {"Spheres", [](auto seed) { return randomSphere(8, seed); }, {95, 98}, {95, 98}},
        {"SpheresWithHoles",
         [](auto seed) { return firstTriangles(meshes::shuffled(randomSphere(10, seed), seed), 8); },
         {60, 94},
         {65, 95}},
        {"Grids", [](auto seed) { return firstTriangles(meshes::grid(2 + seed % 2, 3), 8); }, {95, 98}, {45, 93}},
        {"Tubes", [](auto seed) { return firstTriangles(meshes::cylinder(3 + seed % 2, 2), 8); }, {45, 93}, {45, 93}},
        {"Torus",
         [](auto seed) { return firstTriangles(meshes::shuffled(smallestTorus(), seed), 9); },
         {60, 96},
         {35, 93}},
        {"Wheels",
         [](auto seed) { return seed % 4 < 2 ? meshes::closedFan(3 + seed % 7) : meshes::openFan(3 + seed % 7); },
         {95, 98},
         {45, 92}},
        {"TwoParts",
         [](auto seed) {
             return meshes::joined(randomSphere(4, seed),
                                   meshes::shifted(randomSphere(4, seed), seed % 3 == 0 ? 3 : 9));
         },
         {95, 98},
         {95, 98}},
        {"Soups", [](auto seed) { return meshes::soup(5 + seed % 4, 8, seed); }, {85, 97}, {60, 94}},
        {"Damaged",
         [](auto seed) { return firstTriangles(meshes::damaged(meshes::grid(2, 2), seed), 8); },
         {35, 90},
         {10, 87}},
    };
}

class StripBoundOfFamily : public ::testing::TestWithParam<Family> {
protected:
    static void expectAtLeast(const Comparison& comparison, const Quality& quality) {
        EXPECT_GE(comparison.percentExact(), quality.exact);
        EXPECT_GE(comparison.percentProven(), quality.proven);
    }
};

TEST_P(StripBoundOfFamily, IsNeverTooHighForRestartJoins) {
    expectAtLeast(compare(GetParam().make, StripJoin::Restart), GetParam().restart);
}

TEST_P(StripBoundOfFamily, IsNeverTooHighForAnyJoins) {
    expectAtLeast(compare(GetParam().make, StripJoin::Degenerate), GetParam().any);
}

INSTANTIATE_TEST_SUITE_P(All, StripBoundOfFamily, ::testing::ValuesIn(families()),
                         [](const auto& family) { return std::string(family.param.name); });

} // namespace
