#include "io/import/OffReader.h"

#include "base/Errors.h"
#include "base/Text.h"
#include "io/AssetBuilder.h"
#include "io/import/FaceSet.h"
#include "io/import/ImportedAttributes.h"
#include "io/import/TextLines.h"

#include <algorithm>
#include <array>
#include <map>

namespace vexa::tool {

namespace {

/// The values on a vertex line beside its position.
struct OffKind {
    bool hasTexcoords = false;
    bool hasColors = false;
    bool hasNormals = false;
    bool isHomogeneous = false;
};

/// The kind that a keyword such as "STCNOFF" announces; nothing if it is none.
std::optional<OffKind> kindOf(std::string_view keyword) {
    OffKind kind;
    const auto takePrefix = [&](std::string_view prefix) {
        const bool isThere = keyword.starts_with(prefix);
        keyword.remove_prefix(isThere ? prefix.size() : 0);
        return isThere;
    };
    kind.hasTexcoords = takePrefix("ST");
    kind.hasColors = takePrefix("C");
    kind.hasNormals = takePrefix("N");
    kind.isHomogeneous = takePrefix("4");
    return keyword == "OFF" ? std::optional(kind) : std::nullopt;
}

/// Faces that have the same number of colour components.
struct ColoredFaces {
    FaceSet set;
    std::vector<float> colors;
};

class OffConverter {
public:
    explicit OffConverter(const Bytes& content) : lines_(textOf(content)) {}

    Asset convert() {
        const auto [vertices, faces] = readHeader();
        for (std::uint64_t i = 0; i < vertices; ++i) {
            readVertex(nextLine(announced(vertices, "vertices", i)));
        }
        for (std::uint64_t i = 0; i < faces; ++i) {
            readFace(nextLine(announced(faces, "faces", i)), vertices);
        }
        reportRest();
        const std::vector<NewAttribute> attributes = vertexAttributes(vertices);
        std::vector<NewPrimitive> primitives = makePrimitives(attributes, faceSets(), leftOut_);
        if (primitives.empty() && vertices > 0) {
            primitives.push_back(makePoints(attributes));
        }
        AssetBuilder builder;
        if (!primitives.empty()) {
            builder.addMesh("", primitives);
        }
        return builder.finish(std::move(leftOut_));
    }

private:
    using Words = std::vector<std::string_view>;

    static std::string announced(std::uint64_t count, const char* what, std::uint64_t there) {
        return "all of its " + std::to_string(count) + " " + what + ", " + std::to_string(there) + " are there";
    }

    [[noreturn]] void fail(const std::string& what) const {
        throw FormatError("line " + std::to_string(lines_.number()) + " " + what);
    }

    /// The words of the next line that has any, without its comment; nothing after the last one.
    std::optional<Words> findLine() {
        while (auto words = lines_.next()) {
            const auto comment = std::find_if(words->begin(), words->end(), [](std::string_view& word) {
                const std::size_t sign = word.find('#');
                word = word.substr(0, sign);
                return sign != std::string_view::npos;
            });
            // The word with the sign may have begun before it.
            words->erase(comment == words->end() || comment->empty() ? comment : comment + 1, words->end());
            if (!words->empty()) {
                return words;
            }
        }
        return std::nullopt;
    }

    Words nextLine(const std::string& what) {
        if (auto words = findLine()) {
            return *words;
        }
        throw FormatError("is cut off before " + what);
    }

    std::array<std::uint64_t, 2> readHeader() {
        Words words = nextLine("the word OFF");
        const std::optional<OffKind> kind = kindOf(words.front());
        if (!kind) {
            throw FormatError(words.front().ends_with("OFF")
                                  ? quotedWord(words.front()) + " is a kind of OFF file that is not supported"
                                  : "is not an OFF file: it does not begin with \"OFF\"");
        }
        kind_ = *kind;
        words.erase(words.begin());
        if (!words.empty() && words.front() == "BINARY") {
            throw FormatError("is a binary OFF file, which is not supported; convert it to a text OFF or PLY file");
        }
        if (words.empty()) {
            words = nextLine("the numbers of vertices and faces");
        }
        std::array<std::uint64_t, 2> counts{};
        for (std::size_t i = 0; i < counts.size(); ++i) {
            if (i >= words.size() || !readNumber(words[i], counts[i])) {
                fail("does not hold the numbers of vertices and faces");
            }
        }
        return counts;
    }

