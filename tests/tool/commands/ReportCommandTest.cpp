#ifdef VEXAMESH_WITH_REPORT

#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;
using testing::StartsWith;
using testing::UnorderedElementsAre;

class ReportCommand : public testing::Test {
public:
    /// Reports on `in.glb` and expects it to succeed, with `warnings` and no other messages.
    ///
    /// \return what --json prints
    Json report(const GltfModel& model, std::vector<std::string> options = {}) {
        model.writeGlb(in);
        options.insert(options.begin(), {"report", in, "-o", out, "--json"});
        const ProcessResult result = runForked(options);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.err, warnings);
        page = readText(out);
        return result.exitCode == 0 ? Json::parse(result.out) : Json::object();
    }

    TemporaryDirectory directory;
    std::string in = (directory / "in.glb").string();
    std::string out = (directory / "report.html").string();
    std::string warnings;
    std::string page;
};

/// The members that depend on neither the clock nor the name of the output.
Json figuresOf(Json json) {
    json.erase("output");
    json.erase("report");
    json["total"].erase("seconds");
    for (Json& mesh : json["meshes"]) {
        mesh.erase("seconds");
    }
    return json;
}

TEST_F(ReportCommand, AgreesWithStrip) {
    const std::vector<std::string> options{"--iterations", "5", "--fans", "5", "--join", "none"};
    const Json report = this->report(gridModel(7, 5), options);
    std::vector<std::string> arguments{"strip", in, "-o", (directory / "strips.glb").string(), "--json"};
    arguments.insert(arguments.end(), options.begin(), options.end());
    EXPECT_EQ(figuresOf(report), figuresOf(Json::parse(runForked(arguments).out)));
}

TEST_F(ReportCommand, NamesTheFlagsOfJoinedVertices) {
    GltfModel model = gridModel(2, 2);
    model.writeGlb(in);
    const ProcessResult result = runForked({"report", in, "-o", out, "--weld", "0.25", "--json"});
    EXPECT_EQ(Json::parse(result.out)["weld"]["joined"], 0);
    EXPECT_EQ(countOf(readText(out), "--weld 0.25"), 2u);
}

TEST_F(ReportCommand, PutsTheVerdictBeforeEverythingElse) {
    report(gridModel(4, 4));
    const std::size_t verdict = page.find("Same triangles: yes");
    ASSERT_NE(verdict, std::string::npos);
    EXPECT_LT(verdict, page.find("<dl"));
    EXPECT_LT(verdict, page.find("<canvas"));
}

TEST_F(ReportCommand, ShowsTheIndicesBeforeAndAfter) {
    const Json total = report(gridModel(4, 4))["total"];
    EXPECT_THAT(page, HasSubstr("<data value=\"96\">96</data>"));
    const std::string after = std::to_string(total["indicesAfter"].get<int>());
    EXPECT_THAT(page, HasSubstr("<strong><data value=\"" + after + "\">"));
}

/// The JSON that a page contains.
Json jsonOf(const std::string& page) {
    const std::string begin = "<pre id=\"json\" tabindex=\"0\">";
    const std::size_t first = page.find(begin) + begin.size();
    std::string text = page.substr(first, page.find("</pre>", first) - first);
    for (std::size_t at = text.find("&quot;"); at != std::string::npos; at = text.find("&quot;", at)) {
        text.replace(at, 6, "\"");
    }
    return Json::parse(text);
}

TEST_F(ReportCommand, ContainsTheJsonThatItPrintsWithoutDirectories) {
    Json json = report(gridModel(2, 2));
    json["input"] = "in.glb";
    json["output"] = "report.html";
    EXPECT_EQ(jsonOf(page), json);
}

TEST_F(ReportCommand, KeepsTheDirectoriesOfThisMachineToItself) {
    report(gridModel(2, 2), {"--compare", "0", "--url", "https://example.org/reports/"});
    EXPECT_THAT(page, Not(HasSubstr(in.substr(0, in.rfind('/')))));
    EXPECT_THAT(page, HasSubstr("vexamesh report in.glb -o report.html --compare 0"));
}

TEST_F(ReportCommand, KeepsAbsolutePathsInWarningsToItself) {
    std::filesystem::create_directories(directory / "models");
    const std::string model = (directory / "models" / "square.obj").string();
    writeText(model, "mtllib /home/somebody/secret/wood.mtl\no models/metamodels/x\nv 0 0 0\nv 1 0 0\nv 0 1 0\n"
                     "usemtl a\nf 1 2 3\n");
    const ProcessResult result = runForked({"report", model, "-o", out});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, HasSubstr("/home/somebody/secret/wood.mtl"));
    page = readText(out);
    EXPECT_THAT(page, HasSubstr("wood.mtl"));
    EXPECT_THAT(page, Not(HasSubstr("somebody")));
    EXPECT_THAT(page, HasSubstr("models/metamodels/x")) << "a name, not a path";
}

