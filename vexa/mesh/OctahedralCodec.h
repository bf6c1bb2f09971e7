#pragma once

#include "vexa/mesh/Export.h"
#include "vexa/mesh/GlmLayout.h"

#include <array>
#include <cstdint>
#include <glm/vec3.hpp>
#include <span>
#include <type_traits>

namespace vexa::mesh {

/// Unit vectors in two signed coordinates of 8, 12 or 16 bits: 2, 3 or 4 bytes.
///
/// A vector is projected onto the octahedron |x| + |y| + |z| = 1, whose lower half is folded over the upper one. The
/// codes are signed normalised integers, c / (2^(Bits - 1) - 1): graphics processors read those of 8 and 16 bits as SNORM
/// 8x2 and 16x2, and the six axes are exact. The mean and largest errors over the sphere are 0.315 and 0.636 degrees for
/// 8 bits, and 0.00122 and 0.0025 for 16 bits.
///
/// For every code c, decode(encode(decode(c))) equals decode(c). Results are the same to the bit on every processor and
/// for one vector as for many. The functions are pure.
///
/// Source: Cigolle, Donow, Evangelakos, Mara, McGuire, Meyer: A Survey of Efficient Representations for Independent Unit
/// Vectors (2014), including the search for the best of four codes.
template <int Bits>
requires(Bits == 8 || Bits == 12 || Bits == 16) class VEXA_MESH_EXPORT OctahedralCodec {
public:
    /// Two coordinates as an element of a vertex buffer; for 12 bits, three bytes: the low 8 bits of the first
    /// coordinate, its high 4 bits below the low 4 bits of the second, the high 8 bits of the second.
    using Code = std::conditional_t<Bits == 12, std::array<std::uint8_t, 3>,
                                    std::array<std::conditional_t<Bits == 8, std::int8_t, std::int16_t>, 2>>;

    /// The best of the four codes around a vector.
    ///
    /// \param normal of any length; a zero vector, or one that is not finite, gives the code of (0, 0, 1)
    static Code encode(const glm::vec3& normal);

    /// The vector of a code, of unit length within rounding. The coordinate -2^(Bits - 1) means the one above it.
    static glm::vec3 decode(Code code);

    /// Encodes many vectors.
    ///
    /// \param codes receives the codes; must not overlap the vectors
    /// \throw std::invalid_argument the numbers of vectors and codes differ; nothing is changed
    static void encode(std::span<const glm::vec3> normals, std::span<Code> codes);

    /// Decodes many codes.
    ///
    /// \param normals receives the vectors; must not overlap the codes
    /// \throw std::invalid_argument the numbers of vectors and codes differ; nothing is changed
    static void decode(std::span<const Code> codes, std::span<glm::vec3> normals);
};

extern template class OctahedralCodec<8>;
extern template class OctahedralCodec<12>;
extern template class OctahedralCodec<16>;

} // namespace vexa::mesh
