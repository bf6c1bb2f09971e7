#include <vexa/mesh/IndexBuffer.h>

#include <vexa/mesh/detail/DefaultIndexBuffer.h>
#include <vexa/mesh/detail/VectorBufferData.h>

#include "support/Vtable.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <cstdint>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace {

using namespace vexa::mesh;
using detail::BufferData;
using detail::DefaultBuffer;
using detail::DefaultIndexBuffer;
using detail::VectorBufferData;
using vexa::test::vtableEntry;

const std::vector<ComponentType> integerTypes{BYTE, UNSIGNED_BYTE, SHORT, UNSIGNED_SHORT, INT, UNSIGNED_INT};

static_assert(std::is_abstract_v<IndexBuffer> && std::is_base_of_v<Buffer, IndexBuffer>);
// No field is added: the shared part, then the table pointer of the second base.
static_assert(sizeof(DefaultIndexBuffer<int>) == sizeof(DefaultBuffer) + 8);

DefaultBuffer& storageView(const std::shared_ptr<IndexBuffer>& buffer) {
    return dynamic_cast<DefaultBuffer&>(*buffer);
}

// Storage of a size that no index type divides, whose first byte is at an odd address.
class OddData : public BufferData {
public:
    explicit OddData(unsigned long size) : bytes_(size + 16) {}
    void* getData() override { return first(); }
    const void* getData() const override { return first(); }
    unsigned long getSizeInBytes() const override { return bytes_.size() - 16; }
    void resize(unsigned long sizeInBytes) override { bytes_.resize(sizeInBytes + 16); }

private:
    unsigned char* first() const {
        auto* bytes = const_cast<unsigned char*>(bytes_.data());
        return reinterpret_cast<std::uintptr_t>(bytes) % 2 == 1 ? bytes : bytes + 1;
    }
    std::vector<unsigned char> bytes_;
};

TEST(IndexBuffer, AddsItsTwoSlotsAfterThoseOfBuffer) {
    EXPECT_EQ(vtableEntry(&IndexBuffer::getElementCount), 8);
    EXPECT_EQ(vtableEntry(&IndexBuffer::resize), 9);
    EXPECT_EQ(vtableEntry(&IndexBuffer::getElement), 10);
    EXPECT_EQ(vtableEntry(&IndexBuffer::setElement), 11);
}

TEST(DefaultIndexBuffer, PutsTheStorageSlotsBeforeTheElementSlots) {
    using Index = DefaultIndexBuffer<short>;
    using Mutable = std::shared_ptr<BufferData>& (Index::*)();
    EXPECT_EQ(vtableEntry(&Index::getComponentType), 2);
    EXPECT_EQ(vtableEntry(&Index::resize), 9);
    EXPECT_EQ(vtableEntry(static_cast<Mutable>(&Index::getBufferData)), 10);
    EXPECT_EQ(vtableEntry(&Index::getElement), 12);
    EXPECT_EQ(vtableEntry(&Index::setElement), 13);
}

TEST(DefaultIndexBuffer, HasTheSharedImplementationAsItsFirstBase) {
    DefaultIndexBuffer<int> buffer(INT, 1, 4, 0, std::make_shared<VectorBufferData>());
    const auto* object = reinterpret_cast<const unsigned char*>(&buffer);
    EXPECT_EQ(static_cast<const void*>(static_cast<DefaultBuffer*>(&buffer)), object);
    EXPECT_EQ(static_cast<const void*>(static_cast<IndexBuffer*>(&buffer)), object + sizeof(DefaultBuffer));
}

TEST(CreateIndexBuffer, GivesTheClassOfTheType) {
    const auto classOf = [](ComponentType type) -> const std::type_info& {
        const std::shared_ptr<IndexBuffer> buffer = IndexBuffer::createDefault(type);
        const IndexBuffer& interface = *buffer;
        return typeid(interface);
    };
    EXPECT_EQ(classOf(BYTE), typeid(DefaultIndexBuffer<signed char>));
    EXPECT_EQ(classOf(UNSIGNED_BYTE), typeid(DefaultIndexBuffer<unsigned char>));
    EXPECT_EQ(classOf(SHORT), typeid(DefaultIndexBuffer<short>));
    EXPECT_EQ(classOf(UNSIGNED_SHORT), typeid(DefaultIndexBuffer<unsigned short>));
    EXPECT_EQ(classOf(INT), typeid(DefaultIndexBuffer<int>));
    EXPECT_EQ(classOf(UNSIGNED_INT), typeid(DefaultIndexBuffer<unsigned int>));
}

