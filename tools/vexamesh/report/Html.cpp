#include "report/Html.h"

#include "base/Json.h"

#include <algorithm>

namespace vexa::tool {

namespace {

bool isControl(char c) {
    const auto value = static_cast<unsigned char>(c);
    return (value < 0x20 && c != '\n' && c != '\t') || value == 0x7f;
}

/// Text with U+FFFD in place of bytes that are not UTF-8; file names may have some.
std::string asUtf8(std::string_view text) {
    const std::string quoted = compactText(text);
    return Json::parse(quoted).get<std::string>();
}

} // namespace

std::string escapeHtml(std::string_view text) {
    std::string result;
    result.reserve(text.size());
    for (const char c : asUtf8(text)) {
        switch (c) {
        case '&':
            result += "&amp;";
            break;
        case '<':
            result += "&lt;";
            break;
        case '>':
            result += "&gt;";
            break;
        case '"':
            result += "&quot;";
            break;
        case '\'':
            result += "&#39;";
            break;
        default:
            result += isControl(c) ? '?' : c;
        }
    }
    return result;
}

std::string escapeScript(std::string_view json) {
    std::string result;
    result.reserve(json.size());
    for (const char c : json) {
        if (c == '<') {
            result += "\\u003c";
        } else {
            result += c;
        }
    }
    return result;
}

std::string groupedText(std::uint64_t value) {
    std::string text = std::to_string(value);
    for (std::size_t i = text.size(); i > 3; i -= 3) {
        text.insert(text.begin() + static_cast<std::ptrdiff_t>(i - 3), ',');
    }
    return text;
}

std::string numberHtml(std::uint64_t value) {
    return "<data value=\"" + std::to_string(value) + "\">" + groupedText(value) + "</data>";
}

std::string shellWord(const std::string& text) {
    const auto isPlain = [](char c) {
        return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') ||
               std::string_view("-_./,:=+@%").find(c) != std::string_view::npos;
    };
    if (!text.empty() && std::all_of(text.begin(), text.end(), isPlain)) {
        return text;
    }
    std::string result = "'";
    for (const char c : text) {
        result += c == '\'' ? std::string("'\\''") : std::string(1, c);
    }
    return result + "'";
}

std::string base64(const unsigned char* data, std::size_t size) {
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string result;
    result.reserve((size + 2) / 3 * 4);
    for (std::size_t i = 0; i < size; i += 3) {
        std::uint32_t group = std::uint32_t{data[i]} << 16;
        group |= i + 1 < size ? std::uint32_t{data[i + 1]} << 8 : 0;
        group |= i + 2 < size ? std::uint32_t{data[i + 2]} : 0;
        result += digits[group >> 18];
        result += digits[group >> 12 & 63];
        result += i + 1 < size ? digits[group >> 6 & 63] : '=';
        result += i + 2 < size ? digits[group & 63] : '=';
    }
    return result;
}

} // namespace vexa::tool
