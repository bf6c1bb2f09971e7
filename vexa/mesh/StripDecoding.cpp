#include "vexa/mesh/Strips.h"

#include "vexa/mesh/detail/strips/TriangleList.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace vexa::mesh {

namespace {

/// Calls `take` with the corners of every triangle of a list without restart indices, also of collapsed ones.
template <class Take>
void walkPart(PrimitiveType type, std::span<const unsigned int> indices, Take take) {
    const std::size_t step = type == TRIANGLES ? 3 : 1;
    for (std::size_t i = 0; i + 2 < indices.size(); i += step) {
        const unsigned int first = type == TRIANGLE_FAN ? indices[0] : indices[i];
        const std::size_t isTurned = type == TRIANGLE_STRIP ? i % 2 : 0;
        take(first, indices[i + 1 + isTurned], indices[i + 2 - isTurned]);
    }
}

/// Calls `take` with the corners of every triangle that is not collapsed.
///
/// \param caller name of the public function, with which the message begins
template <class Take>
void walk(const char* caller, PrimitiveType type, std::span<const unsigned int> indices, Take take) {
    detail::checkContainsTriangles(caller, type);
    for (auto begin = indices.begin(); begin != indices.end();) {
        const auto end = std::find(begin, indices.end(), restartIndex);
        walkPart(type, {begin, end}, [&](unsigned int a, unsigned int b, unsigned int c) {
            if (!detail::isCollapsed(a, b, c)) {
                take(a, b, c);
            }
        });
        begin = end == indices.end() ? end : end + 1;
    }
}

/// Mixes all bits of a number into all bits of the result, one to one: the finalizer of SplitMix64 (Steele, Lea and
/// Flood, "Fast splittable pseudorandom number generators", 2014).
constexpr std::uint64_t mix(std::uint64_t bits) {
    bits = (bits ^ bits >> 30) * 0xbf58476d1ce4e5b9;
    bits = (bits ^ bits >> 27) * 0x94d049bb133111eb;
    return bits ^ bits >> 31;
}

/// Adds a triangle, turned until its first two corners are the least pair: `[5 3 3]` becomes `[3 3 5]`.
void add(TriangleSum& sum, std::uint64_t a, std::uint64_t b, std::uint64_t c) {
    const std::uint64_t edge = std::min({a << 32 | b, b << 32 | c, c << 32 | a});
    const std::uint64_t third = a + b + c - (edge >> 32) - (edge & 0xffffffff);
    ++sum.count;
    sum.hashes[0] += mix(mix(edge + 0x9e3779b97f4a7c15) + third);
    sum.hashes[1] += mix(mix(edge + 0x3c6ef372fe94f82a) - third);
}

/// The sum of the whole triangles of a list, also of collapsed ones.
TriangleSum sumOfAll(std::span<const unsigned int> triangles) {
    TriangleSum sum;
    walkPart(TRIANGLES, triangles, [&](unsigned int a, unsigned int b, unsigned int c) { add(sum, a, b, c); });
    return sum;
}

} // namespace

std::vector<unsigned int> toTriangles(PrimitiveType type, std::span<const unsigned int> indices) {
    std::vector<unsigned int> triangles;
    walk("toTriangles", type, indices, [&](unsigned int a, unsigned int b, unsigned int c) {
        triangles.insert(triangles.end(), {a, b, c});
    });
    return triangles;
}

TriangleSum sumTriangles(PrimitiveType type, std::span<const unsigned int> indices) {
    TriangleSum sum;
    walk("sumTriangles", type, indices, [&](unsigned int a, unsigned int b, unsigned int c) { add(sum, a, b, c); });
    return sum;
}

TriangleSum& TriangleSum::operator+=(const TriangleSum& other) {
    count += other.count;
    hashes[0] += other.hashes[0];
    hashes[1] += other.hashes[1];
    return *this;
}

bool sameTriangles(std::span<const unsigned int> a, std::span<const unsigned int> b) {
    return a.size() / 3 == b.size() / 3 && sumOfAll(a) == sumOfAll(b);
}

} // namespace vexa::mesh
