#include "vexa/mesh/Triangles.h"

#include "vexa/mesh/IndexBuffer.h"
#include "vexa/mesh/Views.h"
#include "vexa/mesh/detail/elements/MeshBuffers.h"
#include "vexa/mesh/detail/elements/PackedElements.h"
#include "vexa/mesh/detail/strips/TriangleList.h"

#include <cstring>
#include <stdexcept>
#include <string>

namespace vexa::mesh {

namespace {

using Triangle = std::array<unsigned int, 3>;

/// Indices of a type in memory of any alignment, read as 32 bits.
template <typename Index>
struct StoredIndices {
    const unsigned char* bytes;

    [[nodiscard]] unsigned int load(std::uint64_t i) const {
        Index index;
        std::memcpy(&index, bytes + i * sizeof(Index), sizeof(Index));
        return static_cast<unsigned int>(index);
    }
    static bool isRestart(unsigned int index) { return index == static_cast<unsigned int>(static_cast<Index>(~0U)); }
};

/// The vertices in order.
struct OrderedVertices {
    static unsigned int load(std::uint64_t i) { return static_cast<unsigned int>(i); }
    static bool isRestart(unsigned int /*index*/) { return false; }
};

/// The decoded part of a range; see TriangleRange::Iterator.
struct Cursor {
    std::uint64_t upcoming;
    std::uint64_t partBegin;
    std::size_t filled;
};

/// Writes a triangle, and keeps it unless it is collapsed: cheaper than a branch that is hard to predict.
void put(Cursor& cursor, std::span<Triangle> block, unsigned int a, unsigned int b, unsigned int c) {
    block[cursor.filled] = {a, b, c};
    cursor.filled += static_cast<std::size_t>(!((a == b) | (b == c) | (c == a)));
}

template <typename Indices>
void decodeList(const Indices& indices, std::uint64_t count, Cursor& cursor, std::span<Triangle> block) {
    std::uint64_t i = cursor.upcoming;
    while (cursor.filled < block.size() && count - i >= 3) {
        const unsigned int a = indices.load(i);
        const unsigned int b = indices.load(i + 1);
        const unsigned int c = indices.load(i + 2);
        if (Indices::isRestart(a) || Indices::isRestart(b) || Indices::isRestart(c)) {
            i += Indices::isRestart(a) ? 1 : Indices::isRestart(b) ? 2 : 3;
            continue;
        }
        put(cursor, block, a, b, c);
        i += 3;
    }
    cursor.upcoming = i;
}

/// Skips to the third index of a part. Returns false at the end of the indices.
template <typename Indices>
bool findThird(const Indices& indices, std::uint64_t count, Cursor& cursor) {
    while (cursor.upcoming < count && cursor.upcoming - cursor.partBegin < 2) {
        if (Indices::isRestart(indices.load(cursor.upcoming))) {
            cursor.partBegin = cursor.upcoming + 1;
        }
        ++cursor.upcoming;
    }
    return cursor.upcoming < count;
}

/// Decodes strips and fans: `take(first, second to last, last, isOdd)` puts the triangle that an index completes.
template <typename Indices, typename Take>
void decodeParts(const Indices& indices, std::uint64_t count, Cursor& cursor, std::size_t blockSize, Take take) {
    while (cursor.filled < blockSize && findThird(indices, count, cursor)) {
        std::uint64_t i = cursor.upcoming;
        const unsigned int first = indices.load(cursor.partBegin);
        unsigned int a = indices.load(i - 2);
        unsigned int b = indices.load(i - 1);
        bool isOdd = (i - cursor.partBegin) % 2 != 0;
        for (; i < count && cursor.filled < blockSize; ++i) {
            // In pairs, the parity is known when the code is compiled.
            while (!isOdd && count - i >= 2 && blockSize - cursor.filled >= 2) {
                const unsigned int c = indices.load(i);
                const unsigned int d = indices.load(i + 1);
                if (Indices::isRestart(c) || Indices::isRestart(d)) {
                    break;
                }
                take(first, a, b, c, false);
                take(first, b, c, d, true);
                a = c;
                b = d;
                i += 2;
            }
            if (i == count || cursor.filled == blockSize) {
                break;
            }
            const unsigned int c = indices.load(i);
            if (Indices::isRestart(c)) {
                cursor.partBegin = ++i;
                break;
            }
            take(first, a, b, c, isOdd);
            a = b;
            b = c;
            isOdd = !isOdd;
        }
        cursor.upcoming = i;
    }
}

template <typename Indices>
void decodeBlock(const Indices& indices, std::uint64_t count, PrimitiveType type, Cursor& cursor,
                 std::span<Triangle> block) {
    const auto takeOfStrip = [&](unsigned int /*first*/, unsigned int a, unsigned int b, unsigned int c, bool isOdd) {
        put(cursor, block, a, isOdd ? c : b, isOdd ? b : c);
    };
    const auto takeOfFan = [&](unsigned int first, unsigned int /*a*/, unsigned int b, unsigned int c, bool /*isOdd*/) {
        put(cursor, block, first, b, c);
    };
    switch (type) {
    case TRIANGLE_STRIP:
        decodeParts(indices, count, cursor, block.size(), takeOfStrip);
        break;
    case TRIANGLE_FAN:
        decodeParts(indices, count, cursor, block.size(), takeOfFan);
        break;
    default:
        decodeList(indices, count, cursor, block);
    }
}

} // namespace

TriangleRange::TriangleRange(const void* indices, std::uint64_t count, ComponentType indexType, PrimitiveType type)
    : source_{indices, count, indexType, type} {
    detail::checkContainsTriangles("trianglesOf", type);
}

void TriangleRange::Iterator::decode() {
    Cursor cursor{upcoming_, partBegin_, 0};
    const auto decodeAll = [&](const auto& indices) {
        decodeBlock(indices, source_.count, source_.type, cursor, triangles_);
    };
    const auto* const bytes = static_cast<const unsigned char*>(source_.indices);
    if (bytes == nullptr) {
        decodeAll(OrderedVertices{});
    } else {
        switch (source_.indexType) {
        case BYTE:
            decodeAll(StoredIndices<signed char>{bytes});
            break;
        case UNSIGNED_BYTE:
            decodeAll(StoredIndices<unsigned char>{bytes});
            break;
        case SHORT:
            decodeAll(StoredIndices<short>{bytes});
            break;
        case UNSIGNED_SHORT:
            decodeAll(StoredIndices<unsigned short>{bytes});
            break;
        default: // of both types of 32 bits, -1 and restartIndex are the same bits
            decodeAll(StoredIndices<unsigned int>{bytes});
        }
    }
    upcoming_ = cursor.upcoming;
    partBegin_ = cursor.partBegin;
    current_ = 0;
    filled_ = cursor.filled;
}

TriangleRange trianglesOf(const Mesh& mesh) {
    const PrimitiveType type = mesh.getPrimitiveType();
    const auto indices = mesh.getIndexBuffer();
    if (!indices) {
        const unsigned long vertexCount = detail::countVertices(mesh);
        if (vertexCount > restartIndex) {
            throw std::length_error("trianglesOf: " + std::to_string(vertexCount) +
                                    " vertices without indices do not fit 32 bits");
        }
        return {nullptr, vertexCount, UNSIGNED_INT, type};
    }
    const auto stored = detail::findStoredIndices(*indices);
    if (!stored) {
        throw std::invalid_argument("trianglesOf: the index buffer does not use packed storage of the library; copy "
                                    "the triangles with toTriangles");
    }
    return {stored->bytes, stored->elementCount, stored->type, type};
}

TriangleRange trianglesOf(PrimitiveType type, std::span<const std::uint8_t> indices) {
    return {indices.data(), indices.size(), UNSIGNED_BYTE, type};
}

TriangleRange trianglesOf(PrimitiveType type, std::span<const std::uint16_t> indices) {
    return {indices.data(), indices.size(), UNSIGNED_SHORT, type};
}

TriangleRange trianglesOf(PrimitiveType type, std::span<const std::uint32_t> indices) {
    return {indices.data(), indices.size(), UNSIGNED_INT, type};
}

std::vector<unsigned int> toTriangles(const Mesh& mesh) {
    const PrimitiveType type = mesh.getPrimitiveType();
    const auto indices = mesh.getIndexBuffer();
    if (indices) {
        return toTriangles(type, toIndices(*indices));
    }
    std::vector<unsigned int> triangles;
    for (const auto& triangle : trianglesOf(mesh)) {
        triangles.insert(triangles.end(), triangle.begin(), triangle.end());
    }
    return triangles;
}

} // namespace vexa::mesh
