#include "io/Accessors.h"

#include "base/Errors.h"
#include "support/Documents.h"

#include <gtest/gtest.h>

namespace {

using namespace tool_test;
using vexa::tool::AccessorData;
using vexa::tool::FormatError;
using vexa::tool::readAccessor;
using vexa::tool::readIndices;

using Values = std::vector<double>;

Values valuesOf(const AccessorData& data) {
    Values values;
    for (std::size_t i = 0; i < data.count; ++i) {
        for (std::size_t c = 0; c < data.components; ++c) {
            values.push_back(data.component(i, c));
        }
    }
    return values;
}

/// A triangle without indices, with one more accessor that nothing refers to.
GltfModel modelWith(const Json& accessor) {
    GltfModel model;
    model.addMesh(model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0}), -1);
    model.json["accessors"].push_back(accessor);
    return model;
}

Values readSecond(const GltfModel& model) {
    return valuesOf(readAccessor(documentOf(model).asset, 1));
}

TEST(ReadAccessor, SkipsTheBytesBetweenElements) {
    GltfModel model = modelWith({{"componentType", 5123}, {"count", 3}, {"type", "VEC2"}, {"byteOffset", 2}});
    const std::vector<std::uint16_t> stored{9, 1, 2, 9, 9, 9, 9, 3, 4, 9, 9, 9, 9, 5, 6, 9};
    const int view = model.addView({reinterpret_cast<const char*>(stored.data()), stored.size() * 2});
    model.json["bufferViews"][static_cast<std::size_t>(view)]["byteStride"] = 12;
    model.json["accessors"][1]["bufferView"] = view;
    EXPECT_EQ(readSecond(model), (Values{1, 2, 3, 4, 5, 6}));
}

TEST(ReadAccessor, GivesZerosWithoutABufferView) {
    EXPECT_EQ(readSecond(modelWith({{"componentType", 5126},
                                    {"count", 2},
                                    {"type", "SCALAR"},
                                    {"sparse",
                                     {{"count", 1},
                                      {"indices", {{"bufferView", 0}, {"componentType", 5121}}},
                                      {"values", {{"bufferView", 0}, {"byteOffset", 12}}}}}})),
              (Values{1, 0}));
}

TEST(ReadAccessor, ReplacesSparseElements) {
    GltfModel model = modelWith({});
    model.json["accessors"].erase(1);
    model.addAccessor(std::vector<std::int8_t>{1, -2, 3, -4}, 5120, "SCALAR");
    const int where = model.addView(std::string("\1\0\3\0", 4));
    const int values = model.addView("\x80\x7f");
    model.json["accessors"][1]["sparse"] = {{"count", 2},
                                            {"indices", {{"bufferView", where}, {"componentType", 5123}}},
                                            {"values", {{"bufferView", values}}}};
    EXPECT_EQ(readSecond(model), (Values{1, -128, 3, 127}));
}

TEST(ReadIndices, WidenEveryUnsignedType) {
    GltfModel model;
    model.addMesh(model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0}), -1);
    model.addAccessor(std::vector<std::uint8_t>{0, 254}, 5121, "SCALAR");
    model.addAccessor(std::vector<std::uint16_t>{0, 65534}, 5123, "SCALAR");
    model.addAccessor(std::vector<std::uint32_t>{0, 4294967294U}, 5125, "SCALAR");
    const auto document = documentOf(model);
    EXPECT_EQ(readIndices(document.asset, 1), (std::vector<unsigned int>{0, 254}));
    EXPECT_EQ(readIndices(document.asset, 2), (std::vector<unsigned int>{0, 65534}));
    EXPECT_EQ(readIndices(document.asset, 3), (std::vector<unsigned int>{0, 4294967294U}));
}

TEST(CheckIndices, RefusesIndicesThatNameNoVertex) {
    const auto document = documentOf(gridModel(1, 1));
    EXPECT_NO_THROW(vexa::tool::checkIndices(document.asset, 1, {0, 3, 2}, 4));
    EXPECT_THROW(vexa::tool::checkIndices(document.asset, 1, {0, 4, 2}, 4), FormatError);
}

} // namespace
