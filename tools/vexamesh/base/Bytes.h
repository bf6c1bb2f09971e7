#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace vexa::tool {

static_assert(std::endian::native == std::endian::little, "glTF data is little-endian and is copied as it is");

using Bytes = std::vector<unsigned char>;

/// The value of type T stored at `data`, which need not be aligned.
template <typename T>
T loadValue(const unsigned char* data) {
    T value;
    std::memcpy(&value, data, sizeof value);
    return value;
}

template <typename T>
void appendValue(Bytes& bytes, T value) {
    const std::size_t end = bytes.size();
    bytes.resize(end + sizeof value);
    std::memcpy(bytes.data() + end, &value, sizeof value);
}

/// Appends zeros (or `fill`) until the size is a multiple of `alignment`.
inline void padTo(Bytes& bytes, std::size_t alignment, unsigned char fill = 0) {
    bytes.resize((bytes.size() + alignment - 1) / alignment * alignment, fill);
}

} // namespace vexa::tool
