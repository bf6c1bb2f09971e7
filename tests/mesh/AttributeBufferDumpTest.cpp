#include <vexa/mesh/AttributeBufferDump.h>

#include <vexa/mesh/detail/DefaultAttributeBuffer.h>
#include <vexa/mesh/detail/VectorBufferData.h>

#include "support/Buffers.h"
#include "support/Foreign.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstring>
#include <iomanip>
#include <limits>
#include <sstream>

namespace {

using namespace vexa::mesh;
using detail::printAttributeBuffer;
using detail::printAttributeBufferComponent;
using detail::printAttributeBufferElement;
using vexa::test::attribute;
using vexa::test::Calls;
using vexa::test::ForeignAttributeBuffer;

std::string dump(const std::shared_ptr<AttributeBuffer>& buffer, bool printElements) {
    std::ostringstream os;
    printAttributeBuffer(os, buffer, printElements);
    return os.str();
}

template <typename T>
std::string component(ComponentType type, T value, std::ios_base& (*base)(std::ios_base&) = std::dec) {
    std::ostringstream os;
    os << base;
    // One byte off whatever alignment it had.
    unsigned char bytes[sizeof(T) + 1];
    std::memcpy(bytes + 1, &value, sizeof value);
    printAttributeBufferComponent(os, bytes + 1, type);
    return os.str();
}

TEST(AttributeBufferDump, WritesPropertiesAndElementsInTheFixedFormat) {
    EXPECT_EQ(dump(vexa::test::vec3f("normal", {{0, 0, 0}, {0, 1, 0}}), true), "AttributeBuffer:\n"
                                                                               "    attributeName            normal\n"
                                                                               "    componentType            float\n"
                                                                               "  > componentSizeInBytes     4\n"
                                                                               "    componentCountPerElement 3\n"
                                                                               "  > elementSizeInBytes       12\n"
                                                                               "    elementStrideInBytes     12\n"
                                                                               "    elementOffsetInBytes     0\n"
                                                                               "    elementCount             2\n"
                                                                               "    Elements:\n"
                                                                               "        0, 0, 0\n"
                                                                               "        0, 1, 0\n");
}

TEST(AttributeBufferDump, WritesNineLinesWithoutTheElements) {
    const std::string text = dump(vexa::test::zeros("a", 5), false);
    EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 9);
    EXPECT_TRUE(text.ends_with("\n    elementCount             5\n"));
}

TEST(AttributeBufferDump, EndsWithTheHeadingWhenThereAreNoElements) {
    EXPECT_TRUE(dump(vexa::test::zeros("a", 0), true).ends_with("    elementCount             0\n    Elements:\n"));
}

TEST(AttributeBufferDump, ReadsStrideAndOffset) {
    auto data = std::make_shared<detail::VectorBufferData>();
    const auto buffer = std::make_shared<detail::DefaultAttributeBuffer>(UNSIGNED_BYTE, 2UL, 4UL, 1UL, data, "b");
    buffer->resize(2);
    std::memcpy(data->getData(), "\0\1\2\0\0\3\4\0", 8);
    const std::string text = dump(buffer, true);
    EXPECT_NE(text.find("    componentType            unsigned byte\n"), std::string::npos);
    EXPECT_TRUE(text.ends_with("  > elementSizeInBytes       2\n"
                               "    elementStrideInBytes     4\n"
                               "    elementOffsetInBytes     1\n"
                               "    elementCount             2\n"
                               "    Elements:\n        1, 2\n        3, 4\n"));
}

TEST(AttributeBufferDump, WritesNoCommaForASingleComponent) {
    EXPECT_TRUE(dump(attribute<short>(SHORT, 1, "a", {5, -6}), true).ends_with("Elements:\n        5\n        -6\n"));
}

TEST(AttributeBufferDump, LeavesTheNameOfAnUnknownTypeEmpty) {
    const std::string text = dump(AttributeBuffer::createDefault(static_cast<ComponentType>(9), 3, "a"), true);
    EXPECT_NE(text.find("    componentType            \n  > componentSizeInBytes     0\n"), std::string::npos);
}

