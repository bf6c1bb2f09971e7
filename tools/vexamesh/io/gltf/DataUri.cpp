#include "io/gltf/DataUri.h"

#include "base/Errors.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace vexa::tool {

namespace {

constexpr std::string_view base64Digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> makeDigits() {
    std::array<std::int8_t, 256> digits{};
    digits.fill(-1);
    std::int8_t value = 0;
    for (const char c : base64Digits) {
        digits[static_cast<unsigned char>(c)] = value++;
    }
    return digits;
}

Bytes decodeBase64(std::string_view text) {
    constexpr std::array<std::int8_t, 256> digits = makeDigits();
    while (!text.empty() && text.back() == '=') {
        text.remove_suffix(1);
    }
    if (text.size() % 4 == 1) {
        throw FormatError("malformed base64");
    }
    Bytes content;
    content.reserve(text.size() / 4 * 3 + 2);
    std::uint32_t pending = 0;
    int bits = 0;
    for (const char c : text) {
        const int digit =
            digits[static_cast<unsigned char>(c)]; // NOLINT(bugprone-signed-char-misuse): a number, -1 for none
        if (digit < 0) {
            throw FormatError("malformed base64");
        }
        pending = pending << 6 | static_cast<std::uint32_t>(digit);
        bits += 6;
        if (bits >= 8) {
            bits -= 8;
            content.push_back(static_cast<unsigned char>(pending >> bits & 0xff));
        }
    }
    return content;
}

int hexValue(char c) {
    if (c >= '0' && c <= '9') {
        return c - '0';
    }
    const char lower = static_cast<char>(c | 0x20);
    return lower >= 'a' && lower <= 'f' ? lower - 'a' + 10 : -1;
}

} // namespace

std::optional<DataUri> decodeDataUri(std::string_view uri) {
    constexpr std::string_view scheme = "data:";
    constexpr std::string_view encoding = ";base64";
    if (!uri.starts_with(scheme)) {
        return std::nullopt;
    }
    uri.remove_prefix(scheme.size());
    const std::size_t comma = uri.find(',');
    if (comma == std::string_view::npos || !uri.substr(0, comma).ends_with(encoding)) {
        throw FormatError("data URI that is not in base64");
    }
    const std::string_view header = uri.substr(0, comma - encoding.size());
    return DataUri{std::string(header.substr(0, header.find(';'))), decodeBase64(uri.substr(comma + 1))};
}

std::string decodePercent(std::string_view text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const int high = text[i] == '%' && i + 2 < text.size() ? hexValue(text[i + 1]) : -1;
        const int low = high >= 0 ? hexValue(text[i + 2]) : -1;
        if (low >= 0) {
            decoded += static_cast<char>(high * 16 + low);
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

std::string encodePercent(std::string_view text) {
    constexpr std::string_view unreserved = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789-._~";
    constexpr std::string_view digits = "0123456789ABCDEF";
    std::string encoded;
    for (const char c : text) {
        if (unreserved.find(c) != std::string_view::npos) {
            encoded += c;
        } else {
            const auto byte = static_cast<unsigned char>(c);
            encoded += '%';
            encoded += digits[byte >> 4U];
            encoded += digits[byte & 15U];
        }
    }
    return encoded;
}

} // namespace vexa::tool
