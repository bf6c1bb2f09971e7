#pragma once

#include "io/AssetBuilder.h"
#include "io/Document.h"
#include "ops/MaterialCopier.h"

#include <glm/mat4x4.hpp>
#include <string>
#include <vector>
#include <vexa/mesh/Mesh.h>

namespace vexa::tool {

/// Primitives of one layout and material, appended to one another.
struct MergedGroup {
    std::string layout; ///< "TRIANGLES, POSITION VEC3 float, ..."
    mesh::MeshPtr mesh;
    std::vector<AccessorData> formats; ///< of its attributes, without their values
    std::optional<std::size_t> material;
    std::size_t parts = 0; ///< primitives that it is made of
};

/// Collects the meshes of documents, each with a placement, into as few meshes as their layouts and materials allow.
/// Strips, fans and loops become plain lists; skins and morph targets are left out.
class Merger {
public:
    Merger() : materials_(builder_) {}

    /// Appends what the scene of a document shows.
    ///
    /// \param placement from the document's scene to the common one; where it mirrors, the winding is turned
    /// \throw FileError a mesh cannot be placed, for example because its positions are no VEC3
    void add(const Document& document, const glm::dmat4& placement);

    [[nodiscard]] const std::vector<MergedGroup>& groups() const { return groups_; }

    /// What a person should know: what was left out.
    [[nodiscard]] const std::vector<std::string>& warnings() const { return warnings_; }

    /// Brings normals to unit length and writes everything as one mesh.
    ///
    /// \return a binary glTF file
    /// \throw CheckError  a group is not valid; says why
    /// \throw FormatError there is nothing to write, or too much
    Bytes finish();

    /// Compares a file with the groups: their primitives, and every index and attribute, bit for bit. See `FindFault`.
    [[nodiscard]] std::string findFault(const Bytes& file) const;

private:
    void addPrimitive(const Document& document, const Mesh& mesh, std::size_t index, const glm::dmat4& matrix);
    MergedGroup& groupFor(MergedGroup part);
    void warnOnce(const std::string& warning);

    AssetBuilder builder_;
    MaterialCopier materials_;
    std::vector<MergedGroup> groups_;
    std::vector<std::string> warnings_;
};

} // namespace vexa::tool
