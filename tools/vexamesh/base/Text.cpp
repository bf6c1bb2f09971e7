#include "base/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>
#include <numeric>
#include <utility>

namespace vexa::tool {

std::string fixedText(double value, int digits) {
    if (!std::isfinite(value)) {
        return "-";
    }
    std::array<char, 400> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), value, std::chars_format::fixed, digits).ptr;
    return {text.data(), end};
}

std::string shortText(double value) {
    std::array<char, 64> text{};
    const auto end = std::to_chars(text.data(), text.data() + text.size(), static_cast<float>(value)).ptr;
    return {text.data(), end};
}

std::string pointText(double x, double y, double z) {
    std::string text = "(";
    for (const double value : {x, y}) {
        text += shortText(value);
        text += ", ";
    }
    text += shortText(z);
    text += ')';
    return text;
}

std::string printable(const std::string& text) {
    std::string result = text;
    std::replace_if(
        result.begin(), result.end(),
        [](char c) { return static_cast<unsigned char>(c) < 0x20 || static_cast<unsigned char>(c) == 0x7f; }, '?');
    return result;
}

namespace {

/// Letters to insert, remove or replace, to get from one word to the other.
std::size_t editDistance(const std::string& a, const std::string& b) {
    std::vector<std::size_t> row(b.size() + 1);
    std::iota(row.begin(), row.end(), std::size_t{0});
    for (std::size_t i = 0; i < a.size(); ++i) {
        std::size_t diagonal = std::exchange(row[0], i + 1);
        for (std::size_t j = 0; j < b.size(); ++j) {
            const std::size_t replaced = diagonal + (a[i] == b[j] ? 0 : 1);
            diagonal = std::exchange(row[j + 1], std::min({replaced, row[j] + 1, row[j + 1] + 1}));
        }
    }
    return row.back();
}

} // namespace

std::string nearestWord(const std::string& text, const std::vector<std::string>& words) {
    constexpr std::size_t shortestBeginning = 3;
    const auto begins = std::find_if(words.begin(), words.end(), [&](const std::string& word) {
        return text.size() >= shortestBeginning && word.starts_with(text);
    });
    if (begins != words.end()) {
        return *begins;
    }
    std::size_t distance = std::max<std::size_t>(1, (text.size() + 1) / 3) + 1;
    std::string nearest;
    for (const std::string& word : words) {
        if (const std::size_t other = editDistance(text, word); other < distance) {
            distance = other;
            nearest = word;
        }
    }
    return nearest;
}

std::string counted(std::size_t count, const std::string& noun) {
    return counted(count, noun, noun + "s");
}

std::string counted(std::size_t count, const std::string& noun, const std::string& plural) {
    return std::to_string(count) + " " + (count == 1 ? noun : plural);
}

} // namespace vexa::tool
