#include "ops/IndexLimit.h"

#include "base/Errors.h"
#include "io/AssetBuilder.h"
#include "io/gltf/IndexEdit.h"
#include "io/gltf/PrimitiveRestart.h"
#include "io/gltf/UnusedData.h"
#include "ops/MeshConversion.h"
#include "ops/Triangles.h"
#include "ops/VertexRegions.h"

#include <algorithm>
#include <map>
#include <string>
#include <tuple>
#include <utility>
#include <vexa/mesh/Strips.h>

namespace vexa::tool {

namespace {

/// Calls `visit(reference)` with each reference of a primitive to values of its vertices.
template <typename PrimitiveJson, typename Visit>
void forEachValues(PrimitiveJson& primitive, const Visit& visit) {
    for (auto& reference : primitive["attributes"]) {
        visit(reference);
    }
    if (primitive.contains("targets")) {
        for (auto& target : primitive["targets"]) {
            std::for_each(target.begin(), target.end(), visit);
        }
    }
}

/// The parts that a primitive was split into.
struct SplitPrimitive {
    std::size_t mesh;
    std::size_t primitive; ///< in the input
    std::size_t first;     ///< part in the output; the others follow
    const std::vector<VertexRegion>* regions;
};

class IndexLimiter {
public:
    IndexLimiter(Document& document, unsigned int bits)
        : document_(document), width_(bits / 8), maxVertices_((std::size_t{1} << bits) - 1) {}

    void run() {
        narrowIndices();
        splitPrimitives();
    }

private:
    [[nodiscard]] bool isTooLarge(const Primitive& primitive) const {
        return primitive.indexAccessor && mesh::getComponentSizeInBytes(narrowestIndexType(primitive.indices)) > width_;
    }

    template <typename Visit>
    void forEachPrimitive(const Visit& visit) const {
        for (std::size_t m = 0; m < document_.meshes.size(); ++m) {
            for (std::size_t p = 0; p < document_.meshes[m].primitives.size(); ++p) {
                visit(m, p, document_.meshes[m].primitives[p]);
            }
        }
    }

    /// Indices that fit are stored in fewer bytes, those of lines and points, too.
    void narrowIndices() {
        std::vector<IndexEdit> edits;
        forEachPrimitive([&](std::size_t m, std::size_t p, const Primitive& primitive) {
            const bool isWide = primitive.indexAccessor && mesh::getComponentSizeInBytes(primitive.indexType) > width_;
            if (isWide && !isTooLarge(primitive)) {
                edits.push_back({m, p, {{primitive.type, primitive.indices}}});
            }
        });
        if (edits.empty()) {
            return;
        }
        Document before = document_;
        replaceIndices(document_.asset, edits);
        Document narrowed = loadDocument(writeGlb(document_.asset.json, document_.asset.buffers), "narrowed.glb");
        document_ = std::move(before);
        for (const IndexEdit& edit : edits) {
            const Primitive& primitive = narrowed.meshes.at(edit.mesh).primitives.at(edit.primitive);
            check(primitive.indices == edit.replacements[0].indices, edit.mesh, edit.primitive, "indices");
        }
        replace(std::move(narrowed));
    }

    void splitPrimitives() {
        json_ = document_.asset.json;
        const UsedData used(json_);
        std::vector<SplitPrimitive> splits;
        for (std::size_t m = 0; m < document_.meshes.size(); ++m) {
            const std::size_t before = splits.size();
            Json primitives = Json::array();
            for (std::size_t p = 0; p < document_.meshes[m].primitives.size(); ++p) {
                Json& primitive = json_["meshes"][m]["primitives"][p];
                if (!isTooLarge(document_.meshes[m].primitives[p])) {
                    primitives.push_back(std::move(primitive));
                    continue;
                }
                const Parts& parts = partsOf(m, p, primitive);
                splits.push_back({m, p, primitives.size(), &parts.regions});
                for (const Json& part : parts.references) {
                    primitives.push_back(primitive);
                    primitives.back().update(part);
                    primitives.back()["mode"] = mesh::TRIANGLES;
                }
            }
            json_["meshes"][m]["primitives"] = std::move(primitives);
            if (splits.size() > before) {
                removeRestartGroups(json_["meshes"][m]);
            }
        }
        if (splits.empty()) {
            return;
        }
        listRestartExtensions(json_, [this](std::size_t accessor) {
            const auto& accessors = document_.asset.model.accessors;
            return accessor < accessors.size() && accessors[accessor].holdsRestarts;
        });
        json_["buffers"].push_back({{"byteLength", data_.size()}});
        document_.asset.buffers.push_back(std::move(data_));
        used.removeUnused(json_);
        Document split = loadDocument(writeGlb(json_, document_.asset.buffers), "split.glb");
        for (const SplitPrimitive& primitive : splits) {
            checkSplit(split, primitive);
        }
        replace(std::move(split));
    }

