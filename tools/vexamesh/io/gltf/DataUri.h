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

/// Replaces each "%41" by the byte that it stands for.
std::string decodePercent(std::string_view text);

/// The way back: replaces each byte that a URI must not have, or that has a meaning in it.
std::string encodePercent(std::string_view text);

} // namespace vexa::tool
