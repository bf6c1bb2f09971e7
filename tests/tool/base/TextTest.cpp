#include "base/Text.h"

#include <gtest/gtest.h>

namespace {

using vexa::tool::counted;
using vexa::tool::nearestWord;

TEST(NearestWord, FindsWordsWithFewOtherLetters) {
    const std::vector<std::string> words{"strip", "unstrip", "merge", "--json", "--join"};
    EXPECT_EQ(nearestWord("strp", words), "strip");
    EXPECT_EQ(nearestWord("sstrip", words), "strip");
    EXPECT_EQ(nearestWord("unstrop", words), "unstrip");
    EXPECT_EQ(nearestWord("mrege", words), "merge");
    EXPECT_EQ(nearestWord("--jsn", words), "--json");
    EXPECT_EQ(nearestWord("--joi", words), "--join");
}

TEST(NearestWord, FindsWordsByTheirBeginning) {
    EXPECT_EQ(nearestWord("val", {"strip", "validate"}), "validate");
    EXPECT_EQ(nearestWord("v", {"strip", "validate"}), "");
}

TEST(NearestWord, FindsNothingFarOff) {
    EXPECT_EQ(nearestWord("explode", {"strip", "validate"}), "");
    EXPECT_EQ(nearestWord("", {"strip"}), "");
}

TEST(Counted, UsesThePluralOfANoun) {
    EXPECT_EQ(counted(1, "strip"), "1 strip");
    EXPECT_EQ(counted(0, "strip"), "0 strips");
    EXPECT_EQ(counted(2, "vertex", "vertices"), "2 vertices");
}

} // namespace
