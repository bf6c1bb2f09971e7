#pragma once

#include <cstddef>
#include <vector>
#include <vexa/mesh/Strips.h>

namespace vexa::tool {

/// How the strips of a primitive are written.
enum class Joining {
    Degenerate,      ///< as one strip, joined by degenerate triangles, with the triangles in no strip
    Restart,         ///< as one strip with restart indices, with the triangles in no strip; the fans likewise
    RestartFallback, ///< as a primitive each, and as a group of all of them with restart indices
    None             ///< as a primitive each
};

/// How triangles are cut and written. `options.onPass` is called for the search that `options.iterations` asks for; where
/// it stops the search, the result is the best so far.
struct StripSettings {
    mesh::StripOptions options;
    Joining joining = Joining::Degenerate;
    bool keepParts = false; ///< whether the result also has the strips before they are joined
};

/// A primitive as strips and fans.
struct StripResult {
    std::vector<mesh::IndexedPrimitive> primitives; ///< empty when there is no triangle
    std::vector<mesh::IndexedPrimitive> parts;      ///< before they were joined; only with `keepParts`
    std::size_t triangles = 0;                      ///< of the input, without degenerate ones
    std::size_t degenerate = 0;                     ///< those of a list: with two equal corners they draw nothing
    std::size_t strips = 0;                         ///< before they were joined
    std::size_t fans = 0;
    std::size_t leftOver = 0; ///< triangles in no strip and no fan
    double seconds = 0;       ///< for cutting and joining
};

/// Cuts the triangles of a primitive into strips and fans. More than one pass never gives more indices than one does,
/// also where joining the strips costs more than the search has saved.
///
/// \param type    `TRIANGLES`, `TRIANGLE_STRIP` or `TRIANGLE_FAN`
/// \param indices as decoded; in a list, what follows the last whole triangle is ignored
StripResult stripTriangles(mesh::PrimitiveType type, const std::vector<unsigned int>& indices,
                           const StripSettings& settings);

} // namespace vexa::tool
