#include "io/Json.h"

#include "Errors.h"

namespace vexa::tool {

namespace {

constexpr int deepestNesting = 100;

/// A document made here holds plain ints, too.
bool isUnsigned(const Json& value) {
    return value.is_number_unsigned() || (value.is_number_integer() && value.get<std::int64_t>() >= 0);
}

std::string memberName(const std::string& where, const char* key) {
    return where.empty() ? key : where + "." + key;
}

} // namespace

Json parseJson(std::string_view text) {
    const auto limitDepth = [](int depth, Json::parse_event_t, const Json&) {
        // Everything that walks a document afterwards does so by recursion.
        if (depth > deepestNesting) {
            throw FormatError("JSON is nested more than " + std::to_string(deepestNesting) + " deep");
        }
        return true;
    };
    try {
        return Json::parse(text, limitDepth);
    } catch (const Json::parse_error& error) {
        throw FormatError("no valid JSON at byte " + std::to_string(error.byte));
    } catch (const Json::exception& error) {
        throw FormatError(std::string("no valid JSON: ") + error.what());
    }
}

std::string elementName(std::string_view array, std::size_t index) {
    return std::string(array) + "[" + std::to_string(index) + "]";
}

std::uint64_t unsignedMember(const Json& object, const char* key, const std::string& where,
                             std::optional<std::uint64_t> fallback) {
    const auto found = object.find(key);
    if (found == object.end()) {
        if (!fallback) {
            throw FormatError(memberName(where, key) + " is missing");
        }
        return *fallback;
    }
    if (!isUnsigned(*found)) {
        throw FormatError(memberName(where, key) + " is no unsigned integer");
    }
    return found->get<std::uint64_t>();
}

std::size_t indexValue(const Json& value, const std::string& where, std::size_t size) {
    if (!isUnsigned(value)) {
        throw FormatError(where + " is no unsigned integer");
    }
    const auto index = value.get<std::uint64_t>();
    if (index >= size) {
        throw FormatError(where + " is " + std::to_string(index) + ", but there are only " + std::to_string(size));
    }
    return index;
}

std::size_t indexMember(const Json& object, const char* key, const std::string& where, std::size_t size) {
    const auto found = object.find(key);
    if (found == object.end()) {
        throw FormatError(memberName(where, key) + " is missing");
    }
    return indexValue(*found, memberName(where, key), size);
}

std::optional<std::size_t> optionalIndexMember(const Json& object, const char* key, const std::string& where,
                                               std::size_t size) {
    if (!object.contains(key)) {
        return std::nullopt;
    }
    return indexMember(object, key, where, size);
}

const Json& arrayMember(const Json& object, const char* key, const std::string& where) {
    static const Json empty = Json::array();
    const auto found = object.find(key);
    if (found == object.end()) {
        return empty;
    }
    if (!found->is_array()) {
        throw FormatError(memberName(where, key) + " is no array");
    }
    return *found;
}

const Json& objectMember(const Json& object, const char* key, const std::string& where) {
    static const Json empty = Json::object();
    const auto found = object.find(key);
    if (found == object.end()) {
        return empty;
    }
    if (!found->is_object()) {
        throw FormatError(memberName(where, key) + " is no object");
    }
    return *found;
}

std::string stringMember(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

} // namespace vexa::tool
