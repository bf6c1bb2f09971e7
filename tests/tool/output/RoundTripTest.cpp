// Every model of the package assimp-testmodels that can be read, turned into strips and back: its oriented triangles, lines
// and points keep all of their attributes, and whatever is missing is listed.

#include "support/CommandTest.h"
#include "support/ReadBack.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <cstring>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using namespace tool_test;
namespace fs = std::filesystem;

const fs::path modelDirectory = "/usr/share/assimp/models";

const std::vector<std::string> formats = {".glb", ".gltf", ".obj", ".ply", ".stl", ".off"};

std::vector<std::string> modelNames() {
    std::vector<std::string> names;
    for (const char* folder : {"glTF2", "OBJ", "PLY", "STL", "OFF", "invalid"}) {
        for (const auto& entry : fs::recursive_directory_iterator(modelDirectory / folder)) {
            std::string extension = entry.path().extension().string();
            std::transform(extension.begin(), extension.end(), extension.begin(),
                           [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c + 32) : c; });
            if (std::find(formats.begin(), formats.end(), extension) != formats.end()) {
                names.push_back(fs::relative(entry.path(), modelDirectory).string());
            }
        }
    }
    std::sort(names.begin(), names.end());
    return names;
}

/// The bytes of an element of an accessor, its sparse value included.
std::string elementOf(const tinygltf::Model& model, int accessorIndex, std::size_t element) {
    const auto& accessor = model.accessors.at(static_cast<std::size_t>(accessorIndex));
    const auto size =
        static_cast<std::size_t>(tinygltf::GetComponentSizeInBytes(static_cast<std::uint32_t>(accessor.componentType)) *
                                 tinygltf::GetNumComponentsInType(static_cast<std::uint32_t>(accessor.type)));
    const auto bytesAt = [&](int viewIndex, std::size_t offset, std::size_t count) {
        const auto& view = model.bufferViews.at(static_cast<std::size_t>(viewIndex));
        const auto& data = model.buffers.at(static_cast<std::size_t>(view.buffer)).data;
        const auto* begin = reinterpret_cast<const char*>(data.data()) + view.byteOffset + offset;
        return std::string(begin, begin + count);
    };
    std::string bytes(size, '\0');
    if (accessor.bufferView >= 0) {
        const auto& view = model.bufferViews.at(static_cast<std::size_t>(accessor.bufferView));
        bytes = bytesAt(accessor.bufferView,
                        accessor.byteOffset + element * static_cast<std::size_t>(accessor.ByteStride(view)), size);
    }
    for (int i = 0; accessor.sparse.isSparse && i < accessor.sparse.count; ++i) {
        const auto& sparse = accessor.sparse;
        const auto width = static_cast<std::size_t>(
            tinygltf::GetComponentSizeInBytes(static_cast<std::uint32_t>(sparse.indices.componentType)));
        const auto at = static_cast<std::size_t>(i);
        std::string number =
            bytesAt(sparse.indices.bufferView, static_cast<std::size_t>(sparse.indices.byteOffset) + at * width, width);
        number.resize(sizeof(std::uint32_t), '\0');
        std::uint32_t index = 0;
        std::memcpy(&index, number.data(), sizeof index);
        if (index == element) {
            bytes =
                bytesAt(sparse.values.bufferView, static_cast<std::size_t>(sparse.values.byteOffset) + at * size, size);
        }
    }
    return bytes;
}

/// The attributes and morph targets of the vertices of a primitive, each as a text.
std::vector<std::string> vertexTexts(const tinygltf::Model& model, const tinygltf::Primitive& primitive) {
    std::vector<std::string> texts;
    const auto append = [&](const std::string& name, int accessor) {
        texts.resize(std::max(texts.size(), model.accessors.at(static_cast<std::size_t>(accessor)).count));
        for (std::size_t v = 0; v < texts.size(); ++v) {
            texts[v] += name + '=' + elementOf(model, accessor, v) + ' ';
        }
    };
    for (const auto& [name, accessor] : primitive.attributes) {
        append(name, accessor);
    }
    for (const auto& target : primitive.targets) {
        for (const auto& [name, accessor] : target) {
            append("target " + name, accessor);
        }
    }
    return texts;
}

/// The smallest rotation of a triangle: corners may be equal.
std::vector<std::string> firstRotation(std::vector<std::string> triangle) {
    std::vector<std::string> first = triangle;
    for (int i = 0; i < 2; ++i) {
        std::rotate(triangle.begin(), triangle.begin() + 1, triangle.end());
        first = std::min(first, triangle);
    }
    return first;
}