TEST_F(ReportCommand, EncodesTheAddressOfThePreviewPicture) {
    out = (directory / "my report.html").string();
    report(gridModel(1, 1), {"--url", "https://example.org/a/page.html?x=/y#z/"});
    EXPECT_THAT(page, HasSubstr("content=\"https://example.org/a/my%20report-preview.png\""));
}

TEST_F(ReportCommand, EmbedsAPreviewPicture) {
    report(gridModel(2, 2));
    EXPECT_THAT(page, HasSubstr("<meta property=\"og:image\" content=\"data:image/png;base64,iVBORw0KGgo"));
    EXPECT_THAT(page, HasSubstr("<meta property=\"og:title\" content=\"in.glb"));
    EXPECT_THAT(page, HasSubstr("8 triangles: 24 indices before"));
    EXPECT_THAT(directory.files(), UnorderedElementsAre("in.glb", "report.html"));
}

TEST_F(ReportCommand, WritesThePreviewPictureNextToAPageWithAnAddress) {
    report(gridModel(2, 2), {"--url", "https://example.org/reports/page.html"});
    EXPECT_THAT(page, HasSubstr("content=\"https://example.org/reports/report-preview.png\""));
    EXPECT_THAT(directory.files(), UnorderedElementsAre("in.glb", "report.html", "report-preview.png"));
    EXPECT_THAT(readText(directory / "report-preview.png"), StartsWith("\x89PNG"));
    EXPECT_THAT(page, HasSubstr(" --url https://example.org/reports/page.html</code>"));
}

TEST_F(ReportCommand, ReplacesAPreviewPictureOnlyWithItsPage) {
    gridModel(1, 1).writeGlb(in);
    writeText(directory / "report-preview.png", "a picture of something else");
    const std::vector<std::string> arguments{"report", in,      "-o",
                                             out,      "--url", "https://example.org/reports/report.html"};
    const ProcessResult refused = runForked(arguments);
    EXPECT_EQ(refused.exitCode, 2);
    EXPECT_THAT(refused.err, HasSubstr("report-preview.png already exists, and the preview picture of " + out +
                                       " would overwrite it; choose another name"));
    EXPECT_EQ(readText(directory / "report-preview.png"), "a picture of something else");
    EXPECT_THAT(directory.files(), UnorderedElementsAre("in.glb", "report-preview.png"));
    writeText(out, "an earlier report");
    EXPECT_EQ(runForked(arguments).exitCode, 0);
    EXPECT_THAT(readText(directory / "report-preview.png"), StartsWith("\x89PNG"));
}

TEST_F(ReportCommand, RefusesAnInvalidPageAddress) {
    gridModel(1, 1).writeGlb(in);
    for (const char* url : {"example.org/reports/", "https://example.org", "file:///tmp/page.html"}) {
        const ProcessResult result = runForked({"report", in, "-o", out, "--url", url});
        EXPECT_EQ(result.exitCode, 2);
        EXPECT_THAT(result.err, HasSubstr("expected the address of a page"));
    }
    EXPECT_THAT(directory.files(), ElementsAre("in.glb"));
}

TEST_F(ReportCommand, OffersTheStripsOfOtherEfforts) {
    report(gridModel(9, 7), {"--compare", "0,3"});
    EXPECT_THAT(page, HasSubstr("\"name\":\"Strips\""));
    EXPECT_THAT(page, HasSubstr("\"name\":\"Effort 0\""));
    EXPECT_THAT(page, HasSubstr("\"name\":\"Effort 3\""));
    warnings =
        "vexamesh: warning: " + in + ": the picture shows a part of the triangles, so efforts are not compared in it\n";
    report(gridModel(9, 7), {"--compare", "0", "--show", "50"});
    EXPECT_THAT(page, HasSubstr("efforts are not compared in it"));
}

TEST_F(ReportCommand, ShowsThePassesOfItsSearch) {
    report(gridModel(9, 7), {"--effort", "1", "--compare", "0"});
    EXPECT_THAT(page, HasSubstr("\"steps\":[{\"name\":\"Greedy search\",\"indices\":"));
    EXPECT_THAT(page, HasSubstr("\"drawing\":2},{\"name\":\"Tunnelling\",\"indices\":"));
    EXPECT_THAT(page, Not(HasSubstr("id=\"hidden-passes\"")));
}

