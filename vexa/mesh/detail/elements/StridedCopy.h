#pragma once

#include <cstring>

namespace vexa::mesh::detail {

/// Copies elements of a size between rows of different strides.
template <unsigned long Size>
void copyStrided(const unsigned char* source, unsigned long sourceStride, unsigned char* target,
                 unsigned long targetStride, unsigned long count) {
    for (unsigned long i = 0; i < count; ++i) {
        std::memcpy(target + i * targetStride, source + i * sourceStride, Size);
    }
}

} // namespace vexa::mesh::detail
