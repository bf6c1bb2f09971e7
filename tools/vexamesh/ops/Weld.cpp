#include "ops/Weld.h"

#include "base/Errors.h"
#include "io/AssetBuilder.h"
#include "io/gltf/GltfExtensions.h"
#include "io/gltf/IndexEdit.h"
#include "io/gltf/PrimitiveRestart.h"
#include "io/gltf/UnusedData.h"
#include "ops/MeshConversion.h"

#include <algorithm>
#include <map>
#include <tuple>
#include <vexa/mesh/Strips.h>
#include <vexa/mesh/Weld.h>

namespace vexa::tool {

namespace {

/// The part that an accessor plays in the comparison of vertices.
enum class Role { Other, Kind, Position };

Role roleOf(const std::string& name, bool isTarget) {
    if (name == "POSITION") {
        return isTarget ? Role::Kind : Role::Position;
    }
    return name.starts_with("JOINTS_") || name.starts_with("WEIGHTS_") ? Role::Kind : Role::Other;
}

/// Calls `visit(reference, role)` with each reference of a primitive to values of its vertices.
template <typename PrimitiveJson, typename Visit>
void forEachValues(PrimitiveJson& primitive, const Visit& visit) {
    if (primitive.contains("attributes")) {
        for (auto& item : primitive["attributes"].items()) {
            visit(item.value(), roleOf(item.key(), false));
        }
    }
    if (primitive.contains("targets")) {
        for (auto& target : primitive["targets"]) {
            for (auto& item : target.items()) {
                visit(item.value(), roleOf(item.key(), true));
            }
        }
    }
}

/// Accessors that primitives use together, with how their vertices are joined.
struct VertexSet {
    std::size_t count = 0;                 ///< vertices
    std::map<std::size_t, Role> accessors; ///< the most important role of each
    std::vector<std::uint32_t> first;      ///< per vertex the one that replaces it; empty if none is joined
    std::vector<std::uint32_t> number;     ///< per vertex its new number
};

class Welder {
public:
    Welder(Document& document, std::optional<double> tolerance) : document_(document), tolerance_(tolerance) {}

    WeldStats run() {
        findSets();
        for (VertexSet& set : sets_) {
            joinVertices(set);
        }
        if (stats_.joined > 0) {
            const std::vector<std::pair<std::size_t, std::size_t>> places = editIndices();
            moveVertices(places);
            reload();
        }
        return stats_;
    }

private:
    [[nodiscard]] const Json& sourceOf(std::size_t mesh, std::size_t primitive) const {
        return document_.asset.json["meshes"][mesh]["primitives"][primitive];
    }

    template <typename Visit>
    void forEachPrimitive(const Visit& visit) const {
        for (std::size_t m = 0; m < document_.meshes.size(); ++m) {
            for (std::size_t p = 0; p < document_.meshes[m].primitives.size(); ++p) {
                visit(m, p);
            }
        }
    }

    /// Primitives that share an accessor belong to one set, through others, too.
    void findSets() {
        std::map<std::size_t, std::size_t> setOf;
        forEachPrimitive([&](std::size_t m, std::size_t p) {
            std::map<std::size_t, Role> accessors;
            forEachValues(sourceOf(m, p), [&](const Json& reference, Role role) {
                Role& known = accessors[reference.get<std::size_t>()];
                known = std::max(known, role);
            });
            const std::size_t count = document_.meshes[m].primitives[p].vertices;
            std::size_t own = sets_.size();
            for (const auto& [accessor, role] : accessors) {
                if (const auto found = setOf.find(accessor); found != setOf.end()) {
                    own = found->second;
                    break;
                }
            }
            if (own == sets_.size()) {
                sets_.push_back({count, {}, {}, {}});
            }
            for (const auto& [accessor, role] : accessors) {
                const auto [found, isNew] = setOf.try_emplace(accessor, own);
                if (!isNew && found->second != own) {
                    unite(own, found->second, setOf);
                }
                Role& known = sets_[own].accessors[accessor];
                known = std::max(known, role);
            }
        });
        setOf_ = std::move(setOf);
    }

    void unite(std::size_t set, std::size_t other, std::map<std::size_t, std::size_t>& setOf) {
        for (const auto& [accessor, role] : sets_[other].accessors) {
            setOf[accessor] = set;
            Role& known = sets_[set].accessors[accessor];
            known = std::max(known, role);
        }
        sets_[other].accessors.clear();
    }

