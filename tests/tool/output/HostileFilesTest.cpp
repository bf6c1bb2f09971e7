// Files made to do harm, built one by one here: each is read, or refused with one line and exit code 3, in little memory.

#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <limits>
#include <string>
#include <vector>

namespace {

using namespace tool_test;

/// Everything that a value of a document may be replaced by: other types, and numbers at the limits of integers.
const std::vector<Json>& replacements() {
    static const std::vector<Json> all = {
        nullptr, true,  -1,     2147483648U,   4294967295U,    4294967296ULL,
        1.5,     1e308, "a\nb", Json::array(), Json::object(), Json::array({Json::array({-1, "x"})})};
    return all;
}

template <typename Number>
std::string bytesOf(std::initializer_list<Number> numbers) {
    std::string bytes;
    for (const Number number : numbers) {
        const std::size_t at = bytes.size();
        bytes.resize(at + sizeof number);
        std::memcpy(&bytes[at], &number, sizeof number);
    }
    return bytes;
}

constexpr float infinity = std::numeric_limits<float>::infinity();

std::string repeated(const std::string& text, std::size_t count) {
    std::string all;
    all.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i) {
        all += text;
    }
    return all;
}

class HostileFile : public testing::Test {
public:
    /// `make reliability` sums them.
    void TearDown() override { RecordProperty("files", files); }

    /// Expects an orderly end, whether the file is read or not.
    ProcessResult expectOrderlyEnd(const std::string& name, const std::string& content, const std::string& what = "") {
        const std::string in = (directory / name).string();
        const std::string out = (directory / "out.glb").string();
        writeText(in, content);
        const ProcessResult result = runForked({"strip", in, "-o", out});
        const std::string context = name + " " + what + ": " + result.err;
        EXPECT_EQ(result.signal, 0) << context;
        EXPECT_TRUE(result.exitCode == 0 || result.exitCode == 3) << context << result.exitCode;
        EXPECT_EQ(std::filesystem::exists(out), result.exitCode == 0) << context;
        if (result.exitCode != 0) {
            EXPECT_EQ(countOf(result.err, "\n"), 1u) << context;
            EXPECT_LE(result.err.size(), 1500u) << context;
            ++refused;
        }
        EXPECT_LE(result.maxMemory, memoryLimit) << context;
        std::filesystem::remove(out);
        std::filesystem::remove(in);
        ++files;
        return result;
    }

    void expectRefused(const std::string& name, const std::string& content) {
        EXPECT_EQ(expectOrderlyEnd(name, content).exitCode, 3) << name;
    }

    /// The file cut off at each of its bytes; in the short form at every fifth.
    void expectOrderlyEndAtEveryByte(const std::string& name, const std::string& content) {
        for (std::size_t size = 0; size < content.size(); size += isLong() ? 1 : 5) {
            expectOrderlyEnd(name, content.substr(0, size), "cut to " + std::to_string(size));
        }
    }

    /// Whether everything is to be tried, however long it takes.
    static bool isLong() { return std::getenv("VEXAMESH_LONG_TESTS") != nullptr; }

    TemporaryDirectory directory;
    int files = 0;
    int refused = 0;

private:
#if defined(__SANITIZE_ADDRESS__) || defined(__has_feature)
    static constexpr std::size_t memoryLimit = ~std::size_t{0}; ///< sanitizers take more than the program
#else
    static constexpr std::size_t memoryLimit = std::size_t{512} << 20;
#endif
};

/// Two nodes, a material, a texture and a skin, to have most kinds of reference.
GltfModel modelOfManyParts() {
    GltfModel model = gridModel(1, 1);
    const int picture = model.addView("\x89PNG\r\n\x1a\n");
    model.json["images"] = Json::array({{{"bufferView", picture}, {"mimeType", "image/png"}}});
    model.json["textures"] = Json::array({{{"source", 0}}});
    model.json["materials"] =
        Json::array({{{"pbrMetallicRoughness", {{"baseColorTexture", {{"index", 0}, {"texCoord", 0}}}}}}});
    model.primitive(0)["material"] = 0;
    model.json["nodes"].push_back({{"children", {0}}, {"translation", {1, 2, 3}}});
    model.json["scenes"] = Json::array({{{"nodes", {1}}}});
    model.json["scene"] = 0;
    return model;
}

