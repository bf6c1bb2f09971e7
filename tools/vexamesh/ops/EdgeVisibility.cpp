#include "ops/EdgeVisibility.h"

#include "base/Bytes.h"
#include "base/Errors.h"
#include "base/Text.h"
#include "io/gltf/GltfExtensions.h"
#include "io/gltf/PrimitiveRestart.h"
#include "io/gltf/UnusedData.h"
#include "ops/MeshConversion.h"
#include "ops/Triangles.h"
#include "ops/UneditedContent.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <glm/geometric.hpp>
#include <glm/vec3.hpp>
#include <optional>
#include <tuple>
#include <unordered_map>
#include <utility>
#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/Views.h>
#include <vexa/mesh/Weld.h>

namespace vexa::tool {

namespace {

/// Values of the extension, two bits for each edge of each triangle.
enum Mark : unsigned { HIDDEN = 0, SILHOUETTE = 1, HARD = 2, REPEATED_HARD = 3 };

/// The marks of a primitive.
struct Marks {
    std::size_t mesh = 0;
    std::size_t primitive = 0;
    Bytes visibility;
    Bytes normals; ///< of the two triangles of each silhouette edge, three floats each
};

/// The corners of all triangles of a primitive in the order that glTF gives them, collapsed ones included.
std::vector<unsigned int> cornersOf(const Primitive& primitive) {
    if (primitive.type == mesh::TRIANGLES) {
        const auto begin = primitive.indices.begin();
        // Indices after the last whole triangle draw nothing.
        return {begin, begin + static_cast<std::ptrdiff_t>(primitive.indices.size() / 3 * 3)};
    }
    std::vector<unsigned int> corners;
    forEachRun(primitive.indices, [&](auto begin, auto end) {
        for (std::ptrdiff_t i = 0; i + 2 < end - begin; ++i) {
            const std::ptrdiff_t odd = i % 2;
            if (primitive.type == mesh::TRIANGLE_STRIP) {
                corners.insert(corners.end(), {begin[i], begin[i + 1 + odd], begin[i + 2 - odd]});
            } else {
                corners.insert(corners.end(), {begin[i + 1], begin[i + 2], begin[0]});
            }
        }
    });
    return corners;
}

/// An edge between positions.
struct MarkedEdge {
    mesh::EdgeClass classes = mesh::EdgeClass::Smooth;
    unsigned int triangles = 0; ///< found so far that are not collapsed
    bool runsSameWay = false;   ///< along both of the first two
    bool isMarked = false;
    std::uint32_t from = 0;                ///< where the first one begins
    std::array<glm::vec3, 2> normals = {}; ///< of the first two; zero without an area
};

class EdgeMarker {
public:
    EdgeMarker(std::vector<unsigned int> corners, const std::shared_ptr<mesh::AttributeBuffer>& positions,
               const EdgeChoice& choice, EdgeStats& stats)
        : corners_(std::move(corners)), positions_(mesh::toElements<glm::vec3>(*positions)), choice_(choice) {
        const mesh::MeshPtr mesh = mesh::makeMesh(mesh::TRIANGLES, corners_, {positions});
        places_ = mesh::weld(*mesh, {.tolerance = 0}).remap;
        const std::vector<mesh::ClassifiedEdge> edges = mesh::classifyEdges(*mesh, edgeOptions(choice));
        countClasses(edges, stats);
        edges_.reserve(edges.size());
        for (const mesh::ClassifiedEdge& edge : edges) {
            edges_[keyOf(edge.vertices[0], edge.vertices[1])].classes = edge.classes;
        }
        collectNormals();
    }

    Marks mark(EdgeStats& stats) {
        Marks marks;
        marks.visibility.resize((corners_.size() + 3) / 4);
        for (std::size_t corner = 0; corner < corners_.size(); ++corner) {
            const Mark mark = markOf(corner, marks.normals, stats);
            marks.visibility[corner / 4] =
                static_cast<unsigned char>(marks.visibility[corner / 4] | mark << corner % 4 * 2);
        }
        return marks;
    }

private:
    [[nodiscard]] std::uint64_t keyOf(unsigned int a, unsigned int b) const {
        const auto [low, high] = std::minmax(places_[a], places_[b]);
        return std::uint64_t{low} << 32 | high;
    }

    static std::size_t next(std::size_t corner) { return corner % 3 == 2 ? corner - 2 : corner + 1; }

    [[nodiscard]] glm::vec3 normalOf(std::size_t triangle) const {
        const glm::dvec3 a(positions_[corners_[triangle]]);
        const glm::dvec3 normal = glm::cross(glm::dvec3(positions_[corners_[triangle + 1]]) - a,
                                             glm::dvec3(positions_[corners_[triangle + 2]]) - a);
        const double length = glm::length(normal);
        return length > 0 ? glm::vec3(normal / length) : glm::vec3(0);
    }

