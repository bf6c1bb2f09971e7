#pragma once

#include "base/Bytes.h"
#include "base/Json.h"

#include <string>
#include <vector>

namespace vexa::tool {

/// Whether a document has buffer views that `EXT_meshopt_compression` or `KHR_meshopt_compression` compresses. A buffer
/// of such a document may have no data: it only gives decoded views their place.
bool usesMeshopt(const Json& document);

/// Replaces compressed buffer views by plain ones and removes the extensions. A view whose buffer has data, which is
/// there for readers that do not know the extensions, is taken from there.
///
/// \param document passed `checkDocument`
/// \param buffers  one for each buffer of the document; empty if it has no data
/// \param warnings one is added for each extension that was removed
/// \throw FormatError the compressed data is damaged or inconsistent; says where
void decodeMeshopt(Json& document, std::vector<Bytes>& buffers, std::vector<std::string>& warnings);

} // namespace vexa::tool