TEST(AttributeBufferDump, WritesEveryLineThroughAForeignImplementation) {
    const auto calls = std::make_shared<Calls>();
    const auto buffer = std::make_shared<ForeignAttributeBuffer>(BYTE, 2, "a", calls);
    buffer->resize(1);
    buffer->setElement(0, "\xff\x02");
    calls->clear();
    EXPECT_EQ(dump(buffer, true), "AttributeBuffer:\n"
                                  "    attributeName            a\n"
                                  "    componentType            byte\n"
                                  "  > componentSizeInBytes     1\n"
                                  "    componentCountPerElement 2\n"
                                  "  > elementSizeInBytes       2\n"
                                  "    elementStrideInBytes     1000\n"
                                  "    elementOffsetInBytes     7\n"
                                  "    elementCount             1\n"
                                  "    Elements:\n"
                                  "        -1, 2\n");
    EXPECT_EQ(std::count(calls->begin(), calls->end(), "a.getElement 0"), 1);
}

TEST(AttributeBufferDump, FlushesTheStreamAtEachLine) {
    class CountingBuffer : public std::stringbuf {
    public:
        int syncs = 0;

    protected:
        int sync() override {
            ++syncs;
            return 0;
        }
    };
    CountingBuffer sink;
    std::ostream os(&sink);
    printAttributeBuffer(os, vexa::test::zeros("a", 3), true);
    EXPECT_EQ(sink.syncs, 13);
}

TEST(AttributeBufferComponent, IsWrittenAsANumberAndNeverAsACharacter) {
    EXPECT_EQ(component<signed char>(BYTE, -1), "-1");
    EXPECT_EQ(component<signed char>(BYTE, 65), "65");
    EXPECT_EQ(component<unsigned char>(UNSIGNED_BYTE, 200), "200");
    EXPECT_EQ(component<short>(SHORT, -32768), "-32768");
    EXPECT_EQ(component<unsigned short>(UNSIGNED_SHORT, 65535), "65535");
    EXPECT_EQ(component<int>(INT, std::numeric_limits<int>::min()), "-2147483648");
    EXPECT_EQ(component<unsigned int>(UNSIGNED_INT, 4294967295U), "4294967295");
    EXPECT_EQ(component<float>(FLOAT, 0.1F), "0.1");
    EXPECT_EQ(component<float>(FLOAT, 16777217.0F), "1.67772e+07");
    EXPECT_EQ(component<float>(FLOAT, -std::numeric_limits<float>::infinity()), "-inf");
}

TEST(AttributeBufferComponent, KeepsTheWidthOfItsWrittenTypeInHexadecimal) {
    EXPECT_EQ(component<signed char>(BYTE, -1, std::hex), "ffffffff");
    EXPECT_EQ(component<unsigned char>(UNSIGNED_BYTE, 255, std::hex), "ff");
    EXPECT_EQ(component<short>(SHORT, -1, std::hex), "ffff");
    EXPECT_EQ(component<unsigned short>(UNSIGNED_SHORT, 65535, std::hex), "ffff");
    EXPECT_EQ(component<int>(INT, -1, std::hex), "ffffffff");
    EXPECT_EQ(component<unsigned int>(UNSIGNED_INT, 4294967295U, std::hex), "ffffffff");
}

TEST(AttributeBufferComponent, FollowsThePrecisionOfTheStream) {
    std::ostringstream os;
    const float tenth = 0.1F;
    os << std::setprecision(17);
    printAttributeBufferComponent(os, reinterpret_cast<const unsigned char*>(&tenth), FLOAT);
    EXPECT_EQ(os.str(), "0.10000000149011612");
}

TEST(AttributeBufferComponent, IsNotWrittenForAnUnknownType) {
    for (const int code : {0, 5119, 5127, -1}) {
        EXPECT_EQ(component<int>(static_cast<ComponentType>(code), 1), "") << code;
    }
}

TEST(AttributeBufferElement, SeparatesComponentsByCommaAndSpace) {
    const unsigned short values[] = {1, 2, 3};
    const auto* bytes = reinterpret_cast<const unsigned char*>(values);
    std::ostringstream os;
    printAttributeBufferElement(os, bytes, UNSIGNED_SHORT, 3);
    os << '|';
    printAttributeBufferElement(os, bytes, UNSIGNED_SHORT, 1);
    os << '|';
    printAttributeBufferElement(os, nullptr, UNSIGNED_SHORT, 0);
    os << '|';
    printAttributeBufferElement(os, bytes, static_cast<ComponentType>(0), 3);
    EXPECT_EQ(os.str(), "1, 2, 3|1||, , ");
}

} // namespace
