#include "base/Json.h"

#include "base/Errors.h"

namespace vexa::tool {

namespace {

constexpr int maxNesting = 100;

/// A document that was made here can hold signed integers, too.
bool isUnsigned(const Json& value) {
    return value.is_number_unsigned() || (value.is_number_integer() && value.get<std::int64_t>() >= 0);
}

/// Everything that walks a document later does so by recursion. The parser's own callback would also report the depth,
/// but with it the end of every object costs a walk over the array that holds the object.
void checkNesting(std::string_view text) {
    int depth = 0;
    bool isString = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (c == '"') {
            isString = !isString;
        } else if (isString) {
            i += c == '\\' ? 1 : 0;
        } else if (c == '[' || c == '{') {
            if (++depth > maxNesting) {
                throw FormatError("JSON is nested more than " + std::to_string(maxNesting) + " deep");
            }
        } else if (c == ']' || c == '}') {
            --depth;
        }
    }
}

std::string memberName(const std::string& where, const char* key) {
    return where.empty() ? key : where + "." + key;
}

} // namespace

Json parseJson(std::string_view text) {
    checkNesting(text);
    try {
        return Json::parse(text);
    } catch (const Json::parse_error& error) {
        throw FormatError("invalid JSON at byte " + std::to_string(error.byte));
    } catch (const Json::exception& error) {
        throw FormatError(std::string("invalid JSON: ") + error.what());
    }
}

std::string jsonText(const Json& json) {
    return json.dump(2, ' ', false, Json::error_handler_t::replace) + '\n';
}

std::string compactText(const Json& json) {
    return json.dump(-1, ' ', false, Json::error_handler_t::replace);
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
        throw FormatError(memberName(where, key) + " is not an unsigned integer");
    }
    return found->get<std::uint64_t>();
}

std::size_t indexValue(const Json& value, const std::string& where, std::size_t size) {
    if (!isUnsigned(value)) {
        throw FormatError(where + " is not an unsigned integer");
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
        throw FormatError(memberName(where, key) + " is not an array");
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
        throw FormatError(memberName(where, key) + " is not an object");
    }
    return *found;
}

std::string stringMember(const Json& object, const char* key) {
    const auto found = object.find(key);
    return found != object.end() && found->is_string() ? found->get<std::string>() : std::string();
}

} // namespace vexa::tool
