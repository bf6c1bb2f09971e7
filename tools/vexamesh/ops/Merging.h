#pragma once

#include "io/AssetBuilder.h"
#include "io/Document.h"
#include "ops/MaterialCopier.h"
#include "ops/Placement.h"
#include "ops/SceneCopier.h"
#include "ops/VariantCopier.h"

#include <array>
#include <glm/mat4x4.hpp>
#include <map>
#include <optional>
#include <string>
#include <utility>
#include <vector>
#include <vexa/mesh/Mesh.h>

namespace vexa::tool {

/// Primitives of one layout and material, appended to one another.
struct MergedGroup {
    std::string layout;                ///< "TRIANGLES, POSITION VEC3 float, ..."
    mesh::MeshPtr mesh;                ///< its attribute buffers may be those of other groups, too
    std::vector<AccessorData> formats; ///< of its attributes, without their values
    std::optional<std::size_t> material;
    Json variants;         ///< materials of its variants; null if it has none
    std::size_t parts = 0; ///< primitives that it is made of
};

/// Collects the meshes of documents, each with a placement, into as few meshes as their layouts and materials allow, and
/// carries over their material variants, cameras and lights. Strips, fans and loops become plain lists. Primitives that
/// share their vertices at one place go on sharing them, so that the cost is linear in the size of the input.
class Merger {
public:
    Merger() : materials_(builder_), variants_(builder_, materials_), scene_(builder_) {}

    /// Appends what the scene of a document shows.
    ///
    /// \param placement from the document's scene to the common one; where it mirrors, the winding is turned
    /// \return what is left out, a line each; see `mergeLosses`
    /// \throw FileError a mesh cannot be placed, for example because its positions are not VEC3
    std::vector<std::string> add(const Document& document, const glm::dmat4& placement);

    [[nodiscard]] const std::vector<MergedGroup>& groups() const { return groups_; }

    /// Brings normals to unit length and writes everything as one mesh.
    ///
    /// \return a binary glTF file
    /// \throw CheckError  a group is not valid; says why
    /// \throw FormatError there is nothing to write, or too much
    Bytes finish();

    /// Compares a file with the groups: their primitives, and every index and attribute, bit for bit; and its materials,
    /// variants, cameras and lights. See `FindFault`.
    [[nodiscard]] std::string findFault(const Bytes& file) const;

private:
    /// The vertices of a primitive at a place: its accessors by attribute, and the matrix.
    using VertexKey = std::pair<std::vector<std::pair<std::string, std::size_t>>, std::array<double, 16>>;

    /// Vertices that were appended to groups.
    struct PlacedVertices {
        std::string layout; ///< ", POSITION VEC3 float, ..."
        std::vector<std::string> names;
        std::vector<AccessorData> formats; ///< without values
        /// Where they begin, by the buffer of positions that holds them.
        std::map<const mesh::AttributeBuffer*, unsigned long> firstVertices;
    };

    bool addPrimitive(const Document& document, const MeshInstance& instance, std::size_t index);
    MergedGroup& groupFor(MergedGroup part, const PlacedVertices& vertices);
    void appendVertices(const Document& document, const Primitive& primitive, const glm::dmat4& matrix,
                        MergedGroup& group);
    [[nodiscard]] std::vector<NewPrimitive> newPrimitives() const;
    void requireExtensions();

    AssetBuilder builder_;
    MaterialCopier materials_;
    VariantCopier variants_;
    SceneCopier scene_;
    std::vector<MergedGroup> groups_;
    std::map<VertexKey, PlacedVertices> vertices_; ///< of the document at hand
    std::vector<std::string> copyrights_;
    Json written_; ///< the document, without the places of its data
};

} // namespace vexa::tool
