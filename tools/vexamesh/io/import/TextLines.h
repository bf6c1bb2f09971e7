#pragma once

#include "base/Bytes.h"

#include <algorithm>
#include <charconv>
#include <cstdlib>
#include <optional>
#include <string>
#include <string_view>
#include <type_traits>
#include <vector>

namespace vexa::tool {

/// The bytes of a file as text.
inline std::string_view textOf(const Bytes& content) {
    return {reinterpret_cast<const char*>(content.data()), content.size()};
}

/// Takes text apart, line by line and word by word.
class TextLines {
public:
    explicit TextLines(std::string_view text) : text_(text) {}

    /// The words of the next line; nothing after the last one.
    std::optional<std::vector<std::string_view>> next() {
        if (at_ >= text_.size()) {
            return std::nullopt;
        }
        const std::size_t end = std::min(text_.find_first_of("\r\n", at_), text_.size());
        std::vector<std::string_view> words;
        for (std::size_t begin = at_; begin < end;) {
            begin = std::min(text_.find_first_not_of(" \t", begin), end);
            const std::size_t stop = std::min(text_.find_first_of(" \t\r\n", begin), end);
            if (begin < stop) {
                words.push_back(text_.substr(begin, stop - begin));
            }
            begin = stop;
        }
        at_ = std::min(end + (text_.substr(end, 2) == "\r\n" ? 2 : 1), text_.size());
        ++number_;
        return words;
    }

    /// Of the line that was read last, from 1.
    [[nodiscard]] std::size_t number() const { return number_; }

    /// Where the next line begins.
    [[nodiscard]] std::size_t position() const { return at_; }

private:
    std::string_view text_;
    std::size_t at_ = 0;
    std::size_t number_ = 0;
};

/// Whether a whole word is a number of this type. A floating-point number that is too large is read as infinite.
template <typename T>
bool readNumber(std::string_view word, T& number) {
    if (word.starts_with('+')) {
        word.remove_prefix(1);
    }
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    if (word.empty() || end != word.data() + word.size()) {
        return false;
    }
    if constexpr (std::is_floating_point_v<T>) {
        if (error == std::errc::result_out_of_range) {
            number = static_cast<T>(std::strtod(std::string(word).c_str(), nullptr));
            return true;
        }
    }
    return error == std::errc();
}

/// A word of a file in quotes, as messages show it: cut off if it is long.
inline std::string quotedWord(std::string_view word) {
    constexpr std::size_t longest = 40;
    return '"' + std::string(word.substr(0, longest)) + (word.size() > longest ? "...\"" : "\"");
}

} // namespace vexa::tool
