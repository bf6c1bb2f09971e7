// Models from standard input and to standard output, and .gltf outputs with their .bin files.

#include "support/CommandTest.h"
#include "support/Paths.h"

#include <cstdlib>
#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;
namespace fs = std::filesystem;

constexpr const char* plyTriangle = "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                                    "property float z\nelement face 1\nproperty list uchar int vertex_indices\n"
                                    "end_header\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n";

class StandardStreams : public CommandTest {
public:
    static std::string fault(const std::vector<std::string>& arguments, const std::string& input, int code) {
        const ProcessResult result = runProgram(arguments, input);
        EXPECT_EQ(result.exitCode, code);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(countOf(result.err, "\n"), 1u) << result.err;
        return result.err;
    }

    std::string grid = write("grid.glb", gridModel(4, 4));
};

TEST_F(StandardStreams, EveryVerbThatWritesModelsWritesTheSameToStandardOutput) {
    for (const char* verb : {"strip", "unstrip", "edges", "merge"}) {
        run({verb, grid, "-o", out}, 0);
        const ProcessResult result = runProgram({verb, "-", "-o", "-"}, readText(grid));
        EXPECT_EQ(result.exitCode, 0) << result.err;
        EXPECT_EQ(result.out, readText(out)) << verb;
        EXPECT_THAT(result.err, HasSubstr("\n")) << verb;
    }
}

TEST_F(StandardStreams, JsonGoesToStandardErrorThen) {
    const ProcessResult result = runProgram({"strip", "-", "-o", "-", "--json"}, readText(grid));
    EXPECT_THAT(result.out, StartsWith("glTF"));
    EXPECT_EQ(Json::parse(result.err)["output"], "-");
}

TEST_F(StandardStreams, OtherFormatsAreNamed) {
    const ProcessResult result = runProgram({"info", "--from", "ply", "--json", "-"}, plyTriangle);
    EXPECT_EQ(result.exitCode, 0) << result.err;
    EXPECT_EQ(Json::parse(result.out)["files"][0]["format"], "PLY");
    EXPECT_EQ(fault({"info", "-"}, plyTriangle, 3),
              "vexamesh: standard input: does not begin as glTF does; --from FORMAT names another format\n");
    EXPECT_EQ(fault({"info", "-"}, "", 3), "vexamesh: standard input: is empty\n");
    EXPECT_THAT(fault({"info", "-", "--from", "tiff"}, "", 2), HasSubstr("not in {glb,gltf,obj,ply,stl,off}"));
}

TEST_F(StandardStreams, GltfTextIsFoundOutByItsFirstBytes) {
    GltfModel model;
    model.json["nodes"] = {{{"name", "lonely"}}};
    const ProcessResult result = runProgram({"info", "--json", "-"}, "\xef\xbb\xbf\n " + model.json.dump());
    EXPECT_EQ(Json::parse(result.out)["files"][0]["format"], "glTF") << result.err;
}

TEST_F(StandardStreams, NothingIsReadFromTheCurrentDirectory) {
    const fs::path before = fs::current_path();
    fs::current_path(directory.path());
    gridModel(1, 1).writeGltf("in.gltf", "in.bin");
    writeText("in.mtl", "newmtl a\nKd 1 0 0\n");
    EXPECT_THAT(fault({"info", "-"}, readText("in.gltf"), 3),
                HasSubstr("in.bin: cannot be read, because standard input is not in a directory"));
    const ProcessResult obj =
        runProgram({"info", "--from", "obj", "-"}, "mtllib in.mtl\nusemtl a\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    fs::current_path(before);
    EXPECT_EQ(obj.exitCode, 0);
    EXPECT_THAT(obj.err, HasSubstr("in.mtl"));
}

TEST_F(StandardStreams, ImagesOfTextFromStandardInputAreWarnedOf) {
    GltfModel model = gridModel(1, 1);
    model.json["images"] = Json::array({{{"uri", "a.png"}}});
    const ProcessResult result = runProgram({"strip", "-", "-o", out}, model.glb());
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err,
                HasSubstr("images[0] is left as a reference: a.png: cannot be read, because standard input"));
}

