#pragma once

#include "io/Bytes.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace vexa::tool {

/// Media type of an image by its first bytes, for example "image/png"; "" when they tell nothing.
inline std::string imageType(const Bytes& image) {
    const std::string_view text(reinterpret_cast<const char*>(image.data()), image.size());
    constexpr std::array<std::pair<std::string_view, std::string_view>, 4> signatures{{{"\x89PNG", "image/png"},
                                                                                       {"\xff\xd8\xff", "image/jpeg"},
                                                                                       {"\xabKTX 20", "image/ktx2"},
                                                                                       {"DDS ", "image/vnd-ms.dds"}}};
    for (const auto& [signature, type] : signatures) {
        if (text.starts_with(signature)) {
            return std::string(type);
        }
    }
    const bool isWebp =
        text.starts_with("RIFF") && text.substr(std::min<std::size_t>(8, text.size())).starts_with("WEBP");
    return isWebp ? "image/webp" : "";
}

} // namespace vexa::tool