/// The paths of all values of a document.
void listPaths(const Json& value, const Json::json_pointer& path, std::vector<Json::json_pointer>& paths) {
    if (!path.empty()) {
        paths.push_back(path);
    }
    if (value.is_object()) {
        for (const auto& [key, member] : value.items()) {
            listPaths(member, path / key, paths);
        }
    } else if (value.is_array()) {
        for (std::size_t i = 0; i < value.size(); ++i) {
            listPaths(value[i], path / i, paths);
        }
    }
}

TEST_F(HostileFile, HasAnyValueOfAnotherType) {
    const GltfModel model = modelOfManyParts();
    std::vector<Json::json_pointer> paths;
    listPaths(model.json, Json::json_pointer(), paths);
    std::size_t next = 0;
    for (const Json::json_pointer& path : paths) {
        // A few of the replacements for each value, in turn, so that every kind of member gets them all.
        const std::size_t count = isLong() ? replacements().size() : 2;
        for (std::size_t i = 0; i < count; ++i) {
            GltfModel changed = model;
            const Json& replacement = replacements()[next++ % replacements().size()];
            changed.json[path] = replacement;
            expectOrderlyEnd("type.glb", changed.glb(), path.to_string() + " = " + replacement.dump());
        }
    }
    EXPECT_GT(files, 100);
    EXPECT_GT(refused, files / 2);
}

TEST_F(HostileFile, LacksAnyMember) {
    const GltfModel model = modelOfManyParts();
    std::vector<Json::json_pointer> paths;
    listPaths(model.json, Json::json_pointer(), paths);
    for (const Json::json_pointer& path : paths) {
        GltfModel changed = model;
        Json& parent = changed.json[path.parent_pointer()];
        if (parent.is_object()) {
            parent.erase(path.back());
        } else {
            parent.erase(static_cast<std::size_t>(std::stoul(path.back())));
        }
        expectOrderlyEnd("lacking.glb", changed.glb(), path.to_string());
    }
    EXPECT_GT(refused, 10);
}

TEST_F(HostileFile, HasSizesThatOverflow) {
    const std::vector<std::pair<const char*, const char*>> members = {
        {"accessors", "byteOffset"},   {"accessors", "count"},        {"bufferViews", "byteOffset"},
        {"bufferViews", "byteLength"}, {"bufferViews", "byteStride"}, {"buffers", "byteLength"}};
    for (const auto& [array, member] : members) {
        for (const std::uint64_t size :
             {std::uint64_t{1} << 31, std::uint64_t{1} << 32, (std::uint64_t{1} << 32) - 1, std::uint64_t{1} << 62,
              (std::uint64_t{1} << 63) - 1, std::uint64_t{1} << 63, ~std::uint64_t{0}, ~std::uint64_t{0} - 11}) {
            GltfModel model = gridModel(1, 1);
            if (std::string(array) == "buffers") {
                model.json["buffers"] = Json::array({Json::object()});
            }
            model.json[array][0][member] = size;
            expectRefused("size.glb", model.glb());
        }
    }
}

TEST_F(HostileFile, HasNodesThatAreNoTree) {
    const auto withNodes = [&](const char* text) {
        GltfModel model = gridModel(1, 1);
        model.json["nodes"] = Json::parse(text);
        model.json["scenes"] = Json::parse(R"([{"nodes":[0]}])");
        return model.glb();
    };
    expectRefused("self.glb", withNodes(R"([{"children":[0]}])"));
    expectRefused("pair.glb", withNodes(R"([{"children":[1]},{"children":[0]}])"));
    expectRefused("triple.glb", withNodes(R"([{"children":[1]},{"children":[2]},{"children":[0]}])"));
    expectRefused("detached.glb", withNodes(R"([{"mesh":0},{"children":[2]},{"children":[1]}])"));
    expectRefused("twice.glb", withNodes(R"([{"children":[1,1]},{"mesh":0}])"));
    expectRefused("diamond.glb", withNodes(R"([{"children":[1,2]},{"children":[3]},{"children":[3]},{"mesh":0}])"));
}

