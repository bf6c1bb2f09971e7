#include "io/import/PlyFile.h"

#include "base/Errors.h"
#include "io/import/PlyHeader.h"
#include "io/import/TextLines.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace vexa::tool {

namespace {

/// Calls a function with a value of the C++ type that stands for a type of PLY.
template <typename Function>
decltype(auto) withType(PlyType type, const Function& function) {
    switch (type) {
    case PlyType::Int8:
        return function(std::int8_t{});
    case PlyType::Uint8:
        return function(std::uint8_t{});
    case PlyType::Int16:
        return function(std::int16_t{});
    case PlyType::Uint16:
        return function(std::uint16_t{});
    case PlyType::Int32:
        return function(std::int32_t{});
    case PlyType::Uint32:
        return function(std::uint32_t{});
    case PlyType::Float32:
        return function(float{});
    default:
        return function(double{});
    }
}

double loadAs(PlyType type, const unsigned char* data) {
    return withType(type, [&](auto zero) { return static_cast<double>(loadValue<decltype(zero)>(data)); });
}

/// The values of the entries, one by one, whatever their encoding.
class BodyReader {
public:
    BodyReader(std::string_view data, PlyFile::Encoding encoding) : data_(data), encoding_(encoding) {}

    /// Appends the values of one entry; false if the data end first.
    bool readEntry(PlyElement& element) {
        return std::all_of(element.properties.begin(), element.properties.end(), [&](PlyProperty& property) {
            return property.isList ? readList(property) : readValue(property.type, property.name, property.values);
        });
    }

    [[nodiscard]] std::size_t trailingBytes() {
        if (encoding_ == PlyFile::Encoding::Ascii) {
            at_ = std::min(data_.find_first_not_of(blanks, at_), data_.size());
        }
        return data_.size() - at_;
    }

    /// An upper bound of the entries that are left, for making room.
    [[nodiscard]] std::uint64_t maxEntries(const PlyElement& element) const {
        std::size_t entrySize = 0;
        for (const PlyProperty& property : element.properties) {
            // In text a value takes a digit and, but for the last one, a blank.
            entrySize += encoding_ == PlyFile::Encoding::Ascii
                             ? 2
                             : sizeOf(property.isList ? property.countType : property.type);
        }
        return entrySize == 0 ? 0 : (data_.size() - at_) / entrySize + 1;
    }

private:
    static constexpr std::string_view blanks = " \t\r\n";

    bool readList(PlyProperty& property) {
        count_.clear();
        if (!readValue(property.countType, property.name, count_)) {
            return false;
        }
        const double count = loadAs(property.countType, count_.data());
        if (count < 0) {
            throw FormatError("the list " + property.name + " has a length below 0");
        }
        // Longer than the rest of the data it cannot be: that ends the loop early.
        for (double i = 0; i < count; ++i) {
            if (!readValue(property.type, property.name, property.values)) {
                return false;
            }
        }
        property.ends.push_back(property.size());
        return true;
    }

    bool readValue(PlyType type, const std::string& name, Bytes& values) {
        if (encoding_ == PlyFile::Encoding::Ascii) {
            const std::string_view word = nextWord();
            if (word.empty()) {
                return false;
            }
            appendWord(word, type, name, values);
            return true;
        }
        const std::size_t size = sizeOf(type);
        if (data_.size() - at_ < size) {
            return false;
        }
        const auto end = values.insert(values.end(), data_.begin() + static_cast<std::ptrdiff_t>(at_),
                                       data_.begin() + static_cast<std::ptrdiff_t>(at_ + size));
        if (encoding_ == PlyFile::Encoding::BigEndian) {
            std::reverse(end, values.end());
        }
        at_ += size;
        return true;
    }

    static void appendWord(std::string_view word, PlyType type, const std::string& name, Bytes& values) {
        double number = 0;
        if (!readNumber(word, number)) {
            throw FormatError(quotedWord(word) + " is not a number, but a value of the property " + name);
        }
        withType(type, [&](auto zero) {
            using Value = decltype(zero);
            if constexpr (std::is_integral_v<Value>) {
                if (!(number >= std::numeric_limits<Value>::min() && number <= std::numeric_limits<Value>::max()) ||
                    number != std::floor(number)) {
                    throw FormatError("the value " + quotedWord(word) + " of the property " + name +
                                      " does not fit its type");
                }
            }
            appendValue(values, static_cast<Value>(number));
        });
    }

    std::string_view nextWord() {
        const std::size_t begin = std::min(data_.find_first_not_of(blanks, at_), data_.size());
        at_ = std::min(data_.find_first_of(blanks, begin), data_.size());
        return data_.substr(begin, at_ - begin);
    }

    std::string_view data_;
    PlyFile::Encoding encoding_;
    std::size_t at_ = 0;
    Bytes count_;
};

bool readEntry(BodyReader& reader, PlyElement& element, std::uint64_t entry) {
    try {
        return reader.readEntry(element);
    } catch (const FormatError& error) {
        throw FormatError(element.name + " " + std::to_string(entry) + ": " + error.what());
    }
}

void readElement(BodyReader& reader, PlyElement& element) {
    if (element.count > 0 && element.properties.empty()) {
        throw FormatError("is damaged: the header announces " + std::to_string(element.count) +
                          " entries of the element " + element.name + ", but no property of them");
    }
    const auto room = static_cast<std::size_t>(std::min(element.count, reader.maxEntries(element)));
    for (PlyProperty& property : element.properties) {
        property.isList ? property.ends.reserve(room) : property.values.reserve(room * sizeOf(property.type));
    }
    for (std::uint64_t i = 0; i < element.count; ++i) {
        if (!readEntry(reader, element, i)) {
            throw FormatError("is cut off: the header announces " + std::to_string(element.count) +
                              " entries of the element " + element.name + ", " + std::to_string(i) + " are there");
        }
    }
}

const PlyProperty* findProperty(const PlyElement& element, std::string_view name, bool isList) {
    const auto found =
        std::find_if(element.properties.begin(), element.properties.end(),
                     [&](const PlyProperty& property) { return property.name == name && property.isList == isList; });
    return found == element.properties.end() ? nullptr : &*found;
}

} // namespace

std::size_t sizeOf(PlyType type) {
    return withType(type, [](auto zero) { return sizeof zero; });
}

double PlyProperty::value(std::size_t index) const {
    return loadAs(type, values.data() + index * sizeOf(type));
}

const PlyProperty* PlyElement::findScalar(std::string_view property) const {
    return findProperty(*this, property, false);
}

const PlyProperty* PlyElement::findList(std::string_view property) const {
    return findProperty(*this, property, true);
}

const PlyElement* PlyFile::find(std::string_view element) const {
    const auto found = std::find_if(elements.begin(), elements.end(),
                                    [&](const PlyElement& candidate) { return candidate.name == element; });
    return found == elements.end() ? nullptr : &*found;
}

PlyFile parsePly(const Bytes& content) {
    const std::string_view text(reinterpret_cast<const char*>(content.data()), content.size());
    std::size_t headerSize = 0;
    PlyFile file = parsePlyHeader(text, headerSize);
    BodyReader reader(text.substr(headerSize), file.encoding);
    for (PlyElement& element : file.elements) {
        readElement(reader, element);
    }
    file.trailingBytes = reader.trailingBytes();
    return file;
}

} // namespace vexa::tool
