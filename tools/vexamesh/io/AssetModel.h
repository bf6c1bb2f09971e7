#pragma once

#include <cstddef>
#include <vector>

namespace vexa::tool {

/// Where a sparse accessor takes its elements, or their numbers, from.
struct SparsePart {
    std::size_t bufferView = 0;
    std::size_t byteOffset = 0;
    int componentType = 0; ///< of the numbers
};

/// An accessor of a glTF document, as far as its elements are concerned.
struct AccessorModel {
    int componentType = 0;
    bool normalized = false;
    bool isSparse = false;
    bool holdsRestarts = false; ///< decoding a primitive's indices has found restart indices in it
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

/// The parts of a glTF document that reading elements needs.
struct AssetModel {
    std::vector<AccessorModel> accessors;
    std::vector<BufferViewModel> bufferViews;
};

} // namespace vexa::tool
