#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;

class BadInput : public testing::Test {
public:
    /// Expects one line that names the file and contains `what`, exit code 3 and no output.
    void expectRefused(const std::string& name, const std::string& content, const std::string& what) {
        const std::string in = (directory / name).string();
        const std::string out = (directory / "out.glb").string();
        writeText(in, content);
        const ProcessResult result = runForked({"strip", in, "-o", out});
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_EQ(result.out, "");
        EXPECT_EQ(countOf(result.err, "\n"), 1u) << result.err;
        EXPECT_THAT(result.err, HasSubstr(in));
        EXPECT_THAT(result.err, HasSubstr(what));
        EXPECT_FALSE(std::filesystem::exists(out));
    }

    /// The grid, with something in its document changed.
    void expectRefused(const std::function<void(Json&)>& change, const std::string& what) {
        GltfModel model = gridModel(2, 2);
        change(model.json);
        expectRefused("changed.glb", model.glb(), what);
    }

    TemporaryDirectory directory;
};

TEST_F(BadInput, RefusesBrokenContainers) {
    const std::string good = gridModel(2, 2).glb();
    expectRefused("empty.glb", "", "is empty");
    expectRefused("text.glb", "no model at all", "does not begin with \"glTF\"");
    expectRefused("cut.glb", good.substr(0, good.size() - 1), "the header declares");
    expectRefused("header.glb", good.substr(0, 10), "header is cut off");
    expectRefused("version.glb", std::string("glTF\3\0\0\0\x14\0\0\0", 12), "version 3");
    expectRefused("v1.gltf", R"({"asset":{"version":"1.0"}})", "glTF version 1.0");
    expectRefused("json.gltf", R"({"asset":)", "invalid JSON at byte 10");
    expectRefused("array.gltf", "[1, 2]", "is not an object");
    expectRefused("other.gltf", "{}", "\"asset\" is missing");
    expectRefused("deep.gltf", std::string(200000, '['), "nested");
    expectRefused("model.dae", "solid", "not a .glb, .gltf, .obj, .ply, .stl or .off file");
}

TEST_F(BadInput, ReportsMissingFiles) {
    const ProcessResult result = runForked({"strip", "/nowhere/a.glb", "-o", (directory / "out.glb").string()});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.err, HasSubstr("/nowhere/a.glb: cannot be read: No such file or directory"));
    expectRefused("a.gltf", R"({"asset":{"version":"2.0"},"buffers":[{"uri":"gone.bin","byteLength":4}]})", "gone.bin");
    std::filesystem::create_directory(directory / "folder.glb");
    EXPECT_THAT(runForked({"info", (directory / "folder.glb").string()}).err, HasSubstr("is a directory"));
    EXPECT_THAT(runForked({"info", "/dev/zero"}).err, HasSubstr("is not a regular file"));
}

TEST_F(BadInput, RefusesBrokenAccessors) {
    const auto accessor = [](std::size_t index, const char* key, const Json& value) {
        return [=](Json& json) { json["accessors"][index][key] = value; };
    };
    expectRefused(accessor(0, "count", 10), "accessors[0] reaches to byte 120 of bufferViews[0], which has 108");
    expectRefused(accessor(0, "byteOffset", 4), "accessors[0] reaches to byte 112");
    expectRefused(accessor(0, "count", 18446744073709551615U), "accessors[0].count");
    expectRefused(accessor(0, "count", 1e300), "accessors[0].count is not an unsigned integer");
    expectRefused(accessor(0, "count", -1), "accessors[0].count is not an unsigned integer");
    expectRefused(accessor(0, "count", 0), "accessors[0].count is 0");
    expectRefused(accessor(0, "bufferView", 7), "accessors[0].bufferView is 7, but there are only 2");
    expectRefused(accessor(0, "componentType", 5124), "accessors[0] has the componentType 5124");
    expectRefused(accessor(0, "type", "VEC9"), "the type \"VEC9\"");
    expectRefused(accessor(1, "componentType", 5126), "accessors[1] reaches");
    expectRefused(accessor(1, "type", "VEC2"), "accessors[1] reaches");
    expectRefused(
        [](Json& json) { json["accessors"][0].erase("bufferView"), json["accessors"][0]["count"] = 99999999; },
        "99999999 elements without data");
}

TEST_F(BadInput, RefusesBrokenSparseAccessors) {
    const auto sparse = [](const char* text) {
        return [=](Json& json) { json["accessors"][0]["sparse"] = Json::parse(text); };
    };
    expectRefused(sparse("{}"), "accessors[0].sparse.count is missing");
    expectRefused(sparse(R"({"count":10})"), "sparse.count is 10, more than");
    expectRefused(sparse(R"({"count":1,"indices":{"bufferView":1,"componentType":5126},"values":{"bufferView":0}})"),
                  "sparse.indices.componentType is 5126");
    expectRefused(sparse(R"({"count":9,"indices":{"bufferView":1,"componentType":5123},
                             "values":{"bufferView":0,"byteOffset":4}})"),
                  "sparse.values reaches to byte 112");
    // The indices of triangles serve as those of elements; the sixth of them is 4, of only 4 elements.
    GltfModel model = gridModel(2, 2);
    model.json["accessors"][0]["count"] = 4;
    model.json["accessors"][0]["sparse"] = Json::parse(
        R"({"count":4,"indices":{"bufferView":1,"byteOffset":6,"componentType":5123},"values":{"bufferView":0}})");
    model.json["accessors"][1]["count"] = 3;
    expectRefused("sparse.glb", model.glb(), "accessors[0].sparse.indices holds 4");
}

