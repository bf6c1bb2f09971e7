#include "io/import/StlText.h"

#include "base/Errors.h"
#include "io/import/TextLines.h"

#include <algorithm>

namespace vexa::tool {

namespace {

constexpr std::string_view blanks = " \t\r\n";

bool isWord(std::string_view word, std::string_view small) {
    return std::equal(word.begin(), word.end(), small.begin(), small.end(),
                      [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; });
}

class Words {
public:
    explicit Words(std::string_view text) : text_(text) {}

    /// The next word without passing it; empty after the last one.
    [[nodiscard]] std::string_view peek() const { return wordFrom(at_); }

    /// The word after the next one.
    [[nodiscard]] std::string_view peekSecond() const {
        const std::string_view first = peek();
        return first.empty() ? first : wordFrom(endOf(first));
    }

    std::string_view take() {
        const std::string_view word = peek();
        at_ = word.empty() ? text_.size() : endOf(word);
        return word;
    }

    /// Whether a line ends before the next word.
    [[nodiscard]] bool isLineEnd() const {
        const std::string_view word = peek();
        const std::size_t begin = word.empty() ? text_.size() : endOf(word) - word.size();
        return text_.substr(at_, begin - at_).find_first_of("\r\n") != std::string_view::npos;
    }

    /// The line of the word that was taken last, from 1.
    [[nodiscard]] std::size_t line() const {
        std::size_t line = 1;
        for (std::size_t i = 0; i < at_ && i < text_.size(); ++i) {
            line += text_[i] == '\n' || (text_[i] == '\r' && text_.substr(i + 1, 1) != "\n") ? 1 : 0;
        }
        return line;
    }

private:
    [[nodiscard]] std::size_t endOf(std::string_view word) const {
        return static_cast<std::size_t>(word.data() - text_.data()) + word.size();
    }

    [[nodiscard]] std::string_view wordFrom(std::size_t at) const {
        const std::size_t begin = std::min(text_.find_first_not_of(blanks, at), text_.size());
        const std::size_t end = std::min(text_.find_first_of(blanks, begin), text_.size());
        return text_.substr(begin, end - begin);
    }

    std::string_view text_;
    std::size_t at_ = 0;
};

class SolidReader {
public:
    explicit SolidReader(std::string_view text) : words_(text) {}

    std::vector<StlSolid> read() {
        std::vector<StlSolid> solids;
        while (!words_.peek().empty()) {
            expect("solid");
            StlSolid& solid = solids.emplace_back();
            solid.name = readName();
            while (isWord(words_.peek(), "facet")) {
                readFacet(solid.positions);
            }
            if (words_.peek().empty()) {
                throw FormatError("is cut off: no \"endsolid\" comes after its last facet");
            }
            expect("endsolid");
            // The name once more, if anything.
            readName();
        }
        return solids;
    }

private:
    void expect(std::string_view keyword) {
        const std::string_view word = words_.take();
        if (word.empty()) {
            throw FormatError("is cut off inside a facet");
        }
        if (!isWord(word, keyword)) {
            fail("\"" + std::string(keyword) + "\" is expected, not " + quotedWord(word));
        }
    }

    [[noreturn]] void fail(const std::string& what) const {
        throw FormatError("line " + std::to_string(words_.line()) + ": " + what);
    }

    /// The rest of the line, or up to the next keyword where the whole file is a single line.
    std::string readName() {
        std::string_view name;
        while (!words_.isLineEnd() && !words_.peek().empty() && !isNextKeyword()) {
            const std::string_view word = words_.take();
            const char* const begin = name.empty() ? word.data() : name.data();
            name = {begin, static_cast<std::size_t>(word.data() + word.size() - begin)};
        }
        return std::string(name);
    }

    [[nodiscard]] bool isNextKeyword() const {
        const std::string_view word = words_.peek();
        return (isWord(word, "facet") && isWord(words_.peekSecond(), "normal")) || isWord(word, "endsolid") ||
               isWord(word, "solid");
    }

    void readFacet(std::vector<float>& positions) {
        expect("facet");
        expect("normal");
        for (int i = 0; i < 3; ++i) {
            readCoordinate("normal");
        }
        expect("outer");
        expect("loop");
        for (int corner = 0; corner < 3; ++corner) {
            expect("vertex");
            for (int i = 0; i < 3; ++i) {
                positions.push_back(readCoordinate("vertex"));
            }
        }
        expect("endloop");
        expect("endfacet");
    }

    float readCoordinate(const char* what) {
        const std::string_view word = words_.take();
        double value = 0;
        if (word.empty()) {
            throw FormatError("is cut off inside a facet");
        }
        if (!readNumber(word, value)) {
            fail(quotedWord(word) + " is not a number, but a " + what + " has three");
        }
        return static_cast<float>(value);
    }

    Words words_;
};

} // namespace

bool isStlText(std::string_view begin) {
    const std::string_view text = begin.substr(0, begin.find('\0'));
    Words words(text);
    if (!isWord(words.take(), "solid")) {
        return false;
    }
    // A name may take any number of words; what follows it tells text from binary.
    for (std::string_view word = words.take(); !word.empty(); word = words.take()) {
        if (isWord(word, "endsolid") || (isWord(word, "facet") && isWord(words.peek(), "normal"))) {
            return true;
        }
    }
    return false;
}

std::vector<StlSolid> readStlText(std::string_view text) {
    return SolidReader(text).read();
}

} // namespace vexa::tool
