#pragma once

#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/Buffer.h"
#include "vexa/mesh/Export.h"
#include "vexa/mesh/GlmLayout.h"
#include "vexa/mesh/IndexBuffer.h"
#include "vexa/mesh/Mesh.h"
#include "vexa/mesh/Types.h"

#include <array>
#include <compare>
#include <concepts>
#include <cstddef>
#include <glm/vec2.hpp>
#include <glm/vec3.hpp>
#include <glm/vec4.hpp>
#include <iterator>
#include <ranges>
#include <span>
#include <string_view>
#include <type_traits>
#include <vector>

/// Typed access to whole buffers at the speed of memory. `...Of` functions view the storage and copy nothing, `to...`
/// functions copy, and `assign` replaces all elements.
///
/// Views exist for the library's own buffers. They check types and layout, not values, and are invalidated when the
/// buffer is resized, assigned to or destroyed. The copying functions accept any implementation of the interfaces.
///
/// Every check precedes the first write: after an exception nothing is changed, unless a caller's own implementation
/// threw it.
namespace vexa::mesh {

/// Component type that stores a C++ scalar; 0 for every other type.
template <typename S>
inline constexpr ComponentType componentTypeOf = ComponentType{0};
template <>
inline constexpr ComponentType componentTypeOf<signed char> = BYTE;
template <>
inline constexpr ComponentType componentTypeOf<unsigned char> = UNSIGNED_BYTE;
template <>
inline constexpr ComponentType componentTypeOf<short> = SHORT;
template <>
inline constexpr ComponentType componentTypeOf<unsigned short> = UNSIGNED_SHORT;
template <>
inline constexpr ComponentType componentTypeOf<int> = INT;
template <>
inline constexpr ComponentType componentTypeOf<unsigned int> = UNSIGNED_INT;
template <>
inline constexpr ComponentType componentTypeOf<float> = FLOAT;

/// A C++ type that is stored as one component: `float` or one of the six integer types of 8, 16 and 32 bits.
template <typename S>
concept BufferComponent = componentTypeOf<std::remove_cv_t<S>>
!= ComponentType{0};

/// A C++ type that is stored as one index.
template <typename I>
concept BufferIndex = BufferComponent<I> && std::integral<std::remove_cv_t<I>>;

/// Component type and count of a C++ type that is stored as one element: a component, or a `std::array` or `glm::vec` of
/// components. Specialise it for a vector type of the program's own, which must consist of its components alone:
///
/// ```
/// template <> struct vexa::mesh::ElementTraits<Point> {
///     static constexpr ComponentType componentType = FLOAT;
///     static constexpr unsigned long componentCount = 3;
/// };
/// ```
template <typename T>
struct ElementTraits {};

template <BufferComponent S>
struct ElementTraits<S> {
    static constexpr ComponentType componentType = componentTypeOf<S>;
    static constexpr unsigned long componentCount = 1;
};

template <BufferComponent S, std::size_t N>
struct ElementTraits<std::array<S, N>> {
    static constexpr ComponentType componentType = componentTypeOf<S>;
    static constexpr unsigned long componentCount = N;
};

template <glm::length_t N, BufferComponent S, glm::qualifier Q>
struct ElementTraits<glm::vec<N, S, Q>> {
    static constexpr ComponentType componentType = componentTypeOf<S>;
    static constexpr unsigned long componentCount = static_cast<unsigned long>(N);
};

namespace detail {

constexpr std::size_t sizeOfComponent(ComponentType type) {
    switch (type) {
    case BYTE:
    case UNSIGNED_BYTE:
        return 1;
    case SHORT:
    case UNSIGNED_SHORT:
        return 2;
    case INT:
    case UNSIGNED_INT:
    case FLOAT:
        return 4;
    }
    return 0;
}

/// Component type and count of an element.
struct ElementFormat {
    ComponentType componentType;
    unsigned long componentCount;
    std::size_t alignment; ///< of the C++ type, in bytes
};

template <typename T>
inline constexpr ElementFormat formatOf{ElementTraits<std::remove_cv_t<T>>::componentType,
                                        ElementTraits<std::remove_cv_t<T>>::componentCount, alignof(T)};

/// Equally spaced elements in the storage of a buffer.
struct ElementRow {
    std::byte* begin;
    std::size_t count;
    std::size_t strideInBytes;
};

// Behind the templates below, which document them. The buffer is only written through the result.
VEXA_MESH_EXPORT ElementRow viewPacked(const AttributeBuffer& buffer, const ElementFormat& format);
VEXA_MESH_EXPORT ElementRow viewStrided(const AttributeBuffer& buffer, const ElementFormat& format);
VEXA_MESH_EXPORT ElementRow viewIndices(const IndexBuffer& buffer, const ElementFormat& format);
VEXA_MESH_EXPORT std::size_t countElements(const char* caller, const AttributeBuffer& buffer,
                                           const ElementFormat& format);
VEXA_MESH_EXPORT void copyElements(const AttributeBuffer& buffer, std::byte* elements, std::size_t strideInBytes,
                                   std::size_t count);
VEXA_MESH_EXPORT void assignElements(AttributeBuffer& buffer, const ElementFormat& format,
                                     std::span<const std::byte> elements);
VEXA_MESH_EXPORT AttributeBuffer& findAttribute(const Mesh& mesh, std::string_view name, const char* caller);
VEXA_MESH_EXPORT IndexBuffer& findIndices(const Mesh& mesh);

} // namespace detail

/// A C++ type that is stored as one element: see ElementTraits.
template <typename T>
concept BufferElement = std::is_trivially_copyable_v<T> && requires {
    { ElementTraits<std::remove_cv_t<T>>::componentType } -> std::convertible_to<ComponentType>;
    requires sizeof(T) == ElementTraits<std::remove_cv_t<T>>::componentCount* detail::sizeOfComponent(
                              ElementTraits<std::remove_cv_t<T>>::componentType);
};

/// A contiguous range of elements, such as a vector, an array or a span.
template <typename R>
concept BufferElementRange = std::ranges::contiguous_range<R> && std::ranges::sized_range<R> &&
    BufferElement<std::remove_cvref_t<std::ranges::range_reference_t<R>>>;

/// View of equally spaced elements: a random-access range. `T` may be const.
template <BufferElement T>
class StridedSpan {
    using Byte = std::conditional_t<std::is_const_v<T>, const std::byte, std::byte>;

public:
    class Iterator {
    public:
        using value_type = std::remove_cv_t<T>;                    // NOLINT(readability-identifier-naming)
        using difference_type = std::ptrdiff_t;                    // NOLINT(readability-identifier-naming)
        using iterator_concept = std::random_access_iterator_tag;  // NOLINT(readability-identifier-naming)
        using iterator_category = std::random_access_iterator_tag; // NOLINT(readability-identifier-naming)
        using pointer = T*;                                        // NOLINT(readability-identifier-naming)
        using reference = T&;                                      // NOLINT(readability-identifier-naming)

