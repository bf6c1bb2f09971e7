#pragma once

#include <algorithm>
#include <cstdint>

namespace vexa::mesh::detail {

/// Position among `count` triangles that a draw picks: (count - 1) * draw / 2^31, in single precision throughout, which
/// is what decides the pick for large buckets and near the end of the range.
///
/// \param count at least 1
/// \param draw  from 0 to 2^31 - 1
/// \return below `count`: from 16,777,220 triangles on the rounded product can pass the last one
inline std::uint32_t pickPosition(std::uint32_t count, std::uint32_t draw) {
    const float product = static_cast<float>(count - 1) * static_cast<float>(draw) * 4.656613e-10f;
    return std::min(static_cast<std::uint32_t>(product), count - 1);
}

} // namespace vexa::mesh::detail
