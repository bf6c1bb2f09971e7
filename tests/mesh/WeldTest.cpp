#include <vexa/mesh/Weld.h>

#include <vexa/mesh/Views.h>
#include <vexa/mesh/detail/DefaultAttributeBuffer.h>
#include <vexa/mesh/detail/VectorBufferData.h>

#include "support/Foreign.h"
#include "support/Meshes.h"
#include "support/Messages.h"

#include <glm/glm.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <map>
#include <stdexcept>

namespace {

using namespace vexa::mesh;
using testing::ElementsAre;

using Indices = std::vector<unsigned int>;
using Positions = std::vector<glm::vec3>;

MeshPtr soupOf(const Positions& positions) {
    return makeMesh(TRIANGLES, nullptr, {makeAttribute("position", positions)});
}

Positions positionsOf(const WeldResult& result) {
    return toElements<glm::vec3>(*result.mesh->getAttributeBuffer("position"));
}

TEST(Weld, KeepsTheFirstOfEqualVerticesInOrder) {
    const Positions positions{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {0, 1, 0}, {1, 0, 0}, {1, 1, 0}};
    const WeldResult result = weld(*soupOf(positions));
    EXPECT_THAT(positionsOf(result),
                ElementsAre(glm::vec3(0, 0, 0), glm::vec3(1, 0, 0), glm::vec3(0, 1, 0), glm::vec3(1, 1, 0)));
    EXPECT_THAT(result.remap, ElementsAre(0, 1, 2, 2, 1, 3));
    EXPECT_THAT(toIndices(*result.mesh->getIndexBuffer()), ElementsAre(0, 1, 2, 2, 1, 3));
    EXPECT_EQ(result.mesh->getIndexBuffer()->getComponentType(), UNSIGNED_SHORT);
}

TEST(Weld, ComparesEveryAttributeUnlessSomeAreChosen) {
    const MeshPtr mesh =
        makeMesh(POINTS, nullptr,
                 {makeAttribute("position", Positions(4)),
                  makeAttribute("uv", std::vector{glm::vec2(0, 0), glm::vec2(0, 1), glm::vec2(0, 0), glm::vec2(0, 1)}),
                  makeAttribute("id", std::vector<std::uint8_t>{1, 2, 3, 2})});
    EXPECT_THAT(weld(*mesh).remap, ElementsAre(0, 1, 2, 1));
    EXPECT_THAT(weld(*mesh, {.compare = {"uv"}}).remap, ElementsAre(0, 1, 0, 1));
    const WeldResult byPosition = weld(*mesh, {.compare = {"position"}});
    EXPECT_THAT(byPosition.remap, ElementsAre(0, 0, 0, 0));
    EXPECT_THAT(toElements<std::uint8_t>(*byPosition.mesh->getAttributeBuffer("id")), ElementsAre(1));
}

TEST(Weld, ComparesBitsWithoutAToleranceAndValuesWithOne) {
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const MeshPtr mesh = soupOf({{0, 0, 0}, {-0.0F, 0, 0}, {nan, 0, 0}, {nan, 0, 0}});
    EXPECT_THAT(weld(*mesh).remap, ElementsAre(0, 1, 2, 2));
    EXPECT_THAT(weld(*mesh, {.tolerance = 0}).remap, ElementsAre(0, 0, 1, 1));
}

TEST(Weld, ToleranceIsTransitiveAndLimitedByOtherAttributes) {
    const Positions row{{0, 0, 0}, {0.9F, 0, 0}, {1.8F, 0, 0}, {4, 0, 0}};
    EXPECT_THAT(weld(*soupOf(row), {.tolerance = 1}).remap, ElementsAre(0, 0, 0, 1));
    EXPECT_THAT(weld(*soupOf(row), {.tolerance = 0.8}).remap, ElementsAre(0, 1, 2, 3));
    const MeshPtr withIds =
        makeMesh(POINTS, nullptr, {makeAttribute("position", row), makeAttribute("id", std::vector<int>{1, 2, 1, 1})});
    EXPECT_THAT(weld(*withIds, {.tolerance = 1}).remap, ElementsAre(0, 1, 2, 3));
    EXPECT_THAT(weld(*withIds, {.tolerance = 1, .compare = {"position"}}).remap, ElementsAre(0, 0, 0, 1));
}

TEST(Weld, AcceptsHugeAndTinyTolerances) {
    const float large = 3e38F;
    EXPECT_THAT(weld(*soupOf({{0, 0, 0}, {large, 0, 0}, {-large, 0, 0}}), {.tolerance = 1e300}).remap,
                ElementsAre(0, 0, 0));
    // The position in units of such a tolerance is a negative zero.
    const float tiny = std::numeric_limits<float>::denorm_min();
    EXPECT_THAT(weld(*soupOf({{0, 0, 0}, {-tiny, 0, 0}}), {.tolerance = 1e300}).remap, ElementsAre(0, 0));
    const Positions near{{large, 0, 0}, {large, 0, 0}, {std::nextafter(large, 0.0F), 0, 0}};
    EXPECT_THAT(weld(*soupOf(near), {.tolerance = 1e-300}).remap, ElementsAre(0, 0, 1));
}

TEST(Weld, NeverReadsThePaddingOfInterleavedElements) {
    const auto storage = std::make_shared<detail::VectorBufferData>();
    storage->resize(3 * 16);
    auto* const bytes = static_cast<unsigned char*>(storage->getData());
    for (unsigned char i = 0; i < 48; ++i) {
        bytes[i] = i % 16 < 12 ? 0 : i;
    }
    const MeshPtr mesh = makeMesh(
        POINTS, nullptr, {std::make_shared<detail::DefaultAttributeBuffer>(FLOAT, 3, 16, 0, storage, "position")});
    EXPECT_THAT(weld(*mesh).remap, ElementsAre(0, 0, 0));
}

TEST(Weld, KeepsPrimitiveIndexTypeAndRestarts) {
    const MeshPtr mesh = makeMesh(TRIANGLE_STRIP, Indices{0, 1, 2, restartIndex, 2, 3, 1},
                                  {makeAttribute("position", Positions{{0, 0, 0}, {1, 0, 0}, {0, 0, 0}, {2, 0, 0}})},
                                  {.indexWidth = IndexWidth::Bits8});
    const WeldResult result = weld(*mesh);
    EXPECT_EQ(result.mesh->getPrimitiveType(), TRIANGLE_STRIP);
    EXPECT_EQ(result.mesh->getIndexBuffer()->getComponentType(), UNSIGNED_BYTE);
    EXPECT_THAT(toIndices(*result.mesh->getIndexBuffer()), ElementsAre(0, 1, 0, restartIndex, 0, 2, 1));
    EXPECT_EQ(weld(*mesh, {.indexWidth = IndexWidth::Bits32}).mesh->getIndexBuffer()->getComponentType(), UNSIGNED_INT);
}

/// The remap by a map of all bytes.
std::vector<std::uint32_t> plainRemap(const Positions& positions) {
    std::map<std::array<float, 3>, std::uint32_t> known;
    std::vector<std::uint32_t> remap;
    for (const glm::vec3& p : positions) {
        remap.push_back(known.try_emplace({p.x, p.y, p.z}, static_cast<std::uint32_t>(known.size())).first->second);
    }
    return remap;
}

TEST(Weld, EqualsAPlainMap) {
    meshes::Random random(4);
    Positions positions(20'000);
    for (glm::vec3& p : positions) {
        p = {random.below(20), random.below(20), random.below(20)};
    }
    const WeldResult result = weld(*soupOf(positions));
    EXPECT_EQ(result.remap, plainRemap(positions));
    EXPECT_EQ(weld(*soupOf(positions), {.tolerance = 0}).remap, plainRemap(positions));
    EXPECT_EQ(weld(*soupOf(positions), {.tolerance = 0.5}).remap, plainRemap(positions));
    const MeshPtr foreign =
        makeMesh(POINTS, nullptr, {vexa::test::foreignCopy(*soupOf(positions)->getAttributeBuffer("position"))});
    EXPECT_EQ(weld(*foreign).remap, plainRemap(positions));
    for (std::size_t v = 0; v < positions.size(); ++v) {
        ASSERT_EQ(positionsOf(result)[result.remap[v]], positions[v]);
        v += 997;
    }
}

/// The first vertex that a chain of steps within the tolerance leads to.
std::vector<std::uint32_t> plainNear(const Positions& positions, double tolerance) {
    std::vector<std::uint32_t> first(positions.size());
    for (std::uint32_t v = 0; v < first.size(); ++v) {
        first[v] = v;
        for (std::uint32_t w = 0; w < v; ++w) {
            if (glm::distance(glm::dvec3(positions[v]), glm::dvec3(positions[w])) <= tolerance) {
                const auto [low, high] = std::minmax({first[v], first[w]});
                std::replace(first.begin(), first.begin() + v + 1, high, low);
            }
        }
    }
    return first;
}

TEST(Weld, NearVerticesAreThoseOfAPlainSearch) {
    meshes::Random random(5);
    Positions positions(400);
    for (glm::vec3& p : positions) {
        p = glm::vec3(random.below(1000), random.below(1000), random.below(100)) * 0.01F;
    }
    for (const double tolerance : {0.05, 0.3, 0.7}) {
        const std::vector<std::uint32_t> expected = plainNear(positions, tolerance);
        const WeldResult result = weld(*soupOf(positions), {.tolerance = tolerance});
        for (std::size_t v = 0; v < positions.size(); ++v) {
            EXPECT_EQ(result.remap[v], result.remap[expected[v]]) << v;
            EXPECT_EQ(positionsOf(result)[result.remap[v]], positions[expected[v]]) << v;
        }
    }
}

TEST(Weld, ToleranceLeavesVerticesApartThatDifferOtherwise) {
    const MeshPtr mesh = soupOf(Positions(3));
    mesh->addAttributeBuffer(makeAttribute("uv", std::vector<float>{1, 2, 1}));
    EXPECT_THAT(weld(*mesh, {.tolerance = 0.5}).remap, ElementsAre(0, 1, 0));
}

TEST(Weld, OfAMeshWithoutAttributesIsEmpty) {
    EXPECT_TRUE(weld(*makeMesh(TRIANGLES, nullptr, {})).remap.empty());
}

TEST(Weld, RefusesOptionsThatCannotApply) {
    const MeshPtr mesh = soupOf(Positions(3));
    const auto fault = [&](const WeldOptions& options) { return messageOf([&] { weld(*mesh, options); }); };
    EXPECT_EQ(fault({.compare = {"uv"}}), "weld: the mesh lacks the attribute \"uv\" to compare");
    EXPECT_EQ(messageOf([] { weld(*makeMesh(POINTS, nullptr, {makeAttribute<float>("uv", 2)}), {.tolerance = 1}); }),
              "weld: the mesh lacks the attribute \"position\", to which the tolerance applies");
    EXPECT_EQ(fault({.tolerance = -1}), "weld: the tolerance -1.000000 is not a distance; use a finite number from 0");
    EXPECT_EQ(fault({.tolerance = INFINITY}), "weld: the tolerance inf is not a distance; use a finite number from 0");
    const MeshPtr narrow = makeMesh(POINTS, nullptr, {makeAttribute<glm::vec2>("position", 2)});
    EXPECT_EQ(messageOf([&] { weld(*narrow, {.tolerance = 1}); }),
              "weld: the attribute \"position\" is not three floats, which a tolerance needs");
    Positions many(300);
    for (std::size_t i = 0; i < many.size(); ++i) {
        many[i].x = static_cast<float>(i);
    }
    EXPECT_THROW(weld(*soupOf(many), {.indexWidth = IndexWidth::Bits8}), std::length_error);
}

TEST(Weld, RefusesAttributesThatAreMissingOrDoNotFitOneAnother) {
    const MeshPtr uneven = soupOf(Positions(3));
    uneven->addAttributeBuffer(makeAttribute<float>("uv", 2));
    EXPECT_EQ(messageOf([&] { weld(*uneven); }), "weld: attribute 1 (\"uv\") has 2 elements, and attribute 0 "
                                                 "(\"position\") has 3; give every vertex one element of each");
    const MeshPtr empty = soupOf(Positions(3));
    empty->addAttributeBuffer(nullptr);
    EXPECT_EQ(messageOf([&] { weld(*empty); }), "weld: attribute 1 of the mesh is an empty pointer");
    const MeshPtr large = makeMesh(POINTS, nullptr, {std::make_shared<vexa::test::TooManyPositions>()});
    EXPECT_EQ(messageOf<std::length_error>([&] { weld(*large); }),
              "weld: 4294967295 vertices need indices of more than 32 bits; split the mesh");
}

TEST(Weld, RefusesIndicesThatAreOutOfRange) {
    const MeshPtr mesh = soupOf(Positions(3));
    const auto indices = IndexBuffer::createDefault(UNSIGNED_BYTE);
    assign(*indices, Indices{0, 1, 7});
    mesh->setIndexBuffer(indices);
    EXPECT_EQ(messageOf([&] { weld(*mesh); }), "weld: index 7 at 2 is out of range: the mesh has 3 vertices");
}

} // namespace