    void collectNormals() {
        for (std::size_t triangle = 0; triangle < corners_.size(); triangle += 3) {
            const std::array places = {places_[corners_[triangle]], places_[corners_[triangle + 1]],
                                       places_[corners_[triangle + 2]]};
            if (places[0] == places[1] || places[1] == places[2] || places[2] == places[0]) {
                continue;
            }
            const glm::vec3 normal = normalOf(triangle);
            for (std::size_t side = triangle; side < triangle + 3; ++side) {
                MarkedEdge& edge = edges_.at(keyOf(corners_[side], corners_[next(side)]));
                const std::uint32_t from = places_[corners_[side]];
                if (edge.triangles == 0) {
                    edge.from = from;
                } else {
                    edge.runsSameWay = edge.from == from;
                }
                if (edge.triangles < 2) {
                    edge.normals[edge.triangles++] = normal;
                }
            }
        }
    }

    /// The mark of the edge that begins at a corner: of each edge, only the first occurrence counts.
    Mark markOf(std::size_t corner, Bytes& normals, EdgeStats& stats) {
        const auto found = edges_.find(keyOf(corners_[corner], corners_[next(corner)]));
        if (found == edges_.end()) {
            return HIDDEN;
        }
        MarkedEdge& edge = found->second;
        const bool isFirst = !std::exchange(edge.isMarked, true);
        if (hasAny(edge.classes, *choice_.classes)) {
            stats.written += isFirst ? 1 : 0;
            return isFirst ? HARD : REPEATED_HARD;
        }
        if (!isFirst || !isSilhouette(edge)) {
            return HIDDEN;
        }
        ++stats.silhouettes;
        // Both face outwards, also where the windings disagree.
        appendValue(normals, edge.normals[0]);
        appendValue(normals, edge.runsSameWay ? -edge.normals[1] : edge.normals[1]);
        return SILHOUETTE;
    }

    /// Whether one triangle of an edge can face the viewer while the other faces away.
    [[nodiscard]] static bool isSilhouette(const MarkedEdge& edge) {
        const glm::vec3& other = edge.runsSameWay ? -edge.normals[1] : edge.normals[1];
        return !hasAny(edge.classes, mesh::EdgeClass::Border | mesh::EdgeClass::NonManifold) &&
               edge.normals[0] != glm::vec3(0) && edge.normals[1] != glm::vec3(0) && edge.normals[0] != other;
    }

    std::vector<unsigned int> corners_;
    std::vector<glm::vec3> positions_;
    EdgeChoice choice_;
    std::vector<std::uint32_t> places_; ///< per vertex the number of its position
    std::unordered_map<std::uint64_t, MarkedEdge> edges_;
};

/// Adds the bytes of all marks as buffer views, and accessors in them.
class MarkWriter {
public:
    explicit MarkWriter(Asset& asset) : asset_(asset) {}

    void add(const Marks& marks) {
        Json content = Json::object();
        content["visibility"] = addAccessor(visibility_, marks.visibility, mesh::UNSIGNED_BYTE, 1, "SCALAR");
        if (!marks.normals.empty()) {
            content["silhouetteNormals"] = addAccessor(normals_, marks.normals, mesh::FLOAT, sizeof(glm::vec3), "VEC3");
        }
        asset_.json["meshes"][marks.mesh]["primitives"][marks.primitive]["extensions"][edgeVisibilityExtension] =
            std::move(content);
        setListed(asset_.json, "extensionsUsed", edgeVisibilityExtension, true);
    }

    /// Adds the buffers; nothing may be added after that.
    void finish() {
        for (View* view : {&visibility_, &normals_}) {
            if (view->number) {
                Json& entry = asset_.json["bufferViews"][*view->number];
                entry["buffer"] = asset_.buffers.size();
                entry["byteLength"] = view->bytes.size();
                asset_.json["buffers"].push_back({{"byteLength", view->bytes.size()}});
                asset_.buffers.push_back(std::move(view->bytes));
            }
        }
    }

private:
    struct View {
        std::optional<std::size_t> number;
        Bytes bytes;
    };

    std::size_t addAccessor(View& view, const Bytes& values, mesh::ComponentType type, std::size_t size,
                            const char* shape) {
        Json& views = asset_.json["bufferViews"];
        if (!view.number) {
            view.number = views.size();
            views.push_back({{"buffer", 0}, {"byteLength", 0}});
        }
        Json accessor = {{"bufferView", *view.number}};
        if (!view.bytes.empty()) {
            accessor["byteOffset"] = view.bytes.size();
        }
        accessor.update({{"componentType", type}, {"count", values.size() / size}, {"type", shape}});
        view.bytes.insert(view.bytes.end(), values.begin(), values.end());
        asset_.json["accessors"].push_back(std::move(accessor));
        return asset_.json["accessors"].size() - 1;
    }

