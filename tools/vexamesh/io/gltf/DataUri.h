#pragma once

#include "base/Bytes.h"

#include <optional>
#include <string>
#include <string_view>

namespace vexa::tool {

/// The content of a "data:" URI.
struct DataUri {
    std::string mimeType;
    Bytes content;
};

/// \return nothing when the URI is no data URI
/// \throw FormatError it is one, but not in base64, or its base64 is malformed
std::optional<DataUri> decodeDataUri(std::string_view uri);

/// Bytes as a data URI in base64.
std::string encodeDataUri(const Bytes& content, const std::string& mimeType);

/// Replaces each "%41" by the byte that it stands for.
std::string decodePercent(std::string_view text);

} // namespace vexa::tool
