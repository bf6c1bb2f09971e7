#include "ops/Merging.h"

#include "base/Errors.h"
#include "io/gltf/GltfExtensions.h"
#include "io/gltf/PrimitiveRestart.h"
#include "ops/MergeLosses.h"
#include "ops/MeshConversion.h"
#include "ops/Placement.h"
#include "ops/UneditedContent.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <set>
#include <vexa/mesh/MeshConcatenation.h>
#include <vexa/mesh/Strips.h>
#include <vexa/mesh/Transformation.h>

namespace vexa::tool {

namespace {

/// The indices of a primitive as a plain list of points, lines or triangles.
std::vector<unsigned int> plainIndices(const Primitive& primitive, mesh::PrimitiveType& type) {
    const std::vector<unsigned int>& indices = primitive.indices;
    std::vector<unsigned int> result;
    switch (primitive.type) {
    case mesh::POINTS:
        type = mesh::POINTS;
        return indices;
    case mesh::LINES:
    case mesh::LINE_LOOP:
    case mesh::LINE_STRIP: {
        type = mesh::LINES;
        const std::ptrdiff_t step = primitive.type == mesh::LINES ? 2 : 1;
        forEachRun(indices, [&](auto begin, auto end) {
            for (auto at = begin; end - at > 1; at += std::min(step, end - at)) {
                result.insert(result.end(), {at[0], at[1]});
            }
            if (primitive.type == mesh::LINE_LOOP && end - begin > 1) {
                result.insert(result.end(), {*(end - 1), *begin});
            }
        });
        return result;
    }
    default:
        type = mesh::TRIANGLES;
        return mesh::toTriangles(primitive.type, indices);
    }
}

void appendIndices(mesh::IndexBuffer& buffer, const std::vector<unsigned int>& indices, unsigned long firstVertex) {
    const unsigned long count = buffer.getElementCount();
    buffer.resize(count + indices.size());
    for (std::size_t i = 0; i < indices.size(); ++i) {
        buffer.setElement(count + i, firstVertex + indices[i]);
    }
}

bool isSkinning(const std::string& name) {
    return name.starts_with("JOINTS_") || name.starts_with("WEIGHTS_");
}

/// Attributes that a placement changes are wanted as floats.
bool isPlaced(const std::string& name) {
    return name == "POSITION" || name == "NORMAL" || name == "TANGENT";
}

std::vector<Attribute> sortedAttributes(const Primitive& primitive) {
    std::vector<Attribute> attributes = primitive.attributes;
    std::erase_if(attributes, [](const Attribute& attribute) { return isSkinning(attribute.name); });
    std::sort(attributes.begin(), attributes.end(), [](const Attribute& a, const Attribute& b) {
        // The first one counts the vertices when meshes are appended: always the positions.
        return std::pair(a.name != "POSITION", a.name) < std::pair(b.name != "POSITION", b.name);
    });
    return attributes;
}

void checkFormat(const std::string& name, const AccessorData& values, const std::string& where) {
    const std::size_t wanted = name == "TANGENT" ? 4 : 3;
    if (isPlaced(name) && values.components != wanted) {
        throw FormatError(where + ": " + name + " is not VEC" + std::to_string(wanted));
    }
}

/// Checks the placed positions from the one at `first` on.
void checkPositions(const mesh::AttributeBuffer& positions, unsigned long first, const std::string& where) {
    std::array<float, 3> position{};
    for (unsigned long i = first; i < positions.getElementCount(); ++i) {
        positions.getElement(i, position.data());
        if (!std::all_of(position.begin(), position.end(), [](float value) { return std::isfinite(value); })) {
            throw FormatError(where + ": the position of vertex " + std::to_string(i - first) +
                              " is not finite once it is placed, and glTF can hold only finite numbers");
        }
    }
}

/// The format of an accessor's values, without them.
AccessorData formatOf(const Asset& asset, std::size_t accessor) {
    AccessorData format;
    const AccessorModel& model = asset.model.accessors.at(accessor);
    format.componentType = static_cast<mesh::ComponentType>(model.componentType);
    format.type = stringMember(asset.json["accessors"][accessor], "type");
    format.normalized = model.normalized;
    format.components = componentCount(format.type);
    return format;
}

std::string describe(const std::string& name, const AccessorData& values) {
    return name + " " + values.type + (values.normalized ? " normalized " : " ") +
           mesh::getStringForComponentType(values.componentType);
}

/// The values of a buffer in the format of the file.
AccessorData fromAttributeBuffer(const mesh::AttributeBuffer& buffer, const AccessorData& format) {
    AccessorData values = format;
    values.count = buffer.getElementCount();
    const std::size_t size = buffer.getElementSizeInBytes();
    values.bytes.resize(values.count * size);
    for (std::size_t i = 0; i < values.count; ++i) {
        buffer.getElement(i, values.bytes.data() + i * size);
    }
    return values;
}

/// Without attributes.
NewPrimitive toNewPrimitive(const MergedGroup& group) {
    NewPrimitive primitive;
    primitive.type = group.mesh->getPrimitiveType();
    primitive.material = group.material;
    if (!group.variants.is_null()) {
        primitive.extensions[variantsExtension] = group.variants;
    }
    const auto indices = group.mesh->getIndexBuffer();
    primitive.indices.reserve(indices->getElementCount());
    for (unsigned long i = 0; i < indices->getElementCount(); ++i) {
        primitive.indices.push_back(static_cast<unsigned int>(indices->getElement(i)));
    }
    return primitive;
}

std::vector<NewAttribute> newAttributes(const MergedGroup& group) {
    std::vector<NewAttribute> attributes;
    for (unsigned long i = 0; i < group.mesh->getNumAttributeBuffers(); ++i) {
        const auto buffer = group.mesh->getAttributeBuffer(i);
        attributes.push_back({gltfName(buffer->getAttributeName()), fromAttributeBuffer(*buffer, group.formats[i])});
    }
    return attributes;
}

/// Core glTF permits these coordinates only as floats and as normalised unsigned integers.
bool needsQuantization(const std::string& name, const AccessorData& format) {
    const bool isUnsigned = format.componentType == mesh::UNSIGNED_BYTE || format.componentType == mesh::UNSIGNED_SHORT;
    return name.starts_with("TEXCOORD_") && format.componentType != mesh::FLOAT && !(isUnsigned && format.normalized);
}

bool isSame(const AccessorData& a, const AccessorData& b) {
    return a.type == b.type && a.componentType == b.componentType && a.normalized == b.normalized &&
           a.count == b.count && a.bytes == b.bytes;
}

bool isSame(const Document& document, const std::vector<Primitive>& primitives, const Primitive& primitive,
            const NewPrimitive& expected) {
    if (primitive.type != expected.type || primitive.indices != expected.indices) {
        return false;
    }
    if (expected.sharesWith) {
        const std::vector<Attribute>& shared = primitives[*expected.sharesWith].attributes;
        return std::equal(
            primitive.attributes.begin(), primitive.attributes.end(), shared.begin(), shared.end(),
            [](const Attribute& a, const Attribute& b) { return a.name == b.name && a.accessor == b.accessor; });
    }
    return std::equal(primitive.attributes.begin(), primitive.attributes.end(), expected.attributes.begin(),
                      expected.attributes.end(), [&](const Attribute& attribute, const NewAttribute& wanted) {
                          return isSame(readAccessor(document.asset, attribute.accessor), wanted.values);
                      });
}

/// Everything of a document but where its data is.
Json withoutPlaces(Json json) {
    for (const char* array : {"accessors", "bufferViews", "buffers"}) {
        json.erase(array);
    }
    return json;
}

mesh::AttributeTransformationMap transformationsBy(const glm::dmat4& matrix) {
    mesh::AttributeTransformationMap transformations;
    mesh::createTransformation(transformations, glm::mat4(matrix));
    transformations["TANGENT"] = transformations["tangent"];
    return transformations;
}

} // namespace

std::vector<std::string> Merger::add(const Document& document, const glm::dmat4& placement) {
    try {
        vertices_.clear();
        variants_.begin(document);
        std::vector<std::string> leftOut = mergeLosses(document);
        for (MeshInstance instance : meshInstances(document)) {
            const Mesh& mesh = document.meshes.at(instance.mesh);
            instance.matrix = placement * instance.matrix;
            for (std::size_t p = 0; p < mesh.primitives.size(); ++p) {
                if (!addPrimitive(document, instance, p)) {
                    leftOut.push_back(primitiveName(mesh, p) + ", which has no positions");
                }
            }
        }
        scene_.add(document, placement);
        const std::string copyright = stringMember(document.asset.json["asset"], "copyright");
        if (!copyright.empty() && std::find(copyrights_.begin(), copyrights_.end(), copyright) == copyrights_.end()) {
            copyrights_.push_back(copyright);
        }
        return leftOut;
    } catch (const FormatError& error) {
        throw FileError(document.file.string(), error.what());
    }
}

/// \return false: it has no positions
bool Merger::addPrimitive(const Document& document, const MeshInstance& instance, std::size_t index) {
    const Mesh& mesh = document.meshes[instance.mesh];
    const Primitive& primitive = mesh.primitives[index];
    const std::string where = primitiveName(mesh, index);
    if (primitive.findAttribute("POSITION") == nullptr) {
        return false;
    }
    MergedGroup part;
    mesh::PrimitiveType type{};
    std::vector<unsigned int> indices = plainIndices(primitive, type);
    if (indices.empty()) {
        return true;
    }
    if (mesh::isMirroring(glm::mat4(instance.matrix)) && type == mesh::TRIANGLES) {
        mesh::flipWinding(type, indices);
    }
    VertexKey key;
    for (const Attribute& attribute : sortedAttributes(primitive)) {
        key.first.emplace_back(attribute.name, attribute.accessor);
    }
    std::copy_n(&instance.matrix[0][0], key.second.size(), key.second.begin());
    const auto [entry, isNew] = vertices_.try_emplace(std::move(key));
    PlacedVertices& vertices = entry->second;
    if (isNew) {
        for (const auto& [name, accessor] : entry->first.first) {
            AccessorData format = formatOf(document.asset, accessor);
            checkFormat(name, format, where);
            if (isPlaced(name)) {
                format.componentType = mesh::FLOAT;
                format.normalized = false;
            }
            vertices.layout += ", " + describe(name, format);
            vertices.names.push_back(name);
            vertices.formats.push_back(std::move(format));
        }
    }
    const Json& source = document.asset.json["meshes"][instance.mesh]["primitives"][index];
    part.mesh = mesh::Mesh::createDefault(type, mesh::UNSIGNED_INT);
    part.layout = mesh::getStringForPrimitiveType(type) + vertices.layout;
    part.formats = vertices.formats;
    part.variants = variants_.copyMappings(document, source, where);
    if (source.contains("material")) {
        part.material = materials_.copy(document, source["material"].get<std::size_t>());
    }

    MergedGroup& group = groupFor(std::move(part), vertices);
    const auto positions = group.mesh->getAttributeBuffer(0);
    const auto [first, isMissing] = vertices.firstVertices.try_emplace(positions.get(), positions->getElementCount());
    if (isMissing) {
        if (first->second + primitive.vertices >= std::numeric_limits<std::uint32_t>::max()) {
            throw FormatError(where + ": together they have too many vertices");
        }
        appendVertices(document, primitive, instance.matrix, group);
        checkPositions(*positions, first->second, where);
    }
    appendIndices(*group.mesh->getIndexBuffer(), indices, first->second);
    ++group.parts;
    return true;
}

/// The group of a part's layout and material. A new one begins without indices, and with the buffers of another group if
/// these hold its vertices.
MergedGroup& Merger::groupFor(MergedGroup part, const PlacedVertices& vertices) {
    const auto found = std::find_if(groups_.begin(), groups_.end(), [&](const MergedGroup& group) {
        return group.layout == part.layout && group.material == part.material && group.variants == part.variants;
    });
    if (found != groups_.end()) {
        return *found;
    }
    const auto sharing = std::find_if(groups_.begin(), groups_.end(), [&](const MergedGroup& group) {
        return vertices.firstVertices.contains(group.mesh->getAttributeBuffer(0).get());
    });
    for (std::size_t i = 0; i < part.formats.size(); ++i) {
        const AccessorData& format = part.formats[i];
        part.mesh->addAttributeBuffer(sharing != groups_.end()
                                          ? sharing->mesh->getAttributeBuffer(i)
                                          : toAttributeBuffer(format, libraryName(vertices.names[i])));
    }
    groups_.push_back(std::move(part));
    return groups_.back();
}

/// Appends the vertices of a primitive, placed, but no indices.
void Merger::appendVertices(const Document& document, const Primitive& primitive, const glm::dmat4& matrix,
                            MergedGroup& group) {
    const auto vertices = mesh::Mesh::createDefault(group.mesh->getPrimitiveType(), mesh::UNSIGNED_INT);
    for (const Attribute& attribute : sortedAttributes(primitive)) {
        const AccessorData values = readAccessor(document.asset, attribute.accessor);
        vertices->addAttributeBuffer(
            toAttributeBuffer(isPlaced(attribute.name) ? toFloats(values) : values, libraryName(attribute.name)));
    }
    mesh::concatMeshes(group.mesh, vertices, transformationsBy(matrix));
}

std::vector<NewPrimitive> Merger::newPrimitives() const {
    std::vector<NewPrimitive> primitives;
    std::map<const mesh::AttributeBuffer*, std::size_t> owners;
    for (const MergedGroup& group : groups_) {
        NewPrimitive primitive = toNewPrimitive(group);
        const auto [owner, isNew] = owners.try_emplace(group.mesh->getAttributeBuffer(0).get(), primitives.size());
        if (isNew) {
            primitive.attributes = newAttributes(group);
        } else {
            primitive.sharesWith = owner->second;
        }
        primitives.push_back(std::move(primitive));
    }
    return primitives;
}

void Merger::requireExtensions() {
    for (const MergedGroup& group : groups_) {
        for (std::size_t i = 0; i < group.formats.size(); ++i) {
            if (needsQuantization(group.mesh->getAttributeBuffer(i)->getAttributeName(), group.formats[i])) {
                builder_.useExtension(quantizationExtension, true);
            }
        }
    }
}

Bytes Merger::finish() {
    if (groups_.empty()) {
        throw FormatError("there is nothing to merge");
    }
    std::set<const mesh::AttributeBuffer*> normalized;
    for (const MergedGroup& group : groups_) {
        const auto normals = group.mesh->getAttributeBuffer("normal");
        if (normals != nullptr && normalized.insert(normals.get()).second) {
            // Some may be without a direction.
            normalize(*normals);
        }
        const auto tangents = group.mesh->getAttributeBuffer("TANGENT");
        if (tangents != nullptr && normalized.insert(tangents.get()).second) {
            restoreTangents(*tangents, normals.get());
        }
        try {
            group.mesh->isValid();
        } catch (const std::logic_error& error) {
            throw CheckError(group.layout + ": " + error.what());
        }
    }
    builder_.addMesh("merged", newPrimitives());
    variants_.finish();
    scene_.finish();
    requireExtensions();
    if (!copyrights_.empty()) {
        builder_.setCopyright(
            std::accumulate(std::next(copyrights_.begin()), copyrights_.end(), copyrights_.front(),
                            [](const std::string& before, const std::string& text) { return before + "; " + text; }));
    }
    const Asset asset = builder_.finish();
    written_ = withoutPlaces(asset.json);
    return writeGlb(asset.json, asset.buffers);
}

std::string Merger::findFault(const Bytes& file) const {
    const Document output = loadDocument(file, "output.glb");
    const std::vector<NewPrimitive> expected = newPrimitives();
    const bool isAsMerged =
        output.meshes.size() == 1 &&
        std::equal(output.meshes[0].primitives.begin(), output.meshes[0].primitives.end(), expected.begin(),
                   expected.end(), [&](const Primitive& primitive, const NewPrimitive& wanted) {
                       return isSame(output, output.meshes[0].primitives, primitive, wanted);
                   });
    if (!isAsMerged) {
        return "its vertices and indices would not be those of the merged meshes";
    }
    return isSameContent(withoutPlaces(output.asset.json), written_)
               ? ""
               : "its materials, variants, cameras or lights would not be those of the inputs";
}

} // namespace vexa::tool
