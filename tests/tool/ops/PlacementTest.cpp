#include "ops/Placement.h"

#include "base/Errors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using vexa::tool::Document;
using vexa::tool::FormatError;
using vexa::tool::Json;
using vexa::tool::meshInstances;
using vexa::tool::parseRotation;
using vexa::tool::parseScale;
using vexa::tool::parseTranslation;
using vexa::tool::UsageError;

void expectNear(const glm::dvec4& actual, const glm::dvec4& expected) {
    for (int i = 0; i < 4; ++i) {
        EXPECT_NEAR(actual[i], expected[i], 1e-12) << "component " << i;
    }
}

/// The text of the `UsageError` that `parse` throws for a text.
template <typename Parse>
std::string usageError(const Parse& parse, const std::string& text) {
    try {
        parse(text);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "";
}

TEST(ParseTranslation, MovesByThreeNumbers) {
    expectNear(parseTranslation("1,-2.5,+3e1") * glm::dvec4(1, 1, 1, 1), {2, -1.5, 31, 1});
}

TEST(ParseTranslation, RefusesAnyOtherCount) {
    EXPECT_THAT(usageError(parseTranslation, "1,2"), HasSubstr("--translate 1,2: three numbers are needed"));
    EXPECT_THAT(usageError(parseTranslation, "1,2,3,4"), HasSubstr("three numbers are needed"));
}

TEST(ParseTranslation, RefusesTextThatIsNotAFiniteNumber) {
    for (const char* text : {"", "1,,3", "1,2,3x", "1,2, 3", "1,nan,2", "1,inf,2", "1,1e999,2", "1,++2,3"}) {
        EXPECT_THAT(usageError(parseTranslation, text), HasSubstr(std::string("--translate ") + text)) << text;
    }
}

TEST(ParseScale, AppliesOneFactorToAllAxes) {
    expectNear(parseScale("2") * glm::dvec4(1, 2, 3, 1), {2, 4, 6, 1});
}

TEST(ParseScale, AppliesThreeFactorsByAxis) {
    expectNear(parseScale("1,-1,0.5") * glm::dvec4(1, 2, 3, 1), {1, -2, 1.5, 1});
}

TEST(ParseScale, RefusesTwoFactorsAndFactorsOfZero) {
    EXPECT_THAT(usageError(parseScale, "1,2"), HasSubstr("one or three numbers are needed"));
    EXPECT_THAT(usageError(parseScale, "0"), HasSubstr("a factor is 0"));
    EXPECT_THAT(usageError(parseScale, "1,0,1"), HasSubstr("a factor is 0"));
}

TEST(ParseRotation, TurnsCounterclockwiseAboutANamedAxis) {
    expectNear(parseRotation("x,90") * glm::dvec4(0, 1, 0, 1), {0, 0, 1, 1});
    expectNear(parseRotation("y,90") * glm::dvec4(0, 0, 1, 1), {1, 0, 0, 1});
    expectNear(parseRotation("z,-90") * glm::dvec4(1, 0, 0, 1), {0, -1, 0, 1});
}

TEST(ParseRotation, TurnsAboutAnAxisOfAnyLength) {
    expectNear(parseRotation("5,5,5,120") * glm::dvec4(1, 2, 3, 1), {3, 1, 2, 1});
}

TEST(ParseRotation, RefusesAnythingButAnAxisAndDegrees) {
    for (const char* text : {"", "y", "90", "w,90", "xy,90", "1,2,90", "0,0,0,90", "1,2,3,90,1"}) {
        EXPECT_THAT(usageError(parseRotation, text), HasSubstr("an axis and degrees are needed")) << text;
    }
    EXPECT_THAT(usageError(parseRotation, "y,quarter"), HasSubstr("--rotate y,quarter"));
}

/// A document of two meshes and these nodes.
Document documentWith(const std::string& json) {
    Document document;
    document.asset.json = Json::parse(json);
    document.meshes.resize(2);
    return document;
}

TEST(MeshInstances, AreAllMeshesInPlaceWithoutNodes) {
    const auto instances = meshInstances(documentWith("{}"));
    ASSERT_EQ(instances.size(), 2u);
    EXPECT_EQ(instances[0].mesh, 0u);
    EXPECT_EQ(instances[1].mesh, 1u);
    EXPECT_EQ(instances[1].matrix, glm::dmat4(1));
}

TEST(MeshInstances, ListAMeshOncePerNodeThatShowsIt) {
    const auto instances = meshInstances(
        documentWith(R"({"nodes":[{"mesh":1},{"mesh":1,"translation":[1,2,3]}],"scenes":[{"nodes":[0,1]}]})"));
    ASSERT_EQ(instances.size(), 2u);
    EXPECT_EQ(instances[0].mesh, 1u);
    EXPECT_EQ(instances[1].mesh, 1u);
    EXPECT_EQ(instances[0].matrix, glm::dmat4(1));
    expectNear(instances[1].matrix[3], {1, 2, 3, 1});
}

TEST(MeshInstances, AreThoseOfTheDefaultSceneOnly) {
    const std::string nodes = R"("nodes":[{"mesh":0},{"mesh":1},{}],"scenes":[{"nodes":[0]},{"nodes":[1,2]},{}])";
    EXPECT_EQ(meshInstances(documentWith("{" + nodes + "}")).at(0).mesh, 0u);
    EXPECT_EQ(meshInstances(documentWith("{" + nodes + R"(,"scene":1})")).at(0).mesh, 1u);
    EXPECT_TRUE(meshInstances(documentWith("{" + nodes + R"(,"scene":2})")).empty());
}

TEST(MeshInstances, StartAtNodesWithoutParentsIfThereIsNoScene) {
    const auto instances =
        meshInstances(documentWith(R"({"nodes":[{"mesh":0},{"children":[0],"translation":[1,0,0]},{"mesh":1}]})"));
    ASSERT_EQ(instances.size(), 2u);
    EXPECT_EQ(instances[0].mesh, 1u);
    EXPECT_EQ(instances[1].mesh, 0u);
    expectNear(instances[1].matrix[3], {1, 0, 0, 1});
}

TEST(MeshInstances, ApplyScaleThenRotationThenTranslation) {
    const auto instances = meshInstances(documentWith(
        R"({"nodes":[{"mesh":0,"scale":[2,3,4],"rotation":[0,0,0.7071067811865476,0.7071067811865476],
            "translation":[10,20,30]}]})"));
    expectNear(instances.at(0).matrix * glm::dvec4(1, 1, 1, 1), {7, 22, 34, 1});
}

