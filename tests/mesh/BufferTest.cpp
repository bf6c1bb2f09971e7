#include <vexa/mesh/Buffer.h>

#include <vexa/mesh/detail/DefaultBuffer.h>
#include <vexa/mesh/detail/VectorBufferData.h>

#include "support/Vtable.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>
#include <type_traits>
#include <typeinfo>

namespace {

using namespace vexa::mesh;
using detail::BufferData;
using detail::DefaultBuffer;
using detail::VectorBufferData;
using vexa::test::callVtableEntry;
using vexa::test::vtableEntry;

static_assert(std::is_abstract_v<Buffer> && std::has_virtual_destructor_v<Buffer>);
static_assert(std::is_abstract_v<BufferData> && std::has_virtual_destructor_v<BufferData>);
static_assert(!std::is_abstract_v<DefaultBuffer> && std::is_base_of_v<Buffer, DefaultBuffer>);
static_assert(std::is_same_v<decltype(std::declval<const Buffer>().getElementCount()), unsigned long>);

// The table pointer, then the fields in their order: 4, 8, 8, 8, 16, 8 and 8 bytes.
static_assert(sizeof(DefaultBuffer) == 72);
static_assert(sizeof(VectorBufferData) == 8 + sizeof(std::vector<unsigned char>));

unsigned long wordAt(const void* object, std::size_t offset) {
    unsigned long word;
    std::memcpy(&word, static_cast<const unsigned char*>(object) + offset, sizeof word);
    return word;
}

class TrackedData : public VectorBufferData {
public:
    explicit TrackedData(bool& destroyed) : destroyed_(destroyed) {}
    ~TrackedData() override { destroyed_ = true; }

private:
    bool& destroyed_;
};

class TrackedBuffer : public DefaultBuffer {
public:
    explicit TrackedBuffer(bool& destroyed) : DefaultBuffer(FLOAT, 1, 4, 0, nullptr), destroyed_(destroyed) {}
    ~TrackedBuffer() override { destroyed_ = true; }

private:
    bool& destroyed_;
};

TEST(Buffer, HasItsDestructorInTheFirstSlotAndTheOthersInTheDescribedOrder) {
    EXPECT_EQ(vtableEntry(&Buffer::getComponentType), 2);
    EXPECT_EQ(vtableEntry(&Buffer::getComponentCountPerElement), 3);
    EXPECT_EQ(vtableEntry(&Buffer::getComponentSizeInBytes), 4);
    EXPECT_EQ(vtableEntry(&Buffer::getElementSizeInBytes), 5);
    EXPECT_EQ(vtableEntry(&Buffer::getElementStrideInBytes), 6);
    EXPECT_EQ(vtableEntry(&Buffer::getElementOffsetInBytes), 7);
    EXPECT_EQ(vtableEntry(&Buffer::getElementCount), 8);
    EXPECT_EQ(vtableEntry(&Buffer::resize), 9);

    bool destroyed = false;
    alignas(TrackedBuffer) unsigned char room[sizeof(TrackedBuffer)];
    Buffer* buffer = new (room) TrackedBuffer(destroyed);
    callVtableEntry(buffer, 0);
    EXPECT_TRUE(destroyed);
}

TEST(DefaultBuffer, AddsTheTwoStorageSlotsMutableFirst) {
    using Mutable = std::shared_ptr<BufferData>& (DefaultBuffer::*)();
    using Constant = const std::shared_ptr<BufferData>& (DefaultBuffer::*)() const;
    EXPECT_EQ(vtableEntry(static_cast<Mutable>(&DefaultBuffer::getBufferData)), 10);
    EXPECT_EQ(vtableEntry(static_cast<Constant>(&DefaultBuffer::getBufferData)), 11);
}

TEST(DefaultBuffer, HoldsItsFieldsInTheDescribedOrder) {
    const auto data = std::make_shared<VectorBufferData>();
    const DefaultBuffer buffer(SHORT, 3, 16, 5, data);
    std::uint32_t type = 0;
    std::memcpy(&type, reinterpret_cast<const unsigned char*>(&buffer) + 8, sizeof type);
    EXPECT_EQ(type, 5122u);
    EXPECT_EQ(wordAt(&buffer, 16), 3u);
    EXPECT_EQ(wordAt(&buffer, 24), 16u);
    EXPECT_EQ(wordAt(&buffer, 32), 5u);
    EXPECT_EQ(static_cast<const void*>(&buffer.getBufferData()), reinterpret_cast<const unsigned char*>(&buffer) + 40);
    EXPECT_EQ(wordAt(&buffer, 56), 2u);
    EXPECT_EQ(wordAt(&buffer, 64), 6u);
}

TEST(BufferData, HasItsDestructorInTheLastSlot) {
    EXPECT_EQ(vtableEntry(static_cast<void* (BufferData::*)()>(&BufferData::getData)), 0);
    EXPECT_EQ(vtableEntry(static_cast<const void* (BufferData::*)() const>(&BufferData::getData)), 1);
    EXPECT_EQ(vtableEntry(&BufferData::getSizeInBytes), 2);
    EXPECT_EQ(vtableEntry(&BufferData::resize), 3);

    bool destroyed = false;
    alignas(TrackedData) unsigned char room[sizeof(TrackedData)];
    BufferData* data = new (room) TrackedData(destroyed);
    callVtableEntry(data, 4);
    EXPECT_TRUE(destroyed);
}

TEST(VectorBufferData, StartsNullAndEmpty) {
    VectorBufferData data;
    EXPECT_EQ(data.getData(), nullptr);
    EXPECT_EQ(std::as_const(data).getData(), nullptr);
    EXPECT_EQ(data.getSizeInBytes(), 0u);
}

TEST(VectorBufferData, GrowsWithZerosAndKeepsTheOtherBytes) {
    VectorBufferData data;
    data.resize(3);
    std::memcpy(data.getData(), "abc", 3);
    data.resize(1000);
    const auto* bytes = static_cast<const unsigned char*>(std::as_const(data).getData());
    EXPECT_EQ(data.getSizeInBytes(), 1000u);
    EXPECT_EQ(std::memcmp(bytes, "abc", 3), 0);
    EXPECT_EQ(std::count(bytes + 3, bytes + 1000, 0), 997);
}

TEST(VectorBufferData, ShrinkingDropsTheTailForGood) {
    VectorBufferData data;
    data.resize(4);
    std::memcpy(data.getData(), "abcd", 4);
    data.resize(2);
    EXPECT_EQ(data.getSizeInBytes(), 2u);
    data.resize(4);
    EXPECT_EQ(std::memcmp(data.getData(), "ab\0\0", 4), 0);
}

TEST(VectorBufferData, RefusesToGrowBeyondTheLargestVector) {
    VectorBufferData data;
    data.resize(3);
    EXPECT_THROW(data.reserveFurther(std::numeric_limits<unsigned long>::max()), std::length_error);
    EXPECT_EQ(data.getSizeInBytes(), 3U);
}

TEST(DefaultBuffer, ReturnsTheValuesItWasCreatedWith) {
    const auto data = std::make_shared<VectorBufferData>();
    DefaultBuffer buffer(UNSIGNED_SHORT, 5, 24, 7, data);
    EXPECT_EQ(buffer.getComponentType(), UNSIGNED_SHORT);
    EXPECT_EQ(buffer.getComponentCountPerElement(), 5u);
    EXPECT_EQ(buffer.getComponentSizeInBytes(), 2u);
    EXPECT_EQ(buffer.getElementSizeInBytes(), 10u);
    EXPECT_EQ(buffer.getElementStrideInBytes(), 24u);
    EXPECT_EQ(buffer.getElementOffsetInBytes(), 7u);
    EXPECT_EQ(buffer.getBufferData(), data);
    EXPECT_EQ(&buffer.getBufferData(), &std::as_const(buffer).getBufferData());
}

TEST(DefaultBuffer, CountsWholeStridesAndIgnoresTheOffset) {
    const auto data = std::make_shared<VectorBufferData>();
    DefaultBuffer buffer(FLOAT, 1, 8, 6, data);
    data->resize(23);
    EXPECT_EQ(buffer.getElementCount(), 2u);
    data->resize(24);
    EXPECT_EQ(buffer.getElementCount(), 3u);
    buffer.resize(5);
    EXPECT_EQ(data->getSizeInBytes(), 40u);
}

TEST(DefaultBuffer, ResizesAndCountsAReplacedStorage) {
    const auto first = std::make_shared<VectorBufferData>();
    const auto second = std::make_shared<VectorBufferData>();
    DefaultBuffer buffer(FLOAT, 1, 4, 0, first);
    buffer.resize(1);
    buffer.getBufferData() = second;
    EXPECT_EQ(first.use_count(), 1);
    buffer.resize(3);
    EXPECT_EQ(first->getSizeInBytes(), 4u);
    EXPECT_EQ(second->getSizeInBytes(), 12u);
}

TEST(DefaultBuffer, MayShareItsStorage) {
    const auto data = std::make_shared<VectorBufferData>();
    DefaultBuffer floats(FLOAT, 1, 4, 0, data);
    {
        DefaultBuffer bytes(BYTE, 1, 1, 0, data);
        bytes.resize(12);
    }
    EXPECT_EQ(data.use_count(), 2);
    EXPECT_EQ(floats.getElementCount(), 3u);
}

TEST(DefaultBuffer, ReadsTheStrideThroughItsVirtualGetter) {
    class WideBuffer : public DefaultBuffer {
    public:
        using DefaultBuffer::DefaultBuffer;
        unsigned long getElementStrideInBytes() const override { return 10; }
    };
    const auto data = std::make_shared<VectorBufferData>();
    WideBuffer buffer(FLOAT, 1, 4, 0, data);
    buffer.resize(2);
    EXPECT_EQ(data->getSizeInBytes(), 20u);
    EXPECT_EQ(buffer.getElementCount(), 2u);
}

TEST(DefaultBuffer, HoldsNoElementsWithAStrideOfZero) {
    const auto data = std::make_shared<VectorBufferData>();
    data->resize(8);
    DefaultBuffer buffer(static_cast<ComponentType>(0), 3, 0, 0, data);
    EXPECT_EQ(buffer.getElementCount(), 0u);
    buffer.resize(std::numeric_limits<unsigned long>::max());
    EXPECT_EQ(data->getSizeInBytes(), 0u);
    EXPECT_EQ(buffer.getElementCount(), 0u);
}

// 2^62 elements of 12 bytes are three times 2^64 bytes, which wrap around to none.
TEST(DefaultBuffer, RefusesASizeBeyond64BitsAndStaysUnchanged) {
    const auto data = std::make_shared<VectorBufferData>();
    DefaultBuffer buffer(FLOAT, 3, 12, 0, data);
    buffer.resize(2);
    EXPECT_THROW(buffer.resize(1UL << 62), std::length_error);
    EXPECT_THROW(buffer.resize(std::numeric_limits<unsigned long>::max() / 12 + 1), std::length_error);
    EXPECT_THROW(buffer.resize(std::numeric_limits<unsigned long>::max() / 12), std::length_error); // vector's limit
    EXPECT_EQ(data->getSizeInBytes(), 24u);
}

TEST(DefaultBuffer, HasTheSameTypeInfoForCallers) {
    const std::shared_ptr<BufferData> data = std::make_shared<VectorBufferData>();
    const std::shared_ptr<Buffer> buffer = std::make_shared<DefaultBuffer>(FLOAT, 1UL, 4UL, 0UL, data);
    const Buffer& interface = *buffer;
    const BufferData& storage = *data;
    EXPECT_EQ(typeid(interface), typeid(DefaultBuffer));
    EXPECT_EQ(typeid(storage), typeid(VectorBufferData));
}

} // namespace
