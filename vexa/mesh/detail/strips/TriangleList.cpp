#include "vexa/mesh/detail/strips/TriangleList.h"

#include "vexa/mesh/detail/strips/CompactGraph.h"

#include <algorithm>
#include <stdexcept>
#include <string>

namespace vexa::mesh::detail {

void checkTriangleCount(const char* caller, std::size_t indexCount) {
    if (indexCount % 3 != 0) {
        throw std::invalid_argument(std::string(caller) + ": " + std::to_string(indexCount) +
                                    " indices are not a whole number of triangles");
    }
}

void checkContainsTriangles(const char* caller, PrimitiveType type) {
    if (type != TRIANGLES && type != TRIANGLE_STRIP && type != TRIANGLE_FAN) {
        throw std::invalid_argument(caller + (": " + getStringForPrimitiveType(type)) +
                                    " does not contain triangles; use TRIANGLES, TRIANGLE_STRIP or TRIANGLE_FAN");
    }
}

void checkTriangles(const char* caller, std::span<const unsigned int> triangles) {
    checkTriangleCount(caller, triangles.size());
    const auto found = std::find(triangles.begin(), triangles.end(), restartIndex);
    if (found != triangles.end()) {
        throw std::invalid_argument(std::string(caller) + ": index " + std::to_string(found - triangles.begin()) +
                                    " is 4294967295, which is reserved for primitive restart");
    }
}

void checkStripTriangles(const char* caller, std::span<const unsigned int> triangles) {
    CompactGraph::checkCount(triangles.size() / 3);
    checkTriangles(caller, triangles);
}

} // namespace vexa::mesh::detail
