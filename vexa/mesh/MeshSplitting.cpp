#include "vexa/mesh/Merge.h"
#include "vexa/mesh/Triangles.h"
#include "vexa/mesh/Types.h"
#include "vexa/mesh/Views.h"
#include "vexa/mesh/detail/elements/Indices.h"
#include "vexa/mesh/detail/strips/TriangleList.h"
#include "vexa/mesh/detail/vertices/AttributeElements.h"

#include <algorithm>
#include <cstddef>
#include <numeric>
#include <stdexcept>
#include <string>
#include <utility>

namespace vexa::mesh {

namespace {

using detail::AttributeElements;

/// A mesh of some vertices of another one.
MeshPtr pickMesh(PrimitiveType type, const std::shared_ptr<IndexBuffer>& indices,
                 const std::vector<AttributeElements>& attributes, std::span<const std::uint32_t> vertices) {
    AttributeBuffers picked;
    for (const AttributeElements& attribute : attributes) {
        picked.push_back(attribute.pick(vertices));
    }
    return makeMesh(type, indices, std::move(picked));
}

/// Cuts a triangle list into parts in order.
class Splitter {
public:
    Splitter(std::span<const unsigned int> triangles, std::size_t vertexCount, std::uint64_t maxVertices,
             std::uint64_t maxTriangles)
        : triangles_(triangles), maxVertices_(maxVertices),
          maxIndices_(maxTriangles > triangles.size() ? triangles.size() : 3 * maxTriangles), numbers_(vertexCount),
          partOf_(vertexCount) {}

    /// Takes the next part.
    ///
    /// \return whether there is one
    bool next() {
        indices_.clear();
        vertices_.clear();
        ++part_;
        for (; begin_ < triangles_.size(); begin_ += 3) {
            const unsigned int* const corners = &triangles_[begin_];
            const auto added = static_cast<std::uint64_t>(
                std::count_if(corners, corners + 3, [this](unsigned int v) { return partOf_[v] != part_; }));
            if (!indices_.empty() && (vertices_.size() + added > maxVertices_ || indices_.size() >= maxIndices_)) {
                break;
            }
            std::for_each(corners, corners + 3, [this](unsigned int v) { add(v); });
        }
        return !indices_.empty();
    }

    [[nodiscard]] const std::vector<unsigned int>& indices() const { return indices_; }
    [[nodiscard]] const std::vector<std::uint32_t>& vertices() const { return vertices_; }

private:
    void add(unsigned int vertex) {
        if (std::exchange(partOf_[vertex], part_) != part_) {
            numbers_[vertex] = static_cast<std::uint32_t>(vertices_.size());
            vertices_.push_back(vertex);
        }
        indices_.push_back(numbers_[vertex]);
    }

