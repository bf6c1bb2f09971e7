#include "Calls.h"

#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/Merge.h>
#include <vexa/mesh/Views.h>
#include <vexa/mesh/Weld.h>

#include <algorithm>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace vexa::wasm {

namespace {

using namespace vexa::mesh;

/// The meshes of the next call, which takes them.
std::vector<MeshPtr>& inputs() {
    static std::vector<MeshPtr> all;
    return all;
}

/// Attributes of the mesh that is being described.
AttributeBuffers& attributes() {
    static AttributeBuffers all;
    return all;
}

std::vector<std::string> wordsOf(const char* lines) {
    std::vector<std::string> words;
    for (std::string_view text = lines; !text.empty();) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        words.emplace_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return words;
}

/// Adds the indices, a line "type components name" for each attribute, and the elements of each.
void add(Results& results, const Mesh& mesh) {
    results.add(toIndices(*mesh.getIndexBuffer()));
    std::string lines;
    for (const auto& buffer : attributesOf(mesh)) {
        lines += std::to_string(buffer->getComponentType()) + " " +
                 std::to_string(buffer->getComponentCountPerElement()) + " " + buffer->getAttributeName() + "\n";
    }
    results.add(lines);
    for (const auto& buffer : attributesOf(mesh)) {
        results.add(std::span<const std::byte>(bytesOf(*buffer)));
    }
}

} // namespace

/// \param type a component type, as glTF numbers it
VEXA_CALL bool vexaAddAttribute(const char* name, std::uint32_t type, std::uint32_t components, const void* elements,
                                std::size_t count) {
    return guarded([&](Results&) {
        auto buffer = AttributeBuffer::createDefault(static_cast<ComponentType>(type), components, name);
        buffer->resize(count);
        if (const auto bytes = bytesOf(*buffer); !bytes.empty()) {
            std::memcpy(bytes.data(), elements, bytes.size());
        }
        attributes().push_back(std::move(buffer));
    });
}

/// Ends the description of a mesh, whose attributes have been added.
VEXA_CALL bool vexaAddMesh(const unsigned int* triangles, std::size_t count) {
    return guarded([&](Results&) {
        auto indices = IndexBuffer::createDefault(UNSIGNED_INT);
        assign(*indices, std::span(triangles, count));
        inputs().push_back(makeMesh(TRIANGLES, std::move(indices), std::exchange(attributes(), {})));
    });
}

/// Forgets all meshes, after a failure between them.
VEXA_CALL void vexaForgetMeshes() {
    inputs().clear();
    attributes().clear();
}

/// Results: a mesh, and for each vertex of the input its number in it.
///
/// \param tolerance negative for none
/// \param names     attributes to compare, a line for each
VEXA_CALL bool vexaWeld(double tolerance, const char* names) {
    return guarded([&](Results& results) {
        const std::vector<MeshPtr> meshes = std::exchange(inputs(), {});
        const WeldResult result =
            weld(*meshes.at(0), {.tolerance = tolerance < 0 ? std::nullopt : std::optional(tolerance),
                                 .compare = wordsOf(names),
                                 .indexWidth = IndexWidth::Bits32});
        results.add(result.remap);
        add(results, *result.mesh);
    });
}

/// Results: a mesh.
///
/// \param placements sixteen numbers for each mesh, column by column
VEXA_CALL bool vexaMerge(const float* placements, bool fillMissing) {
    return guarded([&](Results& results) {
        std::vector<MeshInstance> instances;
        const float* number = placements;
        for (MeshPtr& mesh : std::exchange(inputs(), {})) {
            MeshInstance instance{std::move(mesh)};
            for (int i = 0; i < 16; ++i) {
                instance.placement[i / 4][i % 4] = *number++;
            }
            instances.push_back(std::move(instance));
        }
        MergeOptions options{.indexWidth = IndexWidth::Bits32};
        options.missing = fillMissing ? MissingAttribute::FillWithZeros : MissingAttribute::Throw;
        add(results, *mergeMeshes(instances, options));
    });
}

} // namespace vexa::wasm
