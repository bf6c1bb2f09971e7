#include "ops/Merging.h"

#include "base/Errors.h"
#include "io/gltf/PrimitiveRestart.h"
#include "ops/MeshConversion.h"
#include "ops/Placement.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <glm/matrix.hpp>
#include <limits>
#include <vexa/mesh/AttributeTransformation.h>
#include <vexa/mesh/MeshConcatenation.h>
#include <vexa/mesh/Strips.h>

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

void turnWinding(std::vector<unsigned int>& triangles) {
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
        std::swap(triangles[i + 1], triangles[i + 2]);
    }
}

std::shared_ptr<mesh::IndexBuffer> indexBuffer(const std::vector<unsigned int>& indices) {
    auto buffer = mesh::IndexBuffer::createDefault(mesh::UNSIGNED_INT);
    buffer->resize(indices.size());
    for (std::size_t i = 0; i < indices.size(); ++i) {
        buffer->setElement(i, indices[i]);
    }
    return buffer;
}

/// What a placement does to tangents: three floats that turn with the surface, and a sign that mirroring changes.
mesh::AttributeTransformationFunction tangentTransformation(const glm::dmat4& matrix, bool mirrors) {
    const glm::dmat3 linear(matrix);
    return [linear, mirrors](void* element) {
        std::array<float, 4> tangent{};
        std::memcpy(tangent.data(), element, sizeof tangent);
        const glm::dvec3 turned = linear * glm::dvec3(tangent[0], tangent[1], tangent[2]);
        const double length = std::hypot(turned.x, turned.y, turned.z);
        for (int i = 0; i < 3 && length > 0; ++i) {
            tangent[static_cast<std::size_t>(i)] = static_cast<float>(turned[i] / length);
        }
        tangent[3] = mirrors ? -tangent[3] : tangent[3];
        std::memcpy(element, tangent.data(), sizeof tangent);
    };
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

NewPrimitive toNewPrimitive(const MergedGroup& group) {
    NewPrimitive primitive;
    primitive.type = group.mesh->getPrimitiveType();
    primitive.material = group.material;
    const auto indices = group.mesh->getIndexBuffer();
    for (unsigned long i = 0; i < indices->getElementCount(); ++i) {
        primitive.indices.push_back(static_cast<unsigned int>(indices->getElement(i)));
    }
    for (unsigned long i = 0; i < group.mesh->getNumAttributeBuffers(); ++i) {
        const auto buffer = group.mesh->getAttributeBuffer(i);
        primitive.attributes.push_back(
            {gltfName(buffer->getAttributeName()), fromAttributeBuffer(*buffer, group.formats[i])});
    }
    return primitive;
}

bool isSame(const AccessorData& a, const AccessorData& b) {
    return a.type == b.type && a.componentType == b.componentType && a.normalized == b.normalized &&
           a.count == b.count && a.bytes == b.bytes;
}

bool isSame(const Document& document, const Primitive& primitive, const NewPrimitive& expected) {
    return primitive.type == expected.type && primitive.indices == expected.indices &&
           std::equal(primitive.attributes.begin(), primitive.attributes.end(), expected.attributes.begin(),
                      expected.attributes.end(), [&](const Attribute& attribute, const NewAttribute& wanted) {
                          return isSame(readAccessor(document.asset, attribute.accessor), wanted.values);
                      });
}

} // namespace

void Merger::warnOnce(const std::string& warning) {
    if (std::find(warnings_.begin(), warnings_.end(), warning) == warnings_.end()) {
        warnings_.push_back(warning);
    }
}

void Merger::add(const Document& document, const glm::dmat4& placement) {
    try {
        for (const MeshInstance& instance : meshInstances(document)) {
            const Mesh& mesh = document.meshes.at(instance.mesh);
            for (std::size_t p = 0; p < mesh.primitives.size(); ++p) {
                addPrimitive(document, mesh, p, placement * instance.matrix);
            }
        }
        for (const char* part : {"animations", "skins"}) {
            if (document.asset.json.contains(part)) {
                warnOnce(document.file.string() + ": " + part + " are left out");
            }
        }
    } catch (const FormatError& error) {
        throw FileError(document.file.string(), error.what());
    }
}

