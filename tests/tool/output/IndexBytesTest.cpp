// No output has more bytes of indices than its input: every readable model of the package assimp-testmodels, every join.

#include "support/ToolProcess.h"

#include <algorithm>
#include <gtest/gtest.h>
#include <nlohmann/json.hpp>

namespace {

using namespace tool_test;
namespace fs = std::filesystem;
using Json = nlohmann::json;

std::vector<std::string> readableModels() {
    std::vector<std::string> models;
    for (const char* folder : {"glTF2", "OBJ", "PLY", "STL", "OFF"}) {
        for (const auto& entry : fs::recursive_directory_iterator(fs::path("/usr/share/assimp/models") / folder)) {
            std::string extension = entry.path().extension().string();
            std::transform(extension.begin(), extension.end(), extension.begin(), ::tolower);
            const std::vector<std::string> known{".glb", ".gltf", ".obj", ".ply", ".stl", ".off"};
            if (std::find(known.begin(), known.end(), extension) != known.end()) {
                models.push_back(entry.path().string());
            }
        }
    }
    std::sort(models.begin(), models.end());
    return models;
}

class IndexBytes : public testing::TestWithParam<std::vector<std::string>> {};

TEST_P(IndexBytes, NeverGrow) {
    const TemporaryDirectory directory;
    std::size_t stripped = 0;
    for (const std::string& model : readableModels()) {
        std::vector<std::string> arguments{"strip", model, "-o", (directory / "out.glb").string(), "--json"};
        arguments.insert(arguments.end(), GetParam().begin(), GetParam().end());
        const ProcessResult result = runForked(arguments);
        if (result.exitCode == 0) {
            const Json file = Json::parse(result.out)["file"];
            EXPECT_LE(file["after"]["indexBytes"], file["before"]["indexBytes"]) << model;
            EXPECT_EQ(file["after"]["vertexBytes"], file["before"]["vertexBytes"]) << model;
            ++stripped;
        }
    }
    EXPECT_GT(stripped, 60u);
}

std::string testName(const testing::TestParamInfo<std::vector<std::string>>& info) {
    std::string name;
    for (const std::string& argument : info.param) {
        name += argument;
    }
    std::erase_if(name, [](unsigned char c) { return std::isalnum(c) == 0; });
    return name;
}

INSTANTIATE_TEST_SUITE_P(Assimp, IndexBytes,
                         testing::Values(std::vector<std::string>{"--join", "degenerate"},
                                         std::vector<std::string>{"--join", "restart"},
                                         std::vector<std::string>{"--join", "restart-fallback"},
                                         std::vector<std::string>{"--join", "none"},
                                         std::vector<std::string>{"--iterations", "2", "--fans", "6"}),
                         testName);

} // namespace