    /// What the parts of a primitive have of their own.
    struct Parts {
        std::vector<VertexRegion> regions;
        std::vector<Json> references; ///< to accessors: indices, attributes and targets
    };

    /// Primitives that share all their data go on sharing it.
    const Parts& partsOf(std::size_t m, std::size_t p, const Json& primitive) {
        const std::string name = primitiveName(document_.meshes[m], p);
        checkExtensions(primitive, name);
        Json data = {{"attributes", primitive["attributes"]}, {"indices", primitive["indices"]}};
        if (primitive.contains("targets")) {
            data["targets"] = primitive["targets"];
        }
        const auto [entry, isNew] = parts_.try_emplace(data.dump() + std::to_string(primitive.value("mode", 4)));
        if (!isNew) {
            return entry->second;
        }
        const Primitive& source = document_.meshes[m].primitives[p];
        if (!hasTriangles(source)) {
            throw FormatError(name + ": its indices do not fit " + std::to_string(8 * width_) +
                              " bits, and only triangles can be split");
        }
        const std::vector<unsigned int> triangles = mesh::toTriangles(source.type, source.indices);
        if (triangles.empty()) {
            throw FormatError(name + ": its indices do not fit " + std::to_string(8 * width_) +
                              " bits, and it holds only triangles with two equal corners");
        }
        entry->second.regions = growRegions(triangles, source.vertices, maxVertices_);
        for (const VertexRegion& region : entry->second.regions) {
            entry->second.references.push_back(addPart(data, region));
        }
        values_.clear();
        return entry->second;
    }

    static void checkExtensions(const Json& primitive, const std::string& name) {
        for (const auto& [extension, content] : objectMember(primitive, "extensions", name).items()) {
            if (extension != "KHR_materials_variants") {
                throw FormatError(name + ": the extension " + extension +
                                  " may refer to its vertices, which are split; remove it, or use wider indices");
            }
        }
    }

    /// Adds the vertices and indices of a part.
    Json addPart(Json references, const VertexRegion& region) {
        std::map<std::size_t, std::size_t> added;
        forEachValues(references, [&](Json& reference) {
            const auto accessor = reference.get<std::size_t>();
            const auto [found, isNew] = added.try_emplace(accessor, 0);
            if (isNew) {
                found->second = addValues(accessor, region.vertices);
            }
            reference = found->second;
        });
        Bytes bytes;
        appendIndices(bytes, region.triangles, narrowestIndexType(region.triangles));
        references["indices"] = addAccessor({{"componentType", narrowestIndexType(region.triangles)},
                                             {"count", region.triangles.size()},
                                             {"type", "SCALAR"}},
                                            bytes, 0, elementArrayBuffer);
        return references;
    }

    std::size_t addValues(std::size_t accessor, const std::vector<unsigned int>& vertices) {
        auto [known, isNew] = values_.try_emplace(accessor);
        if (isNew) {
            known->second = readAccessor(document_.asset, accessor);
        }
        const AccessorData& all = known->second;
        AccessorData values = all;
        values.count = vertices.size();
        values.bytes.clear();
        for (const unsigned int vertex : vertices) {
            const auto begin = all.bytes.begin() + static_cast<std::ptrdiff_t>(vertex * all.elementSize());
            values.bytes.insert(values.bytes.end(), begin, begin + static_cast<std::ptrdiff_t>(all.elementSize()));
        }
        Json entry = json_["accessors"][accessor];
        for (const char* member : {"byteOffset", "sparse"}) {
            entry.erase(member);
        }
        entry["count"] = values.count;
        if (entry.contains("min") || entry.contains("max")) {
            std::tie(entry["min"], entry["max"]) = bounds(values);
        }
        const std::size_t size = values.elementSize();
        const std::size_t stride = (size + 3) / 4 * 4;
        return addAccessor(std::move(entry), alignElements(values, stride), stride == size ? 0 : stride, arrayBuffer);
    }

