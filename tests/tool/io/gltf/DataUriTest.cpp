#include "io/gltf/DataUri.h"

#include "base/Errors.h"

#include <gtest/gtest.h>

namespace {

using vexa::tool::Bytes;
using vexa::tool::decodeDataUri;
using vexa::tool::decodePercent;
using vexa::tool::encodePercent;
using vexa::tool::FormatError;

TEST(DecodeDataUri, ReadsTheTypeAndTheBytes) {
    const auto uri = decodeDataUri("data:image/png;base64,AP+A");
    ASSERT_TRUE(uri.has_value());
    EXPECT_EQ(uri->mimeType, "image/png");
    EXPECT_EQ(uri->content, (Bytes{0x00, 0xff, 0x80}));
}

TEST(DecodeDataUri, ReadsPaddedAndUnpaddedEnds) {
    EXPECT_EQ(decodeDataUri("data:;base64,")->content, Bytes());
    EXPECT_EQ(decodeDataUri("data:;base64,/w==")->content, Bytes{0xff});
    EXPECT_EQ(decodeDataUri("data:;base64,/w")->content, Bytes{0xff});
    EXPECT_EQ(decodeDataUri("data:;base64,//8=")->content, (Bytes{0xff, 0xff}));
}

TEST(DecodeDataUri, LeavesParametersOutOfTheType) {
    EXPECT_EQ(decodeDataUri("data:text/plain;charset=utf-8;base64,YQ==")->mimeType, "text/plain");
}

TEST(DecodeDataUri, GivesNothingForOtherUris) {
    EXPECT_FALSE(decodeDataUri("buffer.bin").has_value());
    EXPECT_FALSE(decodeDataUri("").has_value());
}

TEST(DecodeDataUri, RefusesOtherEncodingsAndMalformedBase64) {
    for (const char* uri : {"data:", "data:text/plain,abc", "data:;base64", "data:;base64,A", "data:;base64,AAAAA",
                            "data:;base64,A*AA", "data:;base64,AA=A", "data:;base64,AA A"}) {
        EXPECT_THROW(decodeDataUri(uri), FormatError) << uri;
    }
}

TEST(DecodePercent, ReplacesCompleteEscapesOnly) {
    EXPECT_EQ(decodePercent("a%20b%C3%a4.png"), "a b\xc3\xa4.png");
    EXPECT_EQ(decodePercent("100%"), "100%");
    EXPECT_EQ(decodePercent("%4"), "%4");
    EXPECT_EQ(decodePercent("%4g%g4"), "%4g%g4");
    EXPECT_EQ(decodePercent("%41"), "A");
}

TEST(EncodePercent, IsDecodedToTheSameText) {
    EXPECT_EQ(encodePercent("a-1.b~_"), "a-1.b~_");
    EXPECT_EQ(encodePercent("a b%?#\xc3\xa4.bin"), "a%20b%25%3F%23%C3%A4.bin");
    std::string all;
    for (int c = 1; c < 256; ++c) {
        all += static_cast<char>(c);
    }
    EXPECT_EQ(decodePercent(encodePercent(all)), all);
}

} // namespace
