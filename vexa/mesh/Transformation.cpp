#include "vexa/mesh/Transformation.h"

#include "vexa/mesh/MakeMesh.h"
#include "vexa/mesh/Views.h"
#include "vexa/mesh/detail/elements/ElementTransformation.h"
#include "vexa/mesh/detail/elements/Kernels.h"
#include "vexa/mesh/detail/elements/MeshBuffers.h"
#include "vexa/mesh/detail/strips/TriangleList.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <glm/mat3x3.hpp>
#include <iterator>
#include <memory>
#include <numeric>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>

namespace vexa::mesh {

namespace {

/// Cofactors of the upper left 3 by 3 part of a matrix, and its determinant. In double, no product of floats overflows.
struct Cofactors {
    double of[3][3];
    double determinant;
};

Cofactors cofactorsOf(const glm::mat4& m) {
    const auto at = [&m](int row, int column) { return static_cast<double>(m[column % 3][row % 3]); };
    Cofactors cofactors{};
    for (int row = 0; row < 3; ++row) {
        for (int column = 0; column < 3; ++column) {
            cofactors.of[row][column] =
                at(row + 1, column + 1) * at(row + 2, column + 2) - at(row + 1, column + 2) * at(row + 2, column + 1);
        }
    }
    cofactors.determinant =
        at(0, 0) * cofactors.of[0][0] + at(0, 1) * cofactors.of[0][1] + at(0, 2) * cofactors.of[0][2];
    return cofactors;
}

/// The matrix that turns normals: the cofactors divided by the determinant, or, where the result is scaled anyway, by
/// the greatest of them, so that no scale of the placement takes them out of the range of a float.
detail::NormalMatrix normalMatrix(const glm::mat4& m, NormalLength length) {
    const Cofactors cofactors = cofactorsOf(m);
    double greatest = 0;
    for (const auto& row : cofactors.of) {
        for (const double cofactor : row) {
            greatest = std::max(greatest, std::abs(cofactor));
        }
    }
    if (greatest == 0) {
        return detail::linearPart(glm::mat4(1.0F));
    }
    const bool isExact = length == NormalLength::Keep && cofactors.determinant != 0;
    const double divisor = isExact ? cofactors.determinant : std::copysign(greatest, cofactors.determinant);
    detail::NormalMatrix matrix;
    for (std::size_t row = 0; row < 3; ++row) {
        for (std::size_t column = 0; column < 3; ++column) {
            matrix[row][column] = static_cast<float>(cofactors.of[row][column] / divisor);
        }
    }
    return matrix;
}

std::vector<std::shared_ptr<AttributeBuffer>> buffersToPlace(const Mesh& mesh) {
    std::vector<std::shared_ptr<AttributeBuffer>> buffers;
    for (unsigned long i = 0; i < mesh.getNumAttributeBuffers(); ++i) {
        std::shared_ptr<AttributeBuffer> buffer = mesh.getAttributeBuffer(i);
        if (!buffer) {
            throw std::invalid_argument("placeMesh: attribute buffer " + std::to_string(i) + " is empty");
        }
        const std::string name = buffer->getAttributeName();
        const bool isTangent = name == "tangent";
        if (!isTangent && name != "position" && name != "normal") {
            continue;
        }
        const unsigned long count = buffer->getComponentCountPerElement();
        if (buffer->getComponentType() != FLOAT || (count != 3 && !(isTangent && count == 4))) {
            throw std::invalid_argument("placeMesh: attribute \"" + name + "\" has elements of " +
                                        std::to_string(count) + " components of the type \"" +
                                        getStringForComponentType(buffer->getComponentType()) + "\"; it must have " +
                                        (isTangent ? "three or four" : "three") + " floats");
        }
        // A mesh may hold a buffer twice.
        if (std::find(buffers.begin(), buffers.end(), buffer) == buffers.end()) {
            buffers.push_back(std::move(buffer));
        }
    }
    return buffers;
}

using Iterator = std::vector<unsigned int>::iterator;

void flipList(Iterator begin, Iterator end) {
    for (; end - begin >= 3; begin += 3) {
        std::iter_swap(begin + 1, begin + 2);
    }
}

/// Length of the run of equal indices with which a row begins.
template <class Row>
std::size_t runLength(Row begin, Row end) {
    return static_cast<std::size_t>(std::find_if(begin, end, [begin](unsigned int index) { return index != *begin; }) -
                                    begin);
}

/// Appends a strip, flipped. A strip that ends with an even number of equal indices changes at its beginning only, or
/// flipping it twice would not give back the same.
void appendFlippedStrip(std::vector<unsigned int>& flipped, std::span<const unsigned int> strip) {
    const std::size_t size = strip.size();
    const std::size_t first = size == 0 ? 0 : runLength(strip.begin(), strip.end());
    const std::size_t last = size == 0 ? 0 : runLength(strip.rbegin(), strip.rend());
    const bool hasTriangles = first < size && !(size == 3 && first == 2);
    if (size < 3 || !hasTriangles) {
        flipped.insert(flipped.end(), strip.begin(), strip.end());
    } else if (last % 2 == 0 ? first % 2 == 0 : size % 2 == 1 && first > 1) {
        flipped.insert(flipped.end(), strip.begin() + 1, strip.end());
    } else if (last % 2 == 0 || size % 2 == 0) {
        flipped.push_back(strip.front());
        flipped.insert(flipped.end(), strip.begin(), strip.end());
    } else {
        flipped.insert(flipped.end(), strip.rbegin() + static_cast<std::ptrdiff_t>(last) - 1, strip.rend());
        flipped.insert(flipped.end(), last - 1, strip.front());
    }
}

std::vector<unsigned int> flippedStrips(std::span<const unsigned int> indices) {
    std::vector<unsigned int> flipped;
    flipped.reserve(indices.size() + 1);
    for (auto begin = indices.begin();;) {
        const auto end = std::find(begin, indices.end(), restartIndex);
        appendFlippedStrip(flipped, {begin, end});
        if (end == indices.end()) {
            return flipped;
        }
        flipped.push_back(restartIndex);
        begin = end + 1;
    }
}

/// \return nothing for a mesh without triangles
std::vector<unsigned int> flippedIndices(const Mesh& mesh) {
    const std::shared_ptr<IndexBuffer> buffer = mesh.getIndexBuffer();
    std::vector<unsigned int> indices;
    if (buffer) {
        indices = toIndices(*buffer);
    } else {
        const unsigned long count = detail::countVertices(mesh);
        if (count > restartIndex) {
            throw std::length_error("flipWinding: " + std::to_string(count) +
                                    " vertices need more than 32 bits an index; split the mesh");
        }
        indices.resize(count);
        std::iota(indices.begin(), indices.end(), 0U);
    }
    flipWinding(mesh.getPrimitiveType(), indices);
    return indices;
}

void replaceIndices(Mesh& mesh, std::span<const unsigned int> indices) {
    if (const std::shared_ptr<IndexBuffer> buffer = mesh.getIndexBuffer()) {
        assign(*buffer, indices);
        return;
    }
    const auto buffer = IndexBuffer::createDefault(detail::countVertices(mesh) < 65536 ? UNSIGNED_SHORT : UNSIGNED_INT);
    assign(*buffer, indices);
    mesh.setIndexBuffer(buffer);
}

} // namespace

namespace detail {

AttributeTransformationFunction placementOf(const std::string& attributeName, const glm::mat4& matrix,
                                            const TransformationOptions& options) {
    if (attributeName == "position") {
        return PositionTransformation{matrix};
    }
    if (attributeName == "normal") {
        return NormalTransformation{normalMatrix(matrix, options.normals), options.normals};
    }
    if (attributeName == "tangent") {
        return TangentTransformation{linearPart(matrix), options.normals, isMirroring(matrix)};
    }
    return nullptr;
}

} // namespace detail

bool isMirroring(const glm::mat4& matrix) {
    return cofactorsOf(matrix).determinant < 0;
}

void createTransformation(AttributeTransformationMap& map, const glm::mat4& matrix,
                          const TransformationOptions& options) {
    AttributeTransformationMap changed = map;
    for (const char* name : {"position", "normal", "tangent"}) {
        changed[name] = detail::placementOf(name, matrix, options);
    }
    map.swap(changed);
}

void placeMesh(Mesh& mesh, const glm::mat4& matrix, const TransformationOptions& options) {
    placeMesh(mesh, matrix, options, {});
}

void placeMesh(Mesh& mesh, const glm::mat4& matrix, const TransformationOptions& options, const Executor& executor) {
    const auto buffers = buffersToPlace(mesh);
    AttributeTransformationMap map;
    createTransformation(map, matrix, options);
    const PrimitiveType type = mesh.getPrimitiveType();
    // The indices come first: from then on, nothing can fail on the library's own buffers.
    if (isMirroring(matrix) && (type == TRIANGLES || type == TRIANGLE_STRIP || type == TRIANGLE_FAN)) {
        flipWinding(mesh);
    }
    detail::ElementChanges changes(executor);
    for (const std::shared_ptr<AttributeBuffer>& buffer : buffers) {
        const AttributeTransformationFunction& f = map.at(buffer->getAttributeName());
        if (!changes.add(*buffer, f)) {
            changes.flush();
            applyTransformation(*buffer, f);
        }
    }
    changes.flush();
}

void flipWinding(PrimitiveType type, std::vector<unsigned int>& indices) {
    detail::checkContainsTriangles("flipWinding", type);
    if (type == TRIANGLE_STRIP) {
        indices = flippedStrips(indices);
        return;
    }
    for (auto begin = indices.begin(); begin != indices.end();) {
        const auto end = std::find(begin, indices.end(), restartIndex);
        if (type == TRIANGLES) {
            flipList(begin, end);
        } else if (begin != end) {
            std::reverse(begin + 1, end);
        }
        begin = end == indices.end() ? end : end + 1;
    }
}

void flipWinding(Mesh& mesh) {
    replaceIndices(mesh, flippedIndices(mesh));
}

void applyTransformation(AttributeBuffer& buffer, const AttributeTransformationFunction& f) {
    detail::transformElements(buffer, buffer, 0, buffer.getElementCount(), f);
}

void applyTransformations(Mesh& mesh, const AttributeTransformationMap& map) {
    detail::transformMeshElements(mesh, map, {});
}

void applyTransformations(Mesh& mesh, const AttributeTransformationMap& map, const Executor& executor) {
    detail::transformMeshElements(mesh, map, executor);
}

AttributeTransformationFunction createVec3ElementFunction(std::function<glm::vec3(const glm::vec3&)> f) {
    return [f = std::move(f)](void* element) {
        glm::vec3 vector;
        std::memcpy(&vector, element, sizeof vector);
        vector = f(vector);
        std::memcpy(element, &vector, sizeof vector);
    };
}

} // namespace vexa::mesh