        Iterator() = default;

        T& operator*() const { return *reinterpret_cast<T*>(at_); }
        T* operator->() const { return reinterpret_cast<T*>(at_); }
        T& operator[](difference_type n) const { return *(*this + n); }
        Iterator& operator++() { return *this += 1; }
        Iterator operator++(int) {
            const Iterator old = *this;
            ++*this;
            return old;
        }
        Iterator& operator--() { return *this -= 1; }
        Iterator operator--(int) {
            const Iterator old = *this;
            --*this;
            return old;
        }
        Iterator& operator+=(difference_type n) {
            at_ += n * stride_;
            return *this;
        }
        Iterator& operator-=(difference_type n) {
            at_ -= n * stride_;
            return *this;
        }
        friend Iterator operator+(Iterator i, difference_type n) { return i += n; }
        friend Iterator operator+(difference_type n, Iterator i) { return i += n; }
        friend Iterator operator-(Iterator i, difference_type n) { return i -= n; }
        friend difference_type operator-(const Iterator& a, const Iterator& b) { return (a.at_ - b.at_) / a.stride_; }
        friend bool operator==(const Iterator& a, const Iterator& b) { return a.at_ == b.at_; }
        friend auto operator<=>(const Iterator& a, const Iterator& b) { return a.at_ <=> b.at_; }

    private:
        friend StridedSpan;
        Iterator(Byte* at, difference_type stride) : at_(at), stride_(stride) {}

        Byte* at_ = nullptr;
        difference_type stride_ = sizeof(T);
    };

    StridedSpan() = default;

