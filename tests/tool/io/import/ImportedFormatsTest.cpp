// PLY, STL and OFF files alike: every verb reads them, and damaged ones end in a message.

#include "ImportedFile.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <random>

namespace {

using namespace tool_test;

class ImportedFormats : public ImportedFile {};

const std::string plyQuad = "ply\nformat ascii 1.0\nelement vertex 4\nproperty float x\nproperty float y\n"
                            "property float z\nproperty char nx\nproperty char ny\nproperty char nz\n"
                            "element face 1\nproperty list uchar int vertex_indices\nend_header\n"
                            "0 0 0 0 0 1\n1 0 0 0 0 1\n1 1 0 0 0 1\n0 1 0 0 0 1\n4 0 1 2 3\n";
const std::string plyStrip = "ply\nformat binary_little_endian 1.0\nelement vertex 3\nproperty uchar x\n"
                             "property uchar y\nproperty uchar z\nelement tristrips 1\n"
                             "property list uchar char vertex_index\nend_header\n" +
                             std::string("\0\0\0\1\0\0\0\1\0\7\0\1\2\xff\0\2\1", 17);
const std::string stlTriangle = "solid one\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 1 1 0\n"
                                "endloop\nendfacet\nendsolid one\n";
const std::string stlBinary = std::string(80, ' ') + std::string("\1\0\0\0", 4) + std::string(50, '\0');
const std::string offTriangles = "OFF\n4 2 0\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n3 0 1 2\n3 0 2 3 255 0 0\n";

TEST_F(ImportedFormats, EveryVerbTakesThem) {
    for (const std::string& in : {write("a.ply", plyQuad), write("b.ply", plyStrip), write("a.stl", stlTriangle),
                                  write("a.off", offTriangles)}) {
        for (const std::vector<std::string>& arguments :
             std::vector<std::vector<std::string>>{{"info", in},
                                                   {"validate", in},
                                                   {"compare", in, in},
                                                   {"verify", in},
                                                   {"dump", in},
                                                   {"strip", in, "-o", out},
                                                   {"unstrip", in, "-o", out},
                                                   {"edges", in, "-o", out},
                                                   {"merge", in, in, "--translate", "1,0,0", "-o", out}}) {
            EXPECT_EQ(runForked(arguments).exitCode, 0) << arguments[0] << ' ' << in;
        }
    }
    EXPECT_EQ(runForked({"pack", (directory / "a.ply").string(), "--stats"}).exitCode, 0);
}

TEST_F(ImportedFormats, StrictReadingRefusesLosses) {
    const std::string lossy = write("a.stl", "solid nothing\nendsolid nothing\n" + stlTriangle);
    const std::string whole = write("b.stl", stlTriangle);
    const ProcessResult refused = runForked({"strip", lossy, "-o", out, "--strict"});
    EXPECT_EQ(refused.exitCode, 1);
    EXPECT_THAT(refused.err, testing::HasSubstr("a.stl: refused, as --strict demands: left out: solid \"nothing\""));
    EXPECT_FALSE(std::filesystem::exists(out));
    EXPECT_EQ(runForked({"strip", lossy, "-o", out}).exitCode, 0);
    const ProcessResult both = runForked({"info", "--strict", lossy, whole});
    EXPECT_EQ(both.exitCode, 1);
    EXPECT_THAT(both.out, testing::HasSubstr("b.stl"));
}

TEST_F(ImportedFormats, JsonListsWhatIsLeftOut) {
    const std::string lossy = write("a.stl", "solid nothing\nendsolid nothing\n" + stlTriangle);
    for (const std::vector<std::string>& arguments :
         std::vector<std::vector<std::string>>{{"strip", lossy, "-o", out},
                                               {"unstrip", lossy, "-o", out},
                                               {"edges", lossy, "-o", out},
                                               {"merge", lossy, "-o", out},
                                               {"info", lossy}}) {
        std::vector<std::string> all = arguments;
        all.emplace_back("--json");
        const auto json = nlohmann::ordered_json::parse(runForked(all).out);
        const std::string file = arguments[0] == "merge" ? lossy + ": " : "";
        EXPECT_EQ((arguments[0] == "info" ? json["files"][0] : json)["leftOut"],
                  nlohmann::ordered_json::array({file + "solid \"nothing\": it has no facets"}))
            << arguments[0];
    }
}

TEST_F(ImportedFormats, LongNamesAreShortenedInMessages) {
    const std::string name(300'000, 'n');
    const ProcessResult result = runForked({"info", write("a.obj", "mtllib " + name + "\nv 0 0 0\n")});
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_LT(result.err.size(), 2000u);
    EXPECT_THAT(result.err, testing::HasSubstr("nnn...nnn"));
}

TEST_F(ImportedFormats, DamagedFilesEndInOrder) {
    const std::vector<std::pair<std::string, std::string>> seeds = {
        {"a.ply", plyQuad}, {"b.ply", plyStrip}, {"c.stl", stlTriangle}, {"d.stl", stlBinary}, {"e.off", offTriangles}};
    std::mt19937 random(11);
    int failures = 0;
    for (int i = 0; i < 1000; ++i) {
        const auto& [name, content] = seeds[static_cast<std::size_t>(i) % seeds.size()];
        std::string changed = content;
        changed[random() % changed.size()] = static_cast<char>(random());
        const ProcessResult result = runForked({"strip", write(name, changed), "-o", out, "--parse-time", "20"});
        ASSERT_EQ(result.signal, 0) << changed;
        ASSERT_TRUE(result.exitCode == 0 || result.exitCode == 3) << changed << result.err;
        ASSERT_EQ(std::filesystem::exists(out), result.exitCode == 0) << changed;
        std::filesystem::remove(out);
        failures += result.exitCode == 3 ? 1 : 0;
    }
    EXPECT_GT(failures, 100);
    EXPECT_LT(failures, 1000);
}

} // namespace
