#include <vexa/mesh/Types.h>

#include <gtest/gtest.h>

#include <array>
#include <limits>
#include <type_traits>

namespace {

using namespace vexa::mesh;

static_assert(std::is_same_v<std::underlying_type_t<ComponentType>, std::int32_t>);
static_assert(std::is_same_v<std::underlying_type_t<PrimitiveType>, std::int32_t>);

TEST(ComponentTypes, HaveTheCodesOfGraphicsApisSizesAndTexts) {
    struct Row {
        ComponentType type;
        int code;
        unsigned long size;
        const char* text;
    };
    const std::array<Row, 7> rows{{{ComponentType::BYTE, 5120, 1, "byte"},
                                   {ComponentType::UNSIGNED_BYTE, 5121, 1, "unsigned byte"},
                                   {ComponentType::SHORT, 5122, 2, "short"},
                                   {ComponentType::UNSIGNED_SHORT, 5123, 2, "unsigned short"},
                                   {ComponentType::INT, 5124, 4, "int"},
                                   {ComponentType::UNSIGNED_INT, 5125, 4, "unsigned int"},
                                   {ComponentType::FLOAT, 5126, 4, "float"}}};
    for (const Row& row : rows) {
        EXPECT_EQ(static_cast<int>(row.type), row.code);
        EXPECT_EQ(getComponentSizeInBytes(row.type), row.size) << row.text;
        EXPECT_EQ(getStringForComponentType(row.type), row.text);
    }
}

TEST(ComponentTypes, UnknownValuesHaveSizeZeroAndNoText) {
    for (const int code : {5119, 5127, 0, -1, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_EQ(getComponentSizeInBytes(static_cast<ComponentType>(code)), 0u) << code;
        EXPECT_EQ(getStringForComponentType(static_cast<ComponentType>(code)), "") << code;
    }
}

TEST(PrimitiveTypes, HaveTheCodesOfGraphicsApisVertexCountsAndTexts) {
    struct Row {
        PrimitiveType type;
        int code;
        unsigned long vertexCount;
        const char* text;
    };
    const std::array<Row, 7> rows{{{PrimitiveType::POINTS, 0, 1, "POINTS"},
                                   {PrimitiveType::LINES, 1, 2, "LINES"},
                                   {PrimitiveType::LINE_LOOP, 2, 2, "LINE_LOOP"},
                                   {PrimitiveType::LINE_STRIP, 3, 2, "LINE_STRIP"},
                                   {PrimitiveType::TRIANGLES, 4, 3, "TRIANGLES"},
                                   {PrimitiveType::TRIANGLE_STRIP, 5, 3, "TRIANGLE_STRIP"},
                                   {PrimitiveType::TRIANGLE_FAN, 6, 3, "TRIANGLE_FAN"}}};
    for (const Row& row : rows) {
        EXPECT_EQ(static_cast<int>(row.type), row.code);
        EXPECT_EQ(getVertexCountForPrimitiveType(row.type), row.vertexCount) << row.text;
        EXPECT_EQ(getStringForPrimitiveType(row.type), row.text);
    }
}

TEST(PrimitiveTypes, UnknownValuesHaveNoVerticesAndReadInvalid) {
    for (const int code : {7, -1, 5126, std::numeric_limits<int>::min(), std::numeric_limits<int>::max()}) {
        EXPECT_EQ(getVertexCountForPrimitiveType(static_cast<PrimitiveType>(code)), 0u) << code;
        EXPECT_EQ(getStringForPrimitiveType(static_cast<PrimitiveType>(code)), "(invalid)") << code;
    }
}

} // namespace
