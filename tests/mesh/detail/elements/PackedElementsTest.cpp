#include "support/Buffers.h"
#include "support/Foreign.h"

#include <gtest/gtest.h>
#include <vexa/mesh/detail/DefaultAttributeBuffer.h>
#include <vexa/mesh/detail/DefaultIndexBuffer.h>
#include <vexa/mesh/detail/elements/PackedElements.h>

#include <array>
#include <cstring>
#include <memory>

namespace {

using namespace vexa::mesh;
using namespace vexa::mesh::detail;

/// A storage of a program's own, which may not be bypassed.
class DerivedStorage : public VectorBufferData {};

/// A buffer of a program's own, whose functions may not be bypassed.
class DerivedBuffer : public DefaultAttributeBuffer {
public:
    using DefaultAttributeBuffer::DefaultAttributeBuffer;
};

TEST(FindPackedElements, ReachesTheStorageOfTheLibrarysBuffers) {
    const auto buffer = vexa::test::vec3f("position", {{1, 2, 3}, {4, 5, 6}});
    const auto elements = findPackedElements(*buffer);
    ASSERT_TRUE(elements.has_value());
    EXPECT_EQ(elements->elementCount, 2u);
    EXPECT_EQ(elements->elementSizeInBytes, 12u);
    EXPECT_EQ(elements->element(1), elements->bytes + 12);
    std::array<float, 3> second{};
    buffer->getElement(1, second.data());
    EXPECT_EQ(std::memcmp(elements->element(1), second.data(), sizeof second), 0);
    EXPECT_TRUE(elements->canGrow());
}

TEST(FindPackedElements, GivesNothingForStridesAndOffsets) {
    const auto storage = std::make_shared<VectorBufferData>();
    const auto find = [&](unsigned long stride, unsigned long offset) {
        DefaultAttributeBuffer buffer(FLOAT, 3, stride, offset, storage, "position");
        return findPackedElements(buffer).has_value();
    };
    EXPECT_TRUE(find(12, 0));
    EXPECT_FALSE(find(16, 0));
    EXPECT_FALSE(find(8, 0));
    EXPECT_FALSE(find(12, 4));
}

TEST(FindPackedElements, GivesNothingForEmptyElementsAndMissingStorage) {
    DefaultAttributeBuffer empty(FLOAT, 0, 0, 0, std::make_shared<VectorBufferData>(), "position");
    EXPECT_FALSE(findPackedElements(empty).has_value());
    DefaultAttributeBuffer withoutStorage(FLOAT, 3, 12, 0, nullptr, "position");
    EXPECT_FALSE(findPackedElements(withoutStorage).has_value());
}

TEST(FindPackedElements, GivesNothingForDerivedClasses) {
    DefaultAttributeBuffer derivedStorage(FLOAT, 3, 12, 0, std::make_shared<DerivedStorage>(), "position");
    EXPECT_FALSE(findPackedElements(derivedStorage).has_value());
    DerivedBuffer derivedBuffer(FLOAT, 3, 12, 0, std::make_shared<VectorBufferData>(), "position");
    EXPECT_FALSE(findPackedElements(derivedBuffer).has_value());
}

TEST(FindPackedElements, SeesAPartOfAnElementAtTheEndOfTheStorage) {
    const auto storage = std::make_shared<VectorBufferData>();
    storage->resize(25);
    DefaultAttributeBuffer buffer(FLOAT, 3, 12, 0, storage, "position");
    const auto elements = findPackedElements(buffer);
    ASSERT_TRUE(elements.has_value());
    EXPECT_EQ(elements->elementCount, 2u);
    EXPECT_FALSE(elements->canGrow());
}

TEST(FindPackedIndices, GivesTheTypeOfTheClass) {
    for (const ComponentType type : {BYTE, UNSIGNED_BYTE, SHORT, UNSIGNED_SHORT, INT, UNSIGNED_INT}) {
        const auto buffer = IndexBuffer::createDefault(type);
        buffer->resize(3);
        const auto indices = findPackedIndices(*buffer);
        ASSERT_TRUE(indices.has_value());
        EXPECT_EQ(indices->type, type);
        EXPECT_EQ(indices->elementCount, 3u);
        EXPECT_EQ(indices->elementSizeInBytes, getComponentSizeInBytes(type));
    }
}

TEST(AreSameOrApart, RefusesOverlapsOnly) {
    const std::array<unsigned char, 16> bytes{};
    const auto check = [&](std::size_t a, std::size_t aSize, std::size_t b, std::size_t bSize) {
        return areSameOrApart(bytes.data() + a, aSize, bytes.data() + b, bSize);
    };
    EXPECT_TRUE(check(0, 8, 0, 8));
    EXPECT_FALSE(check(0, 8, 0, 4));
    EXPECT_TRUE(check(0, 8, 8, 8));
    EXPECT_TRUE(check(8, 8, 0, 8));
    EXPECT_FALSE(check(0, 8, 7, 8));
    EXPECT_FALSE(check(7, 8, 0, 8));
    EXPECT_FALSE(check(0, 16, 4, 4));
    EXPECT_TRUE(check(0, 0, 0, 8));
}

} // namespace
