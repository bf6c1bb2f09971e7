#include <vexa/mesh/AttributeBuffer.h>

#include <vexa/mesh/detail/DefaultAttributeBuffer.h>
#include <vexa/mesh/detail/VectorBufferData.h>

#include "support/Vtable.h"

#include <gtest/gtest.h>

#include <array>
#include <bit>
#include <limits>
#include <stdexcept>
#include <type_traits>
#include <typeinfo>

namespace {

using namespace vexa::mesh;
using detail::BufferData;
using detail::DefaultAttributeBuffer;
using detail::DefaultBuffer;
using detail::VectorBufferData;
using vexa::test::vtableEntry;
using Vec3 = std::array<float, 3>;

static_assert(std::is_abstract_v<AttributeBuffer> && std::is_base_of_v<Buffer, AttributeBuffer>);
// The shared part, the table pointer of the second base, the second count and the name.
static_assert(sizeof(DefaultAttributeBuffer) == sizeof(DefaultBuffer) + 8 + 8 + sizeof(std::string));

DefaultBuffer& storageView(const std::shared_ptr<AttributeBuffer>& buffer) {
    return dynamic_cast<DefaultBuffer&>(*buffer);
}

Vec3 vec3At(const AttributeBuffer& buffer, unsigned long index) {
    Vec3 value;
    buffer.getElement(index, value.data());
    return value;
}

TEST(AttributeBuffer, AddsItsFiveSlotsAfterThoseOfBuffer) {
    EXPECT_EQ(vtableEntry(&AttributeBuffer::resize), 9);
    EXPECT_EQ(vtableEntry(&AttributeBuffer::getElement), 10);
    EXPECT_EQ(vtableEntry(&AttributeBuffer::setElement), 11);
    EXPECT_EQ(vtableEntry(&AttributeBuffer::getComponent), 12);
    EXPECT_EQ(vtableEntry(&AttributeBuffer::setComponent), 13);
    EXPECT_EQ(vtableEntry(&AttributeBuffer::getAttributeName), 14);
    EXPECT_EQ(vtableEntry(&AttributeBuffer::isVec3f), -1);
    EXPECT_EQ(vtableEntry(&AttributeBuffer::isCompatible), -1);
}

TEST(DefaultAttributeBuffer, PutsTheStorageSlotsBeforeTheElementSlots) {
    using Mutable = std::shared_ptr<BufferData>& (DefaultAttributeBuffer::*)();
    using Constant = const std::shared_ptr<BufferData>& (DefaultAttributeBuffer::*)() const;
    EXPECT_EQ(vtableEntry(static_cast<Mutable>(&DefaultAttributeBuffer::getBufferData)), 10);
    EXPECT_EQ(vtableEntry(static_cast<Constant>(&DefaultAttributeBuffer::getBufferData)), 11);
    EXPECT_EQ(vtableEntry(&DefaultAttributeBuffer::getElement), 12);
    EXPECT_EQ(vtableEntry(&DefaultAttributeBuffer::setElement), 13);
    EXPECT_EQ(vtableEntry(&DefaultAttributeBuffer::getComponent), 14);
    EXPECT_EQ(vtableEntry(&DefaultAttributeBuffer::setComponent), 15);
    EXPECT_EQ(vtableEntry(&DefaultAttributeBuffer::getAttributeName), 16);
}

TEST(DefaultAttributeBuffer, HasTheSharedImplementationAsItsFirstBaseAndItsFieldsAfterBoth) {
    DefaultAttributeBuffer buffer(SHORT, 77, 154, 0, std::make_shared<VectorBufferData>(), "n");
    const auto* object = reinterpret_cast<const unsigned char*>(&buffer);
    EXPECT_EQ(static_cast<const void*>(static_cast<DefaultBuffer*>(&buffer)), object);
    EXPECT_EQ(static_cast<const void*>(static_cast<AttributeBuffer*>(&buffer)), object + sizeof(DefaultBuffer));
    unsigned long secondCount;
    std::memcpy(&secondCount, object + sizeof(DefaultBuffer) + 8, sizeof secondCount);
    EXPECT_EQ(secondCount, 77u);
}

TEST(CreateAttributeBuffer, ThreeFloatsAreTightlyPackedAndEmpty) {
    const auto buffer = AttributeBuffer::createDefaultVec3f("position");
    EXPECT_EQ(buffer->getComponentType(), FLOAT);
    EXPECT_EQ(buffer->getComponentCountPerElement(), 3u);
    EXPECT_EQ(buffer->getComponentSizeInBytes(), 4u);
    EXPECT_EQ(buffer->getElementSizeInBytes(), 12u);
    EXPECT_EQ(buffer->getElementStrideInBytes(), 12u);
    EXPECT_EQ(buffer->getElementOffsetInBytes(), 0u);
    EXPECT_EQ(buffer->getElementCount(), 0u);
    EXPECT_EQ(buffer->getAttributeName(), "position");
    const AttributeBuffer& interface = *buffer;
    EXPECT_EQ(typeid(interface), typeid(DefaultAttributeBuffer));
}

TEST(CreateAttributeBuffer, TwoFloatsAreTightlyPacked) {
    const auto buffer = AttributeBuffer::createDefaultVec2f("uv");
    EXPECT_EQ(buffer->getComponentType(), FLOAT);
    EXPECT_EQ(buffer->getComponentCountPerElement(), 2u);
    EXPECT_EQ(buffer->getElementStrideInBytes(), 8u);
    EXPECT_EQ(buffer->getAttributeName(), "uv");
}

TEST(CreateAttributeBuffer, AcceptsAnyTypeAndCount) {
    for (const ComponentType type : {BYTE, UNSIGNED_BYTE, SHORT, UNSIGNED_SHORT, INT, UNSIGNED_INT, FLOAT}) {
        for (const unsigned long count : {1UL, 4UL, 17UL}) {
            const auto buffer = AttributeBuffer::createDefault(type, count, "a");
            EXPECT_EQ(buffer->getComponentType(), type);
            EXPECT_EQ(buffer->getComponentCountPerElement(), count);
            EXPECT_EQ(buffer->getElementSizeInBytes(), getComponentSizeInBytes(type) * count);
            EXPECT_EQ(buffer->getElementStrideInBytes(), getComponentSizeInBytes(type) * count);
        }
    }
    EXPECT_EQ(AttributeBuffer::createDefault(UNSIGNED_INT, 1, "a")->getElementSizeInBytes(), 4u);
}

TEST(CreateAttributeBuffer, AcceptsEmptyNamesAndNamesOfAnyBytes) {
    const std::string name("a\0b\xff", 4);
    EXPECT_EQ(AttributeBuffer::createDefault(BYTE, 1, name)->getAttributeName(), name);
    EXPECT_EQ(AttributeBuffer::createDefault(BYTE, 1, "")->getAttributeName(), "");
}

TEST(CreateAttributeBuffer, HoldsNoElementsOfAnUnknownTypeOrWithoutComponents) {
    const auto unknown = AttributeBuffer::createDefault(static_cast<ComponentType>(1), 3, "a");
    const auto none = AttributeBuffer::createDefault(FLOAT, 0, "a");
    for (const auto& buffer : {unknown, none}) {
        buffer->resize(5);
        EXPECT_EQ(buffer->getElementStrideInBytes(), 0u);
        EXPECT_EQ(buffer->getElementSizeInBytes(), 0u);
        EXPECT_EQ(buffer->getElementCount(), 0u);
        unsigned char untouched = 42;
        buffer->getElement(0, &untouched);
        buffer->setElement(0, &untouched);
        EXPECT_EQ(untouched, 42);
    }
    EXPECT_EQ(none->getComponentSizeInBytes(), 4u);
}

TEST(AttributeBuffer, BothInterfacesGiveTheSameAnswers) {
    const auto buffer = AttributeBuffer::createDefault(UNSIGNED_SHORT, 3, "a");
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

TEST(AttributeBuffer, ReadsZeroAfterGrowing) {
    const auto buffer = AttributeBuffer::createDefaultVec3f("position");
    buffer->resize(5);
    EXPECT_EQ(storageView(buffer).getBufferData()->getSizeInBytes(), 60u);
    for (unsigned long i = 0; i < 5; ++i) {
        EXPECT_EQ(vec3At(*buffer, i), (Vec3{0, 0, 0}));
    }
}

TEST(AttributeBuffer, SettingAComponentLeavesTheOthers) {
    const auto buffer = AttributeBuffer::createDefaultVec3f("position");
    buffer->resize(4);
    const Vec3 before{1, 2, 3};
    buffer->setElement(2, before.data());
    const float y = 20;
    buffer->setComponent(2, 1, &y);
    EXPECT_EQ(vec3At(*buffer, 2), (Vec3{1, 20, 3}));
    EXPECT_EQ(vec3At(*buffer, 1), (Vec3{0, 0, 0}));
    EXPECT_EQ(vec3At(*buffer, 3), (Vec3{0, 0, 0}));
    float z = 0;
    buffer->getComponent(2, 2, &z);
    EXPECT_EQ(z, 3);
}

TEST(AttributeBuffer, ShrinkingKeepsTheLeadingElements) {
    const auto buffer = AttributeBuffer::createDefaultVec3f("position");
    buffer->resize(3);
    const Vec3 value{7, 8, 9};
    buffer->setElement(0, value.data());
    buffer->resize(1);
    EXPECT_EQ(buffer->getElementCount(), 1u);
    EXPECT_EQ(vec3At(*buffer, 0), value);
}

TEST(AttributeBuffer, CopiesBytesUnchangedFromAndToAnyAddress) {
    const auto buffer = AttributeBuffer::createDefault(FLOAT, 2, "a");
    buffer->resize(2);
    // Two signalling NaNs of different payloads, at an odd address.
    alignas(8) const std::array<unsigned char, 9> in{0, 1, 2, 0x80, 0x7f, 4, 5, 0xa0, 0xff};
    alignas(8) std::array<unsigned char, 9> out{};
    buffer->setElement(1, in.data() + 1);
    buffer->getElement(1, out.data() + 1);
    EXPECT_EQ(out, in);
}

TEST(AttributeBuffer, PlacesElementsByStrideAndOffset) {
    const auto data = std::make_shared<VectorBufferData>();
    DefaultAttributeBuffer buffer(SHORT, 2, 10, 3, data, "a");
    buffer.resize(3);
    const std::array<short, 2> value{0x0102, 0x0304};
    const auto first = std::bit_cast<std::array<unsigned char, 2>>(value[0]);
    const auto last = std::bit_cast<std::array<unsigned char, 2>>(value[1]);
    buffer.setElement(1, value.data());
    const auto* bytes = static_cast<const unsigned char*>(data->getData());
    EXPECT_EQ(data->getSizeInBytes(), 30u);
    EXPECT_EQ(bytes[13], first[0]);
    EXPECT_EQ(bytes[14], first[1]);
    EXPECT_EQ(bytes[15], last[0]);
    EXPECT_EQ(bytes[16], last[1]);
    short second = 0;
    buffer.getComponent(1, 1, &second);
    EXPECT_EQ(second, 0x0304);
    buffer.setComponent(0, 1, &second);
    EXPECT_EQ(bytes[4], 0);
    EXPECT_EQ(bytes[5], last[0]);
    EXPECT_EQ(bytes[6], last[1]);
    std::array<short, 2> read{};
    buffer.getElement(1, read.data());
    EXPECT_EQ(read, value);
}

TEST(AttributeBuffer, ReadsEverySizeThroughItsVirtualGetter) {
    class OtherSizes : public DefaultAttributeBuffer {
    public:
        using DefaultAttributeBuffer::DefaultAttributeBuffer;
        unsigned long getElementStrideInBytes() const override { return 4; }
        unsigned long getElementOffsetInBytes() const override { return 1; }
        unsigned long getElementSizeInBytes() const override { return 2; }
        unsigned long getComponentSizeInBytes() const override { return 1; }
    };
    const auto data = std::make_shared<VectorBufferData>();
    OtherSizes buffer(FLOAT, 3, 12, 0, data, "a");
    buffer.resize(3);
    buffer.setElement(1, "ab");
    buffer.setComponent(2, 2, "c");
    EXPECT_EQ(std::memcmp(data->getData(), "\0\0\0\0\0ab\0\0\0\0c", 12), 0);
    std::array<char, 3> out{'x', 'x', 'x'};
    buffer.getElement(1, out.data());
    EXPECT_EQ(out, (std::array<char, 3>{'a', 'b', 'x'}));
    buffer.getComponent(2, 2, out.data());
    EXPECT_EQ(out, (std::array<char, 3>{'c', 'b', 'x'}));
}

TEST(AttributeBuffer, RefusesASizeBeyond64BitsAndStaysUnchanged) {
    const auto buffer = AttributeBuffer::createDefaultVec3f("position");
    buffer->resize(2);
    EXPECT_THROW(buffer->resize(std::numeric_limits<unsigned long>::max()), std::length_error);
    EXPECT_EQ(buffer->getElementCount(), 2u);
}

TEST(IsVec3f, IsTrueForThreeFloatsOnly) {
    EXPECT_TRUE(AttributeBuffer::createDefaultVec3f("a")->isVec3f());
    EXPECT_FALSE(AttributeBuffer::createDefaultVec2f("a")->isVec3f());
    EXPECT_FALSE(AttributeBuffer::createDefault(INT, 3, "a")->isVec3f());
    EXPECT_FALSE(AttributeBuffer::createDefault(FLOAT, 4, "a")->isVec3f());
}

TEST(IsCompatible, ComparesTypeAndCountOnly) {
    const auto position = AttributeBuffer::createDefaultVec3f("position");
    const auto normal = AttributeBuffer::createDefaultVec3f("normal");
    normal->resize(3);
    EXPECT_TRUE(position->isCompatible(normal));
    EXPECT_TRUE(normal->isCompatible(position));
    EXPECT_TRUE(position->isCompatible(position));
    EXPECT_FALSE(position->isCompatible(AttributeBuffer::createDefaultVec2f("position")));
    EXPECT_FALSE(position->isCompatible(AttributeBuffer::createDefault(INT, 3, "position")));
    const std::shared_ptr<AttributeBuffer> strided = std::make_shared<DefaultAttributeBuffer>(
        FLOAT, 3UL, 32UL, 8UL, std::make_shared<VectorBufferData>(), "position");
    EXPECT_TRUE(position->isCompatible(strided));
}

// A buffer that knows its type and must not be asked for its count.
class TypeOnly : public DefaultAttributeBuffer {
public:
    explicit TypeOnly(ComponentType type)
        : DefaultAttributeBuffer(type, 3, 4, 0, std::make_shared<VectorBufferData>(), "a") {}
    unsigned long getComponentCountPerElement() const override { throw std::logic_error("asked for the count"); }
};

TEST(IsVec3f, AsksForTheCountOfFloatsOnly) {
    EXPECT_FALSE(TypeOnly(INT).isVec3f());
    EXPECT_THROW((void)TypeOnly(FLOAT).isVec3f(), std::logic_error);
}

TEST(IsCompatible, AsksForTheCountsOnlyWhenTheTypesAgree) {
    const std::shared_ptr<AttributeBuffer> other = std::make_shared<TypeOnly>(INT);
    EXPECT_FALSE(TypeOnly(SHORT).isCompatible(other));
    EXPECT_THROW((void)TypeOnly(INT).isCompatible(other), std::logic_error);
}

} // namespace
