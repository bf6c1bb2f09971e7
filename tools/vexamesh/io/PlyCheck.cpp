#include "io/LoaderChecks.h"

#include "Errors.h"

#include <algorithm>
#include <charconv>
#include <optional>
#include <sstream>
#include <string>
#include <string_view>

namespace vexa::tool {

namespace {

enum class Encoding { Ascii, LittleEndian, BigEndian };

/// Bytes of a scalar; 0 for an unknown type.
std::size_t sizeOf(std::string_view type) {
    struct Type {
        std::string_view name;
        std::size_t size;
    };
    constexpr Type types[] = {{"char", 1},   {"uchar", 1},   {"int8", 1},   {"uint8", 1},  {"short", 2}, {"ushort", 2},
                              {"int16", 2},  {"uint16", 2},  {"int", 4},    {"uint", 4},   {"float", 4}, {"int32", 4},
                              {"uint32", 4}, {"float32", 4}, {"double", 8}, {"float64", 8}};
    const auto* found = std::find_if(std::begin(types), std::end(types), [&](const Type& t) { return t.name == type; });
    return found == std::end(types) ? 0 : found->size;
}

struct Property {
    std::size_t size = 0;      ///< of the scalar, or of an entry of the list
    std::size_t countSize = 0; ///< of a list's length; 0: no list
    bool isCountFloat = false;
};

struct Element {
    std::string name;
    std::uint64_t count = 0;
    std::vector<Property> properties;
};

struct Header {
    Encoding encoding = Encoding::Ascii;
    std::vector<Element> elements;
    std::size_t size = 0; ///< where the entries begin
};

/// Takes up one line of a header; false when it is not understood.
bool readLine(const std::string& line, Header& header) {
    std::istringstream words(line);
    std::string keyword;
    words >> keyword;
    if (keyword == "format") {
        std::string format;
        words >> format;
        header.encoding = format == "ascii"                  ? Encoding::Ascii
                          : format == "binary_little_endian" ? Encoding::LittleEndian
                                                             : Encoding::BigEndian;
        return format == "ascii" || format.starts_with("binary_");
    }
    if (keyword == "element") {
        Element& element = header.elements.emplace_back();
        return static_cast<bool>(words >> element.name >> element.count);
    }
    if (keyword == "property") {
        std::string type;
        words >> type;
        Property property;
        if (type == "list") {
            std::string entry;
            words >> type >> entry;
            property.countSize = sizeOf(type);
            property.isCountFloat = type.starts_with("float") || type == "double";
            property.size = sizeOf(entry);
        } else {
            property.size = sizeOf(type);
        }
        if (header.elements.empty() || property.size == 0 || (type != "list" && sizeOf(type) == 0)) {
            return false;
        }
        header.elements.back().properties.push_back(property);
        return true;
    }
    return keyword.empty() || keyword == "ply" || keyword == "comment" || keyword == "obj_info";
}

std::optional<Header> readHeader(std::string_view text) {
    if (!text.starts_with("ply")) {
        throw FormatError("no PLY file: it does not begin with \"ply\"");
    }
    Header header;
    bool isUnderstood = true;
    while (header.size < text.size()) {
        const std::size_t end = std::min(text.find('\n', header.size), text.size() - 1);
        std::string line(text.substr(header.size, end - header.size));
        header.size = end + 1;
        while (!line.empty() && (line.back() == '\r' || line.back() == ' ')) {
            line.pop_back();
        }
        if (line == "end_header") {
            return isUnderstood ? std::optional(header) : std::nullopt;
        }
        isUnderstood = isUnderstood && readLine(line, header);
    }
    // The loader would look for it for ever.
    throw FormatError("is cut off: its header has no line \"end_header\"");
}

/// Steps over the scalars of the entries.
class Walker {
public:
    Walker(std::string_view data, Encoding encoding) : data_(data), encoding_(encoding) {}

    /// Steps over an entry; false when the data end before it does.
    bool passEntry(const Element& element) {
        return std::all_of(element.properties.begin(), element.properties.end(), [&](const Property& property) {
            std::uint64_t count = 1;
            return (property.countSize == 0 || readCount(property, count)) && pass(count, property.size);
        });
    }

private:
    bool pass(std::uint64_t count, std::size_t size) {
        if (encoding_ != Encoding::Ascii) {
            const bool fits = count <= (data_.size() - at_) / size;
            at_ += fits ? static_cast<std::size_t>(count) * size : 0;
            return fits;
        }
        for (std::uint64_t i = 0; i < count; ++i) {
            if (nextWord().empty()) {
                return false;
            }
        }
        return true;
    }

    bool readCount(const Property& property, std::uint64_t& count) {
        if (encoding_ == Encoding::Ascii) {
            const std::string_view word = nextWord();
            count = 0;
            std::from_chars(word.data(), word.data() + word.size(), count);
            return !word.empty();
        }
        if (data_.size() - at_ < property.countSize) {
            return false;
        }
        count = 0;
        for (std::size_t i = 0; i < property.countSize && !property.isCountFloat; ++i) {
            const std::size_t place = encoding_ == Encoding::LittleEndian ? property.countSize - 1 - i : i;
            count = count << 8 | static_cast<unsigned char>(data_[at_ + place]);
        }
        at_ += property.countSize;
        return true;
    }

    std::string_view nextWord() {
        constexpr std::string_view space = " \t\r\n";
        const std::size_t begin = std::min(data_.find_first_not_of(space, at_), data_.size());
        at_ = std::min(data_.find_first_of(space, begin), data_.size());
        return data_.substr(begin, at_ - begin);
    }

    std::string_view data_;
    Encoding encoding_;
    std::size_t at_ = 0;
};

} // namespace

void checkPly(const Bytes& content) {
    const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
    const std::optional<Header> header = readHeader(text);
    if (!header) {
        return;
    }
    Walker walker(text.substr(header->size), header->encoding);
    for (const Element& element : header->elements) {
        if (element.count > 0 && element.properties.empty()) {
            throw FormatError("is broken: the header announces " + std::to_string(element.count) +
                              " entries of the element " + element.name + ", but no property of them");
        }
        for (std::uint64_t i = 0; i < element.count; ++i) {
            if (!walker.passEntry(element)) {
                throw FormatError("is cut off: the header announces " + std::to_string(element.count) +
                                  " entries of the element " + element.name + ", " + std::to_string(i) + " are there");
            }
        }
    }
}

} // namespace vexa::tool
