#include "ImportedFile.h"
#include "support/ReadBack.h"
#include "support/ToolProcess.h"

#include <algorithm>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using testing::HasSubstr;
using vexa::tool::Document;

class PlyReader : public ImportedFile {};

const std::string plyQuad = R"(ply
format ascii 1.0
comment a square with everything
element vertex 4
property float x
property float y
property float z
property float nx
property float ny
property float nz
property float u
property float v
property uchar red
property uchar green
property uchar blue
element face 1
property list uchar int vertex_indices
end_header
0 0 0 0 0 2 0 0 255 0 0
1 0 0 0 0 2 1 0 0 255 0
1 1 0 0 0 2 1 1 0 0 255
0 1 0 0 0 2 0 1 51 51 51
4 0 1 2 3
)";

TEST_F(PlyReader, PolygonsOfPlyBecomeTriangles) {
    const Document document = load("a.ply", plyQuad);
    EXPECT_EQ(document.format, "PLY");
    ASSERT_EQ(document.meshes.size(), 1u);
    EXPECT_EQ(indicesOf(document), (std::vector<unsigned int>{0, 1, 2, 0, 2, 3}));
    EXPECT_EQ(valuesOf(document, "POSITION"), (std::vector<double>{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0}));
}

TEST_F(PlyReader, AttributesOfPlyAreKept) {
    const Document document = load("a.ply", plyQuad);
    EXPECT_EQ(valuesOf(document, "NORMAL"), (std::vector<double>{0, 0, 1, 0, 0, 1, 0, 0, 1, 0, 0, 1}));
    EXPECT_EQ(valuesOf(document, "TEXCOORD_0"), (std::vector<double>{0, 1, 1, 1, 1, 0, 0, 0}));
    EXPECT_EQ(valuesOf(document, "COLOR_0"), (std::vector<double>{255, 0, 0, 0, 255, 0, 0, 0, 255, 51, 51, 51}));
    const auto* const colors = document.meshes[0].primitives[0].findAttribute("COLOR_0");
    EXPECT_TRUE(document.asset.json["accessors"][colors->accessor].value("normalized", false));
    EXPECT_TRUE(document.asset.leftOut.empty());
}

TEST_F(PlyReader, NormalsWithoutDirectionAreLeftOutWithAWarning) {
    std::string text = plyQuad;
    text.replace(text.find("0 0 0 0 0 2"), 11, "0 0 0 0 0 0");
    const ProcessResult result = runForked({"strip", write("a.ply", text), "-o", out});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, HasSubstr("left out: normals: some of them have no direction"));
    EXPECT_FALSE(loadModel(out).meshes[0].primitives[0].attributes.contains("NORMAL"));
}

/// The square with a colour and texture coordinates of its first vertex.
std::string withFirstVertex(const std::string& color, const std::string& texcoord = "0 0") {
    std::string text = plyQuad;
    for (std::size_t at = 0; (at = text.find("uchar ", at)) != std::string::npos && at < text.find("element face");) {
        text.replace(at, 5, "float");
    }
    return text.replace(text.find("0 0 0 0 0 2 0 0 255 0 0"), 23, "0 0 0 0 0 2 " + texcoord + " " + color);
}

TEST_F(PlyReader, ColoursAndTexcoordsThatAreNotFiniteAreLeftOutWithAWarning) {
    for (const auto& [text, name, kept, warning] :
         {std::tuple(withFirstVertex("nan 0 0"), "COLOR_0", "TEXCOORD_0", "left out: colours"),
          std::tuple(withFirstVertex("0 0 1e99"), "COLOR_0", "TEXCOORD_0", "left out: colours"),
          std::tuple(withFirstVertex("0 0 0", "0 nan"), "TEXCOORD_0", "COLOR_0", "left out: texture coordinates")}) {
        const ProcessResult result = runForked({"strip", write("a.ply", text), "-o", out});
        EXPECT_EQ(result.exitCode, 0);
        EXPECT_THAT(result.err, HasSubstr(warning));
        EXPECT_FALSE(loadModel(out).meshes[0].primitives[0].attributes.contains(name));
        EXPECT_TRUE(loadModel(out).meshes[0].primitives[0].attributes.contains(kept));
    }
}

