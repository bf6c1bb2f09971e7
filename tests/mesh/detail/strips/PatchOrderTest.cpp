#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/LargeVector.h>
#include <vexa/mesh/detail/strips/PatchOrder.h>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <map>
#include <numeric>

namespace {

using namespace vexa::mesh::detail;
using meshes::Indices;

bool isScattered(const Indices& mesh) {
    return vexa::mesh::detail::isScattered(pairEdges(mesh), 50);
}

TEST(IsScattered, DistinguishesShuffledMeshesFromOrderedOnes) {
    const Indices mesh = meshes::sphere(150, 100);
    EXPECT_FALSE(isScattered(mesh));
    EXPECT_TRUE(isScattered(meshes::shuffled(mesh, 1)));
}

TEST(IsScattered, SamplesTheWholeMesh) {
    const Indices part = meshes::sphere(150, 100);
    const Indices ordered = meshes::shifted(part, 15000);
    const Indices scattered = meshes::shuffled(part, 1);
    EXPECT_TRUE(isScattered(meshes::joined(meshes::shifted(meshes::singleTriangle(), 15000), scattered)));
    EXPECT_FALSE(isScattered(meshes::joined(meshes::joined(scattered, ordered), meshes::shifted(ordered, 15000))));
}

TEST(IsScattered, IsNeverTrueOfASmallMesh) {
    EXPECT_FALSE(isScattered(meshes::shuffled(meshes::sphere(100, 100), 1)));
}

TEST(PatchOrder, KeepsNeighboursClose) {
    const Indices mesh = meshes::shuffled(meshes::sphere(150, 100), 1);
    LargeVector<TriangleId> order = patchOrder(pairEdges(mesh));
    Indices ordered;
    for (const TriangleId id : order) {
        ordered.insert(ordered.end(), mesh.begin() + 3 * static_cast<std::ptrdiff_t>(id),
                       mesh.begin() + 3 * static_cast<std::ptrdiff_t>(id) + 3);
    }
    EXPECT_FALSE(isScattered(ordered));
    LargeVector<TriangleId> all(mesh.size() / 3);
    std::iota(all.begin(), all.end(), TriangleId{0});
    std::sort(order.begin(), order.end());
    EXPECT_EQ(order, all);
}

TEST(PatchesOf, HaveTheSizeButForTheFirstAndTheLast) {
    const Indices mesh = meshes::shuffled(meshes::sphere(20, 15), 2); // 560 triangles
    std::map<std::uint32_t, std::size_t> sizes;
    for (const std::uint32_t patch : patchesOf(pairEdges(mesh), 100, 30)) {
        ++sizes[patch];
    }
    EXPECT_EQ(sizes, (std::map<std::uint32_t, std::size_t>{{0, 70}, {1, 100}, {2, 100}, {3, 100}, {4, 100}, {5, 90}}));
}

} // namespace
