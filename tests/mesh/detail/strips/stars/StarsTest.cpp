#include "support/Meshes.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/strips/EdgePairing.h>
#include <vexa/mesh/detail/strips/StripPartition.h>
#include <vexa/mesh/detail/strips/stars/Stars.h>

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>

namespace {

using namespace vexa::mesh::detail;
using meshes::Indices;

StripPartition partitionOf(const Indices& mesh) {
    return {pairEdges(mesh), mesh};
}

struct GroupedStars {
    explicit GroupedStars(const StripPartition& partition)
        : groups(partition, 4096, alone, {}), stars(partition, groups) {}

    WorkTeam alone;
    PatchGroups groups;
    Stars stars;
};

std::size_t countStars(const Stars& stars, Star::Kind kind, std::size_t size) {
    return static_cast<std::size_t>(std::count_if(stars.all().begin(), stars.all().end(), [&](const Star& star) {
        return star.kind == kind && star.size == size;
    }));
}

TEST(Stars, AreRingsAroundInnerVertices) {
    const GroupedStars grouped(partitionOf(meshes::icosahedron()));
    const Stars& stars = grouped.stars;
    EXPECT_EQ(stars.all().size(), 12U);
    EXPECT_EQ(countStars(stars, Star::Kind::Ring, 5), 12U);
}

TEST(Stars, AreOpenAtTheBorder) {
    const GroupedStars grouped(partitionOf(meshes::singleTriangle()));
    const Stars& stars = grouped.stars;
    EXPECT_EQ(stars.all().size(), 3U);
    EXPECT_EQ(countStars(stars, Star::Kind::Open, 1), 3U);
}

TEST(Stars, OfManyTrianglesAreWindows) {
    const GroupedStars grouped(partitionOf(meshes::closedFan(20)));
    const Stars& stars = grouped.stars;
    EXPECT_EQ(countStars(stars, Star::Kind::Ring, 20), 0U);
    EXPECT_EQ(countStars(stars, Star::Kind::Window, maxStarSize - 1), 5U);
}

/// The triangles that relabelling a star reads or writes.
std::set<TriangleId> trianglesOf(const StripPartition& partition, const Stars& stars, const Star& star) {
    const int around = star.kind == Star::Kind::Window ? 1 : 0;
    const StarCorner* const corners = stars.corners(star);
    std::set<TriangleId> triangles;
    for (int i = -around; i < star.size + around; ++i) {
        for (const HalfEdgeId halfEdge : {corners[i].spoke, corners[i].outer}) {
            if (halfEdge < partition.border()) {
                triangles.insert(triangleOf(halfEdge));
            }
        }
    }
    return triangles;
}

TEST(Stars, OfDifferentGroupsOfALevelShareNoTriangle) {
    for (const Indices& mesh :
         {meshes::shuffled(meshes::sphere(120, 60), 1), meshes::damaged(meshes::torus(110, 70), 2),
          meshes::joined(meshes::closedFan(50), meshes::shifted(meshes::sphere(90, 50), 51))}) {
        const StripPartition partition = partitionOf(mesh);
        const GroupedStars grouped(partitionOf(mesh));
        const Stars& stars = grouped.stars;
        const PatchGroups& groups = stars.groups();
        std::size_t inLevels = 0;
        for (std::uint32_t level = 0; level < PatchGroups::levels; ++level) {
            std::map<TriangleId, std::uint32_t> groupOf;
            for (std::uint32_t group = groups.begin(level); group < groups.begin(level + 1); ++group) {
                for (const Star& star : stars.group(group)) {
                    for (const TriangleId triangle : trianglesOf(partition, stars, star)) {
                        EXPECT_EQ(groupOf.emplace(triangle, group).first->second, group);
                    }
                }
                inLevels += stars.group(group).size();
            }
        }
        EXPECT_EQ(inLevels + stars.group(groups.rest()).size(), stars.all().size());
        EXPECT_GT(inLevels, stars.all().size() / 100 * 95);
    }
}

TEST(Stars, ThatMeetThemselvesAreLeftOut) {
    // Both triangles face one another over all edges.
    EXPECT_TRUE(GroupedStars(partitionOf(meshes::doubledOppositeWinding())).stars.all().empty());
}

} // namespace
