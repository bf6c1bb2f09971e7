#pragma once

#include "vexa/mesh/Export.h"
#include "vexa/mesh/Mesh.h"
#include "vexa/mesh/Strips.h" // IWYU pragma: export
#include "vexa/mesh/Types.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <iterator>
#include <ranges>
#include <span>
#include <vector>

/// The triangles of lists, strips and fans, whatever the width of their indices.
namespace vexa::mesh {

/// Oriented triangles over indices that are not copied: a forward range of `std::array<unsigned int, 3>`.
///
/// The triangles and their order are those of `toTriangles(PrimitiveType, ...)`: after a restart index (the one with all
/// bits set) a new strip or fan begins, and triangles with two equal corners are skipped. Valid until the index buffer
/// is resized, assigned to or destroyed. Several threads may walk the same indices.
class VEXA_MESH_EXPORT TriangleRange {
    /// Indices of any type, or vertices in order.
    struct Source {
        const void* indices = nullptr; ///< of any alignment; null for vertices in order
        std::uint64_t count = 0;
        ComponentType indexType = UNSIGNED_INT;
        PrimitiveType type = TRIANGLES;
    };

public:
    /// Decodes a block of triangles at a time and returns them by value. `std::default_sentinel` marks the end.
    class VEXA_MESH_EXPORT Iterator {
    public:
        using value_type = std::array<unsigned int, 3>;     // NOLINT(readability-identifier-naming)
        using difference_type = std::ptrdiff_t;             // NOLINT(readability-identifier-naming)
        using iterator_concept = std::forward_iterator_tag; // NOLINT(readability-identifier-naming)

        Iterator() = default;

        value_type operator*() const { return triangles_[current_]; }
        Iterator& operator++() {
            if (++current_ == filled_) {
                decode();
            }
            return *this;
        }
        Iterator operator++(int) {
            const Iterator old = *this;
            ++*this;
            return old;
        }
        /// Compares positions in one range.
        friend bool operator==(const Iterator& a, const Iterator& b) {
            return a.upcoming_ == b.upcoming_ && a.filled_ - a.current_ == b.filled_ - b.current_;
        }
        friend bool operator==(const Iterator& a, std::default_sentinel_t /*end*/) { return a.current_ == a.filled_; }

    private:
        friend class TriangleRange;
        static constexpr std::size_t blockSize = 64;

        explicit Iterator(const Source& source) : source_(source) { decode(); }
        /// Replaces the block by the triangles that follow it; by none at the end.
        void decode();

        Source source_;
        std::uint64_t upcoming_ = 0;  ///< the first index that is not decoded yet
        std::uint64_t partBegin_ = 0; ///< the first index of the strip or fan that it belongs to
        std::size_t current_ = 0;
        std::size_t filled_ = 0;
        std::array<value_type, blockSize> triangles_;
    };

    TriangleRange() = default;

    [[nodiscard]] Iterator begin() const { return Iterator(source_); }
    [[nodiscard]] static std::default_sentinel_t end() { return {}; }
    [[nodiscard]] bool empty() const { return begin() == end(); }

private:
    friend VEXA_MESH_EXPORT TriangleRange trianglesOf(const Mesh& mesh);
    friend VEXA_MESH_EXPORT TriangleRange trianglesOf(PrimitiveType type, std::span<const std::uint8_t> indices);
    friend VEXA_MESH_EXPORT TriangleRange trianglesOf(PrimitiveType type, std::span<const std::uint16_t> indices);
    friend VEXA_MESH_EXPORT TriangleRange trianglesOf(PrimitiveType type, std::span<const std::uint32_t> indices);

    TriangleRange(const void* indices, std::uint64_t count, ComponentType indexType, PrimitiveType type);

    Source source_;
};

/// The triangles of a mesh: `for (const auto [a, b, c] : trianglesOf(mesh))`.
///
/// \param mesh its index buffer is one of the library's own, with indices of any of the six types. Without one, the
///             vertices are taken in order: as many as the attribute "position" has elements, or without it the first
/// \throw std::invalid_argument the primitive type does not contain triangles, or the index buffer is a class of the
///                              caller's own: `toTriangles` accepts it
/// \throw std::length_error     the mesh is not indexed and has more than 4294967295 vertices
/// Cost: constant; walking the triangles is linear.
VEXA_MESH_EXPORT TriangleRange trianglesOf(const Mesh& mesh);

/// The triangles of an index list, in which the value with all bits set is the restart index.
///
/// \param type    `TRIANGLES`, `TRIANGLE_STRIP` or `TRIANGLE_FAN`
/// \param indices not copied
/// \throw std::invalid_argument any other type
VEXA_MESH_EXPORT TriangleRange trianglesOf(PrimitiveType type, std::span<const std::uint8_t> indices);
VEXA_MESH_EXPORT TriangleRange trianglesOf(PrimitiveType type, std::span<const std::uint16_t> indices);
VEXA_MESH_EXPORT TriangleRange trianglesOf(PrimitiveType type, std::span<const std::uint32_t> indices);

/// The triangles of a mesh as a list of three 32-bit indices each, which the functions on triangle lists take.
///
/// \param mesh any implementation; see `trianglesOf`
/// \return the triangles without those that have two equal corners
/// \throw std::invalid_argument the primitive type does not contain triangles
/// \throw std::length_error     an index of a caller's own buffer needs more than 32 bits, or as `trianglesOf`
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear.
VEXA_MESH_EXPORT std::vector<unsigned int> toTriangles(const Mesh& mesh);

} // namespace vexa::mesh

// NOLINTBEGIN(readability-identifier-naming): names of the standard library
template <>
inline constexpr bool std::ranges::enable_view<vexa::mesh::TriangleRange> = true;
template <>
inline constexpr bool std::ranges::enable_borrowed_range<vexa::mesh::TriangleRange> = true;
// NOLINTEND(readability-identifier-naming)