    std::span<const unsigned int> triangles_;
    std::uint64_t maxVertices_;
    std::uint64_t maxIndices_;
    std::vector<std::uint32_t> numbers_; ///< per vertex in the part that it was last in
    std::vector<std::uint32_t> partOf_;  ///< per vertex the part that it was last in, counted from 1
    std::uint32_t part_ = 0;
    std::size_t begin_ = 0;
    std::vector<unsigned int> indices_;
    std::vector<std::uint32_t> vertices_;
};

/// The most vertices of a part.
std::uint64_t maxVerticesOf(IndexWidth width, ComponentType kept) {
    if (width == IndexWidth::Keep) {
        // Signed types have as many negative indices, none of which is a vertex.
        const bool isSigned = kept == BYTE || kept == SHORT || kept == INT;
        return (std::uint64_t{1} << (8 * getComponentSizeInBytes(kept) - (isSigned ? 1 : 0))) - (isSigned ? 0 : 1);
    }
    return detail::allOnesOf(width == IndexWidth::Narrowest ? UNSIGNED_INT : detail::indexTypeFor(width, kept, 0));
}

} // namespace

MeshPtr extractRange(const Mesh& mesh, const MeshRange& range) {
    const AttributeBuffers attributes = detail::checkedAttributes("extractRange", mesh);
    const std::shared_ptr<IndexBuffer> indices = mesh.getIndexBuffer();
    const auto check = [](std::uint64_t first, std::uint64_t count, std::uint64_t total, const char* noun) {
        if (first > total || count > total - first) {
            throw std::invalid_argument("extractRange: " + std::to_string(count) + " " + noun + " from " +
                                        std::to_string(first) + " are not within the " + std::to_string(total) +
                                        " of the mesh");
        }
    };
    check(range.firstVertex, range.vertexCount, attributes.empty() ? 0 : attributes.front()->getElementCount(),
          "vertices");
    check(range.firstIndex, range.indexCount, indices ? indices->getElementCount() : 0, "indices");
    std::shared_ptr<IndexBuffer> own;
    if (indices) {
        const unsigned long allOnes = detail::allOnesOf(indices->getComponentType());
        own = IndexBuffer::createDefault(indices->getComponentType());
        own->resize(range.indexCount);
        for (std::uint64_t i = 0; i < range.indexCount; ++i) {
            const unsigned long index = indices->getElement(range.firstIndex + i);
            if (index != allOnes && index - range.firstVertex >= range.vertexCount) {
                throw std::invalid_argument("extractRange: index " + std::to_string(index) + " at " +
                                            std::to_string(range.firstIndex + i) +
                                            " refers to a vertex outside of the range");
            }
            own->setElement(i, index == allOnes ? index : index - range.firstVertex);
        }
    }
    std::vector<std::uint32_t> vertices(range.vertexCount);
    std::iota(vertices.begin(), vertices.end(), static_cast<std::uint32_t>(range.firstVertex));
    return pickMesh(mesh.getPrimitiveType(), own, {attributes.begin(), attributes.end()}, vertices);
}

std::vector<MeshPtr> splitMesh(const Mesh& mesh, const SplitOptions& options) {
    detail::checkContainsTriangles("splitMesh", mesh.getPrimitiveType());
    const AttributeBuffers attributes = detail::checkedAttributes("splitMesh", mesh);
    const std::size_t vertexCount = attributes.empty() ? 0 : attributes.front()->getElementCount();
    const std::vector<unsigned int> triangles =
        toTriangles(mesh.getPrimitiveType(), detail::checkedIndices("splitMesh", mesh, vertexCount));
    const std::vector<AttributeElements> elements(attributes.begin(), attributes.end());
    const std::shared_ptr<IndexBuffer> inputIndices = mesh.getIndexBuffer();
    const ComponentType kept = inputIndices ? inputIndices->getComponentType() : UNSIGNED_INT;
    const std::uint64_t maxVertices = maxVerticesOf(options.indexWidth, kept);
    const std::uint64_t maxTriangles = options.maxTriangles == 0 ? triangles.size() : options.maxTriangles;

    std::vector<MeshPtr> parts;
    const auto addPart = [&](std::span<const unsigned int> indices, std::span<const std::uint32_t> vertices) {
        const auto buffer = IndexBuffer::createDefault(detail::indexTypeFor(options.indexWidth, kept, vertices.size()));
        assign(*buffer, indices);
        parts.push_back(pickMesh(TRIANGLES, buffer, elements, vertices));
    };
    if (triangles.empty()) {
        return parts;
    }
    if (vertexCount <= maxVertices && triangles.size() / 3 <= maxTriangles) {
        std::vector<std::uint32_t> vertices(vertexCount);
        std::iota(vertices.begin(), vertices.end(), 0U);
        addPart(triangles, vertices);
        return parts;
    }
    Splitter splitter(triangles, vertexCount, maxVertices, maxTriangles);
    while (splitter.next()) {
        addPart(splitter.indices(), splitter.vertices());
    }
    return parts;
}

} // namespace vexa::mesh
