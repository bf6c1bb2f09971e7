#include "ImportedFile.h"
#include "support/ReadBack.h"
#include "support/ToolProcess.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using testing::HasSubstr;
using vexa::tool::Document;

class StlReader : public ImportedFile {};

const std::string stlSquare = R"(solid square
facet normal 0 0 1
  outer loop
    vertex 0 0 0
    vertex 1 0 0
    vertex 1 1 0.1
  endloop
endfacet
facet normal 0 0 1
  outer loop
    vertex 0 0 0
    vertex 1 1 0.1
    vertex 0 1 -0.0
  endloop
endfacet
endsolid square
)";

TEST_F(StlReader, LooseTrianglesOfStlAreWelded) {
    const Document document = load("a.stl", stlSquare);
    EXPECT_EQ(document.format, "STL");
    EXPECT_EQ(document.meshes[0].name, "square");
    EXPECT_EQ(document.meshes[0].primitives[0].vertices, 4u);
    EXPECT_EQ(indicesOf(document), (std::vector<unsigned int>{0, 1, 2, 0, 2, 3}));
    EXPECT_EQ(valuesOf(document, "NORMAL"), std::vector<double>());
}

std::string binaryStl(const std::vector<float>& corners) {
    std::string file(80, ' ');
    const auto count = static_cast<std::uint32_t>(corners.size() / 9);
    file.append(reinterpret_cast<const char*>(&count), sizeof count);
    for (std::size_t i = 0; i < corners.size(); i += 9) {
        file.append(12, '\0');
        file.append(reinterpret_cast<const char*>(corners.data() + i), 36);
        file.append(2, '\0');
    }
    return file;
}

TEST_F(StlReader, WeldingGoesByBits) {
    const float almost = std::nextafter(1.F, 2.F);
    const Document document = load(
        "a.stl", binaryStl({0, 0, 0, 1, 0, 0, 1, 1, 0, -0.F, 0, 0, 1, 1, 0, almost, 0, 0, 0, 0, 0, 1, 0, 0, 5, 5, 5}));
    EXPECT_EQ(indicesOf(document), (std::vector<unsigned int>{0, 1, 2, 3, 2, 4, 0, 1, 5}));
}

TEST_F(StlReader, BrokenStlIsRefused) {
    expectRefused("a.stl", "solid\nendsolid\n", "holds no meshes");
    expectRefused("g.stl", "solid square\n", "is cut off: 0 facets would take 84 bytes, 13 are there");
    const std::string cut = "is cut off: no \"endsolid\" comes after its last facet";
    expectRefused("h.stl", stlSquare.substr(0, stlSquare.find("facet normal", 40)), cut);
    expectRefused("i.stl", stlSquare + stlSquare.substr(0, stlSquare.find("endsolid")), cut);
    expectRefused("b.stl", stlSquare.substr(0, stlSquare.find("endfacet")), "is cut off inside a facet");
    std::string twoCorners = stlSquare;
    twoCorners.erase(twoCorners.find("    vertex 1 0 0\n"), 17);
    expectRefused("c.stl", twoCorners, "line 6: \"vertex\" is expected, not \"endloop\"");
    std::string noNumber = stlSquare;
    noNumber.replace(noNumber.find("1 1 0.1"), 7, "1 1 0.x");
    expectRefused("d.stl", noNumber, "line 6: \"0.x\" is not a number, but a vertex has three");
    const std::string binary = binaryStl({0, 0, 0, 1, 0, 0, 1, 1, 0});
    expectRefused("e.stl", binary.substr(0, 133), "is cut off: 1 facet would take 134 bytes, 133 are there");
    expectRefused("f.stl", binaryStl({0, 0, 0, 1, 0, 0, 1, INFINITY, 0}), "vertex 2 is not finite");
}

TEST_F(StlReader, WordsOfTextStlMayBeCapitalsAfterBlanks) {
    std::string text = "\r\n \t" + stlSquare;
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char c) { return std::toupper(c); });
    const Document document = load("a.stl", text);
    EXPECT_EQ(document.meshes[0].name, "SQUARE");
    EXPECT_EQ(indicesOf(document), (std::vector<unsigned int>{0, 1, 2, 0, 2, 3}));
}

