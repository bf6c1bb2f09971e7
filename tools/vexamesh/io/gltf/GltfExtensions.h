#pragma once

#include "base/Json.h"

#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace vexa::tool {

constexpr const char* edgeVisibilityExtension = "EXT_mesh_primitive_edge_visibility";
constexpr const char* instancingExtension = "EXT_mesh_gpu_instancing";
constexpr const char* lightsExtension = "KHR_lights_punctual";
constexpr const char* quantizationExtension = "KHR_mesh_quantization";
constexpr const char* variantsExtension = "KHR_materials_variants";

/// Whether a file that requires this extension can be read here: its meshes' data is where core glTF puts it.
bool isSupportedExtension(std::string_view name);

/// Refuses documents that cannot be read.
///
/// \throw FormatError names a required extension that is not supported
void checkExtensions(const Json& document);

/// The content of an object's extension; null if it does not have it.
const Json* findExtension(const Json& object, const char* name);

/// Removes an extension from an object.
///
/// \return its content; a null value if the object did not have it
Json takeExtension(Json& object, const char* name);

/// Whether a document lists an extension under "extensionsUsed" or "extensionsRequired".
bool isListed(const Json& document, const char* key, const char* name);

/// Lists an extension there, or removes it.
void setListed(Json& document, const char* key, const char* name, bool list);

/// Removes a compression from both lists after everything was decoded, and adds a warning if it was there.
void dropCompression(Json& document, const char* name, std::vector<std::string>& warnings);

/// The references by number in the extensions of a document, as far as they are known.
struct ExtensionReferences {
    std::set<std::size_t> accessors;   ///< referred to for certain, by an extension whose members are known
    std::set<std::uint64_t> anything;  ///< every number inside unknown extensions: each may refer to anything
    std::set<std::string> bufferUsers; ///< unknown extensions that name a buffer
    bool unknown = false;              ///< there are unknown extensions: nothing may be renumbered
};

ExtensionReferences collectExtensionReferences(const Json& document);

/// Rewrites the references in `ExtensionReferences::accessors`.
///
/// \param numbers per accessor its new number
void renumberExtensionAccessors(Json& document, const std::vector<std::size_t>& numbers);

} // namespace vexa::tool