TEST_F(PlyReader, ColoursAreClampedWithAWarning) {
    const Document document = load("a.ply", withFirstVertex("-5 0.25 7"));
    const std::vector<double> colors = valuesOf(document, "COLOR_0");
    EXPECT_EQ(std::vector<double>(colors.begin(), colors.begin() + 3), (std::vector<double>{0, 0.25, 1}));
    EXPECT_THAT(document.asset.leftOut, ElementsAre(HasSubstr("below 0 or above 1")));
}

/// A binary PLY file of one triangle.
std::string binaryPly(bool bigEndian, unsigned int vertices = 3) {
    std::string data;
    const auto append = [&](auto value) {
        std::string bytes(sizeof value, '\0');
        std::memcpy(bytes.data(), &value, sizeof value);
        if (bigEndian) {
            std::reverse(bytes.begin(), bytes.end());
        }
        data += bytes;
    };
    for (const float value : {0.F, 0.F, 0.F, 1.5F, 0.F, 0.F, 0.F, 0.1F, 0.F}) {
        append(value);
    }
    data += '\3';
    for (const int index : {0, 1, 2}) {
        append(index);
    }
    return "ply\nformat binary_" + std::string(bigEndian ? "big" : "little") + "_endian 1.0\nelement vertex " +
           std::to_string(vertices) +
           "\nproperty float x\nproperty float y\nproperty float z\nelement face 1\n"
           "property list uchar int vertex_indices\nend_header\n" +
           data;
}

TEST_F(PlyReader, BinaryPlyOfEitherOrder) {
    for (const bool bigEndian : {false, true}) {
        const Document document = load("a.ply", binaryPly(bigEndian));
        EXPECT_EQ(valuesOf(document, "POSITION"), (std::vector<double>{0, 0, 0, 1.5, 0, 0, 0, 0.1F, 0}));
        EXPECT_EQ(indicesOf(document), (std::vector<unsigned int>{0, 1, 2}));
    }
}

TEST_F(PlyReader, PlyWithoutFacesBecomesPoints) {
    const Document document = load("a.ply", "ply\nformat ascii 1.0\nelement vertex 2\nproperty float x\nproperty float "
                                            "y\nproperty float z\nend_header\n1 2 3\n4 5 6\n");
    EXPECT_EQ(document.meshes[0].primitives[0].type, vexa::mesh::POINTS);
    EXPECT_EQ(indicesOf(document), (std::vector<unsigned int>{0, 1}));
}

TEST_F(PlyReader, BrokenPlyIsRefused) {
    expectRefused("a.ply", "ply\nformat ascii 1.0\nend_heather\n", "its header has no line \"end_header\"");
    expectRefused("b.ply", "solid\n", "it does not begin with \"ply\"");
    expectRefused("g.ply", "ply\nformat ascii 1.0\nelephant vertex 4\nend_header\n", "has no element vertex");
    expectRefused("i.ply",
                  "ply\nformat ascii 1.0\nelement vertex 0\nproperty float x\nproperty float y\n"
                  "property float z\nend_header\n",
                  "holds no meshes");
    expectRefused("c.ply", plyQuad.substr(0, plyQuad.size() - 4),
                  "is cut off: the header announces 1 entries of the element face, 0 are there");
    std::string wrongIndex = plyQuad;
    wrongIndex.replace(wrongIndex.find("4 0 1 2 3"), 9, "4 0 1 2 4");
    expectRefused("d.ply", wrongIndex, "face 0 names vertex 4, but there are only 4");
    std::string notFinite = plyQuad;
    notFinite.replace(notFinite.find("\n1 0 0 "), 7, "\n1 nan 0 ");
    expectRefused("e.ply", notFinite, "vertex 1 is not finite");
    expectRefused("h.ply", "ply\nformat ascii 1.0\nelement vertex 4000000000\nend_header\n",
                  "announces 4000000000 entries of the element vertex, but no property of them");
    const std::string binary = binaryPly(false);
    expectRefused("f.ply", binary.substr(0, binary.size() - 1), "the element face, 0 are there");
}

/// An ASCII PLY file.
std::string plyText(const std::string& header, const std::string& body) {
    return "ply\nformat ascii 1.0\n" + header + "end_header\n" + body;
}

