#pragma once

#include "base/Bytes.h"

#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vexa::tool {

/// The two chunks of a binary glTF file, as views into its bytes.
struct GlbChunks {
    std::string_view json;
    std::optional<std::span<const unsigned char>> binary;
};

/// Whether the bytes begin as a binary glTF file of any version does.
bool hasGlbMagic(std::span<const unsigned char> file);

/// \throw FormatError the container is cut off or malformed, or its version is not 2
GlbChunks splitGlb(std::span<const unsigned char> file);

/// \param binary may be empty: then there is no such chunk
/// \throw FormatError it would be larger than 4 GiB or the free memory
Bytes joinGlb(const std::string& json, const Bytes& binary);

} // namespace vexa::tool
