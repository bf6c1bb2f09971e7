#pragma once

#include "Stripping.h"
#include "io/Document.h"

#include <functional>
#include <string>
#include <vector>

namespace vexa::tool {

/// What became of a mesh, or of all of them.
struct StripFigures {
    std::string name;
    std::size_t triangles = 0;  ///< degenerate ones do not count
    std::size_t degenerate = 0; ///< triangles with two equal corners in the lists of the input
    std::size_t strips = 0;     ///< before they were joined
    std::size_t fans = 0;
    std::size_t leftOver = 0;         ///< triangles in no strip and no fan
    std::size_t primitivesBefore = 0; ///< of triangles
    std::size_t primitivesAfter = 0;
    std::size_t indicesBefore = 0; ///< of the primitives of triangles, what they share counted once
    std::size_t indicesAfter = 0;
    std::size_t bytesBefore = 0; ///< of the same indices
    std::size_t bytesAfter = 0;
    double seconds = 0;
    bool sameTriangles = true; ///< whether the output, read back, has the oriented triangles of the input
};

/// How the triangles of a primitive were cut.
struct CutPrimitive {
    std::size_t mesh = 0;
    std::size_t primitive = 0;
    std::vector<mesh::IndexedPrimitive> parts; ///< before they were joined
};

struct StripOutcome {
    Bytes file; ///< binary glTF
    std::size_t fileBytesBefore = 0;
    std::vector<StripFigures> meshes;
    StripFigures total;
    std::vector<CutPrimitive> cuts; ///< of the primitives with triangles; only with `StripSettings::keepParts`
    std::size_t groups = 0;         ///< of strips with restart indices between them
};

/// Is told how many meshes are done, and of how many.
using StripProgress = std::function<void(std::size_t, std::size_t)>;

/// Turns all triangles of a document into strips.
///
/// \throw FileError the result would be larger than 4 GiB, or cannot be made without breaking an unknown extension
StripOutcome stripDocument(Document document, const StripSettings& settings, const StripProgress& progress);

/// Writes the file of an outcome.
///
/// \throw CheckError it has not the triangles of the input, and is not written
/// \return what a person should know of it
std::vector<std::string> writeStrips(const std::filesystem::path& output, const StripOutcome& outcome);

} // namespace vexa::tool
