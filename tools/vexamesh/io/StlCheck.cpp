#include "io/LoaderChecks.h"

#include "Errors.h"
#include "io/TextLines.h"

#include <string>

namespace vexa::tool {

namespace {

constexpr std::size_t binaryHeaderSize = 84;
constexpr std::size_t binaryFacetSize = 50;

bool isWord(std::string_view word, std::string_view small) {
    return std::equal(word.begin(), word.end(), small.begin(), small.end(),
                      [](char a, char b) { return (a >= 'A' && a <= 'Z' ? a - 'A' + 'a' : a) == b; });
}

void checkText(const Bytes& content) {
    TextLines lines(content);
    std::size_t corners = 0;
    bool isOpen = false;
    const auto require = [&](bool condition, const char* what) {
        if (!condition) {
            throw FormatError("line " + std::to_string(lines.number()) + ": " + what);
        }
    };
    while (const auto words = lines.next()) {
        if (words->empty()) {
            continue;
        }
        const std::string_view keyword = words->front();
        if (isWord(keyword, "facet")) {
            require(!isOpen, "a facet begins inside another one");
            isOpen = true;
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
        }
    }
    if (isOpen) {
        throw FormatError("is cut off inside a facet");
    }
}

} // namespace

void checkStl(const Bytes& content) {
    const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
    const std::uint64_t facets =
        content.size() < binaryHeaderSize ? 0 : loadValue<std::uint32_t>(content.data() + binaryHeaderSize - 4);
    const std::uint64_t binarySize = binaryHeaderSize + binaryFacetSize * facets;
    // Binary files may begin with the word of the others.
    const bool isText = text.starts_with("solid") && content.size() != binarySize;
    if (isText) {
        checkText(content);
    } else if (content.size() < binarySize || content.size() < binaryHeaderSize) {
        throw FormatError("is cut off: " + std::to_string(facets) + " facets would take " + std::to_string(binarySize) +
                          " bytes, " + std::to_string(content.size()) + " are there");
    }
}

} // namespace vexa::tool