TEST_F(StandardStreams, StandardInputIsReadOnce) {
    EXPECT_EQ(fault({"compare", "-", "-"}, readText(grid), 2), "vexamesh: standard input (-) can be read only once\n");
    EXPECT_EQ(fault({"merge", "-", grid, "-", "-o", out}, readText(grid), 2),
              "vexamesh: standard input (-) can be read only once\n");
    EXPECT_FALSE(fs::exists(out));
    EXPECT_THAT(fault({"strip", "-", "-d", directory.path().string()}, readText(grid), 2),
                HasSubstr("does not name its output"));
}

TEST_F(StandardStreams, DamagedInputIsRefusedAsAFileIs) {
    EXPECT_THAT(fault({"strip", "-", "-o", "-"}, readText(grid).substr(0, 300), 3),
                StartsWith("vexamesh: standard input: "));
}

TEST_F(StandardStreams, BinaryOutputOnATerminalIsRefused) {
    const int terminal = ::posix_openpt(O_RDWR | O_NOCTTY);
    ASSERT_GE(terminal, 0);
    ASSERT_EQ(::grantpt(terminal) | ::unlockpt(terminal), 0);
    const ProcessResult result = runForked({"strip", grid, "-o", "-"});
    EXPECT_EQ(result.exitCode, 0);
    const std::string command = std::string(programPath) + " strip " + grid + " -o - > " + ::ptsname(terminal) +
                                " 2> " + (directory / "err").string();
    EXPECT_EQ(WEXITSTATUS(std::system(command.c_str())), 2);
    EXPECT_THAT(readText(directory / "err"), HasSubstr("standard output is a terminal"));
    ::close(terminal);
}

class TextOutput : public StandardStreams {
public:
    std::string text = (directory / "model.gltf").string();
};

TEST_F(TextOutput, EveryVerbThatWritesModelsPutsTheDataNextToTheText) {
    for (const char* verb : {"strip", "unstrip", "edges", "merge"}) {
        run({verb, grid, "-o", out}, 0);
        run({verb, grid, "-o", text}, 0);
        EXPECT_THAT(directory.files(), ElementsAre("grid.glb", "model.bin", "model.gltf", "out.glb"));
        EXPECT_EQ(Json::parse(readText(text))["buffers"][0]["uri"], "model.bin");
        const std::string again = (directory / "again.glb").string();
        run({"unstrip", text, "-o", again}, 0);
        run({"unstrip", out, "-o", out}, 2);
        const std::string direct = (directory / "direct.glb").string();
        run({"unstrip", out, "-o", direct}, 0);
        EXPECT_EQ(readText(again), readText(direct)) << verb;
        fs::remove(again);
        fs::remove(direct);
    }
}

TEST_F(TextOutput, ManyFilesMayBecomeText) {
    run({"strip", grid, "-d", (directory / "many").string(), "--to", "gltf"}, 0);
    EXPECT_TRUE(fs::exists(directory / "many/grid.gltf"));
    EXPECT_TRUE(fs::exists(directory / "many/grid.bin"));
}

TEST_F(TextOutput, RefusesToReplaceTheDataOfAnotherModel) {
    writeText(directory / "model.bin", "someone's");
    EXPECT_THAT(run({"strip", grid, "-o", text}, 2).err, HasSubstr("model.bin, where the data of"));
    EXPECT_EQ(readText(directory / "model.bin"), "someone's");
    EXPECT_FALSE(fs::exists(text));
}

TEST_F(TextOutput, KeepsBothFilesIfOneCannotBeWritten) {
    fs::create_directory(directory / "model.bin");
    writeText(text, "old");
    EXPECT_THAT(run({"strip", grid, "-o", text}, 3).err, HasSubstr("model.bin: is a directory"));
    EXPECT_EQ(readText(text), "old");
    EXPECT_THAT(directory.files(), ElementsAre("grid.glb", "model.bin", "model.gltf"));
}

} // namespace