    void joinVertices(VertexSet& set) {
        std::map<std::size_t, AccessorData> values;
        for (const auto& [accessor, role] : set.accessors) {
            values.emplace(accessor, readAccessor(document_.asset, accessor));
        }
        const bool isRegular = std::all_of(values.begin(), values.end(),
                                           [&](const auto& entry) { return entry.second.count == set.count; });
        if (values.empty() || !isRegular) {
            return;
        }
        stats_.vertices += set.count;
        std::optional<std::vector<std::uint32_t>> numbers = newNumbers(set, values);
        if (!numbers) {
            return;
        }
        set.number = std::move(*numbers);
        std::vector<std::uint32_t> kept;
        std::vector<std::uint32_t> first(set.count);
        for (std::uint32_t v = 0; v < set.count; ++v) {
            if (set.number[v] == kept.size()) {
                kept.push_back(v);
            }
            first[v] = kept[set.number[v]];
            stats_.differing += first[v] != v && differs(set, values, v, first[v]) ? 1 : 0;
        }
        if (kept.size() < set.count) {
            set.first = std::move(first);
            stats_.joined += set.count - kept.size();
        }
    }

    /// \return nothing if there are no positions to compare
    [[nodiscard]] std::optional<std::vector<std::uint32_t>>
    newNumbers(const VertexSet& set, const std::map<std::size_t, AccessorData>& values) const {
        const mesh::MeshPtr compared = mesh::Mesh::createDefault(mesh::POINTS, mesh::UNSIGNED_INT);
        compared->setIndexBuffer(nullptr);
        const AccessorData* positions = nullptr;
        for (const auto& [accessor, data] : values) {
            const Role role = set.accessors.at(accessor);
            // Where primitives with different positions share other values, the further positions must be equal.
            if (tolerance_ && role == Role::Position && positions == nullptr) {
                positions = &data;
            } else if (!tolerance_ || role != Role::Other) {
                compared->addAttributeBuffer(toAttributeBuffer(data, std::to_string(accessor)));
            }
        }
        if (tolerance_) {
            if (positions == nullptr || positions->components != 3) {
                return std::nullopt;
            }
            compared->addAttributeBuffer(toAttributeBuffer(toFloats(*positions), "position"));
        }
        return mesh::weld(*compared, {.tolerance = tolerance_}).remap;
    }

    static bool differs(const VertexSet& set, const std::map<std::size_t, AccessorData>& values, std::size_t a,
                        std::size_t b) {
        return std::any_of(values.begin(), values.end(), [&](const auto& entry) {
            const std::size_t size = entry.second.elementSize();
            const unsigned char* data = entry.second.bytes.data();
            return set.accessors.at(entry.first) != Role::Position &&
                   !std::equal(data + a * size, data + (a + 1) * size, data + b * size);
        });
    }

    const VertexSet* joinedSetOf(std::size_t m, std::size_t p) const {
        const VertexSet* result = nullptr;
        forEachValues(sourceOf(m, p), [&](const Json& reference, Role) {
            const VertexSet& set = sets_[setOf_.at(reference.get<std::size_t>())];
            result = set.first.empty() ? nullptr : &set;
        });
        return result;
    }

    static void checkExtensions(const Json& primitive, const std::string& name) {
        for (const auto& [extension, content] : objectMember(primitive, "extensions", name).items()) {
            if (extension == "CESIUM_primitive_outline" || !isSupportedExtension(extension)) {
                throw FormatError(name + ": the extension " + extension +
                                  " may refer to vertices, which cannot be joined then; remove it, or do not weld");
            }
        }
    }

    /// \return the mesh and number of each primitive whose vertices are joined
    std::vector<std::pair<std::size_t, std::size_t>> editIndices() {
        std::vector<IndexEdit> edits;
        std::vector<std::pair<std::size_t, std::size_t>> places;
        forEachPrimitive([&](std::size_t m, std::size_t p) {
            const VertexSet* set = joinedSetOf(m, p);
            if (set == nullptr) {
                return;
            }
            const Primitive& primitive = document_.meshes[m].primitives[p];
            checkExtensions(sourceOf(m, p), primitiveName(document_.meshes[m], p));
            places.emplace_back(m, p);
            if (primitive.indices.empty()) {
                return;
            }
            std::vector<unsigned int> indices = primitive.indices;
            for (unsigned int& index : indices) {
                index = index == decodedRestart ? index : set->number[index];
            }
            stats_.collapsed += trianglesOf(primitive.type, primitive.indices) - trianglesOf(primitive.type, indices);
            edits.push_back({m, p, {{primitive.type, std::move(indices)}}});
        });
        // Before anything is renumbered.
        collectValues(places);
        replaceIndices(document_.asset, edits);
        return places;
    }