TEST_F(HostileFile, IsNestedDeeply) {
    for (const std::size_t depth : {100U, 10000U, 1000000U}) {
        if (depth > 10000 && !isLong()) {
            continue;
        }
        const std::string arrays = repeated("[", depth) + repeated("]", depth);
        const std::string objects = repeated("{\"a\":", depth) + "1" + repeated("}", depth);
        expectOrderlyEnd("arrays.gltf", R"({"asset":{"version":"2.0"},"extras":)" + arrays + "}");
        expectOrderlyEnd("objects.gltf", R"({"asset":{"version":"2.0"},"extras":)" + objects + "}");
        expectRefused("open.gltf", R"({"asset":{"version":"2.0"},"extras":)" + repeated("[", depth));
        // A chain of nodes.
        if (depth <= 10000) {
            GltfModel model = gridModel(1, 1);
            model.json["nodes"] = Json::array({{{"mesh", 0}}});
            for (std::size_t i = 1; i < depth; ++i) {
                model.json["nodes"].push_back({{"children", {i - 1}}});
            }
            expectOrderlyEnd("chain.glb", model.glb());
        }
    }
}

TEST_F(HostileFile, AsksForMoreThanItHolds) {
    // Zeros without data, named by many accessors or spread by sparse ones.
    GltfModel model = gridModel(1, 1);
    model.json["accessors"].push_back({{"componentType", 5126}, {"count", 4294967295U}, {"type", "MAT4"}});
    model.primitive(0)["attributes"]["_A"] = model.json["accessors"].size() - 1;
    expectRefused("zeros.glb", model.glb());
    GltfModel many = gridModel(1, 1);
    for (int i = 0; i < 100; ++i) {
        many.json["accessors"].push_back({{"componentType", 5126}, {"count", 16000000}, {"type", "MAT4"}});
    }
    expectOrderlyEnd("many.glb", many.glb());
    // The same few bytes as thousands of primitives.
    GltfModel shared = gridModel(1, 1);
    for (int i = 0; i < 5000; ++i) {
        shared.json["meshes"][0]["primitives"].push_back(shared.primitive(0));
    }
    expectOrderlyEnd("shared.glb", shared.glb());
}

TEST_F(HostileFile, NamesFilesElsewhere) {
    writeText(directory / "inside.bin", std::string(100, '\0'));
    const auto withUri = [](const std::string& uri) {
        return R"({"asset":{"version":"2.0"},"buffers":[{"byteLength":4,"uri":)" + Json(uri).dump() + "}]}";
    };
    for (const char* uri : {"/etc/passwd",
                            "../../../../../../etc/passwd",
                            "..%2f..%2f..%2f..%2f..%2fetc%2fpasswd",
                            "%2fetc%2fpasswd",
                            "%2e%2e/%2e%2e/%2e%2e/%2e%2e/etc/passwd",
                            "./../inside.bin/../../../etc/passwd",
                            "file:///etc/passwd",
                            "file:/etc/passwd",
                            "FILE:///etc/passwd",
                            "http://localhost/a.bin",
                            "https://localhost/a.bin",
                            "//localhost/etc/passwd",
                            "/dev/zero",
                            "/dev/stdin",
                            "/proc/self/environ",
                            "/dev/fd/0",
                            "..",
                            ".",
                            "",
                            "inside.bin/",
                            "inside.bin%00.png",
                            "a\nb",
                            "..\\..\\etc\\passwd",
                            "C:\\a.bin",
                            "~/.profile",
                            "%",
                            "%zz",
                            "data:",
                            "data:,",
                            "data:;base64",
                            "data:;base64,====",
                            "data:;base64,AAAA",
                            "data:application/octet-stream,AAAA",
                            "data:;base64,AAAAAAA\n",
                            "javascript:1"}) {
        expectRefused("uri.gltf", withUri(uri));
    }
    expectRefused("long.gltf", withUri(std::string(100000, 'a')));
    std::filesystem::create_symlink("/etc/passwd", directory / "link.bin");
    expectRefused("link.gltf", withUri("link.bin"));
    std::filesystem::create_symlink("loop.bin", directory / "loop.bin");
    expectRefused("loop.gltf", withUri("loop.bin"));
    EXPECT_GE(refused, 38);
}

