#include "reference/ReferenceDecode.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using namespace reference;

TEST(ReferenceDecode, ReadsEachTypeInItsWinding) {
    EXPECT_EQ(decode(trianglesCode, {0, 1, 2, 3, 4, 5, 6}), (Indices{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(decode(stripCode, {0, 1, 2, 3, 4}), (Indices{0, 1, 2, 2, 1, 3, 2, 3, 4}));
    EXPECT_EQ(decode(fanCode, {0, 1, 2, 3, 1}), (Indices{0, 1, 2, 0, 2, 3, 0, 3, 1}));
    EXPECT_EQ(decode(stripCode, {0, 1}), Indices{});
    EXPECT_THROW(decode(3, {0, 1, 2}), std::invalid_argument);
}

TEST(ReferenceDecode, DropsCollapsedTrianglesAndKeepsTheParity) {
    EXPECT_EQ(decode(stripCode, {0, 1, 2, 1, 3, 4}), (Indices{0, 1, 2, 2, 1, 3, 3, 1, 4}));
    EXPECT_EQ(withoutCollapsed({0, 0, 1, 0, 1, 0, 1, 0, 0, 0, 1, 2}), (Indices{0, 1, 2}));
}

TEST(ReferenceDecode, StartsOverAfterARestart) {
    EXPECT_EQ(decode(stripCode, {0, 1, 2, 3, restartIndex, 4, 5, 6}), (Indices{0, 1, 2, 2, 1, 3, 4, 5, 6}));
    EXPECT_EQ(decode(stripCode, {0, 1, 2, restartIndex, restartIndex, 4, 5, 6, restartIndex}),
              (Indices{0, 1, 2, 4, 5, 6}));
    EXPECT_EQ(decode(fanCode, {0, 1, 2, restartIndex, 4, 5, 6}), (Indices{0, 1, 2, 4, 5, 6}));
    EXPECT_EQ(decode(trianglesCode, {0, 1, restartIndex, 4, 5, 6}), (Indices{4, 5, 6}));
}

TEST(ReferenceDecode, CanonicalFormIgnoresOnlyOrderAndFirstCorner) {
    EXPECT_EQ(canonical({5, 3, 4, 2, 0, 1}), (Indices{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(canonical({3, 0, 0}), canonical({0, 3, 0}));
    EXPECT_NE(canonical({0, 1, 2}), canonical({0, 2, 1}));
    EXPECT_NE(canonical({0, 1, 2}), canonical({0, 1, 2, 0, 1, 2}));
}

} // namespace