TEST_F(BadInput, RefusesBrokenBufferViewsAndBuffers) {
    expectRefused([](Json& json) { json["bufferViews"][0]["byteLength"] = 4000; }, "bufferViews[0] reaches");
    expectRefused([](Json& json) { json["bufferViews"][0]["byteOffset"] = 18446744073709551615U; }, "byteOffset");
    expectRefused([](Json& json) { json["bufferViews"][0]["byteStride"] = 8; }, "overlap at a byteStride of 8");
    expectRefused([](Json& json) { json["bufferViews"][0]["byteStride"] = 13; }, "byteStride is 13");
    expectRefused([](Json& json) { json["bufferViews"][0]["buffer"] = 1; }, "buffer is 1, but there are only 1");
    expectRefused([](Json& json) { json["buffers"] = Json::parse(R"([{"byteLength":9999}])"); },
                  "buffers[0] is cut off: 9999 bytes declared");
    expectRefused([](Json& json) { json["buffers"] = Json::parse(R"([{"byteLength":200},{"byteLength":1}])"); },
                  "buffers[1] has no data");
    expectRefused(
        [](Json& json) { json["buffers"] = Json::parse(R"([{"byteLength":200,"uri":"data:;base64,A?=="}])"); },
        "buffers[0] malformed base64");
}

TEST_F(BadInput, RefusesBrokenMeshesAndIndices) {
    const auto primitive = [](const char* key, const Json& value) {
        return [=](Json& json) { json["meshes"][0]["primitives"][0][key] = value; };
    };
    expectRefused(primitive("mode", 7), "meshes[0].primitives[0].mode is 7");
    expectRefused(primitive("indices", 5), "meshes[0].primitives[0].indices is 5");
    expectRefused(primitive("indices", 0), "does not hold indices");
    expectRefused(primitive("attributes", {{"POSITION", 9}}), "attributes.POSITION is 9");
    expectRefused(primitive("attributes", {{"POSITION", 1}}), "attributes.POSITION is not a VEC3");
    expectRefused(primitive("targets", Json::parse(R"([{"POSITION":44}])")), "targets[0].POSITION is 44");
    expectRefused([](Json& json) { json["meshes"][0].erase("primitives"); }, "meshes[0].primitives is missing");
    expectRefused([](Json& json) { json["accessors"][0]["count"] = 8; },
                  "accessors[1] holds at 22 the index 8, but there are only 8 vertices");
    expectRefused([](Json& json) { json["meshes"][0]["primitives"][0]["attributes"]["_A"] = 1; },
                  "has 24 elements, another attribute 9");
}

TEST_F(BadInput, RefusesTheRestartIndexAsAVertex) {
    GltfModel model;
    const int positions = model.addPositions(std::vector<float>(256 * 3, 0));
    model.addMesh(positions, model.addAccessor<std::uint8_t>({0, 1, 255}, 5121, "SCALAR"));
    expectRefused("restart.glb", model.glb(), "holds at 2 the restart index 255");
}

TEST_F(BadInput, RefusesExtensionsByName) {
    expectRefused([](Json& json) { json["extensionsRequired"] = {"ACME_other"}; }, "requires the extension ACME_other");
    expectRefused([](Json& json) { json["extensionsRequired"] = {"KHR_materials_nonsense"}; },
                  "requires the extension KHR_materials_nonsense");
}

TEST_F(BadInput, RefusesBrokenScenes) {
    expectRefused([](Json& json) { json["nodes"][0]["children"] = {0}; }, "children of themselves");
    expectRefused([](Json& json) { json["nodes"][0]["mesh"] = 3; }, "nodes[0].mesh is 3");
    expectRefused([](Json& json) { json["scene"] = 1; }, "scene is 1");
}

TEST_F(BadInput, RefusesBrokenObjFiles) {
    const std::string triangle = "v 0 0 0\nv 1 0 0\nv 0 1 0\n";
    expectRefused("a.obj", triangle + "f 1 2 4\n", "line 4: vertex 4 is used, but there are only 3");
    expectRefused("b.obj", triangle + "f 0 1 2\n", "line 4: vertex 0 is used, but they are counted from 1");
    expectRefused("c.obj", triangle + "f -1 -2 -4\n", "line 4: vertex -4 is out of range");
    expectRefused("e.obj", triangle + "f 1/x 2 3\n", "line 4: \"x\" is not an index");
    expectRefused("f.obj", "v 0 nan 0\n", "line 1: vertex 1 is not finite");
    expectRefused("g.obj", "v 0 0 0\nv 0 -inf 0\n", "line 2: vertex 2 is not finite");
    expectRefused("h.obj", "v 0 0 1e99\n", "line 1: vertex 1 is not finite");
    expectRefused("i.obj", "v 0 0 -1.#IND\n", "line 1: vertex 1 is not finite");
    expectRefused("j.obj", "v 0 zero 0\n", "line 1: \"zero\" is not a number");
    expectRefused("k.obj", "v 0 0\n", "line 1: vertex of 2 numbers");
    expectRefused("l.obj", "nothing\nof use\n", "holds no vertices");
    expectRefused("m.obj", std::string("v 0\0 0 0\n", 9), "a zero byte at 3");
    expectRefused("n.obj", triangle + "f 99999999999999999999 1 2\n", "is not an index");
}

TEST_F(BadInput, MessagesAreOneLineWhateverTheFileHolds) {
    expectRefused([](Json& json) { json["extensionsRequired"] = {"two\nlines\x1b[31m"}; }, "two?lines?[31m");
}

} // namespace
