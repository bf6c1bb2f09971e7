#include "ImportedFile.h"
#include "support/ReadBack.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using vexa::tool::Document;

class OffReader : public ImportedFile {};

TEST_F(OffReader, PolygonsBecomeTriangles) {
    const Document document =
        load("a.off", "OFF # a roof\n5 2 0\n0 0 0\n1 0 0\n1 1 0 # a corner\n0 1 0\n0.5 0.5 1\n4 0 1 2 3\n3 0 1 4\n");
    EXPECT_EQ(document.format, "OFF");
    EXPECT_EQ(indicesOf(document), (std::vector<unsigned int>{0, 1, 2, 0, 2, 3, 0, 1, 4}));
    EXPECT_EQ(document.meshes[0].primitives[0].vertices, 5u);
}

TEST_F(OffReader, CommentsMayStandAnywhere) {
    const Document document = load("a.off", "# m\nOFF # m\n # m\n3 1 0#m\n0 0 0\r\n# m\n \n1 0 0\t# m\n\n1 1 0\n"
                                            "#m\n3 0 1 2 # m\n# m");
    EXPECT_EQ(valuesOf(document, "POSITION"), (std::vector<double>{0, 0, 0, 1, 0, 0, 1, 1, 0}));
    EXPECT_EQ(indicesOf(document), (std::vector<unsigned int>{0, 1, 2}));
}

TEST_F(OffReader, BrokenOffIsRefused) {
    const std::string vertices = "0 0 0\n1 0 0\n1 1 0\n";
    expectRefused("a.off", "NOT\n3 1 0\n" + vertices + "3 0 1 2\n", "does not begin with \"OFF\"");
    expectRefused("b.off", "OFF\n3 1 0\n" + vertices, "is cut off before all of its 1 faces, 0 are there");
    expectRefused("c.off", "OFF\n3 1 0\n" + vertices + "3 0 1 3\n", "line 6 names vertex \"3\", but there are only 3");
    expectRefused("d.off", "OFF\n3 1 0\n" + vertices + "4 0 1 2\n", "line 6 is not a face");
    expectRefused("e.off", "OFF\nthree 1 0\n", "line 2 does not hold the numbers of vertices and faces");
    expectRefused("f.off", "OFF\n3 1 0\n0 0\n1 0 0\n1 1 0\n3 0 1 2\n", "line 3 is not a vertex with three coordinates");
}

TEST_F(OffReader, ColoursAreFractionsOrBytes) {
    const auto colorsOf = [&](const std::string& second) {
        const std::vector<double> colors = valuesOf(
            load("a.off", "COFF\n3 1 0\n0 0 0 0 1 0 1\n1 0 0 " + second + "\n1 1 0 0 0 0 1\n3 0 1 2\n"), "COLOR_0");
        return std::vector<double>(colors.begin(), colors.begin() + 8);
    };
    EXPECT_EQ(colorsOf("0.5 1 0 0"), (std::vector<double>{0, 1, 0, 1, 0.5, 1, 0, 0}));
    EXPECT_EQ(colorsOf("255 51 0 1"), (std::vector<double>{0, 1.F / 255, 0, 1, 1, 0.2F, 0, 1}));
    EXPECT_EQ(colorsOf("255 51 0 102"), (std::vector<double>{0, 1.F / 255, 0, 1.F / 255, 1, 0.2F, 0, 0.4F}));
}

const std::string square = "0 0 0\n1 0 0\n1 1 0\n0 1 0\n";

TEST_F(OffReader, FaceColoursSplitVerticesWhereTheyDiffer) {
    const Document document = load("a.off", "OFF\n4 3 0\n" + square + "3 0 1 2 255 0 51\n3 0 2 3 255 0 51\n3 3 2 0\n");
    ASSERT_EQ(document.meshes.at(0).primitives.size(), 2u);
    EXPECT_EQ(indicesOf(document, 0), (std::vector<unsigned int>{0, 1, 2}));
    EXPECT_EQ(valuesOf(document, "COLOR_0", 0), std::vector<double>());
    EXPECT_EQ(indicesOf(document, 1), (std::vector<unsigned int>{0, 1, 2, 0, 2, 3}));
    const std::vector<double> colors = valuesOf(document, "COLOR_0", 1);
    EXPECT_EQ(std::vector<double>(colors.begin(), colors.begin() + 3), (std::vector<double>{1, 0, 0.2F}));
}

TEST_F(OffReader, KeywordsAnnounceAttributes) {
    const Document document = load("a.off", "STCN4OFF 3 1 0\n2 0 0 2  0 0 3  1 0 0  0.5 0.25\n"
                                            "0 2 0 2  0 0 3  1 0 0  0 0\n0 0 2 2  0 0 3  1 0 0  0 1\n3 0 1 2\n");
    EXPECT_EQ(valuesOf(document, "POSITION"), (std::vector<double>{1, 0, 0, 0, 1, 0, 0, 0, 1}));
    EXPECT_EQ(valuesOf(document, "NORMAL"), (std::vector<double>{0, 0, 1, 0, 0, 1, 0, 0, 1}));
    EXPECT_EQ(valuesOf(document, "COLOR_0"), (std::vector<double>{1, 0, 0, 1, 0, 0, 1, 0, 0}));
    EXPECT_EQ(valuesOf(document, "TEXCOORD_0"), (std::vector<double>{0.5, 0.75, 0, 1, 0, 0}));
    EXPECT_THAT(document.asset.leftOut, ElementsAre());
}

TEST_F(OffReader, EverythingElseIsNamed) {
    EXPECT_THAT(leftOut("a.off", "OFF\n4 2 0\n0 0 0 5\n1 0 0\n1 1 0\n0 1 0\n3 0 1 2 17\n3 0 2 3\nmore\n"),
                ElementsAre("1 line after the last face",
                            "further numbers in the lines of vertices, which the keyword does not announce",
                            "colours of 1 face, which are not of three or four numbers"));
    EXPECT_THAT(leftOut("b.off", "COFF\n3 1 0\n0 0 0 1 0 0\n1 0 0 1 0 0\n1 1 0 1 0 0\n3 0 1 2 0 1 0\n"),
                ElementsAre("colours of 1 face: the vertices have colours"));
}

TEST_F(OffReader, VerticesWithoutFacesBecomePoints) {
    const Document document = load("a.off", "OFF\n4 0 0\n" + square);
    EXPECT_EQ(document.meshes.at(0).primitives.at(0).type, vexa::mesh::POINTS);
    EXPECT_EQ(indicesOf(document), (std::vector<unsigned int>{0, 1, 2, 3}));
}

TEST_F(OffReader, OtherKindsAreRefused) {
    expectRefused("a.off", "OFF BINARY\n", "is a binary OFF file, which is not supported");
    expectRefused("b.off", "4nOFF\n3\n", "\"4nOFF\" is a kind of OFF file that is not supported");
    expectRefused("c.off", "OFF\n353535235358 6 0\n0 0 0\n", "is cut off before all of its 353535235358 vertices, 1");
}

} // namespace
