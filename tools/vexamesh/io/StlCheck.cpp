#include "io/LoaderChecks.h"

#include "Errors.h"
#include "io/TextLines.h"

#include <algorithm>
#include <span>
#include <string>

namespace vexa::tool {

namespace {

constexpr std::size_t binaryHeaderSize = 84;
constexpr std::size_t binaryFacetSize = 50;

char smallLetter(char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
}

bool isWord(std::string_view word, std::string_view small) {
    return std::equal(word.begin(), word.end(), small.begin(), small.end(),
                      [](char a, char b) { return smallLetter(a) == b; });
}

/// Whether it begins as text, and goes on as text: binary files may begin with the same word.
bool isText(const Bytes& content) {
    TextLines lines(content);
    bool isBegun = false;
    while (const auto words = lines.next()) {
        if (words->empty()) {
            continue;
        }
        const std::string_view keyword = words->front();
        if (isBegun && (isWord(keyword, "facet") || isWord(keyword, "endsolid"))) {
            return true;
        }
        if (!isBegun && !isWord(keyword, "solid")) {
            return false;
        }
        isBegun = true;
    }
    return false;
}

void checkText(const Bytes& content) {
    TextLines lines(content);
    std::size_t corners = 0;
    bool isOpen = false;
    bool isEnded = true;
    const auto require = [&](bool condition, const char* what) {
        if (!condition) {
            throw FormatError("line " + std::to_string(lines.number()) + ": " + what);
        }
    };
    while (const auto words = lines.next()) {
        const std::string_view keyword = words->empty() ? std::string_view() : words->front();
        if (isWord(keyword, "facet")) {
            require(!isOpen, "a facet begins inside another one");
            isOpen = true;
            isEnded = false;
            corners = 0;
        } else if (isWord(keyword, "vertex")) {
            double value = 0;
            require(isOpen, "a vertex outside of a facet");
            require(words->size() == 4 && std::all_of(words->begin() + 1, words->end(),
                                                      [&](std::string_view word) { return readNumber(word, value); }),
                    "no vertex of three numbers");
            ++corners;
        } else if (isWord(keyword, "endfacet")) {
            require(isOpen && corners == 3, "a facet ends that has not three vertices");
            isOpen = false;
        } else if (isWord(keyword, "endsolid")) {
            require(!isOpen, "the solid ends inside a facet");
            isEnded = true;
        }
    }
    if (isOpen || !isEnded) {
        throw FormatError(isOpen ? "is cut off inside a facet"
                                 : "is cut off: no \"endsolid\" comes after its last facet");
    }
}

/// Puts all words into small letters but the names of solids, and takes the blanks before the first away.
Bytes normalText(const Bytes& content) {
    const auto isBlank = [](unsigned char c) { return c == ' ' || c == '\t' || c == '\r' || c == '\n'; };
    Bytes text(std::find_if_not(content.begin(), content.end(), isBlank), content.end());
    TextLines lines(text);
    while (const auto words = lines.next()) {
        const bool isNamed = !words->empty() && (isWord(words->front(), "solid") || isWord(words->front(), "endsolid"));
        for (const std::string_view word : std::span(*words).first(isNamed ? 1 : words->size())) {
            const auto begin = text.begin() + (word.data() - reinterpret_cast<const char*>(text.data()));
            std::transform(word.begin(), word.end(), begin, smallLetter);
        }
    }
    return text;
}

std::uint64_t announcedFacets(const Bytes& content) {
    return content.size() < binaryHeaderSize ? 0 : loadValue<std::uint32_t>(content.data() + binaryHeaderSize - 4);
}

} // namespace

std::optional<Bytes> checkStl(const Bytes& content) {
    const std::uint64_t facets = announcedFacets(content);
    const std::uint64_t size = binaryHeaderSize + binaryFacetSize * facets;
    if (content.size() == size) {
        return std::nullopt;
    }
    if (isText(content)) {
        checkText(content);
        return normalText(content);
    }
    if (content.size() < size) {
        throw FormatError("is cut off: " + std::to_string(facets) + " facets would take " + std::to_string(size) +
                          " bytes, " + std::to_string(content.size()) + " are there");
    }
    throw FormatError("is broken: " + std::to_string(content.size() - size) + " bytes follow the " +
                      std::to_string(facets) + " facets that it announces");
}

} // namespace vexa::tool