TEST_F(HostileFile, HoldsNumbersThatAreNone) {
    const float values[] = {infinity, -infinity, std::numeric_limits<float>::quiet_NaN(), 1e-45F, -0.0F, 3e38F};
    for (const float value : values) {
        for (std::size_t i = 0; i < 9; i += 4) {
            std::vector<float> positions = {0, 0, 0, 1, 0, 0, 0, 1, 0};
            positions[i] = value;
            GltfModel model;
            model.addMesh(model.addAccessor(positions, 5126, "VEC3"), model.addIndices({0, 1, 2}));
            expectOrderlyEnd("float.glb", model.glb());
            const std::string facet = bytesOf({0.0F, 0.0F, 1.0F}) +
                                      std::string(reinterpret_cast<const char*>(positions.data()), 36) +
                                      std::string(2, '\0');
            expectOrderlyEnd("float.stl", std::string(80, ' ') + bytesOf<std::uint32_t>({1}) + facet);
        }
    }
    for (const char* text : {"nan", "inf", "-inf", "1e999", "-1e999", "1e-999", "0x1p3", "1,5", "--1", "1e", "."}) {
        const std::string number = text;
        expectOrderlyEnd("a.obj", "v " + number + " 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
        expectOrderlyEnd("a.off", "OFF\n3 1 0\n" + number + " 0 0\n1 0 0\n0 1 0\n3 0 1 2\n");
        expectOrderlyEnd("a.stl", "solid\nfacet normal 0 0 1\nouter loop\nvertex " + number +
                                      " 0 0\nvertex 1 0 0\nvertex 0 1 0\nendloop\nendfacet\nendsolid\n");
        expectOrderlyEnd("a.ply", "ply\nformat ascii 1.0\nelement vertex 3\nproperty float x\nproperty float y\n"
                                  "property float z\nelement face 1\nproperty list uchar int vertex_indices\n"
                                  "end_header\n" +
                                      number + " 0 0\n1 0 0\n0 1 0\n3 0 1 2\n");
    }
}

TEST_F(HostileFile, AnnouncesMoreElementsThanItHolds) {
    for (const char* count : {"2147483647", "2147483648", "4294967295", "4294967296", "18446744073709551615",
                              "18446744073709551616", "-1", "1e9", "99999999999999999999999999"}) {
        const std::string n = count;
        expectRefused("a.off", "OFF\n" + n + " 1 0\n0 0 0\n");
        expectRefused("b.off", "OFF\n3 " + n + " 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n");
        expectRefused("c.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n" + n + " 0 1 2\n");
        for (const char* format : {"ascii", "binary_little_endian", "binary_big_endian"}) {
            const std::string header = std::string("ply\nformat ") + format + " 1.0\n";
            expectRefused("a.ply", header + "element vertex " + n + "\nproperty float x\nend_header\n0");
            expectRefused("b.ply", header + "element face " + n +
                                       "\nproperty list uint int vertex_indices\nend_header\n\xff\xff\xff\xff");
        }
        expectRefused("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 " + n + "0\n");
    }
    for (const std::uint32_t count : {2U, 0x80000000U, 0xffffffffU, 85899345U}) {
        expectRefused("a.stl", std::string(80, ' ') + bytesOf({count}) + std::string(50, '\0'));
    }
    for (const std::uint32_t length : {0U, 11U, 0x7fffffffU, 0x80000000U, 0xffffffffU}) {
        std::string glb = gridModel(1, 1).glb();
        std::memcpy(&glb[8], &length, sizeof length);
        expectRefused("length.glb", glb);
        glb = gridModel(1, 1).glb();
        std::memcpy(&glb[12], &length, sizeof length);
        expectRefused("chunk.glb", glb);
    }
}

TEST_F(HostileFile, IsCutOffAtAnyByte) {
    expectOrderlyEndAtEveryByte("a.obj", "mtllib a.mtl\nv 0 0 0\nv 1 0 0\nv 0 1 0\nvt 0 0\nusemtl b\nf 1/1 2/1 -1/1\n");
    expectOrderlyEndAtEveryByte("a.off", "COFF # a\n3 1 0\n0 0 0 1 0 0 1\n1 0 0 0 1 0 1\n0 1 0 0 0 1 1\n3 0 1 2\n");
    expectOrderlyEndAtEveryByte("text.stl", "solid a\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\n"
                                            "vertex 0 1 0\nendloop\nendfacet\nendsolid a\n");
    expectOrderlyEndAtEveryByte("binary.stl", std::string(80, ' ') + bytesOf<std::uint32_t>({1}) +
                                                  bytesOf<float>({0, 0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0}) +
                                                  std::string(2, '\0'));
}

TEST_F(HostileFile, IsPlyCutOffAtAnyByte) {
    const std::string header = " 1.0\nelement vertex 3\nproperty float x\nproperty float y\nproperty float z\n"
                               "element face 1\nproperty list uchar int vertex_indices\nend_header\n";
    expectOrderlyEndAtEveryByte("text.ply", "ply\nformat ascii" + header + "0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n");
    expectOrderlyEndAtEveryByte("binary.ply", "ply\nformat binary_little_endian" + header +
                                                  bytesOf<float>({0, 0, 0, 1, 0, 0, 0, 1, 0}) + "\3" +
                                                  bytesOf<std::int32_t>({0, 1, 2}));
}

TEST_F(HostileFile, IsGltfTextCutOffAtAnyByte) {
    GltfModel model;
    model.addMesh(model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0}), model.addIndices({0, 1, 2}));
    model.writeGltf(directory / "whole.gltf", "whole.bin");
    expectOrderlyEndAtEveryByte("cut.gltf", readText(directory / "whole.gltf"));
    EXPECT_GE(refused, files - 1); // the last byte may be a line feed
}

