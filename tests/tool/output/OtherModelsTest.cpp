// Every PLY, STL and OFF model of the package assimp-testmodels, compared with plain readers and with one another.

#include "support/ReadBack.h"
#include "support/ToolProcess.h"

#include <algorithm>
#include <cstring>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
namespace fs = std::filesystem;

const fs::path models = "/usr/share/assimp/models";

/// Triangles of each model, without those with two equal corners, of which Spider has 56.
const std::map<std::string, std::size_t> triangleCounts = {
    {"PLY/Wuson.ply", 3732},
    {"PLY/cube.ply", 12},
    {"PLY/cube_binary.ply", 12},
    {"PLY/cube_uv.ply", 12},
    {"PLY/float-color.ply", 1},
    {"PLY/points.ply", 0},
    {"STL/3DSMaxExport.STL", 2000},
    {"STL/Spider_ascii.stl", 1312},
    {"STL/Spider_binary.stl", 1312},
    {"STL/Wuson.stl", 3732},
    {"STL/sphereWithHole.stl", 285},
    {"STL/triangle.stl", 1},
    {"STL/triangle_with_empty_solid.stl", 1},
    {"STL/triangle_with_two_solids.stl", 2},
    {"OFF/Cube.off", 12},
    {"OFF/Wuson.off", 3732},
};

const std::map<std::string, std::string> refusals = {
    {"PLY/issue623.ply", "does not fit its type"},
    {"PLY/pond.0.ply", "announces 70051 entries of the element vertex, 70048 are there"},
    {"OFF/invalid.off", "line 6 is not a face"},
    {"invalid/OutOfMemory.off", "is cut off before all of its 353535235358 vertices"},
    {"invalid/empty.off", "is empty"},
    {"invalid/empty.ply", "is empty"},
};

class OtherModel : public testing::Test {
public:
    /// The oriented triangles of a model, once it is stripped.
    std::vector<OrientedTriangle> stripped(const std::string& name) {
        const ProcessResult result = runForked({"strip", (models / name).string(), "-o", out.string()});
        EXPECT_EQ(result.exitCode, 0) << result.err;
        std::vector<OrientedTriangle> triangles;
        if (result.exitCode == 0) {
            const tinygltf::Model model = loadModel(out);
            for (const tinygltf::Mesh& mesh : model.meshes) {
                if (mesh.primitives[0].mode != 0) {
                    const auto part = trianglesOf(model, mesh);
                    triangles.insert(triangles.end(), part.begin(), part.end());
                }
            }
        }
        std::sort(triangles.begin(), triangles.end());
        return triangles;
    }

    TemporaryDirectory directory;
    fs::path out = directory / "out.glb";
};

/// Each starting at its smallest corner, sorted; degenerate ones left out.
std::vector<OrientedTriangle> canonical(std::vector<OrientedTriangle> triangles) {
    for (OrientedTriangle& triangle : triangles) {
        std::rotate(triangle.begin(), std::min_element(triangle.begin(), triangle.end()), triangle.end());
    }
    std::erase_if(triangles, [](const OrientedTriangle& triangle) {
        return triangle[0] == triangle[1] || triangle[1] == triangle[2] || triangle[2] == triangle[0];
    });
    std::sort(triangles.begin(), triangles.end());
    return triangles;
}

std::vector<OrientedTriangle> readBinaryStl(const fs::path& file) {
    const std::string content = readText(file);
    std::vector<OrientedTriangle> triangles((content.size() - 84) / 50);
    for (std::size_t t = 0; t < triangles.size(); ++t) {
        std::array<float, 9> values{};
        std::memcpy(values.data(), content.data() + 84 + t * 50 + 12, sizeof values);
        for (std::size_t i = 0; i < values.size(); ++i) {
            triangles[t][i / 3][i % 3] = static_cast<double>(values[i]);
        }
    }
    return canonical(triangles);
}

std::vector<OrientedTriangle> readOff(const fs::path& file) {
    std::ifstream stream(file);
    std::string magic;
    std::size_t vertices = 0;
    std::size_t faces = 0;
    std::size_t edges = 0;
    stream >> magic >> vertices >> faces >> edges;
    std::vector<Position> positions(vertices);
    for (Position& position : positions) {
        for (double& value : position) {
            std::string number;
            stream >> number;
            value = static_cast<double>(std::strtof(number.c_str(), nullptr));
        }
    }
    std::vector<OrientedTriangle> triangles;
    for (std::size_t f = 0; f < faces; ++f) {
        std::size_t corners = 0;
        stream >> corners;
        std::vector<std::size_t> face(corners);
        for (std::size_t& corner : face) {
            stream >> corner;
        }
        for (std::size_t i = 2; i < corners; ++i) {
            triangles.push_back({positions.at(face[0]), positions.at(face[i - 1]), positions.at(face[i])});
        }
    }
    return canonical(triangles);
}

TEST_F(OtherModel, KeepsAllItsTriangles) {
    for (const auto& [name, count] : triangleCounts) {
        EXPECT_EQ(stripped(name).size(), count) << name;
    }
}

TEST_F(OtherModel, IsRefusedForAKnownReasonIfBroken) {
    for (const auto& [name, reason] : refusals) {
        const ProcessResult result = runForked({"strip", (models / name).string(), "-o", out.string()});
        EXPECT_EQ(result.exitCode, 3) << name;
        EXPECT_THAT(result.err, testing::HasSubstr(reason));
        EXPECT_EQ(countOf(result.err, "\n"), 1u);
    }
}

TEST_F(OtherModel, ListIsComplete) {
    std::size_t count = 0;
    for (const char* folder : {"PLY", "STL", "OFF", "invalid"}) {
        for (const auto& entry : fs::directory_iterator(models / folder)) {
            const std::string extension = entry.path().extension().string();
            const bool isOther =
                extension == ".ply" || extension == ".stl" || extension == ".STL" || extension == ".off";
            count += isOther ? 1 : 0;
        }
    }
    EXPECT_EQ(count, triangleCounts.size() + refusals.size());
}

TEST_F(OtherModel, BinaryStlIsReadBitForBit) {
    for (const char* name : {"STL/Spider_binary.stl", "STL/Wuson.stl", "STL/3DSMaxExport.STL"}) {
        EXPECT_EQ(stripped(name), readBinaryStl(models / name)) << name;
    }
}

TEST_F(OtherModel, OffMatchesAPlainReader) {
    for (const char* name : {"OFF/Cube.off", "OFF/Wuson.off"}) {
        const auto expected = readOff(models / name);
        const auto found = stripped(name);
        ASSERT_EQ(found.size(), expected.size());
        for (std::size_t i = 0; i < found.size(); ++i) {
            for (std::size_t c = 0; c < 9; ++c) {
                EXPECT_NEAR(found[i][c / 3][c % 3], expected[i][c / 3][c % 3], 1e-6);
            }
        }
    }
}

TEST_F(OtherModel, TextAndBinaryPlyOfACubeAreEqual) {
    EXPECT_EQ(stripped("PLY/cube.ply"), stripped("PLY/cube_binary.ply"));
}

} // namespace
