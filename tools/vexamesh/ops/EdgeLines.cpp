#include "ops/EdgeLines.h"

#include "base/Errors.h"
#include "io/gltf/IndexEdit.h"
#include "io/gltf/UnusedData.h"
#include "ops/MeshConversion.h"
#include "ops/Triangles.h"
#include "ops/UneditedContent.h"

#include <algorithm>
#include <array>
#include <numbers>
#include <sstream>
#include <utility>
#include <vexa/mesh/HalfEdgeGraph.h>
#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/Strips.h>

namespace vexa::tool {

namespace {

/// The lines of a primitive's edges.
std::vector<unsigned int> edgeLines(const Primitive& primitive, bool borderOnly, EdgeStats& stats) {
    const std::vector<unsigned int> triangles = mesh::toTriangles(primitive.type, primitive.indices);
    mesh::HalfEdgeGraph graph;
    graph.addTriangles(triangles.data(), triangles.size());
    std::vector<unsigned int> flagged;
    stats.triangles += triangles.size() / 3;
    stats.edges += graph.calcEgdeLines(flagged, true);
    std::vector<unsigned int> lines;
    for (std::size_t i = 0; i + 2 < flagged.size(); i += 3) {
        const bool isBorder = flagged[i + 2] == 0;
        stats.border += isBorder ? 1 : 0;
        if (isBorder || !borderOnly) {
            lines.insert(lines.end(), {flagged[i], flagged[i + 1]});
        }
    }
    stats.written += lines.size() / 2;
    return lines;
}

constexpr std::array<std::pair<const char*, mesh::EdgeClass>, 5> classNames{
    {{"smooth", mesh::EdgeClass::Smooth},
     {"border", mesh::EdgeClass::Border},
     {"crease", mesh::EdgeClass::Crease},
     {"seam", mesh::EdgeClass::Seam},
     {"non-manifold", mesh::EdgeClass::NonManifold}}};

/// The lines of those of a primitive's edges that are of the chosen classes.
std::vector<unsigned int> classifiedLines(const Document& document, const Primitive& primitive,
                                          const EdgeChoice& choice, EdgeStats& stats) {
    const mesh::MeshPtr mesh =
        mesh::makeMesh(primitive.type, primitive.indices, {positionsToClassify(document, primitive, stats.name)});
    const std::vector<mesh::ClassifiedEdge> edges = mesh::classifyEdges(*mesh, edgeOptions(choice));
    countClasses(edges, stats);
    std::vector<unsigned int> lines = mesh::toLines(edges, *choice.classes);
    stats.triangles += mesh::toTriangles(primitive.type, primitive.indices).size() / 3;
    stats.written += lines.size() / 2;
    return lines;
}

/// Primitives without a line, by mesh and position: glTF does not allow a primitive without elements.
using EmptyPrimitives = std::vector<std::vector<bool>>;

void removeMeshReferences(Json& json, const std::vector<std::optional<std::size_t>>& newIndex) {
    if (!json.contains("nodes")) {
        return;
    }
    for (Json& node : json["nodes"]) {
        const auto mesh = node.find("mesh");
        if (mesh == node.end()) {
            continue;
        }
        if (const auto index = newIndex[mesh->get<std::size_t>()]) {
            *mesh = *index;
        } else {
            for (const char* key : {"mesh", "skin", "weights"}) {
                node.erase(key);
            }
        }
    }
}

void removePrimitives(Json& json, const EmptyPrimitives& isEmpty) {
    if (isEmpty.empty()) {
        return;
    }
    Json& meshes = json["meshes"];
    Json kept = Json::array();
    std::vector<std::optional<std::size_t>> newIndex(meshes.size());
    for (std::size_t m = 0; m < meshes.size(); ++m) {
        Json primitives = Json::array();
        for (std::size_t p = 0; p < meshes[m]["primitives"].size(); ++p) {
            if (!isEmpty[m][p]) {
                primitives.push_back(meshes[m]["primitives"][p]);
            }
        }
        if (!primitives.empty()) {
            meshes[m]["primitives"] = std::move(primitives);
            newIndex[m] = kept.size();
            kept.push_back(meshes[m]);
        }
    }
    removeMeshReferences(json, newIndex);
    if (kept.empty()) {
        json.erase("meshes");
    } else {
        meshes = std::move(kept);
    }
}

/// The expected content of the file, for reading it back.
struct Expected {
    std::vector<std::vector<unsigned int>> lines; ///< of each primitive of lines, in the order of the file
    Json content;                                 ///< everything else
};

std::string findEdgeFault(const Bytes& file, const Expected& expected, const std::vector<EditedPrimitive>& written) {
    const Document output = loadDocument(file, "output.glb");
    for (std::size_t i = 0; i < written.size(); ++i) {
        const Primitive& primitive = output.meshes.at(written[i].mesh).primitives.at(written[i].first);
        if (primitive.type != mesh::LINES || primitive.indices != expected.lines[i]) {
            return "its lines would not be the edges of the input";
        }
    }
    return isSameContent(uneditedContent(output, written), expected.content) ? "" : contentFault;
}

} // namespace

mesh::EdgeClass parseEdgeClasses(const std::string& text) {
    unsigned classes = 0;
    std::istringstream words(text);
    for (std::string word; std::getline(words, word, ',');) {
        const auto found =
            std::find_if(classNames.begin(), classNames.end(), [&](const auto& entry) { return entry.first == word; });
        if (found == classNames.end()) {
            throw UsageError("--classes " + text + ": \"" + word +
                             "\" is not a class of edges; use border, crease, seam, smooth or non-manifold");
        }
        classes |= static_cast<unsigned>(found->second);
    }
    if (classes == 0) {
        throw UsageError("--classes: name at least one of border, crease, seam, smooth and non-manifold");
    }
    return static_cast<mesh::EdgeClass>(classes);
}

std::shared_ptr<mesh::AttributeBuffer> positionsToClassify(const Document& document, const Primitive& primitive,
                                                           const std::string& meshName) {
    const Attribute* const attribute = primitive.findAttribute("POSITION");
    if (attribute == nullptr) {
        throw FileError(document.file.string(),
                        meshName + " has a primitive without positions, whose edges cannot be classified");
    }
    return toAttributeBuffer(toFloats(readAccessor(document.asset, attribute->accessor)), "position");
}

void countClasses(const std::vector<mesh::ClassifiedEdge>& edges, EdgeStats& stats) {
    stats.edges += edges.size();
    for (const mesh::ClassifiedEdge& edge : edges) {
        stats.border += hasAny(edge.classes, mesh::EdgeClass::Border) ? 1 : 0;
        stats.crease += hasAny(edge.classes, mesh::EdgeClass::Crease) ? 1 : 0;
        stats.seam += hasAny(edge.classes, mesh::EdgeClass::Seam) ? 1 : 0;
        stats.nonManifold += hasAny(edge.classes, mesh::EdgeClass::NonManifold) ? 1 : 0;
    }
}

mesh::EdgeOptions edgeOptions(const EdgeChoice& choice) {
    return {.creaseAngle = static_cast<float>(choice.creaseAngle * std::numbers::pi / 180)};
}

EdgeFile replaceByEdges(Document document, const EdgeChoice& choice) {
    EdgeFile result;
    std::vector<IndexEdit> edits;
    std::vector<EditedPrimitive> edited;
    std::vector<EditedPrimitive> written;
    EmptyPrimitives isEmpty;
    for (std::size_t m = 0, newMesh = 0; m < document.meshes.size(); ++m) {
        const Mesh& mesh = document.meshes[m];
        EdgeStats stats;
        stats.name = mesh.name;
        isEmpty.emplace_back(mesh.primitives.size());
        std::size_t kept = 0;
        for (std::size_t p = 0; p < mesh.primitives.size(); ++p) {
            if (!hasTriangles(mesh.primitives[p])) {
                ++kept;
                continue;
            }
            std::vector<unsigned int> lines = choice.classes
                                                  ? classifiedLines(document, mesh.primitives[p], choice, stats)
                                                  : edgeLines(mesh.primitives[p], choice.borderOnly, stats);
            if (lines.empty()) {
                isEmpty[m][p] = true;
            } else {
                edited.push_back({m, p, 1});
                written.push_back({newMesh, kept++, 1});
                edits.push_back({m, p, {{mesh::LINES, std::move(lines)}}});
            }
        }
        newMesh += kept > 0 ? 1 : 0;
        result.meshes.push_back(std::move(stats));
    }
    Expected expected;
    expected.content = uneditedContent(document, edited);
    removePrimitives(expected.content, isEmpty);
    try {
        replaceIndices(document.asset, edits);
        const UsedData usedBefore(document.asset.json);
        removePrimitives(document.asset.json, isEmpty);
        usedBefore.removeUnused(document.asset.json);
        result.file = writeGlb(document.asset.json, document.asset.buffers);
    } catch (const FormatError& error) {
        throw FileError(document.file.string(), error.what());
    }
    for (IndexEdit& edit : edits) {
        expected.lines.push_back(std::move(edit.replacements.front().indices));
    }
    result.findFault = [expected = std::move(expected), written = std::move(written)](const Bytes& file) {
        return findEdgeFault(file, expected, written);
    };
    return result;
}

} // namespace vexa::tool