    static std::size_t trianglesOf(mesh::PrimitiveType type, const std::vector<unsigned int>& indices) {
        const bool hasTriangles = type == mesh::TRIANGLES || type == mesh::TRIANGLE_STRIP || type == mesh::TRIANGLE_FAN;
        return hasTriangles ? mesh::toTriangles(type, indices).size() / 3 : 0;
    }

    /// Notes the accessors of each primitive in their order, and the values of each that are kept.
    void collectValues(const std::vector<std::pair<std::size_t, std::size_t>>& places) {
        for (const auto& [m, p] : places) {
            forEachValues(sourceOf(m, p), [&](const Json& reference, Role) {
                const auto accessor = reference.get<std::size_t>();
                order_.push_back(accessor);
                if (!kept_.contains(accessor)) {
                    kept_.emplace(accessor, keptValues(sets_[setOf_.at(accessor)], accessor));
                }
            });
        }
    }

    [[nodiscard]] AccessorData keptValues(const VertexSet& set, std::size_t accessor) const {
        AccessorData values = readAccessor(document_.asset, accessor);
        const std::size_t size = values.elementSize();
        std::size_t count = 0;
        for (std::size_t v = 0; v < values.count; ++v) {
            if (set.first[v] == v) {
                std::copy_n(values.bytes.begin() + static_cast<std::ptrdiff_t>(v * size), size,
                            values.bytes.begin() + static_cast<std::ptrdiff_t>(count * size));
                ++count;
            }
        }
        values.count = count;
        values.bytes.resize(count * size);
        return values;
    }

    /// Gives the primitives accessors of the vertices that are kept.
    void moveVertices(const std::vector<std::pair<std::size_t, std::size_t>>& places) {
        Json& json = document_.asset.json;
        const UsedData usedBefore(json);
        std::map<std::size_t, std::size_t> moved;
        auto next = order_.begin();
        for (const auto& [m, p] : places) {
            forEachValues(json["meshes"][m]["primitives"][p], [&](Json& reference, Role) {
                const std::size_t accessor = *next++;
                const auto [found, isNew] = moved.try_emplace(accessor, 0);
                if (isNew) {
                    found->second = addAccessor(json["accessors"][reference.get<std::size_t>()], kept_.at(accessor));
                }
                reference = found->second;
            });
        }
        usedBefore.removeUnused(json);
    }

    /// \param like the accessor whose name and other members the new one takes
    std::size_t addAccessor(const Json& like, const AccessorData& values) {
        Json& json = document_.asset.json;
        const std::size_t stride = (values.elementSize() + 3) / 4 * 4;
        Bytes content = alignElements(values, stride);
        Json accessor = like;
        for (const char* member : {"byteOffset", "sparse"}) {
            accessor.erase(member);
        }
        accessor["bufferView"] = json["bufferViews"].size();
        accessor["count"] = values.count;
        if (accessor.contains("min") || accessor.contains("max")) {
            std::tie(accessor["min"], accessor["max"]) = bounds(values);
        }
        Json view = {{"buffer", json["buffers"].size()}, {"byteLength", content.size()}};
        if (stride != values.elementSize()) {
            view["byteStride"] = stride;
        }
        view["target"] = arrayBuffer;
        json["bufferViews"].push_back(std::move(view));
        json["buffers"].push_back({{"byteLength", content.size()}});
        document_.asset.buffers.push_back(std::move(content));
        json["accessors"].push_back(std::move(accessor));
        return json["accessors"].size() - 1;
    }

    /// Brings the decoded meshes and the model of the asset up to date.
    void reload() {
        const Document before = std::move(document_);
        document_ = loadDocument(writeGlb(before.asset.json, before.asset.buffers), "welded.glb");
        document_.file = before.file;
        document_.format = before.format;
        document_.fileSize = before.fileSize;
        document_.asset.warnings = before.asset.warnings;
        document_.asset.leftOut = before.asset.leftOut;
    }

    Document& document_;
    std::optional<double> tolerance_;
    WeldStats stats_;
    std::vector<VertexSet> sets_;
    std::map<std::size_t, std::size_t> setOf_; ///< by accessor
    std::vector<std::size_t> order_;           ///< accessors as the primitives refer to them, one after the other
    std::map<std::size_t, AccessorData> kept_; ///< by accessor
};

} // namespace

WeldStats weldVertices(Document& document, std::optional<double> tolerance) {
    const std::string file = document.file.string();
    try {
        return Welder(document, tolerance).run();
    } catch (const FormatError& error) {
        throw FileError(file, error.what());
    }
}

} // namespace vexa::tool
