#pragma once

#include "io/Document.h"

#include <cstddef>
#include <optional>

namespace vexa::tool {

/// The outcome of joining vertices.
struct WeldStats {
    std::size_t vertices = 0;  ///< before
    std::size_t joined = 0;    ///< replaced by another one, which has a lower number
    std::size_t differing = 0; ///< of those, the ones whose attributes besides the position were not those of the other
    std::size_t collapsed = 0; ///< triangles of which corners were joined
};

/// Joins vertices of primitives, and stores each of them once.
///
/// Without a tolerance, those are joined whose attributes and morph targets are equal bit by bit, which changes nothing
/// that is drawn. With one, those are joined whose positions are at most that far apart; the first of them keeps its
/// attributes. Joining is transitive: of three vertices in a row, the outer two are joined if each is near enough to
/// the middle one. Vertices of different joints, weights or displacements of positions stay apart even then, so that
/// skins and morph targets go on working.
///
/// Primitives that share accessors go on sharing them. Vertices that no index names are kept.
///
/// \param document  is replaced
/// \param tolerance in units of the positions; at least 0
/// \throw FileError the result would be larger than 4 GiB, or an extension may refer to the vertices
WeldStats weldVertices(Document& document, std::optional<double> tolerance);

} // namespace vexa::tool
