#ifdef VEXAMESH_WITH_REPORT

#include "report/PictureData.h"

#include "support/Pictures.h"

#include <cmath>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <map>
#include <zlib.h>

namespace {

using namespace vexa::tool;
namespace mesh = vexa::mesh;
using testing::ElementsAre;

/// The streams of a picture, by name.
std::map<std::string, Bytes> streamsOf(const PictureData& data) {
    std::map<std::string, Bytes> streams;
    auto begin = data.bytes.begin();
    for (const Json& entry : data.facts["streams"]) {
        const auto end = begin + entry[1].get<std::ptrdiff_t>();
        streams[entry[0].get<std::string>()] = Bytes(begin, end);
        begin = end;
    }
    EXPECT_EQ(begin, data.bytes.end());
    return streams;
}

std::vector<std::int64_t> signedNumbers(const Bytes& bytes) {
    std::vector<std::int64_t> numbers;
    std::uint64_t value = 0;
    unsigned int shift = 0;
    for (const unsigned char byte : bytes) {
        value |= std::uint64_t{byte & 0x7fU} << shift;
        shift += 7;
        if (byte < 0x80) {
            const auto half = static_cast<std::int64_t>(value >> 1);
            numbers.push_back((value & 1) == 0 ? half : -half - 1);
            value = 0;
            shift = 0;
        }
    }
    return numbers;
}

PictureData dataOf(const std::vector<unsigned int>& triangles, const std::vector<mesh::IndexedPrimitive>& parts,
                   const std::vector<float>& positions) {
    return encodePicture(tool_test::pictureOf(triangles, parts, positions));
}

const std::vector<unsigned int> square{0, 1, 2, 2, 1, 3};
const std::vector<mesh::IndexedPrimitive> strip{{mesh::TRIANGLE_STRIP, {0, 1, 2, 3}}};

TEST(PictureData, WritesTheVertexAcrossASharedEdgeOnly) {
    auto streams = streamsOf(dataOf(square, strip, {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0}));
    EXPECT_THAT(streams["links"], ElementsAre(3, 1)) << "three vertices, then one across the second side";
    EXPECT_THAT(streams["vertices"], ElementsAre(0, 0, 0, 0)) << "all of them new";
}

TEST(PictureData, PredictsAParallelogram) {
    const auto positions =
        signedNumbers(streamsOf(dataOf(square, strip, {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 1, 0}))["positions"]);
    ASSERT_EQ(positions.size(), 12u);
    EXPECT_THAT((std::vector(positions.end() - 3, positions.end())), ElementsAre(0, 0, 0));
    const auto moved =
        signedNumbers(streamsOf(dataOf(square, strip, {0, 0, 0, 1, 0, 0, 0, 1, 0, 1, 0.5, 0}))["positions"]);
    EXPECT_THAT((std::vector(moved.end() - 3, moved.end())), ElementsAre(0, -32767, 0));
}

TEST(PictureData, GivesPositionsSixteenBitsOverTheLargestExtent) {
    const Json primitive = dataOf(square, strip, {-1, 2, 0, 3, 2, 0, -1, 4, 0, 3, 4, 0}).facts["primitives"][0];
    EXPECT_EQ(primitive["origin"], Json({-1.0, 2.0, 0.0}));
    EXPECT_DOUBLE_EQ(primitive["step"].get<double>(), 4.0 / 65535);
    EXPECT_EQ(primitive["vertices"], 4);
}

TEST(PictureData, ReferringToKnownVerticesCountsBackwards) {
    auto streams = streamsOf(
        dataOf({0, 1, 2, 3, 4, 5, 0, 2, 6}, {{mesh::TRIANGLES, {0, 1, 2, 3, 4, 5, 0, 2, 6}}}, std::vector<float>(21)));
    EXPECT_THAT(streams["links"], ElementsAre(3, 3, 3));
    EXPECT_THAT(streams["vertices"], ElementsAre(0, 0, 0, 0, 0, 0, 6, 4, 0));
}

TEST(PictureData, ListsPartsAndTheOrderOfTheInput) {
    auto streams = streamsOf(dataOf(
        {0, 1, 2, 3, 4, 5}, {{mesh::TRIANGLES, {3, 4, 5}}, {mesh::TRIANGLE_STRIP, {0, 1, 2}}}, std::vector<float>(18)));
    EXPECT_THAT(streams["parts-0"], ElementsAre(1, 1, 3, 0, 0, 0, 1, 1, 3, 0, 0, 2));
    EXPECT_THAT(signedNumbers(streams["order-0"]), ElementsAre(0, 1));
    EXPECT_EQ(streams["colours-0"].size(), 2 * PictureBuilder::levels);
    EXPECT_EQ(signedNumbers(streams["border"]).size(), 12u);
    EXPECT_EQ(streams["placements"].size(), 12 * sizeof(double));
}

TEST(Deflate, CanBeInflated) {
    Bytes bytes(100000);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<unsigned char>(i * i >> 3);
    }
    const Bytes packed = deflate(bytes);
    EXPECT_LT(packed.size(), bytes.size());
    Bytes unpacked(bytes.size());
    uLongf size = unpacked.size();
    ASSERT_EQ(uncompress(unpacked.data(), &size, packed.data(), packed.size()), Z_OK);
    EXPECT_EQ(size, bytes.size());
    EXPECT_EQ(unpacked, bytes);
}

} // namespace

#endif
