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
/// \throw FormatError the text is not JSON (the message names the byte), or is nested more than 100 deep
Json parseJson(std::string_view text);

/// Indented text for programs, with a newline at the end. Bytes that are not UTF-8 are replaced.
std::string jsonText(const Json& json);

/// Text without line breaks and spaces. Bytes that are not UTF-8 are replaced.
std::string compactText(const Json& json);

/// The name of an element in messages: "accessors[3]".
std::string elementName(std::string_view array, std::size_t index);

/// The member `key` of an object as an unsigned integer.
///
/// \param where    the object's name in messages
/// \param fallback value of an absent member; without one, the member is required
/// \throw FormatError the member is missing or is not an unsigned integer
std::uint64_t unsignedMember(const Json& object, const char* key, const std::string& where,
                             std::optional<std::uint64_t> fallback = std::nullopt);

/// The member `key` of an object as the index of an element of an array of `size` elements.
///
/// \throw FormatError the member is missing, is not an unsigned integer or is not below `size`
std::size_t indexMember(const Json& object, const char* key, const std::string& where, std::size_t size);

/// The same for a member that may be absent.
std::optional<std::size_t> optionalIndexMember(const Json& object, const char* key, const std::string& where,
                                               std::size_t size);

/// A value as the index of an element of an array of `size` elements.
std::size_t indexValue(const Json& value, const std::string& where, std::size_t size);

/// The array member `key`, or an empty array when it is absent.
///
/// \throw FormatError the member is not an array
const Json& arrayMember(const Json& object, const char* key, const std::string& where);

/// The object member `key`, or an empty object when it is absent.
///
/// \throw FormatError the member is not an object
const Json& objectMember(const Json& object, const char* key, const std::string& where);

/// The string member `key`, or "" when it is absent or not a string.
std::string stringMember(const Json& object, const char* key);

} // namespace vexa::tool
