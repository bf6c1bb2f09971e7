#pragma once

#include "io/Bytes.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <string_view>
#include <vector>

namespace vexa::tool {

/// Takes text apart, line by line and word by word.
class TextLines {
public:
    explicit TextLines(const Bytes& content) : text_(reinterpret_cast<const char*>(content.data()), content.size()) {}

    /// The words of the next line; nothing behind the last one.
    std::optional<std::vector<std::string_view>> next() {
        if (at_ >= text_.size()) {
            return std::nullopt;
        }
        const std::size_t end = std::min(text_.find_first_of("\r\n", at_), text_.size());
        std::vector<std::string_view> words;
        for (std::size_t begin = at_; begin < end;) {
            begin = std::min(text_.find_first_not_of(" \t", begin), end);
            const std::size_t stop = std::min(text_.find_first_of(" \t", begin), end);
            if (begin < stop) {
                words.push_back(text_.substr(begin, stop - begin));
            }
            begin = stop;
        }
        at_ = end + (text_.substr(end, 2) == "\r\n" ? 2 : 1);
        ++number_;
        return words;
    }

    /// Of the line that was read last, from 1.
    [[nodiscard]] std::size_t number() const { return number_; }

private:
    std::string_view text_;
    std::size_t at_ = 0;
    std::size_t number_ = 0;
};

/// Whether a whole word is a number of this type.
template <typename T>
bool readNumber(std::string_view word, T& number) {
    if (word.starts_with('+')) {
        word.remove_prefix(1);
    }
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    // A number beyond the range of its type is one, too: what it means is the loader's to say.
    return !word.empty() && end == word.data() + word.size() &&
           (error == std::errc() || error == std::errc::result_out_of_range);
}

} // namespace vexa::tool
