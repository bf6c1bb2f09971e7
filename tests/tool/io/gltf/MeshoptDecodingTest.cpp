// Buffer views compressed with meshopt: decoded on reading, written without compression.

#include "io/gltf/MeshoptDecoding.h"
#include "support/ReadBack.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <meshoptimizer.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;
using testing::Not;

constexpr const char* ext = "EXT_meshopt_compression";

std::string encodeVertices(const std::string& bytes, std::size_t stride) {
    const std::size_t count = bytes.size() / stride;
    std::string encoded(meshopt_encodeVertexBufferBound(count, stride), '\0');
    auto* const target = reinterpret_cast<unsigned char*>(encoded.data());
    encoded.resize(meshopt_encodeVertexBuffer(target, encoded.size(), bytes.data(), count, stride));
    return encoded;
}

std::string encodeIndices(const std::vector<std::uint16_t>& indices, bool triangles) {
    const std::vector<unsigned int> wide(indices.begin(), indices.end());
    std::string encoded(1000 + wide.size() * 8, '\0');
    auto* const target = reinterpret_cast<unsigned char*>(encoded.data());
    encoded.resize(triangles ? meshopt_encodeIndexBuffer(target, encoded.size(), wide.data(), wide.size())
                             : meshopt_encodeIndexSequence(target, encoded.size(), wide.data(), wide.size()));
    return encoded;
}

template <typename T>
std::string bytesOf(const std::vector<T>& values) {
    return {reinterpret_cast<const char*>(values.data()), values.size() * sizeof(T)};
}

class MeshoptDecoding : public testing::Test {
public:
    /// Puts encoded data in place of a view's, which then lies in a buffer without data.
    static void compress(GltfModel& model, std::size_t view, const std::string& encoded, Json how,
                         const char* name = ext) {
        const std::size_t size = model.json["bufferViews"][view]["byteLength"];
        model.json["buffers"][0]["byteLength"] = 0;
        Json& placeholder = model.json["buffers"][1];
        const std::size_t offset = placeholder.is_null() ? 0 : placeholder["byteLength"].get<std::size_t>();
        placeholder = {{"byteLength", offset + (size + 3) / 4 * 4}, {"extensions", {{name, {{"fallback", true}}}}}};
        how["buffer"] = 0;
        how["byteOffset"] = model.binary.size();
        how["byteLength"] = encoded.size();
        how["count"] = size / how["byteStride"].get<std::size_t>();
        model.binary += encoded;
        model.json["buffers"][0]["byteLength"] = model.binary.size();
        Json& target = model.json["bufferViews"][view];
        target["buffer"] = 1;
        target["byteOffset"] = offset;
        target["extensions"][name] = std::move(how);
        model.json["extensionsUsed"] = {name};
        model.json["extensionsRequired"] = {name};
    }

    /// A grid whose views are both compressed.
    static GltfModel compressedGrid(const char* name = ext) {
        const Grid grid = makeGrid(6, 6);
        GltfModel model = gridModel(6, 6);
        compress(model, 0, encodeVertices(bytesOf(grid.positions), 12), {{"mode", "ATTRIBUTES"}, {"byteStride", 12}},
                 name);
        compress(model, 1, encodeIndices(grid.indices, true), {{"mode", "TRIANGLES"}, {"byteStride", 2}}, name);
        return model;
    }

    ProcessResult strip(const GltfModel& model, int expectedCode = 0) {
        model.writeGlb(in);
        ProcessResult result = runForked({"strip", in, "-o", out});
        EXPECT_EQ(result.exitCode, expectedCode) << result.err;
        return result;
    }

    /// Decodes a view of its own with vertex data.
    std::string decoded(const std::string& bytes, std::size_t stride, const char* filter) {
        GltfModel model = gridModel(2, 2);
        const auto view = static_cast<std::size_t>(model.addView(bytes));
        compress(model, view, encodeVertices(bytes, stride),
                 {{"mode", "ATTRIBUTES"}, {"byteStride", stride}, {"filter", filter}}, "KHR_meshopt_compression");
        strip(model);
        const tinygltf::Model result = loadModel(out);
        const tinygltf::BufferView& output = result.bufferViews.at(view);
        const auto* data = result.buffers.at(0).data.data() + output.byteOffset;
        return {reinterpret_cast<const char*>(data), output.byteLength};
    }

    void expectPlainGrid() {
        gridModel(6, 6).writeGlb(directory / "plain.glb");
        expectSameTriangles(directory / "plain.glb", out);
        EXPECT_THAT(glbJson(out), Not(HasSubstr("meshopt")));
    }

    TemporaryDirectory directory;
    std::string in = (directory / "in.glb").string();
    std::string out = (directory / "out.glb").string();
};