TEST_F(ReportCommand, ShowsNoPassesThatCannotBeRepeatedOrShownWhole) {
    for (const std::vector<std::string>& options :
         {std::vector<std::string>{"--iterations", "3"}, {"--effort", "4", "--budget", "1"}, {"--effort", "0"}}) {
        report(gridModel(9, 7), options);
        EXPECT_THAT(page, HasSubstr("\"steps\":[]")) << options.front();
        EXPECT_THAT(page, Not(HasSubstr("id=\"hidden-passes\""))) << options.front();
    }
    report(gridModel(9, 7), {"--show", "50"});
    EXPECT_THAT(page, HasSubstr("\"steps\":[]"));
    EXPECT_THAT(page, HasSubstr("id=\"hidden-passes\""));
}

TEST_F(ReportCommand, ShowsNoPassesWhereNothingIsCutIntoStrips) {
    std::vector<float> positions;
    std::vector<std::uint16_t> indices;
    for (std::uint16_t i = 0; i < 120; ++i) {
        positions.insert(positions.end(),
                         {static_cast<float>(i / 3), i % 3 == 1 ? 1.0F : 0.0F, i % 3 == 2 ? 1.0F : 0.0F});
        indices.push_back(i);
    }
    GltfModel model;
    model.addMesh(model.addPositions(positions), model.addIndices(indices));
    EXPECT_EQ(report(model)["meshes"][0]["primitives"][0]["writtenAs"], "unchanged");
    EXPECT_THAT(page, HasSubstr("\"steps\":[]"));
    EXPECT_THAT(page, Not(HasSubstr("id=\"hidden-passes\"")));
}

TEST_F(ReportCommand, RefusesEffortsThatItCannotCompare) {
    gridModel(1, 1).writeGlb(in);
    for (const char* efforts : {"4", "0,", ",0", "0 3", "high"}) {
        const ProcessResult result = runForked({"report", in, "-o", out, "--compare", efforts});
        EXPECT_EQ(result.exitCode, 2) << efforts;
        EXPECT_THAT(result.err, HasSubstr("expected efforts from 0 to 3")) << efforts;
    }
}

TEST_F(ReportCommand, ComparesTheFileWithTheSameModelInAList) {
    writeText(directory / "square.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nv 1 1 0\nf 1 2 3\nf 3 2 4\n");
    runForked({"report", (directory / "square.obj").string(), "-o", out});
    page = readText(out);
    const std::size_t row = page.find("Bytes of a .glb file");
    ASSERT_NE(row, std::string::npos);
    const auto numberAfter = [&](std::size_t at) {
        return std::stoi(page.substr(page.find("<data value=\"", at) + 13));
    };
    const int before = numberAfter(row);
    // Six indices become four, and the text of the model does not count.
    EXPECT_GT(before, 300);
    EXPECT_LE(numberAfter(page.find("<strong>", row)), before);
    EXPECT_GT(numberAfter(page.find("<strong>", row)), before - 100);
}

/// A small mesh in a scene of these nodes.
GltfModel shownBy(const std::vector<Json>& nodes) {
    GltfModel model = gridModel(1, 1);
    model.json["nodes"] = nodes;
    model.json["scenes"] = {{{"nodes", Json::array()}}};
    model.json["scene"] = 0;
    for (std::size_t i = 0; i < nodes.size(); ++i) {
        model.json["scenes"][0]["nodes"].push_back(i);
    }
    return model;
}

TEST_F(ReportCommand, DrawsAMeshWhereverTheSceneShowsIt) {
    report(shownBy({{{"mesh", 0}}, {{"mesh", 0}, {"translation", {5, 0, 0}}}}));
    EXPECT_THAT(page, HasSubstr("\"placements\":2"));
}

TEST_F(ReportCommand, DrawsAMeshWithASkinOnceWhereverItsNodesAre) {
    const Json node{{"mesh", 0}, {"skin", 0}, {"translation", {5, 0, 0}}};
    GltfModel model = shownBy({node, node, Json::object()});
    model.json["skins"] = {{{"joints", {2}}}};
    report(model);
    EXPECT_THAT(page, HasSubstr("\"placements\":1"));
}

TEST_F(ReportCommand, DrawsAMeshWithAMalformedSkinWhereverItsNodesAre) {
    const Json node{{"mesh", 0}, {"skin", 0}, {"translation", {5, 0, 0}}};
    GltfModel model = shownBy({node, node});
    model.json["skins"] = {{{"joints", {9}}}};
    const std::string fault = "skins[0].joints is 9, but there are only 2: drawn without this skin";
    warnings = "vexamesh: warning: " + in + ": " + fault + "\n";
    report(model);
    EXPECT_THAT(page, HasSubstr("\"placements\":2"));
    EXPECT_THAT(page, HasSubstr(fault));
}

