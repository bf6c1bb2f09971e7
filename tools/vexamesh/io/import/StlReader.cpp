#include "io/import/StlReader.h"

#include "base/Errors.h"
#include "base/Text.h"
#include "io/AssetBuilder.h"
#include "io/import/FaceSet.h"
#include "io/import/ImportedAttributes.h"
#include "io/import/RowTable.h"
#include "io/import/StlText.h"
#include "io/import/TextLines.h"

#include <array>
#include <optional>

namespace vexa::tool {

namespace {

constexpr std::size_t titleSize = 80;
constexpr std::size_t headerSize = 84;
constexpr std::size_t facetSize = 50;
constexpr std::size_t normalSize = 12;
constexpr std::size_t cornerSize = 12;
constexpr std::size_t cornersSize = 3 * cornerSize;

/// The triangles of a solid; corners with the same position are one vertex.
struct Welded {
    NewAttribute positions;
    FaceSet faces;
};

Welded weld(const Bytes& corners) {
    RowTable table(cornerSize);
    Welded result;
    result.faces.corners.reserve(corners.size() / cornerSize);
    for (std::size_t at = 0; at < corners.size(); at += cornerSize) {
        result.faces.corners.push_back(table.indexOf(corners.data() + at));
    }
    result.faces.sizes.assign(corners.size() / cornersSize, 3);
    std::vector<float> positions(table.size() * 3);
    std::memcpy(positions.data(), table.rows().data(), table.rows().size());
    result.positions = positionAttribute(positions);
    return result;
}

/// The two bytes after each facet of a binary file. They may hold a colour of 15 bits; which of two programs has written
/// it, the title tells.
class FacetColors {
public:
    explicit FacetColors(const Bytes& content) : content_(content) {
        const std::string_view title = textOf(content).substr(0, titleSize);
        const std::size_t at = title.find("COLOR=");
        if (at != std::string_view::npos && at + 10 <= titleSize) {
            solidColor_.emplace();
            std::copy_n(content.begin() + static_cast<std::ptrdiff_t>(at + 6), 4, solidColor_->begin());
        }
    }

    /// A colour for each facet; nothing if none of them has one.
    [[nodiscard]] std::optional<NewAttribute> read(std::size_t facets, std::vector<std::string>& leftOut) const {
        NewAttribute attribute{"COLOR_0", {}};
        attribute.values.componentType = mesh::UNSIGNED_BYTE;
        attribute.values.type = "VEC4";
        attribute.values.normalized = true;
        attribute.values.components = 4;
        attribute.values.count = facets;
        std::size_t colored = 0;
        std::size_t others = 0;
        for (std::size_t f = 0; f < facets; ++f) {
            const auto word = loadValue<std::uint16_t>(content_.data() + headerSize + (f + 1) * facetSize - 2);
            const bool isColor = solidColor_ || (word & 0x8000) != 0;
            colored += isColor ? 1 : 0;
            others += !isColor && word != 0 ? 1 : 0;
            const std::array<unsigned char, 4> color = colorOf(word);
            attribute.values.bytes.insert(attribute.values.bytes.end(), color.begin(), color.end());
        }
        if (others > 0) {
            leftOut.push_back("attribute bytes of " + counted(others, "facet") + ", which are not colours");
        }
        return colored > 0 ? std::optional(std::move(attribute)) : std::nullopt;
    }

private:
    [[nodiscard]] std::array<unsigned char, 4> colorOf(std::uint16_t word) const {
        constexpr std::array<unsigned char, 4> white{255, 255, 255, 255};
        // With a colour of the solid the highest bit says that a facet has none of its own; without, that it has one.
        const bool isOwn = ((word & 0x8000) != 0) != solidColor_.has_value();
        if (!isOwn) {
            return solidColor_.value_or(white);
        }
        const auto part = [&](int shift) { return static_cast<unsigned char>(((word >> shift & 31) * 255 + 15) / 31); };
        return solidColor_ ? std::array<unsigned char, 4>{part(0), part(5), part(10), 255}
                           : std::array<unsigned char, 4>{part(10), part(5), part(0), 255};
    }

    const Bytes& content_;
    std::optional<std::array<unsigned char, 4>> solidColor_;
};

/// The facets that a binary file announces.
std::uint64_t announcedFacets(std::string_view begin) {
    return begin.size() < headerSize
               ? 0
               : loadValue<std::uint32_t>(reinterpret_cast<const unsigned char*>(begin.data()) + titleSize);
}

std::uint64_t binarySize(std::uint64_t facets) {
    return headerSize + facetSize * facets;
}

void addSolid(const std::string& name, Welded solid, AssetBuilder& builder, std::vector<std::string>& leftOut) {
    builder.addMesh(name, makePrimitives({solid.positions}, {&solid.faces, 1}, leftOut));
}

void addBinary(const Bytes& content, AssetBuilder& builder, std::vector<std::string>& leftOut) {
    const std::size_t facets = (content.size() - headerSize) / facetSize;
    Bytes corners;
    corners.reserve(facets * cornersSize);
    for (std::size_t f = 0; f < facets; ++f) {
        const auto begin = content.begin() + static_cast<std::ptrdiff_t>(headerSize + f * facetSize + normalSize);
        corners.insert(corners.end(), begin, begin + static_cast<std::ptrdiff_t>(cornersSize));
    }
    if (facets == 0) {
        return;
    }
    Welded solid = weld(corners);
    if (auto colors = FacetColors(content).read(facets, leftOut)) {
        solid.faces.faceAttributes.push_back(std::move(*colors));
    }
    addSolid("", std::move(solid), builder, leftOut);
}

void addText(std::string_view text, AssetBuilder& builder, std::vector<std::string>& leftOut) {
    for (const StlSolid& solid : readStlText(text)) {
        if (solid.positions.empty()) {
            leftOut.push_back("solid " + quotedWord(solid.name) + ": it has no facets");
            continue;
        }
        Bytes corners(solid.positions.size() * sizeof(float));
        std::memcpy(corners.data(), solid.positions.data(), corners.size());
        addSolid(solid.name, weld(corners), builder, leftOut);
    }
}

} // namespace

void checkStlSize(std::string_view begin, std::uint64_t fileSize) {
    const std::uint64_t facets = announcedFacets(begin);
    const std::uint64_t size = binarySize(facets);
    if (fileSize == size || isStlText(begin)) {
        return;
    }
    if (fileSize < size) {
        throw FormatError("is cut off: " + counted(facets, "facet") + " would take " + std::to_string(size) +
                          " bytes, " + std::to_string(fileSize) + " are there");
    }
    throw FormatError("is damaged: " + std::to_string(fileSize - size) + " bytes follow the " +
                      counted(facets, "facet") + " that it announces");
}

Asset readStl(const Bytes& content) {
    constexpr std::size_t beginSize = 1 << 16;
    checkStlSize(textOf(content).substr(0, beginSize), content.size());
    AssetBuilder builder;
    std::vector<std::string> leftOut;
    if (content.size() == binarySize(announcedFacets(textOf(content)))) {
        addBinary(content, builder, leftOut);
    } else {
        addText(textOf(content), builder, leftOut);
    }
    return builder.finish(std::move(leftOut));
}

} // namespace vexa::tool
