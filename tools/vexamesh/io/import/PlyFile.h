#pragma once

#include "base/Bytes.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace vexa::tool {

enum class PlyType { Int8, Uint8, Int16, Uint16, Int32, Uint32, Float32, Float64 };

/// Bytes of a value.
std::size_t sizeOf(PlyType type);

/// A property of all entries of an element: one value for each entry, or a list of values.
struct PlyProperty {
    std::string name;
    PlyType type = PlyType::Float32;
    bool isList = false;
    PlyType countType = PlyType::Uint8; ///< of a list's length
    Bytes values;                       ///< as `type` says, little-endian, of one entry after the other
    std::vector<std::size_t> ends;      ///< of a list: for each entry, how many values end with it

    [[nodiscard]] std::size_t size() const { return values.size() / sizeOf(type); }
    [[nodiscard]] double value(std::size_t index) const;

    /// Where the values of an entry begin.
    [[nodiscard]] std::size_t begin(std::size_t entry) const { return entry == 0 ? 0 : ends[entry - 1]; }
};

struct PlyElement {
    std::string name;
    std::uint64_t count = 0;
    std::vector<PlyProperty> properties;

    /// \return null if there is no such property; one that is a list does not count as a scalar, and vice versa
    [[nodiscard]] const PlyProperty* findScalar(std::string_view property) const;
    [[nodiscard]] const PlyProperty* findList(std::string_view property) const;
};

/// Everything that a PLY file holds.
struct PlyFile {
    enum class Encoding { Ascii, LittleEndian, BigEndian };

    Encoding encoding = Encoding::Ascii;
    std::vector<std::string> comments;     ///< without the keyword
    std::vector<std::size_t> unknownLines; ///< of the header, whose keyword is unknown, from 1
    std::vector<PlyElement> elements;
    std::size_t trailingBytes = 0; ///< that follow the last entry, blanks aside

    /// \return null if there is no such element
    [[nodiscard]] const PlyElement* find(std::string_view element) const;
};

/// Reads a PLY file of any encoding. Memory and time are linear in the size of `content`, whatever its header announces.
///
/// \throw FormatError it is damaged or not a PLY file; says where
PlyFile parsePly(const Bytes& content);

} // namespace vexa::tool
