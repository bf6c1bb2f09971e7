#include <vexa/mesh/MeshConcatenation.h>

#include "reference/ReferenceOperations.h"
#include "support/Buffers.h"
#include "support/Floats.h"
#include "support/Foreign.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstring>
#include <limits>
#include <stdexcept>

namespace {

using namespace vexa::mesh;
using vexa::test::exactly;
using vexa::test::foreignCopy;
using vexa::test::meshOf;
using vexa::test::Vec3;
using vexa::test::vec3f;
using vexa::test::zeros;
using Box = glm::detail::taabb<float>;

static_assert(sizeof(Box) == 28 && offsetof(Box, flags) == 0 && offsetof(Box, min) == 4 && offsetof(Box, max) == 16);
static_assert(std::is_same_v<decltype(Box::flags), std::uint32_t>);
static_assert(std::is_same_v<decltype(Box::min), glm::vec3>);

constexpr float nan = std::numeric_limits<float>::quiet_NaN();

Box usedBox() {
    return {0xdeadbeefU, glm::vec3(-100.0F), glm::vec3(100.0F)};
}

reference::Box cornersOf(const Box& box) {
    return {{box.min.x, box.min.y, box.min.z}, {box.max.x, box.max.y, box.max.z}};
}

reference::Box boundsOf(const std::vector<Vec3>& positions, const glm::mat4& m = glm::mat4(1.0F)) {
    Box box = usedBox();
    computeVolume(box, meshOf({vec3f("position", positions)}), m);
    EXPECT_EQ(box.flags, 0xdeadbeefU);
    return cornersOf(box);
}

std::string refusalOf(const std::shared_ptr<AttributeBuffer>& buffer) {
    Box box = usedBox();
    std::string message;
    try {
        computeVolume(box, meshOf({buffer}), glm::mat4(1.0F));
    } catch (const std::exception& error) {
        message = typeid(error) == typeid(std::invalid_argument) ? error.what() : typeid(error).name();
    }
    EXPECT_EQ(box.min, glm::vec3(-100.0F));
    EXPECT_EQ(box.max, glm::vec3(100.0F));
    EXPECT_EQ(box.flags, 0xdeadbeefU);
    return message;
}

TEST(ComputeVolume, IsThePointItselfForOnePoint) {
    const reference::Box box = boundsOf({{1, 2, 3}});
    EXPECT_EQ(box.min, (Vec3{1, 2, 3}));
    EXPECT_EQ(box.max, (Vec3{1, 2, 3}));
}

TEST(ComputeVolume, PlacesThePointsByTheMatrix) {
    glm::mat4 m(1.0F);
    m[3] = {10.0F, 0.0F, 0.0F, 1.0F};
    const reference::Box box = boundsOf({{1, 2, 3}, {-1, 5, 2}}, m);
    EXPECT_EQ(box.min, (Vec3{9, 2, 2}));
    EXPECT_EQ(box.max, (Vec3{11, 5, 3}));
}

TEST(ComputeVolume, IgnoresTheFourthRow) {
    glm::mat4 m(1.0F);
    m[0][3] = 5.0F;
    m[3][3] = 0.0F;
    EXPECT_EQ(boundsOf({{1, 2, 3}}, m).max, (Vec3{1, 2, 3}));
}

TEST(ComputeVolume, RefusesMeshesWithoutPositions) {
    EXPECT_EQ(refusalOf(zeros("normal", 3)), "Mesh has no points");
    EXPECT_EQ(refusalOf(AttributeBuffer::createDefaultVec2f("position")), "Only vec3f is allowed for position!!!");
    EXPECT_EQ(refusalOf(AttributeBuffer::createDefault(INT, 3, "position")), "Only vec3f is allowed for position!!!");
    EXPECT_EQ(refusalOf(zeros("position", 0)), "Have zero positions for mesh!!!");
}

TEST(ComputeVolume, ReadsForeignPositionsOnceAndInOrder) {
    const auto calls = std::make_shared<vexa::test::Calls>();
    Box box = usedBox();
    computeVolume(box, meshOf({foreignCopy(*vec3f("position", {{1, 2, 3}, {4, 0, 5}, {2, 2, 2}}), calls)}),
                  glm::mat4(1.0F));
    std::erase_if(*calls, [](const std::string& call) { return call.find("getElement ") == std::string::npos; });
    EXPECT_EQ(*calls, (vexa::test::Calls{"position.getElement 0", "position.getElement 1", "position.getElement 2"}));
    EXPECT_EQ(box.min, glm::vec3(1.0F, 0.0F, 2.0F));
    EXPECT_EQ(box.max, glm::vec3(4.0F, 2.0F, 5.0F));
}

TEST(ComputeVolume, AsksForTheTypeOnlyWhenTheCountIsThree) {
    const auto calls = std::make_shared<vexa::test::Calls>();
    const MeshPtr mesh = meshOf({foreignCopy(*AttributeBuffer::createDefaultVec2f("position"), calls)});
    Box box = usedBox();
    EXPECT_THROW(computeVolume(box, mesh, glm::mat4(1.0F)), std::invalid_argument);
    EXPECT_EQ(*calls, (vexa::test::Calls{"position.getAttributeName", "position.getComponentCountPerElement"}));
}

TEST(ComputeVolume, KeepsNanOfTheFirstPointAndIgnoresLaterNans) {
    // A NaN component makes all three of the placed point NaN, because 0 * NaN is NaN.
    const reference::Box later = boundsOf({{1, 1, 1}, {2, nan, 0}, {3, 3, 2}});
    EXPECT_EQ(later.min, (Vec3{1, 1, 1}));
    EXPECT_EQ(later.max, (Vec3{3, 3, 2}));
    const reference::Box first = boundsOf({{nan, 1, 1}, {2, 2, 0}, {3, 3, 2}});
    EXPECT_EQ(exactly(first.min), exactly({nan, nan, nan}));
    EXPECT_EQ(exactly(first.max), exactly({nan, nan, nan}));
}

TEST(ComputeVolume, KeepsTheFirstOfZerosOfBothSigns) {
    // The identity adds zeros to a minus zero, which this matrix does not.
    const glm::mat4 m(glm::vec4(1, -0.0F, -0.0F, 0), glm::vec4(-0.0F, 1, -0.0F, 0), glm::vec4(-0.0F, -0.0F, 1, 0),
                      glm::vec4(-0.0F, -0.0F, -0.0F, 1));
    for (std::size_t place = 0; place < 40; ++place) {
        std::vector<Vec3> positions(40, Vec3{0.0F, 0.0F, 0.0F});
        positions[place] = {-0.0F, -0.0F, -0.0F};
        const reference::Box own = boundsOf(positions, m);
        const reference::Box expected = reference::bounds(positions, m);
        ASSERT_EQ(exactly(own.min), exactly(expected.min)) << place;
        ASSERT_EQ(exactly(own.max), exactly(expected.max)) << place;
    }
}

void expectBounds(const std::vector<Vec3>& positions, const glm::mat4& m) {
    const reference::Box own = boundsOf(positions, m);
    const reference::Box expected = reference::bounds(positions, m);
    ASSERT_EQ(exactly(own.min), exactly(expected.min));
    ASSERT_EQ(exactly(own.max), exactly(expected.max));

    Box box = usedBox();
    computeVolume(box, meshOf({foreignCopy(*vec3f("position", positions))}), m);
    const reference::Box foreign = cornersOf(box);
    ASSERT_EQ(std::memcmp(&own, &foreign, sizeof own), 0);
}

TEST(ComputeVolume, MatchesTheReferenceToTheBit) {
    for (const glm::mat4& m : vexa::test::variousMatrices()) {
        for (std::uint32_t seed = 0; seed < 200; ++seed) {
            expectBounds(vexa::test::mixedVectors(1 + seed % 37, seed), m);
        }
        expectBounds(vexa::test::ordinaryVectors(1003, 4), m);
    }
}

// Zeros of both signs, the numbers next to them and NaN in every order: sign and position decide.
TEST(ComputeVolume, MatchesTheReferenceOnManyZeros) {
    std::mt19937 engine(5);
    const std::array<float, 6> few{0.0F, -0.0F, 0.0F, 1.0F, nan, -0.0F};
    for (int round = 0; round < 3000; ++round) {
        const auto kinds = 2 + engine() % 5;
        std::vector<Vec3> positions(1 + engine() % 50);
        for (Vec3& p : positions) {
            for (float& component : p) {
                component = few[engine() % kinds];
            }
        }
        glm::mat4 m(1.0F);
        m[3] = {-0.0F, -0.0F, -0.0F, 1.0F};
        m[1][0] = m[2][0] = m[0][1] = m[2][1] = m[0][2] = m[1][2] = -0.0F;
        expectBounds(positions, m);
    }
}

} // namespace
