#ifdef VEXAMESH_WITH_REPORT

#include "report/SearchSteps.h"

#include <algorithm>
#include <cstdint>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <vector>

namespace {

using namespace vexa::tool;
namespace mesh = vexa::mesh;
using testing::ElementsAre;
using testing::IsEmpty;

/// A grid of squares that are cut along either diagonal, so that no search finds the best strips at once.
std::vector<unsigned int> knotted() {
    constexpr unsigned int side = 12;
    std::vector<unsigned int> triangles;
    for (unsigned int square = 0; square < side * side; ++square) {
        const unsigned int a = square / side * (side + 1) + square % side;
        const unsigned int b = a + 1;
        const unsigned int c = a + side + 1;
        const unsigned int d = c + 1;
        const bool isTurned = square * 7 % 5 < 2;
        triangles.insert(triangles.end(),
                         {a, b, isTurned ? d : c, isTurned ? a : c, isTurned ? d : b, isTurned ? c : d});
    }
    return triangles;
}

std::vector<std::string> namesOf(const std::vector<PictureStep>& steps) {
    std::vector<std::string> names;
    std::transform(steps.begin(), steps.end(), std::back_inserter(names),
                   [](const PictureStep& step) { return step.name; });
    return names;
}

TEST(SearchSteps, AreThePassesUpToTheStripsOfTheReport) {
    const std::vector<unsigned int> triangles = knotted();
    SearchSteps search({.effort = 1}, Joining::Restart);
    search.add(triangles, true);
    const std::vector<PictureStep> steps = search.finish(3);
    EXPECT_THAT(namesOf(steps), ElementsAre("Greedy search", "Tunnelling"));
    EXPECT_EQ(steps[0].drawing, 3U);
    EXPECT_EQ(steps[1].drawing, 0U) << "the strips of the report, which are not stored twice";
    EXPECT_EQ(steps[0].indices, mesh::buildStripBuffer(triangles, {.effort = 0}).size());
    EXPECT_EQ(steps[1].indices, mesh::buildStripBuffer(triangles, {.effort = 1}).size());
    EXPECT_LT(steps[1].indices, steps[0].indices);
    const std::vector<PictureCut> drawings = search.drawingsOf(0);
    ASSERT_EQ(drawings.size(), 1U);
    EXPECT_EQ(mesh::joinStrips(drawings[0].parts, mesh::StripJoin::Restart).size(), steps[0].indices);
}

TEST(SearchSteps, EndWithTheResultIfNoPassHasIt) {
    const std::vector<unsigned int> triangles = knotted();
    const mesh::StripBufferOptions options{.effort = 1, .maxTriangles = 2};
    SearchSteps search(options, Joining::Restart);
    search.add(triangles, true);
    const std::vector<PictureStep> steps = search.finish(1);
    EXPECT_THAT(namesOf(steps), ElementsAre("Greedy search", "Tunnelling", "The result"));
    EXPECT_EQ(steps[2].indices, mesh::buildStripBuffer(triangles, options).size());
    EXPECT_EQ(steps[2].drawing, 0U);
    EXPECT_EQ(search.drawingsOf(0).size(), 2U);
}

TEST(SearchSteps, AddUpPrimitivesAndCountSharedIndicesOnce) {
    SearchSteps search({.effort = 1}, Joining::Restart);
    search.add({0, 1, 2}, true);
    search.add({0, 1, 2, 2, 1, 3}, true);
    search.add({0, 1, 2, 2, 1, 3}, false);
    const std::vector<PictureStep> steps = search.finish(1);
    EXPECT_EQ(steps.back().indices, 3U + 4);
    EXPECT_EQ(search.drawingsOf(2).size(), search.drawingsOf(0).size());
}

TEST(SearchSteps, CountNoJointsBetweenStripsThatStayApart) {
    const std::vector<unsigned int> triangles = knotted();
    SearchSteps search({.effort = 1}, Joining::None);
    search.add(triangles, true);
    std::uint64_t indices = 0;
    for (const mesh::IndexedPrimitive& strip : mesh::buildStrips(triangles, {.effort = 1})) {
        indices += strip.indices.size();
    }
    EXPECT_EQ(search.finish(1).back().indices, indices);
}

TEST(SearchSteps, AreNotShownIfThereIsOnlyOne) {
    SearchSteps search({.effort = 0}, Joining::Restart);
    search.add(knotted(), true);
    EXPECT_THAT(search.finish(1), IsEmpty());
    EXPECT_THAT(search.drawingsOf(0), IsEmpty());
}

TEST(SearchSteps, AreNoneWithoutTriangles) {
    EXPECT_THAT(SearchSteps({}, Joining::Restart).finish(1), IsEmpty());
}

} // namespace

#endif
