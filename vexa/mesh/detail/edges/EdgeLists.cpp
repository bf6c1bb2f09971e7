#include "vexa/mesh/detail/edges/EdgeLists.h"

#include <algorithm>
#include <stdexcept>
#include <string>
#include <utility>

namespace vexa::mesh::detail {

namespace {

/// Three edges each, numbered in 32 bits.
constexpr std::size_t maxTriangles = 1431655764;

/// Longer lists than this are worth the count of the triangles at each vertex.
constexpr std::uint32_t longList = 64;

std::span<const unsigned int> check(const char* caller, std::span<const unsigned int> triangles) {
    if (triangles.size() / 3 > maxTriangles) {
        throw std::length_error(std::string(caller) + ": edges can be listed of at most " +
                                std::to_string(maxTriangles) + " triangles, not of " +
                                std::to_string(triangles.size() / 3));
    }
    checkTriangles(caller, triangles);
    return triangles;
}

} // namespace

EdgeLists::EdgeLists(const char* caller, std::span<const unsigned int> triangles)
    : dense_(check(caller, triangles)), lists_(dense_.vertexCount()) {
    if (layOutLists() > longList) {
        countTriangles();
        layOutLists();
    }
    others_ = LargeArray<std::uint32_t>(triangles.size() + blockSize);
    // Comparing whole blocks reads entries that are not written yet.
    std::fill_n(others_.get(), triangles.size() + blockSize, 0);
    edges_ = LargeArray<std::uint32_t>(triangles.size());
}

void EdgeLists::countTriangles() {
    triangleCounts_.resize(dense_.vertexCount());
    for (const unsigned int vertex : dense_.indices()) {
        ++triangleCounts_[vertex];
    }
}

/// Gives each list room for all half-edges that may be looked up in it.
///
/// \return the room of the longest
std::uint32_t EdgeLists::layOutLists() {
    std::fill(lists_.begin(), lists_.end(), List{});
    const std::span<const unsigned int> triangles = dense_.indices();
    const auto count = [this](std::uint32_t a, std::uint32_t b) { ++lists_[isKey(a, b) ? a : b].end; };
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        count(triangles[i], triangles[i + 1]);
        count(triangles[i + 1], triangles[i + 2]);
        count(triangles[i + 2], triangles[i]);
    }
    std::uint32_t begin = 0;
    std::uint32_t longest = 0;
    for (List& list : lists_) {
        const std::uint32_t room = list.end;
        list = {begin, begin};
        begin += room;
        longest = std::max(longest, room);
    }
    return longest;
}

} // namespace vexa::mesh::detail