TEST(CreateIndexBuffer, GivesAnEmptyPointerForOtherTypes) {
    for (const int code : {5126, 0, 5119, 5127, -1, std::numeric_limits<int>::min()}) {
        EXPECT_EQ(IndexBuffer::createDefault(static_cast<ComponentType>(code)), nullptr) << code;
    }
}

TEST(CreateIndexBuffer, GivesAnEmptyTightlyPackedBuffer) {
    for (const ComponentType type : integerTypes) {
        const auto buffer = IndexBuffer::createDefault(type);
        const unsigned long size = getComponentSizeInBytes(type);
        EXPECT_EQ(buffer->getComponentType(), type);
        EXPECT_EQ(buffer->getElementCount(), 0u);
        EXPECT_EQ(buffer->getComponentCountPerElement(), 1u);
        EXPECT_EQ(buffer->getElementOffsetInBytes(), 0u);
        EXPECT_EQ(buffer->getComponentSizeInBytes(), size);
        EXPECT_EQ(buffer->getElementSizeInBytes(), size);
        EXPECT_EQ(buffer->getElementStrideInBytes(), size);
    }
}

TEST(CreateIndexBuffer, GivesStorageThatNobodyElseHolds) {
    const auto buffer = IndexBuffer::createDefault(INT);
    const std::shared_ptr<BufferData>& data = storageView(buffer).getBufferData();
    ASSERT_NE(data, nullptr);
    const BufferData& storage = *data;
    EXPECT_EQ(typeid(storage), typeid(VectorBufferData));
    EXPECT_EQ(data.use_count(), 1);
    EXPECT_EQ(data->getSizeInBytes(), 0u);
    EXPECT_EQ(buffer.use_count(), 1);
}

TEST(IndexBuffer, BothInterfacesGiveTheSameAnswers) {
    for (const ComponentType type : integerTypes) {
        const auto buffer = IndexBuffer::createDefault(type);
        Buffer& first = storageView(buffer);
        Buffer& second = *buffer;
        ASSERT_NE(&first, &second);
        first.resize(3);
        second.resize(second.getElementCount() + 2);
        EXPECT_EQ(first.getElementCount(), 5u);
        EXPECT_EQ(second.getElementCount(), 5u);
        EXPECT_EQ(first.getComponentType(), second.getComponentType());
        EXPECT_EQ(first.getComponentCountPerElement(), second.getComponentCountPerElement());
        EXPECT_EQ(first.getComponentSizeInBytes(), second.getComponentSizeInBytes());
        EXPECT_EQ(first.getElementSizeInBytes(), second.getElementSizeInBytes());
        EXPECT_EQ(first.getElementStrideInBytes(), second.getElementStrideInBytes());
        EXPECT_EQ(first.getElementOffsetInBytes(), second.getElementOffsetInBytes());
    }
}

TEST(IndexBuffer, ReadsZeroAfterGrowing) {
    const auto buffer = IndexBuffer::createDefault(UNSIGNED_SHORT);
    buffer->resize(10);
    EXPECT_EQ(storageView(buffer).getBufferData()->getSizeInBytes(), 20u);
    EXPECT_EQ(buffer->getElementCount(), 10u);
    for (unsigned long i = 0; i < 10; ++i) {
        EXPECT_EQ(buffer->getElement(i), 0u);
    }
}

TEST(IndexBuffer, ShrinkingKeepsTheLeadingElements) {
    const auto buffer = IndexBuffer::createDefault(UNSIGNED_INT);
    buffer->resize(4);
    for (unsigned long i = 0; i < 4; ++i) {
        buffer->setElement(i, 100 + i);
    }
    buffer->resize(2);
    EXPECT_EQ(buffer->getElementCount(), 2u);
    EXPECT_EQ(buffer->getElement(0), 100u);
    EXPECT_EQ(buffer->getElement(1), 101u);
}

