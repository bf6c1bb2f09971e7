#include "support/Buffers.h"
#include "support/Foreign.h"
#include "support/Messages.h"

#include <vexa/mesh/Views.h>
#include <vexa/mesh/detail/DefaultAttributeBuffer.h>
#include <vexa/mesh/detail/DefaultIndexBuffer.h>
#include <vexa/mesh/detail/VectorBufferData.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <cstring>
#include <memory>
#include <numeric>
#include <random>
#include <ranges>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

struct Point {
    float x, y, z;
};
template <>
struct vexa::mesh::ElementTraits<Point> {
    static constexpr ComponentType componentType = FLOAT;
    static constexpr unsigned long componentCount = 3;
};

namespace {

using namespace vexa::mesh;
using testing::ElementsAre;
using testing::HasSubstr;
using vexa::test::foreignCopy;
using vexa::test::ForeignData;
using vexa::test::indexBuffer;
using vexa::test::meshOf;
using vexa::test::vec3f;
using vexa::test::zeros;

static_assert(BufferElement<float> && BufferElement<std::array<unsigned char, 4>> && BufferElement<glm::u16vec2>);
static_assert(BufferElement<Point> && BufferElement<const glm::vec3>);
static_assert(!BufferElement<double> && !BufferElement<bool> && !BufferElement<char> && !BufferElement<std::string>);
static_assert(BufferIndex<signed char> && BufferIndex<std::uint32_t> && !BufferIndex<float> && !BufferIndex<long>);
static_assert(std::ranges::random_access_range<StridedSpan<glm::vec3>> && std::ranges::view<StridedSpan<float>>);
static_assert(std::same_as<decltype(elementsOf<float>(std::declval<const Mesh&>(), "")), std::span<const float>>);
static_assert(std::same_as<decltype(elementsOf<float>(std::declval<Mesh&>(), "")), std::span<float>>);
static_assert(std::same_as<decltype(elementsOf<const float>(std::declval<Mesh&>(), "")), std::span<const float>>);
static_assert(std::same_as<decltype(indicesOf<int>(std::declval<const IndexBuffer&>())), std::span<const int>>);
static_assert(std::convertible_to<StridedSpan<float>, StridedSpan<const float>>);

/// A buffer over a storage that may hold other buffers' elements too.
std::shared_ptr<AttributeBuffer> attributeAt(const std::shared_ptr<detail::BufferData>& data, unsigned long count,
                                             unsigned long stride, unsigned long offset) {
    return std::make_shared<detail::DefaultAttributeBuffer>(FLOAT, count, stride, offset, data, "position");
}

/// 32 bytes of storage, which hold the floats 0 to 7.
template <typename Data>
std::shared_ptr<Data> eightFloats() {
    auto data = std::make_shared<Data>();
    data->resize(32);
    for (std::size_t i = 0; i < 8; ++i) {
        const auto value = static_cast<float>(i);
        std::memcpy(static_cast<unsigned char*>(data->getData()) + i * sizeof value, &value, sizeof value);
    }
    return data;
}

TEST(ElementsOf, AreThoseOfTheBufferAndCanBeWritten) {
    const MeshPtr mesh = meshOf({vec3f("position", {{1, 2, 3}, {4, 5, 6}})});
    const auto positions = elementsOf<glm::vec3>(*mesh, "position");
    ASSERT_EQ(positions.size(), 2u);
    EXPECT_EQ(positions[1], glm::vec3(4, 5, 6));
    positions[0].y = 7;
    float y = 0;
    mesh->getAttributeBuffer("position")->getComponent(0, 1, &y);
    EXPECT_EQ(y, 7);
    EXPECT_EQ(elementsOf<Point>(*mesh, "position")[1].z, 6);
    EXPECT_TRUE(elementsOf<glm::vec3>(*zeros("a", 0)).empty());
}

TEST(ElementsOf, NamesTheAttributesThereAreWhenOneIsMissing) {
    const MeshPtr mesh = meshOf({zeros("position", 1), zeros("NORMAL", 1)});
    EXPECT_EQ(messageOf([&] { elementsOf<glm::vec3>(*mesh, "normal"); }),
              "elementsOf: the mesh lacks the attribute \"normal\"; it has \"position\", \"NORMAL\"");
    EXPECT_THAT(messageOf([&] { stridedElementsOf<glm::vec3>(*meshOf({}), "normal"); }),
                HasSubstr("stridedElementsOf: the mesh lacks the attribute \"normal\"; it is without any"));
}

TEST(ElementsOf, RefusesAnotherTypeOrCount) {
    const auto buffer = zeros("position", 1);
    EXPECT_EQ(messageOf([&] { elementsOf<glm::vec2>(*buffer); }),
              "elementsOf: attribute \"position\" has elements of 3 x float, not of 2 x float; use a C++ type that "
              "matches");
    EXPECT_THROW(elementsOf<glm::ivec3>(*buffer), std::invalid_argument);
    EXPECT_THROW(stridedElementsOf<float>(*buffer), std::invalid_argument);
}

TEST(ElementsOf, RefusesGapsWhichStridedElementsOfSteps) {
    const auto data = eightFloats<detail::VectorBufferData>();
    const auto buffer = attributeAt(data, 2, 16, 4);
    EXPECT_THAT(messageOf([&] { elementsOf<glm::vec2>(*buffer); }),
                HasSubstr("stride of 16 bytes for elements of 8; use stridedElementsOf"));
    EXPECT_THAT(messageOf([&] { elementsOf<glm::vec3>(*buffer); }),
                HasSubstr("elements of 2 x float, not of 3 x float")); // of two faults, the one to correct first
    const auto elements = stridedElementsOf<glm::vec2>(*buffer);
    EXPECT_THAT(std::vector<glm::vec2>(elements.begin(), elements.end()),
                ElementsAre(glm::vec2(1, 2), glm::vec2(5, 6)));
    elements[1].x = 9;
    EXPECT_THAT(toElements<glm::vec2>(*buffer), ElementsAre(glm::vec2(1, 2), glm::vec2(9, 6)));
}

TEST(StridedElementsOf, IterateInBothDirections) {
    const auto buffer = attributeAt(eightFloats<detail::VectorBufferData>(), 1, 8, 4);
    const StridedSpan<const float> elements = stridedElementsOf<float>(std::as_const(*buffer));
    EXPECT_EQ(std::accumulate(elements.begin(), elements.end(), 0.0F), 1 + 3 + 5 + 7);
    EXPECT_EQ(elements.end() - elements.begin(), 4);
    EXPECT_EQ(*std::lower_bound(elements.begin(), elements.end(), 4.0F), 5.0F);
#ifdef __cpp_lib_ranges // not in libc++ 14
    EXPECT_EQ(*std::ranges::lower_bound(elements, 4.0F), 5.0F);
#endif
    auto last = elements.end();
    EXPECT_EQ(*--last, 7.0F);
    EXPECT_EQ(last[-2], 3.0F);
    EXPECT_TRUE(elements.begin() < last);
}

TEST(StridedElementsOf, AreThoseOfPackedBuffersToo) {
    const auto buffer = vec3f("position", {{1, 2, 3}, {4, 5, 6}});
    EXPECT_EQ(stridedElementsOf<glm::vec3>(*buffer)[1], glm::vec3(4, 5, 6));
    EXPECT_EQ(stridedElementsOf<glm::vec3>(*buffer).strideInBytes(), 12u);
}

TEST(StridedElementsOf, RefusesElementsThatOverlapOrExceedTheStorage) {
    const auto data = eightFloats<detail::VectorBufferData>();
    EXPECT_THAT(messageOf([&] { stridedElementsOf<glm::vec2>(*attributeAt(data, 2, 4, 0)); }),
                HasSubstr("exceed its storage of 32 bytes"));
    data->resize(28);
    EXPECT_THAT(messageOf([&] { stridedElementsOf<glm::vec3>(*attributeAt(data, 3, 8, 0)); }),
                HasSubstr("overlap: their stride is 8 bytes and their size 12"));
    EXPECT_EQ(stridedElementsOf<glm::vec2>(*attributeAt(data, 2, 16, 4)).size(), 1u);
    EXPECT_THROW(stridedElementsOf<glm::vec2>(*attributeAt(data, 2, 14, 6)), std::invalid_argument);
}

TEST(StridedElementsOf, RefusesAnOffsetBeyondTheStorage) {
    const auto data = eightFloats<detail::VectorBufferData>();
    EXPECT_THAT(messageOf([&] { stridedElementsOf<float>(*attributeAt(data, 1, 32, 36)); }),
                HasSubstr("1 elements at offset 36 and stride 32, which exceed its storage of 32 bytes"));
    EXPECT_THAT(messageOf([&] { assign(*attributeAt(data, 1, 4, 8), std::array{1.0F}); }),
                HasSubstr("exceed the stride of 4"));
}

TEST(StridedElementsOf, RefusesAStrideThatIsNotAligned) {
    const auto data = eightFloats<detail::VectorBufferData>();
    EXPECT_THAT(messageOf([&] { stridedElementsOf<float>(*attributeAt(data, 1, 6, 0)); }),
                HasSubstr("is not aligned for the C++ type"));
}

TEST(ToElements, ReadsElementsOfEverySizeWithGaps) {
    const auto data = eightFloats<detail::VectorBufferData>();
    EXPECT_THAT(toElements<glm::vec4>(*attributeAt(data, 4, 16, 0)),
                ElementsAre(glm::vec4(0, 1, 2, 3), glm::vec4(4, 5, 6, 7)));
    data->resize(48);
    EXPECT_EQ(toElements<glm::vec4>(*attributeAt(data, 4, 24, 8))[0], glm::vec4(2, 3, 4, 5));
}

TEST(ToElements, ReadsSignedIntegers) {
    const auto bytes = vexa::test::attribute<std::array<signed char, 2>>(BYTE, 2, "uv", {{{-1, 2}}});
    EXPECT_THAT((toElements<std::array<signed char, 2>>(*bytes)), ElementsAre(std::array<signed char, 2>{-1, 2}));
    const auto shorts = vexa::test::attribute<std::array<short, 2>>(SHORT, 2, "uv", {{{-1, 300}}});
    EXPECT_THAT((toElements<std::array<short, 2>>(*shorts)), ElementsAre(std::array<short, 2>{-1, 300}));
}

TEST(ToElements, NamesAnUnknownTypeByItsNumber) {
    vexa::test::ForeignAttributeBuffer unknown(static_cast<ComponentType>(9), 2, "uv");
    EXPECT_THAT(messageOf([&] { toElements<glm::vec2>(unknown); }), HasSubstr("2 x unknown type 9, not of 2 x float"));
}

TEST(ElementsOf, LeavesOutEmptyPointersFromTheNamesThereAre) {
    const auto mesh = meshOf({vec3f("position", {}), nullptr, vec3f("normal", {})});
    EXPECT_THAT(messageOf([&] { elementsOf<float>(*mesh, "uv"); }), HasSubstr("it has \"position\", \"normal\""));
}

TEST(Views, RefuseStorageThatIsNotAligned) {
    const auto data = eightFloats<ForeignData>(); // at an odd address
    const auto buffer = attributeAt(data, 1, 4, 0);
    EXPECT_THAT(messageOf([&] { elementsOf<float>(*buffer); }),
                HasSubstr("is not aligned for the C++ type; copy its elements with toElements"));
    EXPECT_EQ(toElements<float>(*buffer)[7], 7.0F);
    detail::DefaultIndexBuffer<unsigned int> indices(UNSIGNED_INT, 1, 4, 0, data);
    EXPECT_THROW(indicesOf<unsigned int>(static_cast<IndexBuffer&>(indices)), std::invalid_argument);
    EXPECT_EQ(toIndices(indices).size(), 8u);
}

TEST(Views, RefuseForeignBuffersWhichCanBeCopied) {
    const auto buffer = foreignCopy(*vec3f("position", {{1, 2, 3}, {4, 5, 6}}));
    EXPECT_THAT(messageOf([&] { elementsOf<glm::vec3>(*buffer); }), HasSubstr("toElements"));
    EXPECT_THROW(bytesOf(*buffer), std::invalid_argument);
    EXPECT_THAT(toElements<glm::vec3>(*buffer), ElementsAre(glm::vec3(1, 2, 3), glm::vec3(4, 5, 6)));
    const auto indices = foreignCopy(*indexBuffer(UNSIGNED_SHORT, {3, 65535}));
    EXPECT_THROW(indicesOf<unsigned short>(*indices), std::invalid_argument);
    EXPECT_THAT(toIndices(*indices), ElementsAre(3u, restartIndex));
}

/// Pairs of floats that claim to take 12 bytes.
class WidePairs : public vexa::test::ForeignAttributeBuffer {
public:
    WidePairs() : ForeignAttributeBuffer(FLOAT, 2, "uv") {}
    unsigned long getElementSizeInBytes() const override { return 12; }
};

TEST(Views, RefuseElementsWhoseSizeIsNotThatOfTheirComponents) {
    EXPECT_EQ(messageOf([] { toElements<glm::vec2>(WidePairs()); }),
              "toElements: attribute \"uv\" reports elements of 12 bytes, but 2 x float have 8");
}

TEST(Views, RefuseBuffersWithoutStorage) {
    const auto buffer = attributeAt(nullptr, 1, 4, 0);
    EXPECT_THROW(elementsOf<float>(*buffer), std::invalid_argument);
    EXPECT_THROW(bytesOf(*buffer), std::invalid_argument);
    detail::DefaultIndexBuffer<int> indices(INT, 1, 4, 0, nullptr);
    EXPECT_THROW(indicesOf<int>(static_cast<IndexBuffer&>(indices)), std::invalid_argument);
}

TEST(IndicesOf, AreThoseOfTheMeshAsStored) {
    const MeshPtr mesh = meshOf({}, {4, 5, 6});
    indicesOf<unsigned int>(*mesh)[1] = 9;
    EXPECT_EQ(mesh->getIndexBuffer()->getElement(1), 9u);
    EXPECT_THAT(messageOf([&] { indicesOf<unsigned short>(*mesh); }),
                HasSubstr("holds indices of type unsigned int, not unsigned short"));
    mesh->setIndexBuffer(nullptr);
    EXPECT_THAT(messageOf([&] { indicesOf<unsigned int>(*mesh); }), HasSubstr("not indexed"));
}

TEST(BytesOf, AreTheWholeStorage) {
    const auto data = eightFloats<detail::VectorBufferData>();
    const auto buffer = attributeAt(data, 1, 16, 4);
    EXPECT_EQ(bytesOf(*buffer).size(), 32u);
    EXPECT_EQ(static_cast<void*>(bytesOf(*buffer).data()), data->getData());
    EXPECT_EQ(bytesOf(std::as_const(*indexBuffer(SHORT, {1, 2, 3}))).size(), 6u);
}

TEST(ToIndices, TranslatesTheIndexWithAllBitsSet) {
    EXPECT_THAT(toIndices(*indexBuffer(UNSIGNED_BYTE, {0, 254, 255})), ElementsAre(0u, 254u, restartIndex));
    EXPECT_THAT(toIndices(*indexBuffer(UNSIGNED_SHORT, {255, 65535})), ElementsAre(255u, restartIndex));
    EXPECT_THAT(toIndices(*indexBuffer(UNSIGNED_INT, {65535, restartIndex})), ElementsAre(65535u, restartIndex));
    EXPECT_THAT(toIndices(*indexBuffer(BYTE, {127, 255})), ElementsAre(127u, restartIndex));
    EXPECT_THAT(toIndices(*indexBuffer(SHORT, {32767, 65534})), ElementsAre(32767u, 4294967294u));
}

TEST(ToIndices, IsTheSameForForeignBuffers) {
    for (const ComponentType type : {BYTE, UNSIGNED_BYTE, SHORT, UNSIGNED_SHORT, INT, UNSIGNED_INT}) {
        const auto buffer = indexBuffer(type, {0, 1, 127, 255, 32767, 65534, 65535, 2147483647, 4294967295});
        EXPECT_EQ(toIndices(*foreignCopy(*buffer)), toIndices(*buffer)) << type;
    }
}

TEST(ToIndices, RefusesIndicesBeyond32Bits) {
    if (sizeof(unsigned long) == 4) {
        GTEST_SKIP() << "no index is that large";
    }
    vexa::test::ForeignIndexBuffer wide(UNSIGNED_INT);
    wide.resize(2);
    wide.setElement(1, static_cast<unsigned long>(std::uint64_t{1} << 32));
    EXPECT_EQ(messageOf<std::length_error>([&] { toIndices(wide); }),
              "toIndices: index 4294967296 at 1 needs more than 32 bits");
}

TEST(Assign, ReplacesElementsAndResizes) {
    const auto buffer = zeros("position", 5);
    assign(*buffer, std::vector<glm::vec3>{{1, 2, 3}, {4, 5, 6}});
    EXPECT_EQ(buffer->getElementCount(), 2u);
    EXPECT_EQ(elementsOf<glm::vec3>(*buffer)[1], glm::vec3(4, 5, 6));
    assign(*buffer, std::array<Point, 3>{});
    EXPECT_THAT(toElements<glm::vec3>(*buffer), testing::SizeIs(3));
    assign(*buffer, std::vector<glm::vec3>{});
    EXPECT_EQ(buffer->getElementCount(), 0u);
}

TEST(Assign, ToInterleavedElementsLeavesTheOthers) {
    const auto data = eightFloats<detail::VectorBufferData>();
    assign(*attributeAt(data, 2, 16, 4), std::array{glm::vec2(10, 20), glm::vec2(30, 40)});
    EXPECT_THAT(toElements<float>(*attributeAt(data, 1, 4, 0)), ElementsAre(0, 10, 20, 3, 4, 30, 40, 7));
    assign(*attributeAt(data, 2, 16, 4), std::array{glm::vec2(1, 2)});
    EXPECT_THAT(toElements<float>(*attributeAt(data, 1, 4, 0)), ElementsAre(0, 1, 2, 3));
}

TEST(Assign, AcceptsElementsOfTheSameBuffer) {
    const auto buffer = vec3f("position", {{1, 1, 1}, {2, 2, 2}, {3, 3, 3}});
    assign(*buffer, elementsOf<glm::vec3>(*buffer).subspan(1));
    EXPECT_THAT(toElements<glm::vec3>(*buffer), ElementsAre(glm::vec3(2), glm::vec3(3)));
    const auto indices = indexBuffer(UNSIGNED_INT, {1, 2, 3});
    assign(*indices, indicesOf<unsigned int>(*indices).subspan(1));
    EXPECT_THAT(toIndices(*indices), ElementsAre(2u, 3u));
}

TEST(Assign, ReachesForeignBuffersAndStorage) {
    const auto buffer = foreignCopy(*zeros("position", 1));
    assign(*buffer, std::array{glm::vec3(1, 2, 3), glm::vec3(4, 5, 6)});
    EXPECT_THAT(toElements<glm::vec3>(*buffer), ElementsAre(glm::vec3(1, 2, 3), glm::vec3(4, 5, 6)));
    const auto data = eightFloats<ForeignData>();
    assign(*attributeAt(data, 1, 4, 0), std::array{8.0F, 9.0F});
    EXPECT_THAT(toElements<float>(*attributeAt(data, 1, 4, 0)), ElementsAre(8, 9));
    const auto indices = foreignCopy(*indexBuffer(UNSIGNED_SHORT, {}));
    assign(*indices, std::array{7U, restartIndex});
    EXPECT_EQ(indices->getElement(1), 65535u);
}

TEST(Assign, RefusesAnotherTypeAndChangesNothing) {
    const auto buffer = vec3f("position", {{1, 2, 3}});
    EXPECT_THAT(messageOf([&] { assign(*buffer, std::vector<float>(3)); }),
                HasSubstr("assign: attribute \"position\" has elements of 3 x float, not of 1 x float"));
    EXPECT_EQ(elementsOf<glm::vec3>(*buffer)[0], glm::vec3(1, 2, 3));
    const auto beyond = attributeAt(eightFloats<detail::VectorBufferData>(), 2, 8, 4);
    EXPECT_THAT(messageOf([&] { assign(*beyond, std::vector<glm::vec2>(9)); }), HasSubstr("exceed the stride of 8"));
    EXPECT_EQ(beyond->getElementCount(), 4u);
}

TEST(AssignIndices, TranslatesRestartForEveryType) {
    for (const ComponentType type : {BYTE, UNSIGNED_BYTE, SHORT, UNSIGNED_SHORT, INT, UNSIGNED_INT}) {
        const auto buffer = indexBuffer(type, {1});
        assign(*buffer, std::array{3U, restartIndex, 127U});
        EXPECT_THAT(toIndices(*buffer), ElementsAre(3u, restartIndex, 127u)) << type;
    }
}

TEST(AssignIndices, RefusesWhatDoesNotFitAndChangesNothing) {
    const std::vector<std::pair<ComponentType, unsigned int>> firstTooLarge{
        {BYTE, 128}, {UNSIGNED_BYTE, 255}, {SHORT, 32768}, {UNSIGNED_SHORT, 65535}, {INT, 2147483648}};
    for (const auto& [type, index] : firstTooLarge) {
        const auto buffer = indexBuffer(type, {42});
        EXPECT_THAT(messageOf<std::length_error>([&, i = index] {
                        assign(*buffer, std::array{0U, i});
                    }),
                    HasSubstr("assign: index " + std::to_string(index) + " at 1 does not fit: the largest vertex"));
        EXPECT_THAT(toIndices(*buffer), ElementsAre(42u)) << type;
        assign(*buffer, std::array{index - 1});
        EXPECT_THAT(toIndices(*buffer), ElementsAre(index - 1)) << type;
    }
    vexa::test::ForeignIndexBuffer floats(FLOAT);
    EXPECT_THROW(assign(floats, std::array{0U}), std::invalid_argument);
}

TEST(AssignIndices, AndToIndicesAreInverse) {
    std::mt19937 engine(5);
    for (const auto& [type, limit] : {std::pair(UNSIGNED_BYTE, 255U), std::pair(UNSIGNED_SHORT, 65535U)}) {
        std::vector<unsigned int> indices(1000);
        std::generate(indices.begin(), indices.end(),
                      [&, n = limit] { return engine() % 9 == 0 ? restartIndex : engine() % n; });
        const auto buffer = IndexBuffer::createDefault(type);
        assign(*buffer, indices);
        EXPECT_EQ(toIndices(*buffer), indices);
    }
}

} // namespace
