#include "vexa/mesh/Normals.h"

#include "vexa/mesh/MakeMesh.h"
#include "vexa/mesh/Views.h"
#include "vexa/mesh/detail/edges/SurfaceEdges.h"
#include "vexa/mesh/detail/elements/Indices.h"
#include "vexa/mesh/detail/vertices/AttributeElements.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <glm/geometric.hpp>
#include <glm/vec3.hpp>
#include <numbers>
#include <numeric>
#include <utility>
#include <vector>

namespace vexa::mesh {

namespace {

using detail::SurfaceEdges;

/// Groups of corners that share a normal.
class CornerGroups {
public:
    CornerGroups(const SurfaceEdges& surface, double creaseAngle) : group_(surface.triangles.size()) {
        std::iota(group_.begin(), group_.end(), 0U);
        if (creaseAngle >= static_cast<double>(std::numbers::pi_v<float>)) {
            joinAll(surface);
        } else {
            joinAlongEdges(surface, creaseAngle);
        }
        for (std::uint32_t corner = 0; corner < group_.size(); ++corner) {
            group_[corner] = find(corner);
        }
    }

    /// The lowest corner of the group.
    [[nodiscard]] std::uint32_t operator[](std::size_t corner) const { return group_[corner]; }

private:
    std::uint32_t find(std::uint32_t corner) {
        while (group_[corner] != corner) {
            group_[corner] = group_[group_[corner]];
            corner = group_[corner];
        }
        return corner;
    }
    void join(std::uint32_t a, std::uint32_t b) {
        const auto [low, high] = std::minmax({find(a), find(b)});
        group_[high] = low;
    }
    void joinAll(const SurfaceEdges& surface) {
        std::vector<std::uint32_t> first(surface.places.size(), restartIndex);
        for (std::uint32_t corner = 0; corner < group_.size(); ++corner) {
            std::uint32_t& known = first[surface.places[surface.triangles[corner]]];
            known = std::min(known, corner);
            group_[corner] = known;
        }
    }
    void joinAlongEdges(const SurfaceEdges& surface, double creaseAngle) {
        for (const detail::SurfaceEdge& edge : surface.edges) {
            if (edge.triangleCount != 2 || surface.angleAt(edge) > creaseAngle) {
                continue;
            }
            std::uint32_t from = edge.halfEdges[1];
            std::uint32_t to = SurfaceEdges::next(from);
            if (!surface.runsSameWay(edge)) {
                std::swap(from, to);
            }
            join(edge.halfEdges[0], from);
            join(SurfaceEdges::next(edge.halfEdges[0]), to);
        }
    }

    std::vector<std::uint32_t> group_;
};

double angleBetween(const glm::dvec3& a, const glm::dvec3& b) {
    return std::atan2(glm::length(glm::cross(a, b)), glm::dot(a, b));
}

/// The normal of each group, by its lowest corner.
std::vector<glm::vec3> normalsOf(const SurfaceEdges& surface, const CornerGroups& groups, NormalWeighting weighting) {
    std::vector<glm::dvec3> sums(surface.triangles.size(), glm::dvec3(0));
    for (std::size_t i = 0; i < surface.triangles.size(); i += 3) {
        const glm::dvec3& normal = surface.normals[i / 3];
        const double length = glm::length(normal);
        for (std::size_t k = 0; k < 3 && length > 0; ++k) {
            glm::dvec3 weighted = normal;
            if (weighting == NormalWeighting::Angle) {
                const glm::dvec3 p(surface.positions[surface.triangles[i + k]]);
                const glm::dvec3 next(surface.positions[surface.triangles[i + (k + 1) % 3]]);
                const glm::dvec3 last(surface.positions[surface.triangles[i + (k + 2) % 3]]);
                weighted *= angleBetween(next - p, last - p) / length;
            }
            sums[groups[i + k]] += weighted;
        }
    }
    std::vector<glm::vec3> normals(sums.size());
    std::transform(sums.begin(), sums.end(), normals.begin(), [](const glm::dvec3& sum) {
        const double length = glm::length(sum);
        return length > 0 ? glm::vec3(sum / length) : glm::vec3(0);
    });
    return normals;
}

/// The vertices of the result, of which those of the input come first.
class SplitVertices {
public:
    SplitVertices(const SurfaceEdges& surface, const CornerGroups& groups)
        : parts_(surface.positions.size()), sources_(parts_.size()), indices_(surface.triangles.size()) {
        std::iota(sources_.begin(), sources_.end(), 0U);
        for (std::size_t corner = 0; corner < indices_.size(); ++corner) {
            // A corner of a triangle without an area goes with the first part of its vertex.
            const bool hasArea = glm::length(surface.normals[corner / 3]) > 0;
            indices_[corner] = hasArea ? partOf(surface.triangles[corner], groups[corner]) : surface.triangles[corner];
        }
    }

