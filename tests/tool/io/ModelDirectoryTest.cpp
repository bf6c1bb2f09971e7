// Files that a model refers to: only those below its directory, or below directories that the user allows.

#include "io/ModelDirectory.h"
#include "base/Errors.h"
#include "support/ReadBack.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;
using testing::Not;
namespace fs = std::filesystem;

constexpr const char* secret = "root:x:0:0";
constexpr const char* png = "\x89PNG\r\n\x1a\n";

/// A model in a directory of its own, and files beside that directory.
class ModelDirectory : public testing::Test {
public:
    void SetUp() override {
        fs::create_directories(model / "textures");
        writeText(directory / "secret.txt", secret);
        writeText(directory / "outside.png", png);
        writeText(model / "inside.png", png);
    }

    std::string writeWithImage(const std::string& uri) {
        GltfModel source = gridModel(2, 2);
        source.json["images"] = Json::array({{{"uri", uri}}});
        source.writeGlb(model / "in.glb");
        return (model / "in.glb").string();
    }

    std::string writeWithBuffer(const std::string& uri) {
        gridModel(2, 2).writeGltf(model / "in.gltf", "in.bin");
        Json json = Json::parse(readText(model / "in.gltf"));
        json["buffers"][0]["uri"] = uri;
        writeText(model / "in.gltf", json.dump());
        return (model / "in.gltf").string();
    }

    ProcessResult strip(const std::string& in, const std::vector<std::string>& more = {}) {
        std::vector<std::string> arguments{"strip", in, "-o", out};
        arguments.insert(arguments.end(), more.begin(), more.end());
        return runForked(arguments);
    }

    void expectRefused(const std::string& in, const std::string& reason) {
        const ProcessResult result = strip(in);
        EXPECT_EQ(result.exitCode, 3) << in;
        EXPECT_THAT(result.err, HasSubstr(reason));
        EXPECT_EQ(countOf(result.err, "\n"), 1u) << result.err;
        EXPECT_FALSE(fs::exists(out));
    }

    /// The model's only image in the output.
    Json strippedImage(const std::string& uri, const std::vector<std::string>& more = {}) {
        const ProcessResult result = strip(writeWithImage(uri), more);
        EXPECT_EQ(result.exitCode, 0) << result.err;
        return Json::parse(glbJson(out)).at("images").at(0);
    }

    TemporaryDirectory directory;
    fs::path model = directory / "model";
    std::string out = (directory / "out.glb").string();
};

TEST_F(ModelDirectory, RefusesImagesOutside) {
    fs::create_symlink(directory / "outside.png", model / "link.png");
    fs::create_directory_symlink(directory.path(), model / "textures" / "up");
    for (const std::string& uri :
         {std::string("../outside.png"), (directory / "outside.png").string(),
          std::string("textures/../../outside.png"), std::string("%2e%2e/outside.png"), std::string("..%2Foutside.png"),
          std::string("link.png"), std::string("textures/up/outside.png"), std::string("../outside.png?v=1"),
          std::string("../missing.png")}) {
        expectRefused(writeWithImage(uri), "images[0] refers to ");
        expectRefused(writeWithImage(uri), "which lies outside the model's directory; --allow-outside DIR permits");
    }
}

TEST_F(ModelDirectory, RefusesBuffersOutside) {
    gridModel(2, 2).writeGltf(directory / "other.gltf", "outside.bin");
    fs::create_symlink("../outside.bin", model / "link.bin");
    for (const char* uri : {"../outside.bin", "%2E%2E%2Foutside.bin", "link.bin", "/proc/self/environ"}) {
        expectRefused(writeWithBuffer(uri), "lies outside the model's directory");
    }
}

TEST_F(ModelDirectory, RefusesFilesThatAreNotImages) {
    writeText(model / "notes.png", secret);
    writeText(model / "empty.png", "");
    for (const char* uri : {"notes.png", "empty.png"}) {
        expectRefused(writeWithImage(uri), "which is not a PNG, JPEG, WebP or KTX2 image");
    }
}

