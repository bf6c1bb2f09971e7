#include "io/Accessors.h"

#include "base/Errors.h"
#include "io/gltf/GltfCheck.h"
#include "io/gltf/PrimitiveRestart.h"

#include <algorithm>

namespace vexa::tool {

namespace {

double componentAt(const unsigned char* data, mesh::ComponentType type) {
    switch (type) {
    case mesh::BYTE:
        return loadValue<std::int8_t>(data);
    case mesh::UNSIGNED_BYTE:
        return loadValue<std::uint8_t>(data);
    case mesh::SHORT:
        return loadValue<std::int16_t>(data);
    case mesh::UNSIGNED_SHORT:
        return loadValue<std::uint16_t>(data);
    case mesh::INT:
        return loadValue<std::int32_t>(data);
    case mesh::UNSIGNED_INT:
        return loadValue<std::uint32_t>(data);
    case mesh::FLOAT:
        return static_cast<double>(loadValue<float>(data));
    }
    return 0;
}

std::uint32_t indexAt(const unsigned char* data, mesh::ComponentType type) {
    return type == mesh::UNSIGNED_INT     ? loadValue<std::uint32_t>(data)
           : type == mesh::UNSIGNED_SHORT ? loadValue<std::uint16_t>(data)
                                          : loadValue<std::uint8_t>(data);
}

const unsigned char* viewData(const Asset& asset, std::size_t view) {
    const BufferViewModel& bufferView = asset.model.bufferViews.at(view);
    return asset.buffers.at(bufferView.buffer).data() + bufferView.byteOffset;
}

/// The elements that a sparse accessor replaces, in the order of their values.
std::vector<std::size_t> sparseElements(const Asset& asset, std::size_t index) {
    const AccessorModel& accessor = asset.model.accessors[index];
    const SparsePart& indices = accessor.sparseIndices;
    const auto type = static_cast<mesh::ComponentType>(indices.componentType);
    const unsigned char* data = viewData(asset, indices.bufferView) + indices.byteOffset;
    std::vector<std::size_t> elements(accessor.sparseCount);
    for (std::size_t i = 0; i < elements.size(); ++i) {
        elements[i] = indexAt(data + i * mesh::getComponentSizeInBytes(type), type);
        if (elements[i] >= accessor.count) {
            throw FormatError(elementName("accessors", index) + ".sparse.indices holds " + std::to_string(elements[i]) +
                              ", but there are only " + std::to_string(accessor.count) + " elements");
        }
    }
    return elements;
}

void applySparse(const Asset& asset, std::size_t index, std::size_t size, AccessorData& data) {
    const SparsePart& source = asset.model.accessors[index].sparseValues;
    const unsigned char* values = viewData(asset, source.bufferView) + source.byteOffset;
    for (const std::size_t element : sparseElements(asset, index)) {
        std::copy_n(values, size, data.bytes.data() + element * size);
        values += size;
    }
}

} // namespace

double AccessorData::component(std::size_t element, std::size_t index) const {
    return componentAt(bytes.data() + element * elementSize() + index * mesh::getComponentSizeInBytes(componentType),
                       componentType);
}

AccessorData readAccessor(const Asset& asset, std::size_t index) {
    const AccessorModel& accessor = asset.model.accessors.at(index);
    AccessorData data;
    data.componentType = static_cast<mesh::ComponentType>(accessor.componentType);
    data.type = stringMember(asset.json["accessors"][index], "type");
    data.normalized = accessor.normalized;
    data.components = componentCount(data.type);
    data.count = accessor.count;
    const std::size_t size = elementSize(static_cast<std::uint64_t>(accessor.componentType), data.type);
    data.bytes.resize(data.count * size);
    if (accessor.bufferView >= 0) {
        const auto view = static_cast<std::size_t>(accessor.bufferView);
        const std::size_t declared = asset.model.bufferViews.at(view).byteStride;
        const std::size_t stride = declared == 0 ? size : declared;
        const unsigned char* source = viewData(asset, view) + accessor.byteOffset;
        if (stride == size) {
            std::copy_n(source, data.bytes.size(), data.bytes.data());
        } else {
            for (std::size_t i = 0; i < data.count; ++i) {
                std::copy_n(source + i * stride, size, data.bytes.data() + i * size);
            }
        }
    }
    if (accessor.isSparse) {
        applySparse(asset, index, size, data);
    }
    return data;
}

void checkSparseAccessors(const Asset& asset) {
    for (std::size_t i = 0; i < asset.model.accessors.size(); ++i) {
        if (asset.model.accessors[i].isSparse) {
            sparseElements(asset, i);
        }
    }
}

std::vector<unsigned int> readIndices(const Asset& asset, std::size_t index) {
    const AccessorData data = readAccessor(asset, index);
    const std::size_t size = data.elementSize();
    std::vector<unsigned int> indices(data.count);
    for (std::size_t i = 0; i < data.count; ++i) {
        indices[i] = indexAt(data.bytes.data() + i * size, data.componentType);
    }
    return indices;
}

void checkIndices(const Asset& asset, std::size_t index, const std::vector<unsigned int>& indices, std::size_t vertices,
                  bool restarts) {
    const auto type = static_cast<mesh::ComponentType>(asset.model.accessors.at(index).componentType);
    const unsigned int restart = restartIndexOf(type);
    for (std::size_t i = 0; i < indices.size(); ++i) {
        if (restarts && indices[i] == decodedRestart) {
            continue;
        }
        if (indices[i] >= vertices) {
            throw FormatError(elementName("accessors", index) + " holds at " + std::to_string(i) + " the index " +
                              std::to_string(indices[i]) + ", but there are only " + std::to_string(vertices) +
                              " vertices");
        }
        if (indices[i] == restart) {
            throw FormatError(elementName("accessors", index) + " holds at " + std::to_string(i) +
                              " the restart index " + std::to_string(restart) +
                              ", which glTF permits only in strips, "
                              "fans and loops of files that use " +
                              restartExtension);
        }
    }
}

} // namespace vexa::tool
