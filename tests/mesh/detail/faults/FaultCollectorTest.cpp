#include <vexa/mesh/detail/faults/FaultCollector.h>

#include <gtest/gtest.h>

#include <charconv>
#include <cmath>
#include <limits>
#include <locale>
#include <random>
#include <string>

namespace {

using vexa::mesh::detail::numberText;

TEST(FaultCollectorNumberText, HasTheFewestDigits) {
    EXPECT_EQ(numberText(0.1), "0.1");
    EXPECT_EQ(numberText(1.0 / 3), "0.33333334");
    EXPECT_EQ(numberText(5), "5");
    EXPECT_EQ(numberText(-12.5), "-12.5");
    EXPECT_EQ(numberText(16777216), "16777216");
    EXPECT_EQ(numberText(0), "0");
    EXPECT_EQ(numberText(-0.0), "-0");
}

TEST(FaultCollectorNumberText, IsPlainUnlessAnExponentIsShorter) {
    EXPECT_EQ(numberText(1000), "1000");
    EXPECT_EQ(numberText(100000), "1e+05");
    EXPECT_EQ(numberText(0.001), "0.001");
    EXPECT_EQ(numberText(0.0001), "1e-04");
    EXPECT_EQ(numberText(std::numeric_limits<float>::max()), "3.4028235e+38");
    EXPECT_EQ(numberText(std::numeric_limits<float>::denorm_min()), "1e-45");
}

TEST(FaultCollectorNumberText, NamesValuesThatAreNotFinite) {
    EXPECT_EQ(numberText(std::numeric_limits<double>::quiet_NaN()), "nan");
    EXPECT_EQ(numberText(std::numeric_limits<double>::infinity()), "inf");
    EXPECT_EQ(numberText(-std::numeric_limits<double>::infinity()), "-inf");
}

/// Digits as in much of Europe.
class CommaDigits : public std::numpunct<char> {
protected:
    [[nodiscard]] char do_decimal_point() const override { return ','; }
    [[nodiscard]] char do_thousands_sep() const override { return '.'; }
    [[nodiscard]] std::string do_grouping() const override { return "\3"; }
};

TEST(FaultCollectorNumberText, DoesNotDependOnTheLocale) {
    const std::locale before = std::locale::global(std::locale(std::locale::classic(), new CommaDigits));
    const std::string fraction = numberText(0.25);
    const std::string large = numberText(12345);
    std::locale::global(before);
    EXPECT_EQ(fraction, "0.25");
    EXPECT_EQ(large, "12345");
}

#ifdef __cpp_lib_to_chars
TEST(FaultCollectorNumberText, IsThatOfTheStandardLibrary) {
    std::mt19937 random(1);
    for (int i = 0; i < 2000; ++i) {
        const float mantissa = static_cast<float>(random() % 2000001) - 1000000;
        const float number =
            i % 2 == 0 ? mantissa / 1000 : std::ldexp(mantissa, static_cast<int>(random() % 200) - 100);
        char digits[32];
        EXPECT_EQ(numberText(number), std::string(digits, std::to_chars(digits, digits + sizeof digits, number).ptr));
    }
}
#endif

} // namespace
