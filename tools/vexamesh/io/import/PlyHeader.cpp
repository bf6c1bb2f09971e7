#include "io/import/PlyHeader.h"

#include "base/Errors.h"
#include "io/import/TextLines.h"

#include <algorithm>
#include <array>
#include <optional>

namespace vexa::tool {

namespace {

std::optional<PlyType> typeOf(std::string_view name) {
    using enum PlyType;
    struct Type {
        std::string_view name, sizedName;
        PlyType type;
    };
    constexpr std::array<Type, 8> types{{{"char", "int8", Int8},
                                         {"uchar", "uint8", Uint8},
                                         {"short", "int16", Int16},
                                         {"ushort", "uint16", Uint16},
                                         {"int", "int32", Int32},
                                         {"uint", "uint32", Uint32},
                                         {"float", "float32", Float32},
                                         {"double", "float64", Float64}}};
    const auto* const found = std::find_if(
        types.begin(), types.end(), [&](const Type& type) { return type.name == name || type.sizedName == name; });
    return found == types.end() ? std::nullopt : std::optional(found->type);
}

class HeaderReader {
public:
    explicit HeaderReader(std::string_view text) : lines_(text) {}

    PlyFile read(std::size_t& size) {
        while (const auto words = lines_.next()) {
            if (!words->empty() && words->front() == "end_header") {
                if (!hasFormat_) {
                    throw FormatError("its header has no line \"format\"");
                }
                size = lines_.position();
                return std::move(file_);
            }
            if (!words->empty() && lines_.number() > 1) {
                readLine(*words);
            }
        }
        throw FormatError("is cut off: its header has no line \"end_header\"");
    }

private:
    using Words = std::vector<std::string_view>;

    void require(bool condition) const {
        if (!condition) {
            throw FormatError("line " + std::to_string(lines_.number()) + " of its header is not understood");
        }
    }

    void readLine(const Words& words) {
        const std::string_view keyword = words.front();
        if (keyword == "format") {
            require(words.size() >= 2);
            readFormat(words[1]);
        } else if (keyword == "element") {
            PlyElement& element = file_.elements.emplace_back();
            require(words.size() == 3 && readNumber(words[2], element.count));
            element.name = words[1];
        } else if (keyword == "property") {
            require(!file_.elements.empty());
            file_.elements.back().properties.push_back(propertyOf(words));
        } else if (keyword == "comment") {
            file_.comments.emplace_back(
                words.size() == 1 ? "" : std::string(words[1].data(), words.back().data() + words.back().size()));
        } else if (keyword != "obj_info") {
            // Some programs write comments without the keyword.
            file_.unknownLines.push_back(lines_.number());
        }
    }

    void readFormat(std::string_view name) {
        using enum PlyFile::Encoding;
        require(name == "ascii" || name == "binary_little_endian" || name == "binary_big_endian");
        file_.encoding = name == "ascii" ? Ascii : name == "binary_little_endian" ? LittleEndian : BigEndian;
        hasFormat_ = true;
    }

    [[nodiscard]] PlyProperty propertyOf(const Words& words) const {
        PlyProperty property;
        property.isList = words.size() > 1 && words[1] == "list";
        require(words.size() == (property.isList ? 5 : 3));
        const auto type = typeOf(words[words.size() - 2]);
        const auto countType = property.isList ? typeOf(words[2]) : PlyType::Uint8;
        require(type && countType && *countType != PlyType::Float32 && *countType != PlyType::Float64);
        property.type = *type;
        property.countType = *countType;
        property.name = words.back();
        return property;
    }

    TextLines lines_;
    PlyFile file_;
    bool hasFormat_ = false;
};

} // namespace

PlyFile parsePlyHeader(std::string_view text, std::size_t& size) {
    if (!text.starts_with("ply")) {
        throw FormatError("is not a PLY file: it does not begin with \"ply\"");
    }
    return HeaderReader(text).read(size);
}

} // namespace vexa::tool
