#pragma once

#include "base/Bytes.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>

namespace vexa::tool {

/// Media type of an image by its first bytes, for example "image/png"; "" if they are not those of an image.
inline std::string imageType(const Bytes& image) {
    struct Signature {
        std::size_t offset;
        std::string_view bytes;
        const char* type;
    };
    constexpr std::array<Signature, 7> signatures{{{0, "\x89PNG", "image/png"},
                                                   {0, "\xff\xd8\xff", "image/jpeg"},
                                                   {0, "\xabKTX 20", "image/ktx2"},
                                                   {0, "DDS ", "image/vnd-ms.dds"},
                                                   {4, "ftypavif", "image/avif"},
                                                   {4, "ftypavis", "image/avif"},
                                                   {8, "WEBP", "image/webp"}}};
    const std::string_view text(reinterpret_cast<const char*>(image.data()), image.size());
    const auto* const found = std::find_if(signatures.begin(), signatures.end(), [&](const Signature& signature) {
        return text.substr(std::min(signature.offset, text.size())).starts_with(signature.bytes);
    });
    const bool isOtherRiff = found != signatures.end() && found->offset == 8 && !text.starts_with("RIFF");
    return found == signatures.end() || isOtherRiff ? "" : found->type;
}

} // namespace vexa::tool
