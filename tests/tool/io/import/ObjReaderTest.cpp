#include "ImportedFile.h"
#include "io/Document.h"
#include "support/ReadBack.h"
#include "support/ToolProcess.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using testing::HasSubstr;
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

TEST_F(ObjReader, MergesVerticesThatAgreeInAllIndices) {
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

TEST_F(ObjReader, FacesWithAndWithoutNormalsBecomeSeparatePrimitives) {
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

TEST_F(ObjReader, WarnsOfAMissingMaterialLibrary) {
    const Document document = read("mtllib gone.mtl\n" + square + "usemtl x\nf 1 2 3 4\n");
    ASSERT_EQ(document.asset.warnings.size(), 1u);
    EXPECT_THAT(document.asset.warnings[0], testing::HasSubstr("gone.mtl"));
    EXPECT_FALSE(document.asset.json.contains("materials"));
}

TEST_F(ObjReader, ImagesOfMaterialsAreEmbedded) {
    writeText(directory / "a.mtl", "newmtl a\nKd 1 1 1\nmap_Kd a.png\n");
    writeText(directory / "a.png", "\x89PNG and so on");
    const Document document = read("mtllib a.mtl\n" + square + "vt 0 0\nusemtl a\nf 1/1 2/1 3/1\nf 1 3 4\n");
    const auto& json = document.asset.json;
    EXPECT_EQ(json["images"].size(), 1u);
    // Without texture coordinates the image cannot be mapped.
    EXPECT_TRUE(json["materials"][0]["pbrMetallicRoughness"].contains("baseColorTexture"));
    EXPECT_FALSE(json["materials"][1]["pbrMetallicRoughness"].contains("baseColorTexture"));
}

TEST_F(ObjReader, ReadsRelativeAndForwardIndicesAndContinuedLines) {
    const Document document = read("v 0 0 0\nv 1 0 0\nv 0 1 0\nf -3 \\\n -2 \\\r\n -1\nf 2 4 3\nv 1 1 0\n");
    EXPECT_THAT(document.meshes.at(0).primitives.at(0).indices, ElementsAre(0, 1, 2, 1, 3, 2));
}

TEST_F(ObjReader, LinesAndPointsBecomePrimitives) {
    const Document document = read(square + "o thing\nf 1 2 3\nl 1 2 3\nl 3 4\np 4 1\n");
    ASSERT_EQ(document.meshes.size(), 1u);
    const auto& primitives = document.meshes[0].primitives;
    ASSERT_EQ(primitives.size(), 3u);
    EXPECT_EQ(primitives[1].type, mesh::LINES);
    EXPECT_THAT(primitives[1].indices, ElementsAre(0, 1, 1, 2, 2, 3));
    EXPECT_EQ(primitives[2].type, mesh::POINTS);
    EXPECT_THAT(primitives[2].indices, ElementsAre(0, 1));
}

TEST_F(ObjReader, VerticesAloneBecomePoints) {
    const Document document = read(square);
    EXPECT_EQ(document.meshes.at(0).primitives.at(0).type, mesh::POINTS);
    EXPECT_EQ(document.meshes[0].primitives[0].vertices, 4u);
}

TEST_F(ObjReader, ReadsFacesOfMoreThan255Corners) {
    std::ostringstream vertices;
    std::ostringstream face;
    for (int i = 0; i < 300; ++i) {
        vertices << "v " << i << ' ' << i * i << " 0\n";
        face << ' ' << i + 1;
    }
    const Document document = read(vertices.str() + "f" + face.str() + "\nf 1 2 3\n");
    EXPECT_EQ(document.meshes.at(0).primitives.at(0).indices.size(), 3u * 299);
}

TEST_F(ObjReader, CornersOfEqualValuesAreOneVertex) {
    const Document document = read(square + "vn 0 0 1\nvn 0 0 1\nvt 0 0\nvt 0 0\n"
                                            "f 1/1/1 2/1/1 3/1/1\nf 1/2/2 3/2/2 4/2/2\n");
    EXPECT_EQ(document.meshes.at(0).primitives.at(0).vertices, 4u);
    EXPECT_THAT(document.meshes[0].primitives[0].indices, ElementsAre(0, 1, 2, 0, 2, 3));
}

TEST_F(ObjReader, EqualPositionsOfTheFileStayApart) {
    const Document document = read(square + "v 0 0 0\nf 1 2 5\nf 5 3 1\nf 5 4 3\n");
    EXPECT_EQ(document.meshes.at(0).primitives.at(0).vertices, 5u);
    EXPECT_THAT(document.meshes[0].primitives[0].indices, ElementsAre(0, 1, 2, 2, 3, 0, 2, 4, 3));
}

TEST_F(ObjReader, MissingTexcoordsAndNormalsAreDropped) {
    const Document document = read(square + "vt 0 0\nvn 0 0 1\nf 1/1/1 2/1/1 3/1/9\nf 1/7/1 3/-5/1 4/0/1\n");
    const auto& primitives = document.meshes.at(0).primitives;
    ASSERT_EQ(primitives.size(), 2u);
    EXPECT_NE(primitives[0].findAttribute("TEXCOORD_0"), nullptr);
    EXPECT_EQ(primitives[0].findAttribute("NORMAL"), nullptr);
    EXPECT_EQ(primitives[1].findAttribute("TEXCOORD_0"), nullptr);
    EXPECT_NE(primitives[1].findAttribute("NORMAL"), nullptr);
    EXPECT_THAT(document.asset.leftOut,
                ElementsAre("texture coordinates of faces that name missing ones: line 8: -5 is out of range",
                            "normals of faces that name missing ones: line 7: 9 is used, but there are only 1",
                            HasSubstr("normals of 1 face")));
}

TEST_F(ObjReader, AnOldStatementForFacesIsOne) {
    EXPECT_THAT(read(square + "fo 1 2 3 4\n").meshes.at(0).primitives.at(0).indices, ElementsAre(0, 1, 2, 0, 2, 3));
}

TEST_F(ObjReader, OtherStatementsAndNumbersAreNamed) {
    const Document document = read("v 0 0 0 0.5\nv 1 0 0\nv 0 1 0\nv 5 5 5\nvt 0 0 0.5\ncall a.obj\nsurf 0 1 0 1 1 2\n"
                                   "surf 0 1 0 1 1 2\ns 1\nf 1 2 3\nf 1 2\nl 1/1 2/1\n# comment\n");
    EXPECT_THAT(document.asset.leftOut,
                ElementsAre("1 statement \"call\"", "2 statements \"surf\"", "1 face of fewer than three corners",
                            "1 weight of vertices", "1 third texture coordinate", "2 texture coordinates of lines",
                            "smoothing groups", "vertices that no face uses: 1"));
}

TEST_F(ObjReader, ColoursOfSomeVerticesAreNamed) {
    EXPECT_THAT(read("v 0 0 0 1 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n").asset.leftOut,
                ElementsAre("colours of vertices: only 1 of 3 have one"));
}

/// A textured triangle with one material.
const std::string textured = "mtllib a.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nusemtl a\nf 1/1 2/1 3/1\n";

TEST_F(ObjReader, MapsOfMaterialsBecomeTextures) {
    for (const char* name : {"kd.png", "n.png", "ke.png", "rm.png"}) {
        writeText(directory / name, pngBegin);
    }
    writeText(directory / "a.mtl", "newmtl a\nKd 1 1 1\nPr 0.5\nmap_Kd kd.png\nmap_d kd.png\nnorm -bm 0.5 n.png\n"
                                   "map_Ke ke.png\nmap_Pr rm.png\nmap_Pm rm.png\n");
    const Document document = read(textured);
    const auto& json = document.asset.json;
    const auto& material = json["materials"].at(0);
    EXPECT_EQ(json["images"].size(), 4u);
    EXPECT_EQ(material["alphaMode"], "BLEND");
    EXPECT_EQ(material["normalTexture"], nlohmann::ordered_json({{"index", 2}, {"scale", 0.5}}));
    EXPECT_EQ(material["emissiveFactor"], nlohmann::ordered_json({1, 1, 1}));
    EXPECT_EQ(material["emissiveTexture"]["index"], 3);
    EXPECT_EQ(material["pbrMetallicRoughness"]["metallicRoughnessTexture"]["index"], 1);
    EXPECT_EQ(material["pbrMetallicRoughness"]["metallicFactor"], 1);
    EXPECT_THAT(document.asset.leftOut, ElementsAre());
}

TEST_F(ObjReader, OptionsOfMapsBecomeTransformsAndSamplers) {
    writeText(directory / "a.png", pngBegin);
    writeText(directory / "a.mtl", "newmtl a\nmap_Kd -s 2 4 1 -o 0.25 0.5 0 -clamp on -mm 0.1 2 a.png\n");
    const Document document = read(textured);
    const auto& json = document.asset.json;
    const auto& texture = json["materials"][0]["pbrMetallicRoughness"]["baseColorTexture"];
    EXPECT_EQ(texture["extensions"]["KHR_texture_transform"],
              nlohmann::ordered_json({{"offset", {0.25, -3.5}}, {"scale", {2.0, 4.0}}}));
    EXPECT_EQ(json["extensionsUsed"], nlohmann::ordered_json({"KHR_texture_transform"}));
    EXPECT_EQ(json["samplers"][json["textures"][0]["sampler"].get<std::size_t>()]["wrapS"], 33071);
    EXPECT_THAT(document.asset.leftOut, ElementsAre("options of map_Kd a.png: -mm"));
}

TEST_F(ObjReader, OtherPartsOfMaterialsAreNamed) {
    writeText(directory / "a.png", pngBegin);
    writeText(directory / "a.mtl", "newmtl a\nKa 0.1 0.1 0.1\nKs 1 1 1\nNs 30\nshiny 4\nmap_Bump b.png\nmap_d a.png\n"
                                   "map_Ks s.png\nmap_Pr r.png\nmap_Pm m.png\nnewmtl b\nmap_Kd gone.png\n");
    EXPECT_THAT(read(textured).asset.leftOut,
                ElementsAre("values of materials: Ka, Ks, Ns, shiny", HasSubstr("map_Bump b.png"), "map_Ks s.png",
                            HasSubstr("map_Pr and map_Pm"), HasSubstr("map_d a.png"), "1 material that no face uses"));
}

TEST_F(ObjReader, LinesHaveMaterials) {
    writeText(directory / "a.mtl", "newmtl a\nKd 1 0 0\n");
    EXPECT_EQ(
        read("mtllib a.mtl\n" + square + "usemtl a\nl 1 2\n").asset.json["meshes"][0]["primitives"][0]["material"], 0);
}

TEST_F(ObjReader, AFaceMayHaveHundredsOfThousandsOfCorners) {
    constexpr int corners = 600'000;
    std::ostringstream vertices;
    std::ostringstream face;
    for (int i = 0; i < corners; ++i) {
        const double angle = 2 * 3.14159265358979 * i / corners;
        const double radius = i % 2 == 0 ? 1 : 0.999; // every other corner is reflex
        vertices << "v " << radius * std::cos(angle) << ' ' << radius * std::sin(angle) << " 0\n";
        face << ' ' << i + 1;
    }
    writeText(directory / "model.obj", vertices.str() + "f" + face.str() + "\n");
    const ProcessResult result = runForked({"info", (directory / "model.obj").string(), "--parse-time", "120"});
    EXPECT_EQ(result.exitCode, 0) << result.err;
}

} // namespace
