#pragma once

#include "base/Bytes.h"
#include "base/Json.h"

#include <string>
#include <vector>

namespace vexa::tool {

/// Replaces primitives that `KHR_draco_mesh_compression` compresses by plain ones and removes the extension.
///
/// \param document passed `checkDocument`
/// \param buffers  one for each buffer of the document; those for the decoded data are added
/// \param warnings one is added if something was decoded
/// \throw FormatError the compressed data is damaged or inconsistent; says where
void decodeDraco(Json& document, std::vector<Bytes>& buffers, std::vector<std::string>& warnings);

} // namespace vexa::tool
