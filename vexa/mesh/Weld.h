#pragma once

#include "vexa/mesh/Export.h"
#include "vexa/mesh/MakeMesh.h"
#include "vexa/mesh/Mesh.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vexa::mesh {

/// Which vertices `weld` joins.
struct WeldOptions {
    /// Joins vertices whose attributes "position" are at most so far apart; 0 joins equal ones, with zeros of both signs.
    /// If nothing, positions are compared like all other attributes, by their bits.
    std::optional<double> tolerance = std::nullopt;
    std::vector<std::string> compare = {};    ///< attributes that must be equal, by name; none: all of them
    IndexWidth indexWidth = IndexWidth::Keep; ///< `Keep` is `Narrowest` for a mesh without indices
};

struct WeldResult {
    MeshPtr mesh;                     ///< never empty
    std::vector<std::uint32_t> remap; ///< for each vertex of the input its number in `mesh`
};

/// Joins equal vertices.
///
/// Of each class of equal vertices the first one is kept with all of its attributes, and those kept stay in order.
/// Attributes are compared by the bits of their elements, never by padding between elements. With a tolerance, joining is
/// transitive: of three vertices in a row with gaps of 0.9, a tolerance of 1 joins all, although the outer two are 1.8
/// apart. Positions that are not finite are then joined with those of the same bits.
///
/// The indices keep their number and order: triangles whose corners are joined stay, as collapsed ones.
///
/// \param mesh    any implementation; not changed
/// \param options see WeldOptions
/// \return a mesh with indices and with packed buffers of its own
/// \throw std::invalid_argument the mesh holds an empty pointer, its attributes differ in their number of elements, an
///                              attribute to compare is missing, the tolerance is negative or not finite, there is one
///                              but no attribute "position" of three floats, or an index is out of range
/// \throw std::length_error     4294967295 vertices or more, or an index does not fit the index width
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear; with a tolerance, as long as few vertices are within it without being joined.
VEXA_MESH_EXPORT WeldResult weld(const Mesh& mesh, const WeldOptions& options = {});

} // namespace vexa::mesh