TEST_F(ModelDirectory, TakesImagesByTheirFirstBytes) {
    const std::vector<std::pair<std::string, std::string>> images{{png, "image/png"},
                                                                  {"\xff\xd8\xff\xe0", "image/jpeg"},
                                                                  {std::string("RIFF\4\0\0\0WEBP", 12), "image/webp"},
                                                                  {"\xabKTX 20\xbb\r\n\x1a\n", "image/ktx2"}};
    for (const auto& [bytes, type] : images) {
        writeText(model / "image", bytes);
        EXPECT_EQ(strippedImage("image").at("mimeType"), type);
    }
}

TEST_F(ModelDirectory, PermitsFilesOfAllowedDirectories) {
    EXPECT_EQ(strippedImage("../outside.png", {"--allow-outside", directory.path()}).at("mimeType"), "image/png");
    EXPECT_EQ(strip(writeWithImage("../outside.png"), {"--allow-outside", model / "textures"}).exitCode, 3);
    EXPECT_EQ(strip(writeWithImage("../outside.png"), {"--allow-outside", directory / "missing"}).exitCode, 2);
}

TEST_F(ModelDirectory, FollowsLinksThatStayInside) {
    fs::create_symlink("../inside.png", model / "textures" / "link.png");
    EXPECT_EQ(strippedImage("textures/link.png").at("mimeType"), "image/png");
    // The path to the model itself may hold links.
    fs::create_directory_symlink(model, directory / "alias");
    writeWithImage("inside.png");
    EXPECT_EQ(strip((directory / "alias" / "in.glb").string()).exitCode, 0);
}

TEST_F(ModelDirectory, LeavesOutTheQueryOfAReference) {
    EXPECT_EQ(strippedImage("inside.png?version=2#top").at("mimeType"), "image/png");
    writeText(model / "what?.png", png);
    EXPECT_EQ(strippedImage("what?.png").at("mimeType"), "image/png");
    gridModel(2, 2).writeGltf(model / "in.gltf", "in.bin");
    EXPECT_EQ(strip(writeWithBuffer("in.bin?x")).exitCode, 0);
}

TEST_F(ModelDirectory, LeavesMissingImagesAsReferences) {
    EXPECT_EQ(strippedImage("gone.png").dump(), R"({"uri":"gone.png"})");
}

TEST_F(ModelDirectory, EmbedsImagesOfAFileWithNothingElse) {
    writeText(model / "in.gltf", R"({"asset":{"version":"2.0"},"images":[{"uri":"inside.png"}]})");
    EXPECT_EQ(strip((model / "in.gltf").string()).err, "");
    EXPECT_THAT(readText(out), HasSubstr("image/png"));
}

// The output is read back from memory before it is written.
TEST_F(ModelDirectory, TakesNothingFromTheDirectoryOfTheOutput) {
    writeText(directory / "gone.png", secret);
    EXPECT_EQ(strippedImage("gone.png").dump(), R"({"uri":"gone.png"})");
    EXPECT_EQ(strippedImage("../missing.png", {"--allow-outside", directory.path()}).dump(),
              R"({"uri":"../missing.png"})");
}

TEST_F(ModelDirectory, ObjFilesDoWithoutTexturesOutside) {
    writeText(model / "in.mtl", "newmtl m\nmap_Kd ../outside.png\n");
    writeText(model / "in.obj", "mtllib in.mtl\nusemtl m\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nf 1/1 2/1 3/1\n");
    const ProcessResult result = strip((model / "in.obj").string());
    EXPECT_EQ(result.exitCode, 0);
    EXPECT_THAT(result.err, HasSubstr("lies outside the model's directory"));
    EXPECT_THAT(readText(out), Not(HasSubstr("PNG")));
}

} // namespace