TEST_F(ReportCommand, ExplainsMoreThanThreeIndicesPerTriangle) {
    GltfModel model;
    model.addMesh(model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0}), model.addIndices({0, 1, 2, 0, 0, 1}));
    report(model);
    EXPECT_THAT(page, HasSubstr("<span class=\"before\">6.000</span>"));
    EXPECT_THAT(page,
                HasSubstr("</data> with two equal corners draw nothing and do not count, but their indices in the "
                          "input do, so it may have more than three per triangle."));
}

TEST_F(ReportCommand, QuotesTheCommandForAShell) {
    in = (directory / "it's one.glb").string();
    report(gridModel(1, 1), {"--fans", "6"});
    EXPECT_THAT(page, HasSubstr("it&#39;\\&#39;&#39;s one.glb&#39; -o report.html --fans 6"));
}

TEST_F(ReportCommand, EscapesNames) {
    GltfModel model = gridModel(2, 2);
    model.json["meshes"][0]["name"] = "</script><script>alert(\"1\")</script>&<img src=x>";
    report(model);
    EXPECT_THAT(page,
                HasSubstr("&lt;/script&gt;&lt;script&gt;alert(&quot;1&quot;)&lt;/script&gt;&amp;&lt;img src=x&gt;"));
    EXPECT_THAT(page, HasSubstr("\\u003c/script>\\u003cscript>"));
    EXPECT_THAT(page, Not(HasSubstr("<script>alert")));
    EXPECT_THAT(page, Not(HasSubstr("<img")));
}

TEST_F(ReportCommand, EscapesTheNameOfTheFile) {
    in = (directory / "<b>&.glb").string();
    report(gridModel(1, 1));
    EXPECT_THAT(page, HasSubstr("<title>&lt;b&gt;&amp;.glb"));
    EXPECT_THAT(page, Not(HasSubstr("<b>")));
}

TEST_F(ReportCommand, LoadsNoExternalResources) {
    report(gridModel(2, 2));
    EXPECT_THAT(page, HasSubstr("default-src 'none'"));
    for (const char* loading : {"<link rel=\"stylesheet", " src=\"", "@import", "url(http"}) {
        EXPECT_THAT(page.substr(0, page.rfind("<script>")), Not(HasSubstr(loading)));
    }
}

TEST_F(ReportCommand, CountsBorderAndNonManifoldEdgesAndSplitOffTriangles) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 0, 1, 0, 1, 0, 0, -1, 0, 0, 0, 0, 1});
    model.addMesh(positions, model.addIndices({0, 1, 2, 1, 0, 3, 0, 1, 4}));
    const Json primitive = report(model)["report"]["primitives"][0];
    EXPECT_EQ(primitive["splitOff"], 1);
    EXPECT_EQ(primitive["edges"]["border"], 6);
    EXPECT_EQ(primitive["edges"]["nonManifold"], 1);
    EXPECT_THAT(page, HasSubstr("split off by the half-edge graph"));
}

TEST_F(ReportCommand, DistinguishesCopiesOfATriangleWhenSomeAreSplitOff) {
    GltfModel model;
    const int positions = model.addPositions({0, 0, 0, 0, 1, 0, 1, 0, 0});
    model.addMesh(positions, model.addIndices({0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2, 0, 1, 2}));
    EXPECT_EQ(report(model)["report"]["primitives"][0]["splitOff"], 3);
}

TEST_F(ReportCommand, AcceptsLineFeedsInAttributeNames) {
    GltfModel model = gridModel(1, 1);
    Json& attributes = model.primitive(0)["attributes"];
    attributes["_one\ntwo"] = attributes["POSITION"];
    report(model);
    EXPECT_THAT(page, HasSubstr("_one\ntwo"));
}

TEST_F(ReportCommand, ShowsTheCostOfEveryPass) {
    const Json passes = report(gridModel(9, 7), {"--iterations", "12"})["report"]["passes"];
    const auto costs = passes["costs"].get<std::vector<int>>();
    ASSERT_EQ(costs.size(), 12u);
    EXPECT_EQ(passes["ofTheseStrips"], true);
    EXPECT_EQ(passes["best"], *std::min_element(costs.begin(), costs.end()));
    EXPECT_EQ(passes["worst"], *std::max_element(costs.begin(), costs.end()));
    EXPECT_EQ(countOf(page, "class=\"dot"), 12u);
}

