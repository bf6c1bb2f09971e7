// Every PLY, STL, OFF and OBJ model of the package assimp-testmodels that can be read: stripped and turned back into
// triangles it has the same triangles with the same attributes, and what is left out of it is known here.

#include "io/Document.h"
#include "support/ToolProcess.h"

#include <algorithm>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>

namespace {

using namespace tool_test;
using vexa::tool::Document;
namespace fs = std::filesystem;
namespace mesh = vexa::mesh;

const fs::path models = "/usr/share/assimp/models";

/// Models of which something is left out, and what.
const std::map<std::string, std::vector<std::string>> leftOut = {
    {"PLY/Wuson.ply", {"line 3 of the header, whose keyword is unknown"}},
    {"STL/Wuson.stl", {"attribute bytes of 3732 facets, which are not colours"}},
    {"STL/triangle_with_empty_solid.stl", {"solid \"emptySolid\": it has no facets"}},
    {"OBJ/box_mat_with_spaces.obj", {"values of materials: Ka, Ks, Ns", "11 materials that no face uses"}},
    {"OBJ/cube_mtllib_after_g.obj",
     {"material library /usr/share/assimp/models/OBJ/cube_mtllib_after_g.mat: cannot be read: No such file or "
      "directory"}},
    {"OBJ/cube_usemtl.obj", {"values of materials: Ks, Ns"}},
    {"OBJ/multiple_spaces.obj", {"4 third texture coordinates", "vertices that no face uses: 1"}},
    {"OBJ/number_formats.obj", {"vertices that no face uses: 12"}},
    {"OBJ/regr01.obj", {"10 third texture coordinates", "values of materials: Ka, Ks, Ns"}},
    {"OBJ/regr_3429812.obj", {"values of materials: Km, Ks, Ns"}},
    {"OBJ/spider.obj",
     {"normals of 52 faces: some of them are missing or have no direction", "values of materials: Ka",
      "1 material that no face uses"}},
};

std::vector<std::string> readableModels() {
    std::vector<std::string> names;
    for (const char* folder : {"PLY", "STL", "OFF", "OBJ"}) {
        for (const auto& entry : fs::directory_iterator(models / folder)) {
            const std::string extension = entry.path().extension().string();
            const bool isModel = extension == ".ply" || extension == ".stl" || extension == ".STL" ||
                                 extension == ".off" || extension == ".obj";
            if (isModel && runForked({"info", entry.path().string()}).exitCode == 0) {
                names.push_back(std::string(folder) + "/" + entry.path().filename().string());
            }
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// All values of a vertex: the numbers of each attribute, in the order of the attributes' names.
using Vertex = std::vector<double>;

std::vector<Vertex> verticesOf(const Document& document, const vexa::tool::Primitive& primitive) {
    std::map<std::string, std::size_t> accessors;
    for (const vexa::tool::Attribute& attribute : primitive.attributes) {
        accessors[attribute.name] = attribute.accessor;
    }
    std::vector<Vertex> vertices(primitive.vertices);
    for (const auto& [name, accessor] : accessors) {
        const auto data = vexa::tool::readAccessor(document.asset, accessor);
        for (std::size_t i = 0; i < vertices.size(); ++i) {
            for (std::size_t c = 0; c < data.components; ++c) {
                vertices[i].push_back(data.component(i, c));
            }
        }
    }
    return vertices;
}

/// The oriented triangles, lines and points of a document, sorted, each of all values of its corners; triangles from
/// their least corner on. Those of which two corners are the same vertex do not count.
std::vector<std::vector<Vertex>> elementsOf(const Document& document) {
    std::vector<std::vector<Vertex>> elements;
    for (const vexa::tool::Mesh& mesh : document.meshes) {
        for (const vexa::tool::Primitive& primitive : mesh.primitives) {
            const std::vector<Vertex> vertices = verticesOf(document, primitive);
            const std::size_t size = primitive.type == mesh::TRIANGLES ? 3 : primitive.type == mesh::LINES ? 2 : 1;
            for (std::size_t i = 0; i + size <= primitive.indices.size(); i += size) {
                std::vector<Vertex> element;
                for (std::size_t c = i; c < i + size; ++c) {
                    element.push_back(vertices.at(primitive.indices[c]));
                }
                std::rotate(element.begin(),
                            size == 3 ? std::min_element(element.begin(), element.end()) : element.begin(),
                            element.end());
                const bool isDegenerate =
                    size == 3 && (element[0] == element[1] || element[1] == element[2] || element[2] == element[0]);
                if (!isDegenerate) {
                    elements.push_back(std::move(element));
                }
            }
        }
    }
    std::sort(elements.begin(), elements.end());
    return elements;
}

/// The materials as text; bytes of names that are not UTF-8 are replaced, as they are in files.
std::string materialsOf(const Document& document) {
    using Json = nlohmann::ordered_json;
    return document.asset.json.value("materials", Json()).dump(1, ' ', false, Json::error_handler_t::replace);
}

class ImportedModel : public testing::Test {
public:
    TemporaryDirectory directory;
    fs::path strips = directory / "strips.glb";
    fs::path triangles = directory / "triangles.glb";
};

TEST_F(ImportedModel, ComesBackFromStripsWithAllAttributes) {
    const std::vector<std::string> names = readableModels();
    EXPECT_GE(names.size(), 35u);
    for (const std::string& name : names) {
        ASSERT_EQ(runForked({"strip", (models / name).string(), "-o", strips.string()}).exitCode, 0) << name;
        ASSERT_EQ(runForked({"unstrip", strips.string(), "-o", triangles.string()}).exitCode, 0) << name;
        const Document before = vexa::tool::loadDocument(models / name);
        const Document after = vexa::tool::loadDocument(triangles);
        EXPECT_TRUE(elementsOf(after) == elementsOf(before)) << name;
        EXPECT_EQ(materialsOf(after), materialsOf(before)) << name;
    }
}

TEST_F(ImportedModel, LosesNothingThatIsNotNamed) {
    for (const std::string& name : readableModels()) {
        const auto expected = leftOut.find(name);
        EXPECT_EQ(vexa::tool::loadDocument(models / name).asset.leftOut,
                  expected == leftOut.end() ? std::vector<std::string>() : expected->second)
            << name;
        EXPECT_EQ(runForked({"info", (models / name).string(), "--strict"}).exitCode,
                  expected == leftOut.end() ? 0 : 1);
    }
}

} // namespace
