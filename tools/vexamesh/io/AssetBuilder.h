#pragma once

#include "io/Accessors.h"
#include "io/Asset.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>
#include <vexa/mesh/Types.h>

namespace vexa::tool {

/// An attribute to be written: `values.bytes` holds `values.count` tightly packed elements.
struct NewAttribute {
    std::string name; ///< as in glTF; any other is written after an underscore
    AccessorData values;
};

struct NewPrimitive {
    mesh::PrimitiveType type = mesh::TRIANGLES;
    std::vector<unsigned int> indices;
    std::vector<NewAttribute> attributes;
    std::optional<std::size_t> material;
    Json extensions = Json::object();
    std::optional<std::size_t> sharesWith =
        {}; ///< an earlier primitive of the mesh whose attributes these are; takes them
};

/// The narrowest unsigned type in which none of the indices is the largest value, its restart index. Decoded restart
/// indices are ignored.
mesh::ComponentType narrowestIndexType(const std::vector<unsigned int>& indices);

/// Appends indices as values of an unsigned type. Decoded restart indices become its largest value.
void appendIndices(Bytes& bytes, const std::vector<unsigned int>& indices, mesh::ComponentType type);

/// The minimum and maximum of each component over the finite values; 0 if there are none.
std::pair<Json, Json> bounds(const AccessorData& values);

/// The elements at distances of `stride`.
Bytes alignElements(const AccessorData& values, std::size_t stride);

/// Target of a buffer view of vertex attributes.
constexpr int arrayBuffer = 34962;
/// Target of a buffer view of indices.
constexpr int elementArrayBuffer = 34963;

/// Attribute values from floats.
AccessorData floatValues(const std::string& type, const std::vector<float>& values);

/// Builds a glTF document of meshes, each with a node of its own in a single scene.
class AssetBuilder {
public:
    AssetBuilder();

    void addMesh(const std::string& name, const std::vector<NewPrimitive>& primitives);

    /// \return its index
    std::size_t addMaterial(Json material);

    /// Lists an extension as used, once.
    ///
    /// \param isRequired list it as required, too
    void useExtension(const std::string& name, bool isRequired = false);

    /// Lists an extension as used and gives the document its content.
    void addExtension(const std::string& name, Json content);

    /// Adds a node to the scene.
    void addNode(Json node);

    void setCopyright(const std::string& text) { json_["asset"]["copyright"] = text; }

    /// Adds an element to a top-level array of the document.
    ///
    /// \return its index
    std::size_t addEntry(const char* array, Json entry);

    /// Adds bytes as a buffer view.
    ///
    /// \return its index
    std::size_t addData(const Bytes& content) { return addView(content, 0, 0); }

    /// The finished asset; the builder is empty afterwards.
    ///
    /// \param leftOut goes with the asset
    /// \throw FormatError nothing was added
    Asset finish(std::vector<std::string> leftOut = {});

private:
    std::size_t addView(const Bytes& content, int target, std::size_t stride);
    std::size_t addAttribute(const NewAttribute& attribute);
    std::size_t addIndices(const std::vector<unsigned int>& indices);

    Json json_;
    Bytes binary_;
};

} // namespace vexa::tool
