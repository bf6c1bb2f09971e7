#pragma once

#include <cstddef>
#include <functional>
#include <vector>
#include <vexa/mesh/Strips.h>

namespace vexa::tool {

/// What becomes of the strips of a primitive.
enum class Joining {
    Degenerate, ///< one strip of them and of what is left over
    Restart,    ///< a primitive each, and all of them a group with restart indices between them
    None        ///< a primitive each
};

/// How triangles are cut and written.
struct StripSettings {
    mesh::StripOptions options;
    Joining joining = Joining::Degenerate;
    /// If set, it is told after each of several passes how many are done, and of how many. The result stays the same.
    std::function<void(std::size_t, std::size_t)> onPass;
    bool keepParts = false; ///< whether the result tells how it was cut, too
};

/// One primitive, cut.
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
