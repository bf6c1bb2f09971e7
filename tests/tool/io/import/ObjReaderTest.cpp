#include "ReadBack.h"
#include "ToolProcess.h"
#include "io/Document.h"
#include "io/Polygon.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using vexa::tool::AccessorData;
using vexa::tool::Document;
using vexa::tool::Primitive;
namespace mesh = vexa::mesh;

class ObjReader : public testing::Test {
public:
    Document read(const std::string& text) {
        writeText(directory / "model.obj", text);
        return vexa::tool::loadDocument(directory / "model.obj");
    }

    static std::vector<double> values(const Document& document, const Primitive& primitive, const std::string& name) {
        std::vector<double> result;
        const auto* attribute = primitive.findAttribute(name);
        if (attribute == nullptr) {
            return result;
        }
        const AccessorData data = vexa::tool::readAccessor(document.asset, attribute->accessor);
        for (std::size_t i = 0; i < data.count; ++i) {
            for (std::size_t c = 0; c < data.components; ++c) {
                result.push_back(data.component(i, c));
            }
        }
        return result;
    }

    TemporaryDirectory directory;
    const std::string square = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";
};

TEST_F(ObjReader, VerticesThatAgreeInAllIndicesAreOne) {
    const Document document = read(square + "vt 0 0\nvt 1 0\nf 1/1 2/1 3/1\nf 1/1 3/1 4/1\nf 1/2 3/1 2/1\n");
    const Primitive& primitive = document.meshes.at(0).primitives.at(0);
    EXPECT_EQ(primitive.vertices, 5u);
    EXPECT_THAT(primitive.indices, ElementsAre(0, 1, 2, 0, 2, 3, 4, 2, 1));
}

TEST_F(ObjReader, TextureCoordinatesCountFromTheTop) {
    const Document document = read(square + "vt 0.25 0.75\nf 1/1 2/1 3/1\n");
    EXPECT_THAT(values(document, document.meshes[0].primitives[0], "TEXCOORD_0"),
                ElementsAre(0.25, 0.25, 0.25, 0.25, 0.25, 0.25));
}

TEST_F(ObjReader, NormalsGetUnitLength) {
    const Document document = read(square + "vn 0 0 5\nf 1//1 2//1 3//1\n");
    EXPECT_THAT(values(document, document.meshes[0].primitives[0], "NORMAL"), ElementsAre(0, 0, 1, 0, 0, 1, 0, 0, 1));
}

TEST_F(ObjReader, FacesWithAndWithoutNormalsArePrimitivesOfTheirOwn) {
    const Document document = read(square + "vn 0 0 1\nvn 0 0 0\nf 1//1 2//1 3//1\nf 1 3 4\nf 2//2 3//2 4//2\n");
    const auto& primitives = document.meshes.at(0).primitives;
    ASSERT_EQ(primitives.size(), 2u);
    EXPECT_EQ(primitives[0].attributes.size(), 2u);
    EXPECT_EQ(primitives[1].attributes.size(), 1u);
    EXPECT_EQ(primitives[1].indices.size(), 6u);
}

TEST_F(ObjReader, ColorsAreKept) {
    const Document document = read("v 0 0 0 1 0 0\nv 1 0 0 0 2 0\nv 0 1 0 0 0 0.5\nf 1 2 3\n");
    EXPECT_THAT(values(document, document.meshes[0].primitives[0], "COLOR_0"),
                ElementsAre(1, 0, 0, 0, 1, 0, 0, 0, 0.5));
}

TEST_F(ObjReader, GroupsBecomeMeshesAndMaterialsPrimitives) {
    writeText(directory / "my colours.mtl", "newmtl dark red \nKd 0.5 0 0\nd 0.25\nnewmtl blue\nKd 0 0 1\n");
    const Document document = read("mtllib my colours.mtl\n" + square +
                                   "g first\nusemtl dark red\nf 1 2 3\nusemtl blue\nf 1 3 4\ng second\nf 2 3 4\n");
    ASSERT_EQ(document.meshes.size(), 2u);
    EXPECT_EQ(document.meshes[0].name, "first");
    EXPECT_EQ(document.meshes[0].primitives.size(), 2u);
    EXPECT_EQ(document.meshes[1].name, "second");
    const auto& materials = document.asset.json["materials"];
    ASSERT_EQ(materials.size(), 2u);
    EXPECT_EQ(materials[0]["name"], "dark red");
    EXPECT_EQ(materials[0]["alphaMode"], "BLEND");
    EXPECT_EQ(materials[0]["pbrMetallicRoughness"]["baseColorFactor"], nlohmann::ordered_json({0.5, 0.0, 0.0, 0.25}));
    EXPECT_EQ(document.asset.json["meshes"][1]["primitives"][0]["material"], 1);
    EXPECT_TRUE(document.asset.warnings.empty());
}

