#pragma once

#include "io/Document.h"
#include "ops/FileFigures.h"
#include "ops/StripForm.h"
#include "ops/Stripping.h"
#include "ops/UneditedContent.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vexa::tool {

/// What became of a mesh, or of all of them.
struct StripStats {
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
    /// No strips have fewer than this, see `minStripIndices`; what primitives share is counted once. Only if it is known
    /// of all.
    std::optional<std::uint64_t> minIndices = 0;
    std::size_t bytesBefore = 0; ///< of the same indices
    std::size_t bytesAfter = 0;
    double seconds = 0;
    std::vector<ChosenForm> forms; ///< of the primitives of a mesh that hold triangles
    bool sameTriangles = true;     ///< whether the output, read back, has the oriented triangles of the input
};

/// How the triangles of a primitive were cut.
struct CutPrimitive {
    std::size_t mesh = 0;
    std::size_t primitive = 0;
    std::vector<mesh::IndexedPrimitive> parts; ///< before they were joined
};

/// What the file of an outcome is compared with.
struct ExpectedStrips {
    /// The strips that a primitive became.
    struct Replaced {
        EditedPrimitive place;            ///< in the file
        std::optional<std::size_t> group; ///< accessor of their indices with restart indices between them
        mesh::TriangleSum triangles;      ///< of the input
    };
    std::vector<Replaced> primitives;
    Json content; ///< everything but the strips
};

struct StripOutcome {
    Bytes file; ///< binary glTF
    FileFigures before;
    FileFigures after;              ///< once it is read back
    std::size_t growth = 0;         ///< bytes by which the file is larger than with the indices of the input
    std::vector<StripStats> meshes; ///< with what is known of the output once it is read back
    StripStats total;
    std::vector<CutPrimitive> cuts; ///< of the primitives with triangles; only with `StripSettings::keepParts`
    std::size_t groups = 0;         ///< of strips with restart indices between them; once read back
    bool requiresRestart = false;   ///< strips or fans hold restart indices; once read back
    ExpectedStrips expected;
};

/// Called after each primitive of triangles with the number of those that are done, and of all; one call at a time, but in any
/// of the threads that cut them.
using PrimitiveProgress = std::function<void(std::size_t, std::size_t)>;

/// Turns all triangles of a document into strips.
///
/// \throw FileError  the result would be larger than 4 GiB, or cannot be made without breaking an unknown extension
/// \throw CheckError as `limitIndices`
StripOutcome stripDocument(Document document, const StripSettings& settings, const PrimitiveProgress& progress);

/// Reads the file of an outcome back, completes the stats, and compares it with the input; to be called once.
///
/// \return "" or what is wrong, as `FindFault`
std::string readBackStrips(StripOutcome& outcome);

/// What a person should know of a file with these strips, a line each.
std::vector<std::string> stripWarnings(const StripOutcome& outcome);

} // namespace vexa::tool