/// The vertices of a square, with further properties.
std::string squareHeader(const std::string& more = "") {
    return "element vertex 4\nproperty float x\nproperty float y\nproperty float z\n" + more;
}
const std::string squareBody = "0 0 0\n1 0 0\n1 1 0\n0 1 0\n";
const std::string faceList = "property list uchar int vertex_indices\n";

TEST_F(PlyReader, TriangleStripsEndAtMinusOne) {
    const std::string header = squareHeader() + "element tristrips 2\nproperty list int int vertex_indices\n";
    const Document document = load("a.ply", plyText(header, squareBody + "8 0 1 3 2 -1 0 1 3\n3 1 2 3\n"));
    std::vector<unsigned int> triangles = indicesOf(document);
    for (auto begin = triangles.begin(); begin != triangles.end(); begin += 3) {
        std::rotate(begin, std::min_element(begin, begin + 3), begin + 3);
    }
    EXPECT_THAT(triangles, ElementsAre(0, 1, 3, 1, 2, 3, 0, 1, 3, 1, 2, 3));
    EXPECT_THAT(document.asset.leftOut, ElementsAre());
}

TEST_F(PlyReader, TexcoordsOfCornersSplitVertices) {
    const std::string header = squareHeader() + "element face 2\n" + faceList + "property list uchar float texcoord\n";
    // The diagonal from 0 to 2 is a seam at 0, where the second face has another coordinate.
    const Document document =
        load("a.ply", plyText(header, squareBody + "3 0 1 2 6 0 0 1 0 1 1\n3 0 2 3 6 0.5 0 1 1 0 1\n"));
    EXPECT_EQ(indicesOf(document), (std::vector<unsigned int>{0, 1, 2, 3, 2, 4}));
    EXPECT_EQ(valuesOf(document, "TEXCOORD_0"), (std::vector<double>{0, 1, 1, 1, 1, 0, 0.5, 1, 0, 0}));
    EXPECT_EQ(valuesOf(document, "POSITION"), (std::vector<double>{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 0, 0, 1, 0}));
}

TEST_F(PlyReader, FaceColoursSplitVerticesWhereTheyDiffer) {
    const std::string header = squareHeader() + "element face 3\n" + faceList +
                               "property uchar red\nproperty uchar green\nproperty uchar blue\n";
    const Document document =
        load("a.ply", plyText(header, squareBody + "3 0 1 2 9 8 7\n3 0 2 3 9 8 7\n3 3 2 0 1 2 3\n"));
    EXPECT_EQ(indicesOf(document), (std::vector<unsigned int>{0, 1, 2, 0, 2, 3, 4, 5, 6}));
    EXPECT_EQ(valuesOf(document, "COLOR_0"),
              (std::vector<double>{9, 8, 7, 9, 8, 7, 9, 8, 7, 9, 8, 7, 1, 2, 3, 1, 2, 3, 1, 2, 3}));
}

TEST_F(PlyReader, EdgesBecomeLines) {
    const std::string header =
        squareHeader() + "element face 1\n" + faceList + "element edge 2\nproperty int vertex1\nproperty int vertex2\n";
    const Document document = load("a.ply", plyText(header, squareBody + "4 0 1 2 3\n3 1\n1 0\n"));
    ASSERT_EQ(document.meshes.at(0).primitives.size(), 2u);
    EXPECT_EQ(document.meshes[0].primitives[1].type, vexa::mesh::LINES);
    EXPECT_EQ(indicesOf(document, 1), (std::vector<unsigned int>{0, 1, 1, 2}));
    EXPECT_EQ(valuesOf(document, "POSITION", 1), (std::vector<double>{0, 1, 0, 1, 0, 0, 0, 0, 0}));
}

