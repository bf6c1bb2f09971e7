#include "base/Text.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cmath>

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

std::string counted(std::size_t count, const std::string& noun) {
    return std::to_string(count) + " " + noun + (count == 1 ? "" : "s");
}

} // namespace vexa::tool