    void readVertex(const Words& words) {
        std::size_t at = 0;
        const auto take = [&](std::size_t count, std::vector<float>& values, const std::string& what) {
            for (std::size_t i = 0; i < count; ++i, ++at) {
                double value = 0;
                if (at >= words.size() || !readNumber(words[at], value)) {
                    fail("is not a vertex with " + what);
                }
                values.push_back(static_cast<float>(value));
            }
        };
        take(3, positions_, "three coordinates");
        if (kind_.isHomogeneous) {
            std::vector<float> scale;
            take(1, scale, "four coordinates");
            std::for_each(positions_.end() - 3, positions_.end(), [&](float& value) { value /= scale[0]; });
        }
        if (kind_.hasNormals) {
            take(3, normals_, "a normal of three numbers");
        }
        if (kind_.hasColors) {
            // Alpha may be absent; texture coordinates come last.
            const std::size_t rest = words.size() - std::min(words.size(), at + (kind_.hasTexcoords ? 2 : 0));
            take(3, colors_, "a colour of three or four numbers");
            if (rest > 3) {
                take(1, colors_, "a colour of four numbers");
            }
            const std::size_t components = rest > 3 ? 4 : 3;
            if (colorComponents_ != 0 && colorComponents_ != components) {
                fail("has a colour of " + std::to_string(components) + " numbers, after others of " +
                     std::to_string(colorComponents_));
            }
            colorComponents_ = components;
        }
        if (kind_.hasTexcoords) {
            take(2, texcoords_, "texture coordinates of two numbers");
        }
        verticesWithMore_ += at < words.size() ? 1 : 0;
    }

    void readFace(const Words& words, std::uint64_t vertices) {
        std::uint64_t corners = 0;
        if (!readNumber(words[0], corners) || corners == 0 || corners >= words.size()) {
            fail("is not a face: it does not hold as many vertices as it announces");
        }
        std::vector<float> color;
        for (auto word = words.begin() + 1 + static_cast<std::ptrdiff_t>(corners); word != words.end(); ++word) {
            double value = 0;
            if (!readNumber(*word, value)) {
                fail("has " + quotedWord(*word) + " after a face, which is not a colour");
            }
            color.push_back(static_cast<float>(value));
        }
        if (color.size() != 3 && color.size() != 4) {
            facesWithMore_ += color.empty() ? 0 : 1;
            color.clear();
        }
        ColoredFaces& faces = faces_[color.size()];
        for (std::size_t i = 1; i <= corners; ++i) {
            std::uint64_t vertex = 0;
            if (!readNumber(words[i], vertex) || vertex >= vertices) {
                fail("names vertex " + quotedWord(words[i]) + ", but there are only " + std::to_string(vertices));
            }
            faces.set.corners.push_back(static_cast<unsigned int>(vertex));
        }
        faces.set.sizes.push_back(static_cast<unsigned int>(corners));
        faces.colors.insert(faces.colors.end(), color.begin(), color.end());
    }

    void reportRest() {
        std::size_t lines = 0;
        while (findLine()) {
            ++lines;
        }
        if (lines > 0) {
            leftOut_.push_back(counted(lines, "line") + " after the last face");
        }
        if (verticesWithMore_ > 0) {
            leftOut_.push_back("further numbers in the lines of vertices, which the keyword does not announce");
        }
        if (facesWithMore_ > 0) {
            leftOut_.push_back("colours of " + counted(facesWithMore_, "face") +
                               ", which are not of three or four numbers");
        }
    }

    std::vector<NewAttribute> vertexAttributes(std::uint64_t vertices) {
        std::vector<NewAttribute> attributes{positionAttribute(positions_)};
        if (kind_.hasNormals && vertices > 0) {
            addNormals(attributes, std::move(normals_), leftOut_);
        }
        if (kind_.hasTexcoords && vertices > 0) {
            addTexcoords(attributes, std::move(texcoords_), leftOut_);
        }
        if (kind_.hasColors && vertices > 0) {
            scaleByteColors(colors_, colorComponents_);
            addColors(attributes, std::move(colors_), colorComponents_, leftOut_);
        }
        return attributes;
    }

    std::vector<FaceSet> faceSets() {
        std::vector<FaceSet> sets;
        std::size_t dropped = 0;
        for (auto& [components, faces] : faces_) {
            if (components > 0 && kind_.hasColors) {
                dropped += faces.set.sizes.size();
            } else if (components > 0) {
                scaleByteColors(faces.colors, components);
                addColors(faces.set.faceAttributes, std::move(faces.colors), components, leftOut_);
            }
            sets.push_back(std::move(faces.set));
        }
        if (dropped > 0) {
            leftOut_.push_back("colours of " + counted(dropped, "face") + ": the vertices have colours");
        }
        return sets;
    }

    TextLines lines_;
    OffKind kind_;
    std::vector<float> positions_, normals_, colors_, texcoords_;
    std::size_t colorComponents_ = 0;
    std::size_t verticesWithMore_ = 0;
    std::size_t facesWithMore_ = 0;
    std::map<std::size_t, ColoredFaces> faces_; ///< by the number of their colours' components
    std::vector<std::string> leftOut_;
};

} // namespace

Asset readOff(const Bytes& content) {
    return OffConverter(content).convert();
}

} // namespace vexa::tool
