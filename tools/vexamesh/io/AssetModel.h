#pragma once

#include <cstddef>
#include <vector>

namespace vexa::tool {

/// The place of the indices or values of a sparse accessor.
struct SparsePart {
    std::size_t bufferView = 0;
    std::size_t byteOffset = 0;
    int componentType = 0; ///< of the indices
};

/// The parts of an accessor that locate and describe its elements.
struct AccessorModel {
    int componentType = 0;
    bool normalized = false;
    bool isSparse = false;
    bool holdsRestarts = false; ///< a primitive's indices in it include restart indices
    int bufferView = -1;        ///< -1: its elements are zero
    std::size_t byteOffset = 0;
    std::size_t count = 0;
    std::size_t sparseCount = 0;
    SparsePart sparseIndices;
    SparsePart sparseValues;
};

struct BufferViewModel {
    std::size_t buffer = 0;
    std::size_t byteOffset = 0;
    std::size_t byteStride = 0; ///< 0: without gaps
};

/// The parts of a glTF document that are needed to read elements.
struct AssetModel {
    std::vector<AccessorModel> accessors;
    std::vector<BufferViewModel> bufferViews;
};

} // namespace vexa::tool