TEST_F(ObjReader, AMissingMaterialLibraryIsAWarning) {
    const Document document = read("mtllib gone.mtl\n" + square + "usemtl x\nf 1 2 3\n");
    ASSERT_EQ(document.asset.warnings.size(), 1u);
    EXPECT_THAT(document.asset.warnings[0], testing::HasSubstr("gone.mtl"));
    EXPECT_FALSE(document.asset.json.contains("materials"));
}

TEST_F(ObjReader, PicturesOfMaterialsMoveIn) {
    writeText(directory / "a.mtl", "newmtl a\nKd 1 1 1\nmap_Kd a.png\n");
    writeText(directory / "a.png", "\x89PNG and so on");
    const Document document = read("mtllib a.mtl\n" + square + "vt 0 0\nusemtl a\nf 1/1 2/1 3/1\nf 1 3 4\n");
    const auto& json = document.asset.json;
    EXPECT_EQ(json["images"].size(), 1u);
    // Without texture coordinates there is nothing to show it with.
    EXPECT_TRUE(json["materials"][0]["pbrMetallicRoughness"].contains("baseColorTexture"));
    EXPECT_FALSE(json["materials"][1]["pbrMetallicRoughness"].contains("baseColorTexture"));
}

TEST_F(ObjReader, RelativeAndForwardIndicesAndContinuedLines) {
    const Document document = read("v 0 0 0\nv 1 0 0\nv 0 1 0\nf -3 \\\n -2 \\\r\n -1\nf 2 4 3\nv 1 1 0\n");
    EXPECT_THAT(document.meshes.at(0).primitives.at(0).indices, ElementsAre(0, 1, 2, 1, 3, 2));
}

TEST_F(ObjReader, LinesAndPointsArePrimitives) {
    const Document document = read(square + "o thing\nf 1 2 3\nl 1 2 3\nl 3 4\np 4 1\n");
    ASSERT_EQ(document.meshes.size(), 1u);
    const auto& primitives = document.meshes[0].primitives;
    ASSERT_EQ(primitives.size(), 3u);
    EXPECT_EQ(primitives[1].type, mesh::LINES);
    EXPECT_THAT(primitives[1].indices, ElementsAre(0, 1, 1, 2, 2, 3));
    EXPECT_EQ(primitives[2].type, mesh::POINTS);
    EXPECT_THAT(primitives[2].indices, ElementsAre(0, 1));
}

TEST_F(ObjReader, NothingButVerticesArePoints) {
    const Document document = read(square);
    EXPECT_EQ(document.meshes.at(0).primitives.at(0).type, mesh::POINTS);
    EXPECT_EQ(document.meshes[0].primitives[0].vertices, 4u);
}

TEST_F(ObjReader, FacesOfMoreThan255Corners) {
    std::ostringstream vertices;
    std::ostringstream face;
    for (int i = 0; i < 300; ++i) {
        vertices << "v " << i << ' ' << i * i << " 0\n";
        face << ' ' << i + 1;
    }
    const Document document = read(vertices.str() + "f" + face.str() + "\nf 1 2 3\n");
    EXPECT_EQ(document.meshes.at(0).primitives.at(0).indices.size(), 3u * 299);
}

/// Twice the area, with its sign.
double doubleArea(const std::vector<vexa::tool::Point>& points, const std::array<std::size_t, 3>& t) {
    return (points[t[1]][0] - points[t[0]][0]) * (points[t[2]][1] - points[t[0]][1]) -
           (points[t[1]][1] - points[t[0]][1]) * (points[t[2]][0] - points[t[0]][0]);
}

TEST(TriangulatePolygon, ConvexOnesBecomeFans) {
    const std::vector<vexa::tool::Point> square{{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {0, 1, 0}};
    const auto triangles = vexa::tool::triangulatePolygon(square);
    const std::vector<std::array<std::size_t, 3>> expected{{0, 1, 2}, {0, 2, 3}};
    EXPECT_EQ(triangles, expected);
}

TEST(TriangulatePolygon, ConcaveOnesAreCoveredOnce) {
    // A comb, and the same turned over.
    std::vector<vexa::tool::Point> comb{{0, 0, 0}, {8, 0, 0}, {8, 5, 0}, {7, 1, 0}, {6, 5, 0}, {5, 1, 0},
                                        {4, 5, 0}, {3, 1, 0}, {2, 5, 0}, {1, 1, 0}, {0, 5, 0}};
    for (const double sign : {1.0, -1.0}) {
        double sum = 0;
        for (const auto& triangle : vexa::tool::triangulatePolygon(comb)) {
            const double area = sign * doubleArea(comb, triangle);
            EXPECT_GE(area, 0);
            sum += area;
        }
        EXPECT_EQ(sum, 2 * 24.0);
        std::reverse(comb.begin(), comb.end());
    }
}

TEST(TriangulatePolygon, CrossingEdgesStillGiveAllTriangles) {
    const std::vector<vexa::tool::Point> bow{{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}, {0, 0, 0}};
    EXPECT_EQ(vexa::tool::triangulatePolygon(bow).size(), 3u);
}

} // namespace
