#include "ops/FileFigures.h"

#include "io/gltf/GltfExtensions.h"
#include "io/gltf/PrimitiveRestart.h"

#include <algorithm>
#include <set>
#include <tuple>
#include <vector>

namespace vexa::tool {

namespace {

std::size_t elementBytes(const Asset& asset, std::size_t index) {
    const AccessorModel& accessor = asset.model.accessors.at(index);
    return elementSize(static_cast<std::uint64_t>(accessor.componentType),
                       stringMember(asset.json["accessors"][index], "type"));
}

/// Bytes of the elements of accessors, where a buffer holds them and where sparse values replace them.
std::size_t accessorBytes(const Asset& asset, const std::set<std::size_t>& accessors) {
    std::size_t bytes = 0;
    for (const std::size_t index : accessors) {
        const AccessorModel& accessor = asset.model.accessors.at(index);
        const std::size_t size = elementBytes(asset, index);
        bytes += accessor.bufferView >= 0 ? accessor.count * size : 0;
        if (accessor.isSparse) {
            const auto type = static_cast<mesh::ComponentType>(accessor.sparseIndices.componentType);
            bytes += accessor.sparseCount * (size + mesh::getComponentSizeInBytes(type));
        }
    }
    return bytes;
}

/// Bytes of accessors without gaps, which may lie inside one another.
std::size_t coveredBytes(const Asset& asset, const std::set<std::size_t>& accessors) {
    std::vector<std::tuple<std::size_t, std::size_t, std::size_t>> ranges;
    for (const std::size_t index : accessors) {
        const AccessorModel& accessor = asset.model.accessors.at(index);
        if (accessor.bufferView >= 0) {
            const auto& view = asset.model.bufferViews.at(static_cast<std::size_t>(accessor.bufferView));
            const std::size_t begin = view.byteOffset + accessor.byteOffset;
            ranges.emplace_back(view.buffer, begin, begin + accessor.count * elementBytes(asset, index));
        }
    }
    std::sort(ranges.begin(), ranges.end());
    std::size_t bytes = 0;
    std::size_t lastBuffer = 0;
    std::size_t lastEnd = 0;
    for (const auto& [buffer, begin, end] : ranges) {
        lastEnd = buffer == lastBuffer ? lastEnd : 0;
        lastBuffer = buffer;
        bytes += end - std::min(end, std::max(begin, lastEnd));
        lastEnd = std::max(lastEnd, end);
    }
    return bytes;
}

void insertAll(const Json& references, std::set<std::size_t>& accessors) {
    for (const Json& accessor : references) {
        accessors.insert(accessor.get<std::size_t>());
    }
}

} // namespace

FileFigures measureFile(const Asset& asset, std::size_t bytes) {
    FileFigures figures;
    figures.bytes = bytes;
    std::set<std::size_t> indices;
    std::set<std::size_t> vertices;
    for (const Json& mesh : arrayMember(asset.json, "meshes", "")) {
        figures.primitives += mesh["primitives"].size();
        for (const Json& primitive : mesh["primitives"]) {
            if (primitive.contains("indices")) {
                indices.insert(primitive["indices"].get<std::size_t>());
            }
            insertAll(primitive["attributes"], vertices);
            for (const Json& target : arrayMember(primitive, "targets", "")) {
                insertAll(target, vertices);
            }
        }
        // Nothing has checked these.
        for (const std::size_t accessor : restartGroupAccessors(mesh)) {
            if (accessor < asset.model.accessors.size()) {
                indices.insert(accessor);
            }
        }
    }
    figures.indexBytes = coveredBytes(asset, indices);
    figures.vertexBytes = accessorBytes(asset, vertices);
    return figures;
}

} // namespace vexa::tool
