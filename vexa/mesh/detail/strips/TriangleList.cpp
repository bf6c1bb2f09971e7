#include "vexa/mesh/detail/strips/TriangleList.h"

#include "vexa/mesh/Types.h"

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

void checkTriangles(const char* caller, std::span<const unsigned int> triangles) {
    checkTriangleCount(caller, triangles.size());
    const auto found = std::find(triangles.begin(), triangles.end(), restartIndex);
    if (found != triangles.end()) {
        throw std::invalid_argument(std::string(caller) + ": index " + std::to_string(found - triangles.begin()) +
                                    " is 4294967295, which is reserved for primitive restart");
    }
}

} // namespace vexa::mesh::detail