/// The points, lines and triangles of a mesh with their materials, sorted.
std::vector<std::vector<std::string>> elementsOf(const tinygltf::Model& model, const tinygltf::Mesh& mesh) {
    std::vector<std::vector<std::string>> elements;
    for (const auto& primitive : mesh.primitives) {
        const std::vector<std::size_t> indices = indicesOf(model, primitive);
        const std::vector<std::string> texts = vertexTexts(model, primitive);
        const std::string material = std::to_string(primitive.material);
        if (primitive.mode < TINYGLTF_MODE_TRIANGLES) {
            // These stay as they are.
            elements.push_back({material, std::to_string(primitive.mode)});
            for (const std::size_t index : indices) {
                elements.back().push_back(texts.at(index));
            }
            continue;
        }
        for (std::size_t i = 0; i + 2 < indices.size();) {
            std::array<std::size_t, 3> corners{indices[i], indices[i + 1], indices[i + 2]};
            if (primitive.mode == TINYGLTF_MODE_TRIANGLE_STRIP && i % 2 == 1) {
                std::swap(corners[0], corners[1]);
            } else if (primitive.mode == TINYGLTF_MODE_TRIANGLE_FAN) {
                corners[0] = indices[0];
            }
            i += primitive.mode == TINYGLTF_MODE_TRIANGLES ? 3 : 1;
            if (corners[0] != corners[1] && corners[1] != corners[2] && corners[2] != corners[0]) {
                std::vector<std::string> triangle =
                    firstRotation({texts.at(corners[0]), texts.at(corners[1]), texts.at(corners[2])});
                triangle.push_back(material);
                elements.push_back(std::move(triangle));
            }
        }
    }
    std::sort(elements.begin(), elements.end());
    return elements;
}

/// Everything of a glTF document that has nothing to do with indices: with counts for what refers to data.
Json carriedAlong(Json json) {
    for (const char* part : {"accessors", "bufferViews", "buffers", "extensionsUsed", "extensionsRequired"}) {
        json.erase(part);
    }
    // The program that wrote the file.
    json["asset"].erase("generator");
    for (const char* part : {"images", "meshes", "skins", "animations"}) {
        if (json.contains(part)) {
            json[part] = json[part].size();
        }
    }
    return json;
}

class RoundTrip : public CommandTest, public testing::WithParamInterface<std::string> {
public:
    /// The file that a verb makes.
    std::string make(const std::string& name, std::vector<std::string> arguments) {
        std::string file = (directory / name).string();
        arguments.insert(arguments.end(), {"-o", file, "--json"});
        leftOut = Json::parse(run(arguments, 0).out)["leftOut"];
        return file;
    }

    void expectSameContent(const std::string& before, const std::string& after) {
        const tinygltf::Model expected = loadModel(before);
        const tinygltf::Model actual = loadModel(after);
        ASSERT_EQ(actual.meshes.size(), expected.meshes.size());
        for (std::size_t m = 0; m < expected.meshes.size(); ++m) {
            EXPECT_TRUE(elementsOf(actual, actual.meshes[m]) == elementsOf(expected, expected.meshes[m])) << m;
        }
    }

    std::string in = (modelDirectory / GetParam()).string();
    Json leftOut;
};

TEST_P(RoundTrip, KeepsEverythingThatIsNotListed) {
    const ProcessResult info = runForked({"info", in, "--json"});
    if (info.exitCode == 3) {
        // The suites of the models know the reasons.
        EXPECT_EQ(runForked({"strip", in, "-o", out}).exitCode, 3);
        return;
    }
    ASSERT_EQ(info.exitCode, 0) << info.err;
    const Json listed = Json::parse(info.out)["files"][0]["leftOut"];
    // Nothing but reading: every list of triangles stays as it is.
    const std::string plain = make("plain.glb", {"unstrip", in});
    EXPECT_EQ(leftOut, listed);
    EXPECT_EQ(countOf(info.err, "left out: "), listed.size());
    const bool isGltf = GetParam().ends_with(".gltf") || GetParam().ends_with(".glb");
    const bool isCompressed = info.err.find("is compressed with") != std::string::npos;
    if (isGltf && !isCompressed) {
        expectSameContent(in, plain);
    }
    for (const char* join : {"degenerate", "restart"}) {
        const std::string strips = make("strips.glb", {"strip", plain, "--join", join});
        EXPECT_EQ(leftOut, Json::array());
        const std::string back = make("back.glb", {"unstrip", strips});
        EXPECT_EQ(leftOut, Json::array());
        expectSameContent(plain, back);
        EXPECT_EQ(carriedAlong(Json::parse(glbJson(back))), carriedAlong(Json::parse(glbJson(plain))));
    }
    if (isGltf && GetParam().ends_with(".gltf") && !isCompressed) {
        const Json before = Json::parse(readText(in), nullptr, true, true);
        EXPECT_EQ(carriedAlong(Json::parse(glbJson(plain))), carriedAlong(before));
    }
}

std::string testName(const testing::TestParamInfo<std::string>& info) {
    std::string name = info.param;
    std::replace_if(
        name.begin(), name.end(), [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
    return name;
}

INSTANTIATE_TEST_SUITE_P(Assimp, RoundTrip, testing::ValuesIn(modelNames()), testName);

TEST(RoundTrips, AreThoseOfAllFormats) {
    const std::vector<std::string> names = modelNames();
    EXPECT_GE(names.size(), 80u);
    for (const std::string& format : formats) {
        EXPECT_TRUE(std::any_of(names.begin(), names.end(), [&](const std::string& name) {
            return name.ends_with(format);
        })) << format;
    }
}

TEST(RoundTrips, NoticeAChangedAttribute) {
    const TemporaryDirectory directory;
    GltfModel model = gridModel(2, 2);
    model.writeGlb(directory / "before.glb");
    model.binary[3 * sizeof(float) * 4] ^= 1;
    model.writeGlb(directory / "after.glb");
    const tinygltf::Model before = loadModel(directory / "before.glb");
    const tinygltf::Model after = loadModel(directory / "after.glb");
    EXPECT_FALSE(elementsOf(before, before.meshes[0]) == elementsOf(after, after.meshes[0]));
}

} // namespace