    /// \param stride 0: without gaps
    std::size_t addAccessor(Json entry, const Bytes& bytes, std::size_t stride, int target) {
        padTo(data_, 4);
        Json view = {
            {"buffer", document_.asset.buffers.size()}, {"byteOffset", data_.size()}, {"byteLength", bytes.size()}};
        if (stride != 0) {
            view["byteStride"] = stride;
        }
        view["target"] = target;
        data_.insert(data_.end(), bytes.begin(), bytes.end());
        entry["bufferView"] = json_["bufferViews"].size();
        json_["bufferViews"].push_back(std::move(view));
        json_["accessors"].push_back(std::move(entry));
        return json_["accessors"].size() - 1;
    }

    /// The parts must draw the triangles of the input with the same values.
    void checkSplit(const Document& split, const SplitPrimitive& entry) const {
        const Primitive& source = document_.meshes[entry.mesh].primitives[entry.primitive];
        const std::vector<AccessorData> values = valuesOf(document_, entry.mesh, entry.primitive);
        mesh::TriangleSum sum;
        for (std::size_t i = 0; i < entry.regions->size(); ++i) {
            const std::vector<unsigned int>& vertices = (*entry.regions)[i].vertices;
            const Primitive& part = split.meshes.at(entry.mesh).primitives.at(entry.first + i);
            std::vector<unsigned int> triangles = part.indices;
            for (unsigned int& index : triangles) {
                index = vertices.at(index);
            }
            sum += mesh::sumTriangles(part.type, triangles);
            check(areElements(valuesOf(split, entry.mesh, entry.first + i), values, vertices), entry.mesh,
                  entry.primitive, "vertices");
        }
        check(sum == mesh::sumTriangles(source.type, source.indices), entry.mesh, entry.primitive, "triangles");
    }

    static std::vector<AccessorData> valuesOf(const Document& document, std::size_t m, std::size_t p) {
        std::vector<AccessorData> values;
        forEachValues(document.asset.json["meshes"][m]["primitives"][p], [&](const Json& reference) {
            values.push_back(readAccessor(document.asset, reference.get<std::size_t>()));
        });
        return values;
    }

    /// Whether each of `some` holds the elements with these numbers of the one of `all` at the same place.
    static bool areElements(const std::vector<AccessorData>& some, const std::vector<AccessorData>& all,
                            const std::vector<unsigned int>& numbers) {
        bool isSame = some.size() == all.size();
        for (std::size_t i = 0; i < all.size() && isSame; ++i) {
            const auto size = static_cast<std::ptrdiff_t>(all[i].elementSize());
            isSame = some[i].count == numbers.size() && some[i].type == all[i].type &&
                     some[i].componentType == all[i].componentType && some[i].normalized == all[i].normalized;
            for (std::size_t v = 0; v < numbers.size() && isSame; ++v) {
                const auto source = all[i].bytes.begin() + size * static_cast<std::ptrdiff_t>(numbers[v]);
                isSame =
                    std::equal(source, source + size, some[i].bytes.begin() + size * static_cast<std::ptrdiff_t>(v));
            }
        }
        return isSame;
    }

    void check(bool isSame, std::size_t m, std::size_t p, const char* what) const {
        if (!isSame) {
            throw CheckError(document_.file.string() + ": " + primitiveName(document_.meshes[m], p) +
                             ": not written, because its split parts would not have its " + what);
        }
    }

    /// Keeps what is known of the file itself.
    void replace(Document other) {
        other.file = std::move(document_.file);
        other.format = std::move(document_.format);
        other.fileSize = document_.fileSize;
        other.asset.warnings = std::move(document_.asset.warnings);
        other.asset.leftOut = std::move(document_.asset.leftOut);
        document_ = std::move(other);
    }

    Document& document_;
    std::size_t width_; ///< bytes of an index
    std::size_t maxVertices_;
    Json json_; ///< of the result; the document's own is still that of the input
    Bytes data_;
    std::map<std::string, Parts> parts_;         ///< by the data of the primitive
    std::map<std::size_t, AccessorData> values_; ///< of the primitive that is being split
};

} // namespace

void limitIndices(Document& document, unsigned int bits) {
    const std::string file = document.file.string();
    try {
        IndexLimiter(document, bits).run();
    } catch (const FormatError& error) {
        throw FileError(file, error.what());
    }
}

} // namespace vexa::tool
