#include "io/gltf/Glb.h"

#include "base/Errors.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::HasSubstr;
using vexa::tool::appendValue;
using vexa::tool::Bytes;
using vexa::tool::FormatError;
using vexa::tool::joinGlb;
using vexa::tool::splitGlb;

/// Sets the file length in the header to the actual one.
Bytes withLength(Bytes file) {
    for (std::size_t i = 0; i < 4; ++i) {
        file[8 + i] = static_cast<unsigned char>(file.size() >> (8 * i));
    }
    return file;
}

std::string errorOf(const Bytes& file) {
    try {
        splitGlb(file);
    } catch (const FormatError& error) {
        return error.what();
    }
    return "";
}

TEST(JoinGlb, PadsJsonWithSpacesAndDataWithZeros) {
    const Bytes file = joinGlb("{\"a\":1}", {1, 2, 3, 4, 5});
    ASSERT_EQ(file.size(), 12u + 8 + 8 + 8 + 8);
    const auto chunks = splitGlb(file);
    EXPECT_EQ(chunks.json, "{\"a\":1} ");
    ASSERT_TRUE(chunks.binary.has_value());
    EXPECT_EQ(Bytes(chunks.binary->begin(), chunks.binary->end()), (Bytes{1, 2, 3, 4, 5, 0, 0, 0}));
}

TEST(JoinGlb, WritesNoChunkForNoData) {
    const Bytes file = joinGlb("{}", {});
    EXPECT_EQ(file.size(), 12u + 8 + 4);
    EXPECT_FALSE(splitGlb(file).binary.has_value());
}

TEST(SplitGlb, IgnoresChunksOfOtherTypes) {
    Bytes file = joinGlb("{}", {});
    for (const char type : {'X', 'Y'}) {
        appendValue(file, std::uint32_t{4});
        file.insert(file.end(), {static_cast<unsigned char>(type), 0, 0, 0, 9, 9, 9, 9});
    }
    EXPECT_EQ(splitGlb(withLength(file)).json, "{}  ");
    EXPECT_FALSE(splitGlb(withLength(file)).binary.has_value());
}

TEST(SplitGlb, RefusesAnyTruncation) {
    const Bytes whole = joinGlb("{}", {1, 2, 3, 4});
    for (std::size_t size = 0; size < whole.size(); ++size) {
        const Bytes cut(whole.begin(), whole.begin() + static_cast<std::ptrdiff_t>(size));
        EXPECT_NE(errorOf(cut), "") << size << " bytes";
        if (size > 12 && size != 24) {
            EXPECT_THAT(errorOf(withLength(cut)), HasSubstr("cut off")) << size << " bytes";
        }
    }
}

TEST(SplitGlb, RefusesOtherVersionsAndContainers) {
    Bytes file = joinGlb("{}", {});
    file[4] = 1;
    EXPECT_THAT(errorOf(file), HasSubstr("version 1"));
    file = joinGlb("{}", {});
    file[0] = 'G';
    EXPECT_NE(errorOf(file), "");
    file = joinGlb("{}", {});
    file[16] = 'X';
    EXPECT_THAT(errorOf(file), HasSubstr("the first chunk"));
}

TEST(HasGlbMagic, ComparesTheFirstFourBytes) {
    EXPECT_TRUE(vexa::tool::hasGlbMagic(Bytes{'g', 'l', 'T', 'F'}));
    EXPECT_FALSE(vexa::tool::hasGlbMagic(Bytes{'g', 'l', 'T'}));
    EXPECT_FALSE(vexa::tool::hasGlbMagic(Bytes{'g', 'l', 'T', 'f', 0}));
}

} // namespace