TEST_F(StlReader, BinaryStlMayBeginWithTheWordOfText) {
    std::string file = binaryStl({0, 0, 0, 1, 0, 0, 1, 1, 0});
    file.replace(0, 12, "solid facet\n");
    EXPECT_EQ(load("a.stl", file).meshes[0].primitives[0].vertices, 3u);
    expectRefused("b.stl", file.substr(0, 100), "is cut off: 1 facet would take 134 bytes, 100 are there");
    expectRefused("c.stl", file + "more", "4 bytes follow the 1 facet that it announces");
}

TEST_F(StlReader, TextMayStandOnOneLine) {
    std::string text = stlSquare;
    std::replace(text.begin(), text.end(), '\n', ' ');
    const Document document = load("a.stl", text);
    EXPECT_EQ(document.meshes[0].name, "square");
    EXPECT_EQ(document.meshes[0].primitives[0].vertices, 4u);
    EXPECT_EQ(load("b.stl", text + text).meshes.size(), 2u);
}

TEST_F(StlReader, NamesKeepTheirBlanks) {
    std::string text = stlSquare;
    text.replace(0, 12, "solid the facet of  a square ");
    EXPECT_EQ(load("a.stl", text).meshes[0].name, "the facet of  a square");
    std::replace(text.begin(), text.end(), '\n', ' ');
    EXPECT_EQ(load("b.stl", text).meshes[0].name, "the facet of  a square");
}

TEST_F(StlReader, SolidsWithoutFacetsAreNamed) {
    EXPECT_THAT(leftOut("a.stl", "solid nothing\nendsolid nothing\n" + stlSquare),
                ElementsAre("solid \"nothing\": it has no facets"));
}

/// Two triangles that share an edge, the last two bytes of each facet as given.
std::string coloredStl(std::uint16_t first, std::uint16_t second, const std::string& title = "") {
    std::string file = binaryStl({0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 0, 0, 1, 1, 0, 0, 1, 0});
    file.replace(0, title.size(), title);
    std::memcpy(file.data() + 84 + 48, &first, 2);
    std::memcpy(file.data() + 84 + 98, &second, 2);
    return file;
}

TEST_F(StlReader, ColoursOfFacetsSplitVertices) {
    const Document document = load("a.stl", coloredStl(0x8000 | 31 << 10, 0x8000 | 31));
    EXPECT_EQ(indicesOf(document), (std::vector<unsigned int>{0, 1, 2, 3, 4, 5}));
    const std::vector<double> colors = valuesOf(document, "COLOR_0");
    EXPECT_EQ(std::vector<double>(colors.begin() + 8, colors.begin() + 16),
              (std::vector<double>{255, 0, 0, 255, 0, 0, 255, 255}));
    EXPECT_EQ(indicesOf(load("b.stl", coloredStl(0x8001, 0x8001))), (std::vector<unsigned int>{0, 1, 2, 0, 2, 3}));
}

TEST_F(StlReader, ASolidMayHaveAColour) {
    const Document document = load("a.stl", coloredStl(0x8000, 31, "COLOR=\x0a\x14\x1e\xff"));
    const std::vector<double> colors = valuesOf(document, "COLOR_0");
    EXPECT_EQ(std::vector<double>(colors.begin() + 8, colors.begin() + 16),
              (std::vector<double>{10, 20, 30, 255, 255, 0, 0, 255}));
}

TEST_F(StlReader, OtherBytesOfFacetsAreNamed) {
    EXPECT_THAT(leftOut("a.stl", coloredStl(5, 0)), ElementsAre("attribute bytes of 1 facet, which are not colours"));
}

TEST_F(StlReader, CountsThatNoFileHoldsAreRefusedAtOnce) {
    std::string file(84, '\0');
    std::memcpy(file.data() + 80, "\xff\xff\xff\xff", 4);
    expectRefused("a.stl", file, "4294967295 facets would take 214748364834 bytes, 84 are there");
}

TEST_F(StlReader, TheSizeIsCheckedBeforeTheFileIsRead) {
    const std::string file = write("a.stl", std::string(84, ' '));
    // Takes no room on the disk, and more memory than is granted.
    std::filesystem::resize_file(file, 3'000'000'000);
    const ProcessResult result = runForked({"info", file, "--parse-memory", "100"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.err, HasSubstr("538976288 facets would take"));
}

} // namespace