TEST_F(HostileFile, HasLinesWithoutEnd) {
    const std::string longLine(1000000, '9');
    expectOrderlyEnd("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3 " + longLine);
    expectOrderlyEnd("b.obj", "# " + longLine + "\nv 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3");
    expectOrderlyEnd("c.obj", repeated("v 0 0 0 \\\n", 20000));
    expectOrderlyEnd("d.obj", repeated("mtllib d.obj\nusemtl a\n", 1000) + "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3");
    expectOrderlyEnd("a.off", "OFF " + longLine);
    expectOrderlyEnd("a.stl", "solid " + longLine);
    expectOrderlyEnd("a.ply", "ply\nformat ascii 1.0\ncomment " + longLine);
    expectOrderlyEnd("b.ply", "ply\nformat ascii 1.0\n" + repeated("element a 0\n", 100000) + "end_header\n");
    expectOrderlyEnd("c.ply", "ply\nformat ascii 1.0\nelement vertex 1\n" + repeated("property float x\n", 100000) +
                                  "end_header\n");
}

TEST(HostileOutput, ThatIsAnotherNameOfTheInputIsRefused) {
    const TemporaryDirectory directory;
    gridModel(1, 1).writeGlb(directory / "in.glb");
    const std::string before = readText(directory / "in.glb");
    std::filesystem::create_hard_link(directory / "in.glb", directory / "hard.glb");
    std::filesystem::create_symlink("in.glb", directory / "soft.glb");
    std::filesystem::create_directory_symlink(".", directory / "here");
    for (const char* name : {"in.glb", "./in.glb", "hard.glb", "soft.glb", "here/in.glb", "here/here/hard.glb"}) {
        for (const char* verb : {"strip", "unstrip", "merge", "edges"}) {
            const ProcessResult result =
                runForked({verb, (directory / "in.glb").string(), "-o", (directory / name).string()});
            EXPECT_EQ(result.exitCode, 2) << verb << " " << name << result.err;
            EXPECT_EQ(readText(directory / "in.glb"), before);
        }
    }
}

TEST(HostileOutput, ThroughALinkToNowhereLeavesNothing) {
    const TemporaryDirectory directory;
    gridModel(1, 1).writeGlb(directory / "in.glb");
    std::filesystem::create_symlink("missing/out.glb", directory / "dangling.glb");
    std::filesystem::create_symlink("loop.glb", directory / "loop.glb");
    for (const char* name : {"dangling.glb", "loop.glb"}) {
        const ProcessResult result =
            runForked({"strip", (directory / "in.glb").string(), "-o", (directory / name).string()});
        EXPECT_EQ(result.signal, 0) << name;
        EXPECT_TRUE(result.exitCode == 2 || result.exitCode == 3) << name << result.exitCode << result.err;
        EXPECT_EQ(countOf(result.err, "\n"), 1u) << result.err;
    }
    EXPECT_THAT(directory.files(), testing::ElementsAre("dangling.glb", "in.glb", "loop.glb"));
}

} // namespace
