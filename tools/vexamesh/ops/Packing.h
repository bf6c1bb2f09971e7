#pragma once

#include "io/Document.h"
#include "ops/NormalAngles.h"
#include "ops/ReadBack.h"

#include <vector>

namespace vexa::tool {

struct PackedFile {
    Bytes file; ///< two bytes per normal, primitive by primitive
    std::vector<AngleStats> primitives;
    AngleStats total;
    FindFault findFault;
};

/// Packs the normals of a document into two bytes each.
///
/// \param document must live as long as the result's `findFault`, which reads the normals again
/// \throw FileError it has no normals, or some that are not VEC3
PackedFile packDocument(const Document& document);

/// The normals of a primitive; nothing if it has none.
///
/// \throw FileError they are not VEC3
std::optional<AccessorData> readNormals(const Document& document, const Mesh& mesh, std::size_t primitive);

} // namespace vexa::tool