    /// For each vertex of the result the one of the input.
    [[nodiscard]] const std::vector<std::uint32_t>& sources() const { return sources_; }
    [[nodiscard]] const std::vector<unsigned int>& indices() const { return indices_; }
    /// For each vertex of the result a corner of its group; 4294967295 if it is in no triangle with an area.
    [[nodiscard]] std::uint32_t groupOf(std::size_t vertex) const { return parts_[vertex].group; }
    [[nodiscard]] bool isAnySplit() const { return parts_.size() > firstCount_; }

private:
    struct Part {
        std::uint32_t group = restartIndex;
        std::uint32_t next = 0; ///< the following part of the same vertex; 0 for none
    };

    std::uint32_t partOf(std::uint32_t vertex, std::uint32_t group) {
        if (parts_[vertex].group == restartIndex) {
            parts_[vertex].group = group;
            return vertex;
        }
        std::uint32_t part = vertex;
        while (parts_[part].group != group) {
            if (parts_[part].next == 0) {
                const auto added = static_cast<std::uint32_t>(parts_.size());
                parts_[part].next = added;
                parts_.push_back({group, 0});
                sources_.push_back(vertex);
                return added;
            }
            part = parts_[part].next;
        }
        return part;
    }

    std::vector<Part> parts_;
    std::size_t firstCount_ = parts_.size();
    std::vector<std::uint32_t> sources_;
    std::vector<unsigned int> indices_;
};

std::shared_ptr<IndexBuffer> makeIndices(const Mesh& mesh, const SplitVertices& vertices) {
    const std::shared_ptr<IndexBuffer> input = mesh.getIndexBuffer();
    if (!vertices.isAnySplit() && !input) {
        return nullptr;
    }
    const std::size_t vertexCount = vertices.sources().size();
    auto buffer = IndexBuffer::createDefault(
        detail::indexTypeFor(IndexWidth::Keep, input ? input->getComponentType() : UNSIGNED_SHORT, vertexCount));
    assign(*buffer, vertices.isAnySplit() ? vertices.indices() : toIndices(*input));
    return buffer;
}

} // namespace

MeshPtr computeNormals(const Mesh& mesh, const NormalOptions& options) {
    const SurfaceEdges surface("computeNormals", mesh);
    const CornerGroups groups(surface, static_cast<double>(options.creaseAngle));
    const std::vector<glm::vec3> groupNormals = normalsOf(surface, groups, options.weighting);
    const SplitVertices vertices(surface, groups);
    const std::size_t vertexCount = vertices.sources().size();
    detail::checkVertexCount("computeNormals: with split vertices", vertexCount);
    std::vector<glm::vec3> normals(vertexCount, glm::vec3(0));
    for (std::size_t v = 0; v < vertexCount; ++v) {
        if (vertices.groupOf(v) != restartIndex) {
            normals[v] = groupNormals[vertices.groupOf(v)];
        }
    }
    AttributeBuffers attributes;
    bool isReplaced = false;
    for (const std::shared_ptr<AttributeBuffer>& attribute : surface.attributes) {
        if (attribute->getAttributeName() == "normal" && !isReplaced) {
            attributes.push_back(makeAttribute("normal", normals));
            isReplaced = true;
        } else {
            attributes.push_back(detail::AttributeElements(attribute).pick(vertices.sources()));
        }
    }
    if (!isReplaced) {
        attributes.push_back(makeAttribute("normal", normals));
    }
    return makeMesh(vertices.isAnySplit() ? TRIANGLES : mesh.getPrimitiveType(), makeIndices(mesh, vertices),
                    std::move(attributes));
}

} // namespace vexa::mesh
