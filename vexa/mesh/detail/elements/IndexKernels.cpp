#include "vexa/mesh/detail/elements/Kernels.h"
#include "vexa/mesh/detail/elements/LaneKernels.h"

#include <cstring>
#include <limits>
#include <type_traits>

namespace vexa::mesh::detail {

namespace {

/// Calls a function with a value of the type of an index.
template <typename Function>
auto visitIndexType(ComponentType type, Function function) {
    switch (type) {
    case BYTE:
        return function(static_cast<signed char>(0));
    case UNSIGNED_BYTE:
        return function(static_cast<unsigned char>(0));
    case SHORT:
        return function(static_cast<short>(0));
    case UNSIGNED_SHORT:
        return function(static_cast<unsigned short>(0));
    case INT:
        return function(0);
    default:
        return function(0U);
    }
}

template <typename T>
T load(const unsigned char* elements, unsigned long index) {
    T element;
    std::memcpy(&element, elements + index * sizeof(T), sizeof(T));
    return element;
}

bool areUpTo(const void* integers, unsigned long count, unsigned char limit) {
    return laneKernels().areBytesUpTo(integers, count, limit);
}
bool areUpTo(const void* integers, unsigned long count, unsigned short limit) {
    return laneKernels().areShortsUpTo(integers, count, limit);
}
bool areUpTo(const void* integers, unsigned long count, unsigned int limit) {
    return laneKernels().areIntsUpTo(integers, count, limit);
}

template <typename T>
bool areBelowWidened(const unsigned char* indices, unsigned long count, unsigned long limit) {
    using Bits = std::make_unsigned_t<T>;
    // Every value that is not negative is below a limit above the maximum of its type.
    constexpr auto max = static_cast<unsigned long>(std::numeric_limits<T>::max());
    if (limit <= max) {
        // All bits of signed indices as an unsigned number: a negative one is then above every such limit.
        return areUpTo(indices, count, static_cast<Bits>(limit - 1));
    }
    if constexpr (std::is_unsigned_v<T>) {
        return true;
    }
    for (unsigned long i = 0; i < count; ++i) {
        if (static_cast<unsigned long>(load<T>(indices, i)) >= limit) {
            return false;
        }
    }
    return true;
}

// The low 32 bits of a sum in 64 bits, of which no index type keeps more, are those of a sum in 32.
template <typename From, typename To>
void shift(const unsigned char* source, unsigned char* target, unsigned long count, std::uint32_t offset) {
    for (unsigned long i = 0; i < count; ++i) {
        const auto sum = static_cast<To>(static_cast<std::uint32_t>(load<From>(source, i)) + offset);
        std::memcpy(target + i * sizeof(To), &sum, sizeof sum);
    }
}

} // namespace

bool areIndicesBelow(const void* indices, ComponentType type, unsigned long count, unsigned long limit) {
    if (count == 0 || limit == 0) {
        return count == 0;
    }
    const auto* bytes = static_cast<const unsigned char*>(indices);
    return visitIndexType(type, [&](auto index) { return areBelowWidened<decltype(index)>(bytes, count, limit); });
}

void shiftIndices(const void* source, ComponentType sourceType, void* target, ComponentType targetType,
                  unsigned long count, unsigned long offset) {
    const auto* from = static_cast<const unsigned char*>(source);
    auto* to = static_cast<unsigned char*>(target);
    const auto lowOffset = static_cast<std::uint32_t>(offset);
    visitIndexType(sourceType, [&](auto sourceIndex) {
        visitIndexType(targetType, [&](auto targetIndex) {
            // Storing truncates alike for signed and unsigned types.
            using To = std::make_unsigned_t<decltype(targetIndex)>;
            shift<decltype(sourceIndex), To>(from, to, count, lowOffset);
        });
    });
}

void widenIndices(const void* source, ComponentType type, unsigned int* target, unsigned long count) {
    const auto* from = static_cast<const unsigned char*>(source);
    visitIndexType(type, [&](auto typedIndex) {
        using Index = decltype(typedIndex);
        for (unsigned long i = 0; i < count; ++i) {
            const Index index = load<Index>(from, i);
            target[i] = index == static_cast<Index>(~0U) ? restartIndex : static_cast<unsigned int>(index);
        }
    });
}

} // namespace vexa::mesh::detail
