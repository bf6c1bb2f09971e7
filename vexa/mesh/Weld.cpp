#include "vexa/mesh/Weld.h"

#include "vexa/mesh/Types.h"
#include "vexa/mesh/Views.h"
#include "vexa/mesh/detail/elements/Indices.h"
#include "vexa/mesh/detail/vertices/AttributeElements.h"
#include "vexa/mesh/detail/vertices/VertexClasses.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <memory>
#include <span>
#include <stdexcept>
#include <utility>

namespace vexa::mesh {

namespace {

using detail::AttributeElements;

void checkOptions(const AttributeBuffers& attributes, const WeldOptions& options) {
    const auto has = [&](const std::string& name) {
        return std::any_of(attributes.begin(), attributes.end(),
                           [&](const auto& attribute) { return attribute->getAttributeName() == name; });
    };
    for (const std::string& name : options.compare) {
        if (!has(name)) {
            throw std::invalid_argument("weld: the mesh lacks the attribute \"" + name + "\" to compare");
        }
    }
    if (options.tolerance && !(*options.tolerance >= 0 && std::isfinite(*options.tolerance))) {
        throw std::invalid_argument("weld: the tolerance " + std::to_string(*options.tolerance) +
                                    " is not a distance; use a finite number from 0");
    }
    if (options.tolerance && !has("position")) {
        throw std::invalid_argument("weld: the mesh lacks the attribute \"position\", to which the tolerance applies");
    }
}

/// Turns the first vertex of each into new numbers.
///
/// \return the vertices that are kept
std::vector<std::uint32_t> number(std::vector<std::uint32_t>& first) {
    std::vector<std::uint32_t> kept;
    for (std::uint32_t v = 0; v < first.size(); ++v) {
        if (first[v] == v) {
            first[v] = static_cast<std::uint32_t>(kept.size());
            kept.push_back(v);
        } else {
            first[v] = first[first[v]];
        }
    }
    return kept;
}

/// For each vertex the first one that is near it and of its kind. Only one of several equal positions is looked up.
std::vector<std::uint32_t> firstNear(const AttributeElements& positions, const std::vector<detail::VertexRow>& compared,
                                     std::size_t vertexCount, double tolerance) {
    const std::vector<std::uint32_t> kinds = detail::firstEqual(compared, vertexCount);
    std::vector<detail::VertexRow> all = compared;
    all.push_back(positions.row());
    std::vector<std::uint32_t> numbers = detail::firstEqual(all, vertexCount);
    const std::vector<std::uint32_t> distinct = number(numbers);

    std::vector<std::array<float, 3>> distinctPositions(distinct.size());
    std::vector<std::uint32_t> distinctKinds(distinct.size());
    for (std::size_t i = 0; i < distinct.size(); ++i) {
        std::memcpy(distinctPositions[i].data(), positions[distinct[i]], sizeof distinctPositions[i]);
        distinctKinds[i] = kinds[distinct[i]];
    }
    const detail::VertexRow row{reinterpret_cast<const unsigned char*>(distinctPositions.data()),
                                sizeof distinctPositions[0], sizeof distinctPositions[0]};
    const std::vector<std::uint32_t> near = detail::firstNear(row, distinctKinds, tolerance);
    std::transform(numbers.begin(), numbers.end(), numbers.begin(),
                   [&](std::uint32_t distinctVertex) { return distinct[near[distinctVertex]]; });
    return numbers;
}

/// For each vertex the first one that is equal to it.
std::vector<std::uint32_t> firstVertices(const AttributeBuffers& attributes,
                                         const std::vector<AttributeElements>& elements, std::size_t vertexCount,
                                         const WeldOptions& options) {
    std::vector<detail::VertexRow> compared;
    const AttributeElements* positions = nullptr;
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        const std::string name = attributes[i]->getAttributeName();
        if (options.tolerance && positions == nullptr && name == "position") {
            if (!attributes[i]->isVec3f()) {
                throw std::invalid_argument("weld: the attribute \"position\" is not three floats, which a tolerance "
                                            "needs");
            }
            positions = &elements[i];
        } else if (options.compare.empty() ||
                   std::find(options.compare.begin(), options.compare.end(), name) != options.compare.end()) {
            compared.push_back(elements[i].row());
        }
    }
    return positions == nullptr ? detail::firstEqual(compared, vertexCount)
                                : firstNear(*positions, compared, vertexCount, *options.tolerance);
}

} // namespace

WeldResult weld(const Mesh& mesh, const WeldOptions& options) {
    const AttributeBuffers attributes = detail::checkedAttributes("weld", mesh);
    const std::size_t vertexCount = attributes.empty() ? 0 : attributes.front()->getElementCount();
    checkOptions(attributes, options);
    std::vector<unsigned int> indices = detail::checkedIndices("weld", mesh, vertexCount);
    const std::vector<AttributeElements> elements(attributes.begin(), attributes.end());

    WeldResult result;
    result.remap = firstVertices(attributes, elements, vertexCount, options);
    const std::vector<std::uint32_t> kept = number(result.remap);
    for (unsigned int& index : indices) {
        index = index == restartIndex ? index : result.remap[index];
    }
    const std::shared_ptr<IndexBuffer> inputIndices = mesh.getIndexBuffer();
    const auto buffer = IndexBuffer::createDefault(detail::indexTypeFor(
        options.indexWidth, inputIndices ? inputIndices->getComponentType() : UNSIGNED_SHORT, kept.size()));
    detail::requireIndicesFit("weld", buffer->getComponentType(), indices);
    assign(*buffer, indices);
    AttributeBuffers picked;
    for (const AttributeElements& attribute : elements) {
        picked.push_back(attribute.pick(kept));
    }
    result.mesh = makeMesh(mesh.getPrimitiveType(), buffer, std::move(picked));
    return result;
}

} // namespace vexa::mesh