TEST(IndexBuffer, StoresTheLowBitsAndWidensBySign) {
    struct Row {
        ComponentType type;
        unsigned long stored;
        unsigned long read;
    };
    constexpr unsigned long max = std::numeric_limits<unsigned long>::max();
    const std::vector<Row> rows{
        {UNSIGNED_BYTE, 300, 44},
        {UNSIGNED_BYTE, 255, 255},
        {BYTE, 255, max},
        {BYTE, 127, 127},
        {BYTE, 128, max - 127},
        {SHORT, 70000, 4464},
        {SHORT, 32768, max - 32767},
        {UNSIGNED_SHORT, 32768, 32768},
        {UNSIGNED_SHORT, 65536, 0},
        {INT, 2147483648UL, max - 2147483647UL},
        {INT, 4294967301UL, 5},
        {UNSIGNED_INT, max, 4294967295UL},
        {UNSIGNED_INT, 4294967296UL, 0},
    };
    for (const Row& row : rows) {
        const auto buffer = IndexBuffer::createDefault(row.type);
        buffer->resize(3);
        buffer->setElement(1, row.stored);
        EXPECT_EQ(buffer->getElement(1), row.read) << row.type << " " << row.stored;
        EXPECT_EQ(buffer->getElement(0), 0u);
        EXPECT_EQ(buffer->getElement(2), 0u);
    }
}

TEST(IndexBuffer, CountsOnlyWholeElementsOfAForeignStorage) {
    const auto buffer = IndexBuffer::createDefault(UNSIGNED_INT);
    storageView(buffer).getBufferData() = std::make_shared<OddData>(7);
    EXPECT_EQ(buffer->getElementCount(), 1u);
}

TEST(IndexBuffer, WorksOnUnalignedStorage) {
    for (const ComponentType type : integerTypes) {
        const auto buffer = IndexBuffer::createDefault(type);
        storageView(buffer).getBufferData() = std::make_shared<OddData>(27);
        buffer->setElement(2, 77);
        buffer->setElement(3, 78);
        EXPECT_EQ(buffer->getElement(2), 77u);
        EXPECT_EQ(buffer->getElement(3), 78u);
    }
}

TEST(IndexBuffer, SeesTheWritesOfAnotherBufferInSharedStorage) {
    const auto shorts = IndexBuffer::createDefault(UNSIGNED_SHORT);
    const auto bytes = IndexBuffer::createDefault(UNSIGNED_BYTE);
    shorts->resize(2);
    storageView(bytes).getBufferData() = storageView(shorts).getBufferData();
    shorts->setElement(1, 0x0102);
    const auto stored = std::bit_cast<std::array<unsigned char, 2>>(std::uint16_t{0x0102});
    EXPECT_EQ(bytes->getElementCount(), 4u);
    EXPECT_EQ(bytes->getElement(1), 0u);
    EXPECT_EQ(bytes->getElement(2), stored[0]);
    EXPECT_EQ(bytes->getElement(3), stored[1]);
}

TEST(IndexBuffer, ElementsIgnoreStrideAndOffset) {
    const auto data = std::make_shared<VectorBufferData>();
    DefaultIndexBuffer<unsigned short> buffer(UNSIGNED_SHORT, 1, 8, 4, data);
    buffer.resize(2);
    buffer.setElement(1, 9);
    EXPECT_EQ(buffer.getElement(1), 9u);
    const auto stored = std::bit_cast<std::array<unsigned char, 2>>(std::uint16_t{9});
    EXPECT_EQ(static_cast<const unsigned char*>(data->getData())[2], stored[0]);
    EXPECT_EQ(static_cast<const unsigned char*>(data->getData())[3], stored[1]);
    EXPECT_EQ(buffer.getElementCount(), 2u);
}

TEST(IndexBuffer, ElementWidthFollowsTheClassAndNotTheStoredType) {
    DefaultIndexBuffer<signed char> buffer(UNSIGNED_INT, 1, 4, 0, std::make_shared<VectorBufferData>());
    buffer.resize(1);
    buffer.setElement(3, 255);
    EXPECT_EQ(buffer.getElement(3), std::numeric_limits<unsigned long>::max());
    EXPECT_EQ(buffer.getComponentType(), UNSIGNED_INT);
    EXPECT_EQ(buffer.getComponentSizeInBytes(), 4u);
}

TEST(IndexBuffer, RefusesASizeBeyond64BitsAndStaysUnchanged) {
    const auto buffer = IndexBuffer::createDefault(UNSIGNED_INT);
    buffer->resize(2);
    EXPECT_THROW(buffer->resize(1UL << 62), std::length_error);
    EXPECT_EQ(buffer->getElementCount(), 2u);
}

TEST(IndexBuffer, StorageOutlivesTheBuffer) {
    auto buffer = IndexBuffer::createDefault(BYTE);
    buffer->resize(5);
    const std::shared_ptr<BufferData> data = storageView(buffer).getBufferData();
    buffer.reset();
    EXPECT_EQ(data.use_count(), 1);
    EXPECT_EQ(data->getSizeInBytes(), 5u);
}

} // namespace