TEST(MeshInstances, ReadMatricesColumnByColumn) {
    const auto instances =
        meshInstances(documentWith(R"({"nodes":[{"mesh":0,"matrix":[1,2,3,0,4,5,6,0,7,8,9,0,10,11,12,1]}]})"));
    expectNear(instances.at(0).matrix[0], {1, 2, 3, 0});
    expectNear(instances.at(0).matrix[3], {10, 11, 12, 1});
}

TEST(MeshInstances, ApplyTheParentAfterTheChild) {
    const auto instances = meshInstances(documentWith(
        R"({"nodes":[{"mesh":0,"translation":[1,0,0]},{"children":[0],"scale":[2,2,2],"mesh":1}],
            "scenes":[{"nodes":[1]}]})"));
    ASSERT_EQ(instances.size(), 2u);
    expectNear(instances[1].matrix * glm::dvec4(0, 0, 0, 1), {2, 0, 0, 1});
}

TEST(MeshInstances, RefuseATransformationThatIsMalformed) {
    for (const char* node : {R"("translation":[1,2])", R"("rotation":[0,0,0])", R"("scale":[1,"a",1])", R"("scale":2)",
                             R"("matrix":[])"}) {
        const Document document = documentWith(std::string(R"({"nodes":[{"mesh":0,)") + node + "}]}");
        try {
            meshInstances(document);
            ADD_FAILURE() << node;
        } catch (const FormatError& error) {
            EXPECT_THAT(error.what(), HasSubstr("nodes[0].")) << node;
        }
    }
}

} // namespace