    Asset& asset_;
    View visibility_;
    View normals_;
};

/// Removes the extension from all primitives, and from the list of those used.
///
/// \return the content of each, with the numbers of its mesh and primitive
std::vector<std::tuple<std::size_t, std::size_t, Json>> takeMarks(Json& json) {
    std::vector<std::tuple<std::size_t, std::size_t, Json>> taken;
    if (json.contains("meshes")) {
        for (std::size_t m = 0; m < json["meshes"].size(); ++m) {
            Json& primitives = json["meshes"][m]["primitives"];
            for (std::size_t p = 0; p < primitives.size(); ++p) {
                if (Json content = takeExtension(primitives[p], edgeVisibilityExtension); !content.is_null()) {
                    taken.emplace_back(m, p, std::move(content));
                }
            }
        }
    }
    for (const char* list : {"extensionsUsed", "extensionsRequired"}) {
        setListed(json, list, edgeVisibilityExtension, false);
    }
    return taken;
}

std::string findMarkFault(const Bytes& file, const std::vector<Marks>& expected, const Json& content) {
    Document output = loadDocument(file, "output.glb");
    const auto written = takeMarks(output.asset.json);
    const auto bytesOf = [&](const Json& extension, const char* member) {
        return extension.contains(member) ? readAccessor(output.asset, extension[member].get<std::size_t>()).bytes
                                          : Bytes();
    };
    const auto isAsExpected = [&](const auto& entry, const Marks& marks) {
        const auto& [m, p, extension] = entry;
        return m == marks.mesh && p == marks.primitive && bytesOf(extension, "visibility") == marks.visibility &&
               bytesOf(extension, "silhouetteNormals") == marks.normals;
    };
    if (!std::equal(written.begin(), written.end(), expected.begin(), expected.end(), isAsExpected)) {
        return "its marks would not be those of the edges of the input";
    }
    return isSameContent(uneditedContent(output, {}), content)
               ? ""
               : "something in it besides the marks of edges would not be as in the input";
}

} // namespace

EdgeFile markEdges(Document document, const EdgeChoice& choice) {
    EdgeFile result;
    std::vector<Marks> marks;
    for (std::size_t m = 0; m < document.meshes.size(); ++m) {
        EdgeStats stats;
        stats.name = document.meshes[m].name;
        if (!restartGroupAccessors(document.asset.json["meshes"][m]).empty()) {
            throw FileError(document.file.string(),
                            stats.name +
                                " holds groups of strips, whose edges would all count as borders: make lists of "
                                "them first, with `vexamesh unstrip`");
        }
        for (std::size_t p = 0; p < document.meshes[m].primitives.size(); ++p) {
            const Primitive& primitive = document.meshes[m].primitives[p];
            if (!hasTriangles(primitive)) {
                continue;
            }
            const std::size_t drawn = stats.written + stats.silhouettes;
            std::vector<unsigned int> corners = cornersOf(primitive);
            stats.triangles += corners.size() / 3;
            EdgeMarker marker(std::move(corners), positionsToClassify(document, primitive, stats.name), choice, stats);
            Marks own = marker.mark(stats);
            own.mesh = m;
            own.primitive = p;
            // The extension must not be there without a visible edge.
            if (stats.written + stats.silhouettes > drawn) {
                marks.push_back(std::move(own));
            }
        }
        result.meshes.push_back(std::move(stats));
    }
    Json content = uneditedContent(document, {});
    MarkWriter writer(document.asset);
    for (const Marks& own : marks) {
        writer.add(own);
    }
    writer.finish();
    try {
        result.file = writeGlb(document.asset.json, document.asset.buffers);
    } catch (const FormatError& error) {
        throw FileError(document.file.string(), error.what());
    }
    result.findFault = [marks = std::move(marks), content = std::move(content)](const Bytes& file) {
        return findMarkFault(file, marks, content);
    };
    return result;
}

std::vector<std::string> removeEdgeMarks(Document& document) {
    Json json = document.asset.json;
    const std::size_t count = takeMarks(json).size();
    if (count == 0) {
        return {};
    }
    const UsedData usedBefore(document.asset.json);
    usedBefore.removeUnused(json);
    Document reloaded = loadDocument(writeGlb(json, document.asset.buffers), "unmarked.glb");
    document.asset.json = std::move(reloaded.asset.json);
    document.asset.buffers = std::move(reloaded.asset.buffers);
    document.asset.model = std::move(reloaded.asset.model);
    document.meshes = std::move(reloaded.meshes);
    return {"the edge visibility (" + std::string(edgeVisibilityExtension) + ") of " + counted(count, "primitive") +
            ", which applies only to the triangles of the input in their order"};
}

} // namespace vexa::tool
