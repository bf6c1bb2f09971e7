// Every glTF 2 and OBJ model of the package assimp-testmodels. Their contents, broken ones included, are known here, so
// that a tool which refuses all of them cannot pass.

#include "support/ReadBack.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sstream>

namespace {

using namespace tool_test;
namespace fs = std::filesystem;

const fs::path modelDirectory = "/usr/share/assimp/models";

/// Models that cannot be read, with the expected messages.
const std::map<std::string, std::string> refusals = {
    {"OBJ/box_UTF16BE.obj", "not an OBJ text: a zero byte at 2"},
    {"glTF2/BoxTextured-glTF-techniqueWebGL/BoxTextured.gltf", "requires the extension KHR_technique_webgl"},
    {"glTF2/IncorrectVertexArrays/Cube.gltf", "bufferViews[2] reaches to byte 936 of buffers[0], which has 514"},
    {"glTF2/IndexOutOfRange/AllIndicesOutOfRange.gltf", "the index 65535, but there are only 24 vertices"},
    {"glTF2/IndexOutOfRange/IndexOutOfRange.gltf", "the index 255, but there are only 24 vertices"},
    {"glTF2/MissingBin/BoxTextured.gltf", "BoxTextured0.bin: cannot be read: No such file"},
    {"glTF2/RecursiveNodes/RecursiveNodes.gltf", "nodes are children of themselves"},
    {"glTF2/SchemaFailures/sceneWrongType.gltf", "scene is not an unsigned integer"},
    {"glTF2/TestNoRootNode/NoScene.gltf", "scene is 0, but there are only 0"},
    {"glTF2/wrongTypes/badArray.gltf", "meshes[0].primitives is not an array"},
    {"invalid/empty.obj", "is empty"},
    {"invalid/malformed.obj", "vertex 0 is used, but they are counted from 1"},
};

std::vector<std::string> modelNames() {
    std::vector<std::string> names;
    for (const char* folder : {"glTF2", "OBJ", "invalid"}) {
        for (const auto& entry : fs::recursive_directory_iterator(modelDirectory / folder)) {
            const std::string extension = entry.path().extension().string();
            if (extension == ".glb" || extension == ".gltf" || extension == ".obj") {
                names.push_back(fs::relative(entry.path(), modelDirectory).string());
            }
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// Where the edges of oriented faces lead: each pair of positions with how often it is passed one way, less how often
/// the other way. However polygons are cut into triangles, this stays.
using Boundary = std::map<std::pair<Position, Position>, int>;

void addEdge(Boundary& boundary, const Position& from, const Position& to) {
    if (from == to) {
        return;
    }
    const bool forward = from < to;
    const auto key = forward ? std::pair(from, to) : std::pair(to, from);
    boundary[key] += forward ? 1 : -1;
    if (boundary[key] == 0) {
        boundary.erase(key);
    }
}

/// Corners of equal values are one vertex, so that triangles among them are degenerate and do not count.
bool hasEqualCorners(const OrientedTriangle& triangle) {
    return triangle[0] == triangle[1] || triangle[1] == triangle[2] || triangle[2] == triangle[0];
}

struct Faces {
    Boundary boundary;
    std::size_t triangles = 0;
};

/// A plain reader of the vertices and faces of OBJ files.
Faces readObjFaces(const fs::path& file) {
    std::istringstream lines(readText(file));
    std::vector<Position> positions;
    Faces faces;
    for (std::string line; std::getline(lines, line);) {
        std::istringstream words(line);
        std::string keyword;
        words >> keyword;
        if (keyword == "v") {
            std::array<float, 3> position{};
            for (float& value : position) {
                std::string number;
                words >> number;
                value = std::strtof(number.c_str(), nullptr);
            }
            positions.push_back({position[0], position[1], position[2]});
        } else if (keyword == "f") {
            std::vector<Position> polygon;
            for (std::string corner; words >> corner;) {
                const int index = std::stoi(corner);
                polygon.push_back(positions.at(index < 0 ? positions.size() + static_cast<std::size_t>(index)
                                                         : static_cast<std::size_t>(index) - 1));
            }
            for (std::size_t i = 0; i < polygon.size(); ++i) {
                addEdge(faces.boundary, polygon[i], polygon[(i + 1) % polygon.size()]);
            }
            const bool isDegenerate = polygon.size() == 3 && hasEqualCorners({polygon[0], polygon[1], polygon[2]});
            faces.triangles += isDegenerate ? 0 : std::max<std::size_t>(polygon.size(), 2) - 2;
        }
    }
    return faces;
}

Faces facesOf(const fs::path& glb) {
    const tinygltf::Model model = loadModel(glb);
    Faces faces;
    for (const tinygltf::Mesh& mesh : model.meshes) {
        for (const OrientedTriangle& triangle : trianglesOf(model, mesh)) {
            for (std::size_t i = 0; i < 3; ++i) {
                addEdge(faces.boundary, triangle[i], triangle[(i + 1) % 3]);
            }
            faces.triangles += hasEqualCorners(triangle) ? 0 : 1;
        }
    }
    return faces;
}

/// TinyGLTF does not decode its triangles.
constexpr const char* compressedModel = "glTF2/draco/2CylinderEngine.gltf";

/// Indices of all primitives, as the accessors of a glTF document declare them.
std::size_t declaredIndices(const Json& json) {
    std::size_t indices = 0;
    for (const Json& mesh : json["meshes"]) {
        for (const Json& primitive : mesh["primitives"]) {
            indices += json["accessors"][primitive["indices"].get<std::size_t>()]["count"].get<std::size_t>();
        }
    }
    return indices;
}

class Model : public testing::TestWithParam<std::string> {
public:
    TemporaryDirectory directory;
    fs::path out = directory / "out.glb";
    fs::path in = modelDirectory / GetParam();

    /// Fails the test unless the output has the triangles of a glTF model.
    void expectTrianglesOfTheModel() {
        if (GetParam() != compressedModel) {
            expectSameTriangles(in, out);
            return;
        }
        const fs::path plain = directory / "plain.glb";
        ASSERT_EQ(runForked({"unstrip", in.string(), "-o", plain.string()}).exitCode, 0);
        EXPECT_EQ(declaredIndices(Json::parse(glbJson(plain))), declaredIndices(Json::parse(readText(in))));
        expectSameTriangles(plain, out);
    }
};

TEST_P(Model, KeepsItsTrianglesOrIsRefusedForAKnownReason) {
    const ProcessResult result = runProgram({"strip", in.string(), "-o", out.string()});
    if (const auto refused = refusals.find(GetParam()); refused != refusals.end()) {
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_EQ(countOf(result.err, "\n"), 1u) << result.err;
        EXPECT_THAT(result.err, testing::HasSubstr(refused->second));
        EXPECT_FALSE(fs::exists(out));
        return;
    }
    ASSERT_EQ(result.exitCode, 0) << result.err;
    if (in.extension() == ".obj") {
        const Faces before = readObjFaces(in);
        const Faces after = facesOf(out);
        EXPECT_EQ(after.boundary, before.boundary);
        // One face of a model repeats its corners: triangles among the same corners are degenerate.
        if (GetParam() != "OBJ/box_longline.obj") {
            EXPECT_EQ(after.triangles, before.triangles);
        }
    } else {
        expectTrianglesOfTheModel();
    }
}

TEST_P(Model, SurvivesEveryOption) {
    const ProcessResult result = runForked({"strip", in.string(), "-o", out.string(), "--join", "none", "--fans", "5",
                                            "--all-strips", "--iterations", "3"});
    if (refusals.contains(GetParam())) {
        EXPECT_EQ(result.exitCode, 3);
        return;
    }
    ASSERT_EQ(result.exitCode, 0) << result.err;
    if (in.extension() == ".obj") {
        EXPECT_EQ(facesOf(out).boundary, readObjFaces(in).boundary);
    } else {
        expectTrianglesOfTheModel();
    }
    EXPECT_EQ(runForked({"info", out.string()}).exitCode, 0);
}

std::string testName(const testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Assimp, Model, testing::ValuesIn(modelNames()), testName);

TEST(Models, ListIsComplete) {
    const std::vector<std::string> names = modelNames();
    EXPECT_GE(names.size(), 60u);
    for (const auto& [name, reason] : refusals) {
        EXPECT_NE(std::find(names.begin(), names.end(), name), names.end()) << name;
    }
}

} // namespace