TEST_F(ReportCommand, RunsTrialPassesAfterASinglePass) {
    const Json passes = report(gridModel(9, 7))["report"]["passes"];
    EXPECT_EQ(passes["ofTheseStrips"], false);
    EXPECT_EQ(passes["costs"].size(), 16u);
}

TEST_F(ReportCommand, DrawsTheProvenMinimumIntoItsPlots) {
    const Json json = report(gridModel(9, 7));
    const auto efforts = json["report"]["efforts"].get<std::vector<int>>();
    ASSERT_EQ(efforts.size(), 4u);
    EXPECT_EQ(efforts[2], json["total"]["indicesAfter"]);
    EXPECT_GE(efforts[3], json["total"]["minIndices"]);
    EXPECT_GT(json["report"]["passes"]["minimum"], 126);
    EXPECT_LE(json["report"]["passes"]["minimum"], json["report"]["passes"]["best"]);
    EXPECT_EQ(countOf(page, "class=\"level bound\""), 2u);
    EXPECT_THAT(page, HasSubstr("no strips can have fewer than"));
}

TEST_F(ReportCommand, OffersColoursByStripLength) {
    report(gridModel(9, 7));
    EXPECT_THAT(page, HasSubstr("<button type=\"button\" id=\"lengths\""));
    EXPECT_THAT(page, HasSubstr("id=\"legend-lengths\" hidden"));
}

TEST_F(ReportCommand, ShowsTheBuffersAndTheReportOfVerify) {
    report(gridModel(3, 3));
    EXPECT_THAT(page, HasSubstr("components per element"));
    EXPECT_THAT(page, HasSubstr("<td class=\"text\">position</td><td class=\"text\">float</td><td>4</td><td>3</td>"
                                "<td>12</td><td>12</td><td>0</td><td>16</td>"));
    const std::string verified = runForked({"verify", in}).out;
    EXPECT_THAT(page, HasSubstr(verified.substr(verified.find('\n') + 1)));
}

TEST_F(ReportCommand, MeasuresPackedNormalsAsPackDoes) {
    GltfModel model = gridModel(1, 1);
    const std::vector<float> normals{0, 0, 1, 0.6F, 0, 0.8F, 0, -1, 0, 0, 0, 0};
    model.primitive(0)["attributes"]["NORMAL"] = model.addAccessor(normals, 5126, "VEC3");
    const Json packed = report(model)["report"]["packedNormals"];
    const Json total = Json::parse(runForked({"pack", in, "--stats", "--json"}).out)["total"];
    EXPECT_EQ(packed["withoutDirection"], 1);
    EXPECT_EQ(packed["meanAngle"], total["meanAngle"]);
    EXPECT_EQ(packed["largestAngle"], total["largestAngle"]);
}

TEST_F(ReportCommand, SaysThatItShowsOnlyAPart) {
    const Json json = report(gridModel(8, 8), {"--show", "50"});
    EXPECT_EQ(json["report"]["shownTriangles"], 50);
    EXPECT_EQ(json["total"]["triangles"], 128);
    EXPECT_THAT(page, HasSubstr("The picture shows a part"));
    EXPECT_THAT(page, HasSubstr(" --show 50</code>"));
}

TEST_F(ReportCommand, AcceptsModelsWithoutTriangles) {
    GltfModel model;
    model.addMesh(model.addPositions({0, 0, 0, 1, 0, 0}), model.addIndices({0, 1}), 1);
    EXPECT_EQ(report(model)["total"]["triangles"], 0);
    EXPECT_THAT(page, HasSubstr("There are no triangles to show"));
}

TEST_F(ReportCommand, WritesNothingForABrokenFile) {
    writeText(in, "no model");
    const ProcessResult result = runForked({"report", in, "-o", out});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_EQ(countOf(result.err, "\n"), 1u);
    EXPECT_THAT(result.err, HasSubstr(in));
    EXPECT_THAT(directory.files(), ElementsAre("in.glb"));
}

TEST_F(ReportCommand, RefusesAnOutputThatIsNotHtml) {
    gridModel(1, 1).writeGlb(in);
    const ProcessResult result = runForked({"report", in, "-o", (directory / "report.glb").string()});
    EXPECT_EQ(result.exitCode, 2);
    EXPECT_THAT(result.err, HasSubstr("does not end in .html"));
    EXPECT_THAT(directory.files(), ElementsAre("in.glb"));
}

TEST_F(ReportCommand, ReportsThatItCannotWrite) {
    gridModel(1, 1).writeGlb(in);
    const ProcessResult result = runForked({"report", in, "-o", (directory / "none" / "report.html").string()});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.err, HasSubstr("cannot be written"));
    EXPECT_THAT(directory.files(), ElementsAre("in.glb"));
}

} // namespace

#endif