TEST_F(PlyReader, PropertiesOfVerticesBecomeAttributesOfTheirNames) {
    const std::string header = squareHeader("property double confidence\nproperty short label\nproperty int id\n") +
                               "element face 1\n" + faceList;
    const Document document =
        load("a.ply", plyText(header, "0 0 0 0.5 -7 16777216\n1 0 0 1 8 2\n1 1 0 0 9 3\n0 1 0 2 1 4\n4 0 1 2 3\n"));
    EXPECT_EQ(valuesOf(document, "_CONFIDENCE"), (std::vector<double>{0.5, 1, 0, 2}));
    EXPECT_EQ(valuesOf(document, "_LABEL"), (std::vector<double>{-7, 8, 9, 1}));
    EXPECT_EQ(valuesOf(document, "_ID"), (std::vector<double>{16777216, 2, 3, 4}));
    EXPECT_THAT(document.asset.leftOut, ElementsAre());
}

TEST_F(PlyReader, EverythingElseIsNamed) {
    const std::string header =
        "obj_info nothing\n" + squareHeader("property int id\nproperty list uchar int ring\nproperty float odd\n") +
        "element face 1\n" + faceList + "property int flags\nelement camera 1\nproperty float f\n";
    EXPECT_THAT(
        leftOut("a.ply", plyText(header, "0 0 0 16777217 1 5 nan\n1 0 0 1 0 0\n1 1 0 1 0 0\n0 1 0 1 0 0\n"
                                         "4 0 1 2 3 7\n35\nmore")),
        ElementsAre("property id of the element vertex: some of its integers are too large for glTF's attributes",
                    "property odd of the element vertex: some of its values are not finite",
                    "property ring of the element vertex", "property flags of the element face",
                    "element camera, 1 entry", "4 bytes after the last entry"));
}

TEST_F(PlyReader, PicturesNamedByCommentsBecomeTextures) {
    write("b.png", pngBegin);
    const std::string header = "comment TextureFile gone.png\ncomment TextureFile b.png\n" + squareHeader() +
                               "element face 2\n" + faceList +
                               "property list uchar float texcoord\nproperty int texnumber\n";
    const Document document =
        load("a.ply", plyText(header, squareBody + "3 0 1 2 6 0 0 1 0 1 1 1\n3 0 2 3 6 0 0 1 1 0 1 -1\n"));
    const auto& json = document.asset.json;
    ASSERT_EQ(document.meshes.at(0).primitives.size(), 2u);
    EXPECT_FALSE(json["meshes"][0]["primitives"][0].contains("material"));
    EXPECT_EQ(json["meshes"][0]["primitives"][1]["material"], 0);
    EXPECT_EQ(json["materials"][0]["pbrMetallicRoughness"]["baseColorTexture"]["index"], 0);
    EXPECT_THAT(document.asset.leftOut, ElementsAre(HasSubstr("gone.png: no face")));
}

TEST_F(PlyReader, CommentsMayLackTheirKeyword) {
    EXPECT_THAT(leftOut("a.ply", plyText("made by hand\n" + squareHeader(), squareBody)),
                ElementsAre("line 3 of the header, whose keyword is unknown"));
}

TEST_F(PlyReader, WrongListsAreRefused) {
    const std::string faces = squareHeader() + "element face 1\n" + faceList;
    expectRefused("a.ply", plyText(faces, squareBody + "3 0 1 -1\n"), "face 0 names vertex -1, but there are only 4");
    expectRefused("b.ply",
                  plyText(faces + "property list uchar float texcoord\n", squareBody + "3 0 1 2 5 0 0 1 1 0\n"),
                  "face 0 has 5 numbers in its texcoord, but 3 corners");
    expectRefused("c.ply", plyText(faces, squareBody + "-3 0 1 2\n"),
                  "\"-3\" of the property vertex_indices does not fit");
    expectRefused("d.ply", plyText(faces, squareBody + "3 0 1 x\n"), "face 0: \"x\" is not a number");
    expectRefused("e.ply", plyText("element vertex 1\nproperty float x\n", "1\n"), "no properties x, y and z");
}

TEST_F(PlyReader, LongListsOfShortFilesAreRefusedAtOnce) {
    std::string file = "ply\nformat binary_little_endian 1.0\n" + squareHeader() +
                       "element face 1\nproperty list uint int vertex_indices\nend_header\n" + std::string(48, '\0');
    expectRefused("a.ply", file + "\xff\xff\xff\xff" + "0123", "entries of the element face, 0 are there");
    expectRefused("b.ply", binaryPly(false, 4000000000U), "announces 4000000000 entries of the element vertex, 4 are");
}

} // namespace
