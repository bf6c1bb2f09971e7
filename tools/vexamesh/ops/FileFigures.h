#pragma once

#include "io/Asset.h"

#include <cstddef>

namespace vexa::tool {

/// Sizes of a file and of what its meshes take of it, in bytes. Data that primitives share counts once.
struct FileFigures {
    std::size_t bytes = 0;       ///< of the file
    std::size_t indexBytes = 0;  ///< of all primitives, groups of strips included
    std::size_t vertexBytes = 0; ///< of attributes and morph targets
    std::size_t primitives = 0;
};

/// \param bytes of the file itself
FileFigures measureFile(const Asset& asset, std::size_t bytes);

} // namespace vexa::tool