    /// \param begin         the first element, aligned for `T`; may be null when there are none
    /// \param count         number of elements
    /// \param strideInBytes distance between the starts of two elements: at least sizeof(T), a multiple of alignof(T)
    StridedSpan(Byte* begin, std::size_t count, std::size_t strideInBytes)
        : begin_(begin, static_cast<std::ptrdiff_t>(strideInBytes)), count_(count) {}

    /// A view of const elements from one of elements that are not.
    operator StridedSpan<const T>() const requires(!std::is_const_v<T>) {
        return {begin_.at_, count_, strideInBytes()};
    }

    [[nodiscard]] Iterator begin() const { return begin_; }
    [[nodiscard]] Iterator end() const { return begin_ + static_cast<std::ptrdiff_t>(count_); }
    [[nodiscard]] std::size_t size() const { return count_; }
    [[nodiscard]] bool empty() const { return count_ == 0; }
    [[nodiscard]] std::size_t strideInBytes() const { return static_cast<std::size_t>(begin_.stride_); }
    /// \param i below size(); not checked
    T& operator[](std::size_t i) const { return begin_[static_cast<std::ptrdiff_t>(i)]; }

private:
    Iterator begin_;
    std::size_t count_ = 0;
};

/// The elements of a packed buffer, for reading and writing.
///
/// \param buffer one of the library's own, whatever its storage
/// \return as many elements as getElementCount() says; valid until the buffer is resized
/// \throw std::invalid_argument component type or count is not that of `T`, the elements are interleaved with others, or
///                              their address is not aligned for `T`; the buffer is not one of the library's own, has no
///                              storage, or its storage is too small
/// Cost: constant.
template <BufferElement T>
std::span<T> elementsOf(AttributeBuffer& buffer) {
    const detail::ElementRow row = detail::viewPacked(buffer, detail::formatOf<T>);
    return {reinterpret_cast<T*>(row.begin), row.count};
}

/// The same for reading only.
template <BufferElement T>
std::span<const T> elementsOf(const AttributeBuffer& buffer) {
    const detail::ElementRow row = detail::viewPacked(buffer, detail::formatOf<T>);
    return {reinterpret_cast<const T*>(row.begin), row.count};
}

/// The elements of the first attribute with a name, compared byte by byte.
///
/// \throw std::invalid_argument as for a buffer, and if the mesh lacks the attribute: the message lists those it has
template <BufferElement T>
std::span<T> elementsOf(Mesh& mesh, std::string_view name) {
    return elementsOf<T>(detail::findAttribute(mesh, name, "elementsOf"));
}

/// The same for reading only.
template <BufferElement T>
std::span<const T> elementsOf(const Mesh& mesh, std::string_view name) {
    return elementsOf<const T>(detail::findAttribute(mesh, name, "elementsOf"));
}

/// The elements of a packed or interleaved buffer, for reading and writing. See `elementsOf`.
///
/// \throw std::invalid_argument as `elementsOf`, except for gaps between elements; also if two elements overlap
/// Cost: constant.
template <BufferElement T>
StridedSpan<T> stridedElementsOf(AttributeBuffer& buffer) {
    const detail::ElementRow row = detail::viewStrided(buffer, detail::formatOf<T>);
    return {row.begin, row.count, row.strideInBytes};
}

/// The same for reading only.
template <BufferElement T>
StridedSpan<const T> stridedElementsOf(const AttributeBuffer& buffer) {
    const detail::ElementRow row = detail::viewStrided(buffer, detail::formatOf<T>);
    return {row.begin, row.count, row.strideInBytes};
}

/// The elements of the first attribute with a name, compared byte by byte.
///
/// \throw std::invalid_argument as for a buffer, and if the mesh lacks the attribute: the message lists those it has
template <BufferElement T>
StridedSpan<T> stridedElementsOf(Mesh& mesh, std::string_view name) {
    return stridedElementsOf<T>(detail::findAttribute(mesh, name, "stridedElementsOf"));
}

/// The same for reading only.
template <BufferElement T>
StridedSpan<const T> stridedElementsOf(const Mesh& mesh, std::string_view name) {
    return stridedElementsOf<const T>(detail::findAttribute(mesh, name, "stridedElementsOf"));
}

/// The indices as they are stored, for reading and writing.
///
/// \param buffer one of the library's own, whatever its storage
/// \throw std::invalid_argument the indices are of another type than `I` or not aligned for it; the buffer is not one of
///                              the library's own, has no storage, or has gaps between its elements
/// Cost: constant.
template <BufferIndex I>
std::span<I> indicesOf(IndexBuffer& buffer) {
    const detail::ElementRow row = detail::viewIndices(buffer, detail::formatOf<I>);
    return {reinterpret_cast<I*>(row.begin), row.count};
}

/// The same for reading only.
template <BufferIndex I>
std::span<const I> indicesOf(const IndexBuffer& buffer) {
    const detail::ElementRow row = detail::viewIndices(buffer, detail::formatOf<I>);
    return {reinterpret_cast<const I*>(row.begin), row.count};
}

/// The indices of a mesh.
///
/// \throw std::invalid_argument as for a buffer, and if the mesh is not indexed
template <BufferIndex I>
std::span<I> indicesOf(Mesh& mesh) {
    return indicesOf<I>(detail::findIndices(mesh));
}

/// The same for reading only.
template <BufferIndex I>
std::span<const I> indicesOf(const Mesh& mesh) {
    return indicesOf<const I>(detail::findIndices(mesh));
}

/// The whole storage of a buffer, which interleaved buffers share.
///
/// \param buffer one of the library's own
/// \return all bytes, including those that do not belong to this buffer's elements; valid until the storage is resized
/// \throw std::invalid_argument the buffer is not one of the library's own, or has no storage
VEXA_MESH_EXPORT std::span<std::byte> bytesOf(Buffer& buffer);
/// The same for reading only.
VEXA_MESH_EXPORT std::span<const std::byte> bytesOf(const Buffer& buffer);

/// A copy of the elements of any buffer, whatever its stride, alignment and class.
///
/// \throw std::invalid_argument component type or count is not that of `T`
/// \throw std::bad_alloc        if memory runs out
/// Cost: linear.
template <BufferElement T>
requires(!std::is_const_v<T>) std::vector<T> toElements(const AttributeBuffer& buffer) {
    std::vector<T> elements(detail::countElements("toElements", buffer, detail::formatOf<T>));
    detail::copyElements(buffer, reinterpret_cast<std::byte*>(elements.data()), sizeof(T), elements.size());
    return elements;
}

/// A copy of the indices of any buffer in 32 bits. The index with all bits set becomes `restartIndex`, and so does -1;
/// other negative indices keep their low 32 bits.
///
/// \throw std::length_error an index of a caller's own buffer needs more than 32 bits
/// \throw std::bad_alloc    if memory runs out
/// Cost: linear.
VEXA_MESH_EXPORT std::vector<unsigned int> toIndices(const IndexBuffer& buffer);

/// Replaces all elements of a buffer, which is resized if their number differs. Buffers that share its storage are
/// resized along with it.
///
/// \param buffer   any implementation
/// \param elements may be elements of the same buffer
/// \throw std::invalid_argument component type or count is not that of the elements; nothing is changed
/// \throw std::length_error     the elements do not fit into the storage; nothing is changed
/// \throw std::bad_alloc        if memory runs out; nothing is changed
/// Cost: linear; a single copy for packed buffers of the library's own.
template <BufferElementRange R>
void assign(AttributeBuffer& buffer, const R& elements) {
    using Element = std::remove_cvref_t<std::ranges::range_reference_t<R>>;
    detail::assignElements(buffer, detail::formatOf<Element>,
                           std::as_bytes(std::span(std::ranges::data(elements), std::ranges::size(elements))));
}

/// Replaces all indices of a buffer, which is resized if their number differs.
///
/// \param buffer  any implementation
/// \param indices `restartIndex` becomes the index with all bits set in the buffer's type; may be indices of the same
///                buffer
/// \throw std::invalid_argument the type of the buffer is not an integer type; nothing is changed
/// \throw std::length_error     an index is too large for the buffer's type, in which the value with all bits set is
///                              reserved for restart; nothing is changed
/// \throw std::bad_alloc        if memory runs out; nothing is changed
/// Cost: linear.
VEXA_MESH_EXPORT void assign(IndexBuffer& buffer, std::span<const unsigned int> indices);

} // namespace vexa::mesh

// NOLINTBEGIN(readability-identifier-naming): names of the standard library
template <typename T>
inline constexpr bool std::ranges::enable_borrowed_range<vexa::mesh::StridedSpan<T>> = true;
template <typename T>
inline constexpr bool std::ranges::enable_view<vexa::mesh::StridedSpan<T>> = true;
// NOLINTEND(readability-identifier-naming)
