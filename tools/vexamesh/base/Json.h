#pragma once

#include <cstddef>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <optional>
#include <string>
#include <string_view>

namespace vexa::tool {

/// JSON whose members keep their order, so that a document is written as it was read.
using Json = nlohmann::ordered_json;

/// Parses UTF-8 text.
///
/// \throw FormatError it is no JSON, or nested more than 100 deep; the text says at which byte
Json parseJson(std::string_view text);

/// Indented text for programs, with a newline at the end; what is not UTF-8 in it is replaced.
std::string jsonText(const Json& json);

/// "accessors[3]": how messages name an element.
std::string elementName(std::string_view array, std::size_t index);

/// The member `key` of an object as an unsigned integer.
///
/// \param where    the object's name in messages
/// \param fallback what an absent member means; nothing: it must be there
/// \throw FormatError it is missing or no unsigned integer
std::uint64_t unsignedMember(const Json& object, const char* key, const std::string& where,
                             std::optional<std::uint64_t> fallback = std::nullopt);

/// As `unsignedMember`, for a reference to an element of an array of `size` elements.
///
/// \throw FormatError also when it reaches beyond the array
std::size_t indexMember(const Json& object, const char* key, const std::string& where, std::size_t size);

/// A reference that may be absent.
std::optional<std::size_t> optionalIndexMember(const Json& object, const char* key, const std::string& where,
                                               std::size_t size);

/// A value that must be a reference to an element of an array of `size` elements.
std::size_t indexValue(const Json& value, const std::string& where, std::size_t size);

/// The array member `key`, or an empty array when it is absent.
///
/// \throw FormatError it is no array
const Json& arrayMember(const Json& object, const char* key, const std::string& where);

/// The object member `key`, or an empty object when it is absent.
///
/// \throw FormatError it is no object
const Json& objectMember(const Json& object, const char* key, const std::string& where);

/// The string member `key`, or "" when it is absent or no string.
std::string stringMember(const Json& object, const char* key);

} // namespace vexa::tool