TEST_F(MeshoptDecoding, ReadsVerticesAndTriangles) {
    for (const char* name : {ext, "KHR_meshopt_compression"}) {
        const ProcessResult result = strip(compressedGrid(name));
        EXPECT_EQ(result.err,
                  "vexamesh: warning: " + in + ": is compressed with " + name + "; files made of it are not\n");
        expectPlainGrid();
    }
}

TEST_F(MeshoptDecoding, ReadsIndexSequences) {
    GltfModel model = gridModel(6, 6);
    compress(model, 1, encodeIndices(makeGrid(6, 6).indices, false), {{"mode", "INDICES"}, {"byteStride", 2}});
    strip(model);
    expectPlainGrid();
}

TEST_F(MeshoptDecoding, TakesUncompressedDataWhereTheFileHasIt) {
    GltfModel model = gridModel(6, 6);
    Json& view = model.json["bufferViews"][0];
    // Nobody could decode this.
    view["extensions"][ext] = {{"buffer", 0}, {"byteLength", 1},  {"byteStride", 12},
                               {"count", 49}, {"mode", "FUTURE"}, {"filter", "NONE"}};
    model.json["extensionsUsed"] = {ext};
    strip(model);
    expectPlainGrid();
}

TEST_F(MeshoptDecoding, AppliesFilters) {
    // 2^-1 * 3 and 2^2 * -1
    EXPECT_EQ(decoded(bytesOf<std::int32_t>({-0x1000000 + 3, 0x2000000 + 0xffffff}), 4, "EXPONENTIAL"),
              bytesOf<float>({1.5F, -4.0F}));
    EXPECT_EQ(decoded(bytesOf<std::int8_t>({0, 0, 127, 5, 127, 0, 127, 6}), 4, "OCTAHEDRAL"),
              bytesOf<std::int8_t>({0, 0, 127, 5, 127, 0, 0, 6}));
    EXPECT_EQ(decoded(bytesOf<std::int16_t>({0, 0, 0, 32767}), 8, "QUATERNION"),
              bytesOf<std::int16_t>({0, 0, 0, 32767}));
    EXPECT_EQ(decoded(bytesOf<std::int8_t>({-1, 0, 0, -1, 64, 127, -64, -1}), 4, "COLOR"),
              bytesOf<std::uint8_t>({255, 255, 255, 255, 255, 0, 1, 255}));
    EXPECT_EQ(decoded(bytesOf<std::int16_t>({15, 0, 0, 8}), 8, "COLOR"),
              bytesOf<std::uint16_t>({65535, 65535, 65535, 0}));
}

TEST_F(MeshoptDecoding, RefusesWhatItCannotDecode) {
    const auto expectRefused = [&](const std::function<void(Json&)>& change, const std::string& reason) {
        GltfModel model = compressedGrid();
        change(model.json["bufferViews"][0]["extensions"][ext]);
        EXPECT_THAT(strip(model, 3).err, HasSubstr("bufferViews[0].extensions.EXT_meshopt_compression" + reason));
    };
    expectRefused([](Json& view) { view["mode"] = "ATOMS"; }, " has the mode \"ATOMS\"");
    expectRefused([](Json& view) { view["byteStride"] = 260; }, " has the mode \"ATTRIBUTES\" and the byteStride 260");
    expectRefused([](Json& view) { view["filter"] = "QUATERNION"; }, " has the filter \"QUATERNION\"");
    expectRefused([](Json& view) { view["count"] = 50; }, " does not have the size of its buffer view");
    expectRefused([](Json& view) { view["byteLength"] = 1e6; }, ".byteLength is not an unsigned integer");
    expectRefused([](Json& view) { view["byteLength"] = 1000000; }, " reaches beyond its buffer");
    expectRefused([](Json& view) { view["byteLength"] = view["byteLength"].get<int>() - 1; }, " is damaged");
    expectRefused([](Json& view) { view.erase("count"); }, ".count is missing");
    expectRefused([](Json& view) { view = 7; }, " is not an object");
}

TEST_F(MeshoptDecoding, RefusesNewerVertexData) {
    GltfModel model = compressedGrid("KHR_meshopt_compression");
    const Json& view = model.json["bufferViews"][0]["extensions"]["KHR_meshopt_compression"];
    model.binary[view["byteOffset"].get<std::size_t>()] = '\xa1';
    EXPECT_THAT(strip(model, 3).err, testing::AllOf(HasSubstr("has vertex data of version 1, which meshoptimizer 0."),
                                                    HasSubstr("write the file without compression")));
}

TEST_F(MeshoptDecoding, RefusesPlainViewsWithoutData) {
    GltfModel model = compressedGrid();
    model.json["bufferViews"][0].erase("extensions");
    EXPECT_THAT(strip(model, 3).err, HasSubstr("buffers[1] has no data"));
}

} // namespace
