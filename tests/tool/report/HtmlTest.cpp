#ifdef VEXAMESH_WITH_REPORT

#include "report/Html.h"

#include <gtest/gtest.h>

namespace {

using namespace vexa::tool;

std::string base64Of(const std::string& text) {
    return base64(reinterpret_cast<const unsigned char*>(text.data()), text.size());
}

TEST(ReportHtml, EncodesBase64WithItsPadding) {
    EXPECT_EQ(base64Of(""), "");
    EXPECT_EQ(base64Of("f"), "Zg==");
    EXPECT_EQ(base64Of("fo"), "Zm8=");
    EXPECT_EQ(base64Of("foo"), "Zm9v");
    EXPECT_EQ(base64Of("foob"), "Zm9vYg==");
    EXPECT_EQ(base64Of("\xff\xfe\xfd"), "//79");
}

TEST(ReportHtml, EscapesMarkup) {
    EXPECT_EQ(escapeHtml("<a href=\"x\">'&'</a>"), "&lt;a href=&quot;x&quot;&gt;&#39;&amp;&#39;&lt;/a&gt;");
    EXPECT_EQ(escapeHtml("two\nlines\x01\x7f"), "two\nlines??");
    EXPECT_EQ(escapeHtml("Dreiecke \xc3\xa4"), "Dreiecke \xc3\xa4");
}

TEST(ReportHtml, ReplacesInvalidUtf8) {
    EXPECT_EQ(escapeHtml("a\xff z\xc3\xa4"), "a\xef\xbf\xbd z\xc3\xa4");
}

TEST(ReportHtml, KeepsAScriptElementOpen) {
    EXPECT_EQ(escapeScript("{\"name\":\"</script><!--\"}"), "{\"name\":\"\\u003c/script>\\u003c!--\"}");
}

TEST(ReportHtml, GroupsDigits) {
    EXPECT_EQ(groupedText(0), "0");
    EXPECT_EQ(groupedText(999), "999");
    EXPECT_EQ(groupedText(1000), "1,000");
    EXPECT_EQ(groupedText(1234567), "1,234,567");
}

TEST(ReportHtml, QuotesArgumentsThatAShellWouldSplit) {
    EXPECT_EQ(shellWord("models/part-1.glb"), "models/part-1.glb");
    EXPECT_EQ(shellWord("a b"), "'a b'");
    EXPECT_EQ(shellWord("it's"), "'it'\\''s'");
    EXPECT_EQ(shellWord("$HOME"), "'$HOME'");
    EXPECT_EQ(shellWord(""), "''");
}

} // namespace

#endif
