#include "base/Json.h"

#include "base/Errors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using vexa::tool::arrayMember;
using vexa::tool::FormatError;
using vexa::tool::indexMember;
using vexa::tool::indexValue;
using vexa::tool::Json;
using vexa::tool::objectMember;
using vexa::tool::optionalIndexMember;
using vexa::tool::parseJson;
using vexa::tool::stringMember;
using vexa::tool::unsignedMember;

/// The text of the `FormatError` that a call throws.
template <typename Call>
std::string errorOf(const Call& call) {
    try {
        call();
    } catch (const FormatError& error) {
        return error.what();
    }
    return "";
}

std::string nestedArrays(std::size_t depth) {
    return std::string(depth, '[') + std::string(depth, ']');
}

TEST(ParseJson, KeepsTheOrderOfMembers) {
    EXPECT_EQ(parseJson(R"({"z":1,"a":{"y":2,"b":3}})").dump(), R"({"z":1,"a":{"y":2,"b":3}})");
}

TEST(ParseJson, NamesTheByteOfAnError) {
    EXPECT_THAT(errorOf([] { parseJson(R"({"a":)"); }), HasSubstr("at byte 6"));
    EXPECT_THAT(errorOf([] {
                    parseJson("[1,2"
                              "] x");
                }),
                HasSubstr("at byte 7"));
    EXPECT_NE(errorOf([] { parseJson("[\"\xff\"]"); }), "");
}

TEST(ParseJson, RefusesDeepNesting) {
    EXPECT_NO_THROW(parseJson(nestedArrays(100)));
    EXPECT_THAT(errorOf([] { parseJson(nestedArrays(101)); }), HasSubstr("more than 100 deep"));
    EXPECT_THAT(errorOf([] { parseJson("{\"a\":" + nestedArrays(100) + "}"); }), HasSubstr("more than 100 deep"));
}

TEST(ParseJson, BracketsInStringsAreNotLevels) {
    const std::string text = R"({"a\\":"\"[)" + std::string(200, '[') + R"(\\","b":1})";
    EXPECT_EQ(parseJson(text)["b"], 1);
}

// If each object cost a walk over the array around it, this would take hours.
TEST(ParseJson, AcceptsLongArraysOfObjects) {
    constexpr std::size_t count = 3000000;
    std::string text = "[";
    for (std::size_t i = 0; i < count; ++i) {
        text += "{},";
    }
    EXPECT_EQ(parseJson(text + "{}]").size(), count + 1);
}

TEST(UnsignedMember, ReadsUnsignedIntegersOnly) {
    const Json object = Json::parse(R"({"a":18446744073709551615,"b":-1,"c":1.0,"d":"1","e":null})");
    EXPECT_EQ(unsignedMember(object, "a", "x"), 18446744073709551615U);
    for (const char* key : {"b", "c", "d", "e"}) {
        EXPECT_THAT(errorOf([&] { unsignedMember(object, key, "x"); }), HasSubstr(std::string("x.") + key)) << key;
    }
}

TEST(UnsignedMember, UsesTheFallbackForAnAbsentMemberOnly) {
    EXPECT_EQ(unsignedMember(Json::object(), "a", "x", 7), 7u);
    EXPECT_EQ(errorOf([] { unsignedMember(Json::object(), "a", "x"); }), "x.a is missing");
    EXPECT_EQ(errorOf([] { unsignedMember(Json::object(), "a", ""); }), "a is missing");
    EXPECT_NE(errorOf([] { unsignedMember(Json::parse(R"({"a":-1})"), "a", "x", 7); }), "");
}

TEST(UnsignedMember, AcceptsPlainIntsOfADocumentMadeInMemory) {
    EXPECT_EQ(unsignedMember({{"a", 3}}, "a", "x"), 3u);
}

TEST(IndexMember, RefusesReferencesBeyondTheArray) {
    const Json object = {{"a", 4}};
    EXPECT_EQ(indexMember(object, "a", "x", 5), 4u);
    EXPECT_EQ(errorOf([&] { indexMember(object, "a", "x", 4); }), "x.a is 4, but there are only 4");
    EXPECT_EQ(errorOf([&] { indexMember(object, "b", "x", 4); }), "x.b is missing");
    EXPECT_EQ(indexValue(object["a"], "y", 5), 4u);
    EXPECT_EQ(errorOf([&] { indexValue(object["a"], "y", 0); }), "y is 4, but there are only 0");
}

TEST(OptionalIndexMember, IsNothingForAnAbsentMemberOnly) {
    EXPECT_EQ(optionalIndexMember(Json::object(), "a", "x", 1), std::nullopt);
    EXPECT_EQ(optionalIndexMember({{"a", 0}}, "a", "x", 1), 0u);
    EXPECT_THROW(optionalIndexMember({{"a", 1}}, "a", "x", 1), FormatError);
    EXPECT_THROW(optionalIndexMember({{"a", nullptr}}, "a", "x", 1), FormatError);
}

TEST(ContainerMembers, AreEmptyIfAbsentAndRefusedIfOfAnotherType) {
    const Json object = Json::parse(R"({"list":[1],"map":{"a":1},"text":"b"})");
    EXPECT_EQ(arrayMember(object, "list", "x"), Json::parse("[1]"));
    EXPECT_EQ(arrayMember(object, "none", "x"), Json::array());
    EXPECT_THAT(errorOf([&] { arrayMember(object, "map", "x"); }), HasSubstr("x.map"));
    EXPECT_EQ(objectMember(object, "map", "x"), Json::parse(R"({"a":1})"));
    EXPECT_EQ(objectMember(object, "none", "x"), Json::object());
    EXPECT_THAT(errorOf([&] { objectMember(object, "list", "x"); }), HasSubstr("x.list"));
}

TEST(StringMember, IsEmptyForAnythingButAString) {
    const Json object = Json::parse(R"({"a":"text","b":1})");
    EXPECT_EQ(stringMember(object, "a"), "text");
    EXPECT_EQ(stringMember(object, "b"), "");
    EXPECT_EQ(stringMember(object, "c"), "");
}

} // namespace