void Merger::addPrimitive(const Document& document, const Mesh& mesh, std::size_t index, const glm::dmat4& matrix) {
    const Primitive& primitive = mesh.primitives[index];
    const std::string where = primitiveName(mesh, index);
    if (primitive.findAttribute("POSITION") == nullptr) {
        warnOnce(document.file.string() + ": " + where + " is left out: it has no positions");
        return;
    }
    MergedGroup part;
    mesh::PrimitiveType type{};
    std::vector<unsigned int> indices = plainIndices(primitive, type);
    if (indices.empty()) {
        return;
    }
    const bool mirrors = glm::determinant(glm::dmat3(matrix)) < 0;
    if (mirrors && type == mesh::TRIANGLES) {
        turnWinding(indices);
    }
    part.mesh = mesh::Mesh::createDefault(type, mesh::UNSIGNED_INT);
    part.mesh->setIndexBuffer(indexBuffer(indices));
    part.layout = mesh::getStringForPrimitiveType(type);
    for (const Attribute& attribute : sortedAttributes(primitive)) {
        AccessorData values = readAccessor(document.asset, attribute.accessor);
        checkFormat(attribute.name, values, where);
        values = isPlaced(attribute.name) ? toFloats(values) : values;
        part.mesh->addAttributeBuffer(toAttributeBuffer(values, libraryName(attribute.name)));
        part.layout += ", " + describe(attribute.name, values);
        values.bytes.clear();
        part.formats.push_back(std::move(values));
    }
    const Json& source =
        document.asset.json["meshes"][static_cast<std::size_t>(&mesh - document.meshes.data())]["primitives"][index];
    if (source.contains("material")) {
        part.material = materials_.copy(document, source["material"].get<std::size_t>());
    }
    if (source.contains("targets")) {
        warnOnce(document.file.string() + ": morph targets are left out");
    }

    MergedGroup& group = groupFor(part);
    const auto total = group.mesh->getAttributeBuffer(0)->getElementCount() + primitive.vertices;
    if (total >= std::numeric_limits<std::uint32_t>::max()) {
        throw FormatError(where + ": together they have too many vertices");
    }
    mesh::AttributeTransformationMap transformations;
    mesh::createClassicTransformation(transformations, glm::mat4(matrix));
    transformations["TANGENT"] = tangentTransformation(matrix, mirrors);
    mesh::concatMeshes(group.mesh, part.mesh, transformations);
    checkPositions(*group.mesh->getAttributeBuffer("position"), total - primitive.vertices, where);
    ++group.parts;
}

/// The group of a part's layout and material; a new one begins empty.
MergedGroup& Merger::groupFor(MergedGroup part) {
    const auto found = std::find_if(groups_.begin(), groups_.end(), [&](const MergedGroup& group) {
        return group.layout == part.layout && group.material == part.material;
    });
    if (found != groups_.end()) {
        return *found;
    }
    part.mesh = mesh::Mesh::createEmptyMesh(part.mesh);
    groups_.push_back(std::move(part));
    return groups_.back();
}

Bytes Merger::finish() {
    if (groups_.empty()) {
        throw FormatError("there is nothing to merge");
    }
    std::vector<NewPrimitive> primitives;
    for (const MergedGroup& group : groups_) {
        if (const auto normals = group.mesh->getAttributeBuffer("normal")) {
            // Appending leaves them with absolute values that add up to 1.
            normalize(*normals);
        }
        try {
            group.mesh->isValid();
        } catch (const std::logic_error& error) {
            throw CheckError(group.layout + ": " + error.what());
        }
        primitives.push_back(toNewPrimitive(group));
    }
    builder_.addMesh("merged", primitives);
    const Asset asset = builder_.finish();
    return writeGlb(asset.json, asset.buffers);
}

std::string Merger::findFault(const Bytes& file) const {
    const Document output = loadDocument(file, "output.glb");
    const bool isAsMerged =
        output.meshes.size() == 1 &&
        std::equal(output.meshes[0].primitives.begin(), output.meshes[0].primitives.end(), groups_.begin(),
                   groups_.end(), [&](const Primitive& primitive, const MergedGroup& group) {
                       return isSame(output, primitive, toNewPrimitive(group));
                   });
    return isAsMerged ? "" : "its vertices and indices would not be those of the merged meshes";
}

} // namespace vexa::tool
