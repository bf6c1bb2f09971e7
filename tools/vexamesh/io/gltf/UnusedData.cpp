#include "io/gltf/UnusedData.h"

#include "io/gltf/GltfExtensions.h"

#include <numeric>
#include <utility>

namespace vexa::tool {

namespace {

/// Calls `visit(element)` for each element of an array or an object that need not be there.
template <class Object, class Visit>
void forEachOf(Object& object, const char* key, const Visit& visit) {
    if (const auto member = object.find(key); member != object.end()) {
        for (auto& element : *member) {
            visit(element);
        }
    }
}

template <class Object, class Visit>
void visitMember(Object& object, const char* key, const Visit& visit) {
    if (const auto member = object.find(key); member != object.end()) {
        visit(*member);
    }
}

/// Calls `visit(reference)` for each reference to an accessor outside of extensions.
template <class Document, class Visit>
void visitAccessorReferences(Document& document, const Visit& visit) {
    forEachOf(document, "meshes", [&](auto& mesh) {
        forEachOf(mesh, "primitives", [&](auto& primitive) {
            visitMember(primitive, "indices", visit);
            forEachOf(primitive, "attributes", visit);
            forEachOf(primitive, "targets", [&](auto& target) {
                for (auto& attribute : target) {
                    visit(attribute);
                }
            });
        });
    });
    forEachOf(document, "skins", [&](auto& skin) { visitMember(skin, "inverseBindMatrices", visit); });
    forEachOf(document, "animations", [&](auto& animation) {
        forEachOf(animation, "samplers", [&](auto& sampler) {
            visitMember(sampler, "input", visit);
            visitMember(sampler, "output", visit);
        });
    });
}

template <class Document, class Visit>
void forEachViewReference(Document& document, const Visit& visit) {
    forEachOf(document, "accessors", [&](auto& accessor) {
        visitMember(accessor, "bufferView", visit);
        visitMember(accessor, "sparse", [&](auto& sparse) {
            visitMember(sparse["indices"], "bufferView", visit);
            visitMember(sparse["values"], "bufferView", visit);
        });
    });
    forEachOf(document, "images", [&](auto& image) { visitMember(image, "bufferView", visit); });
}

std::vector<bool> usedAccessors(const Json& document) {
    std::vector<bool> used(arrayMember(document, "accessors", "").size());
    visitAccessorReferences(document, [&](const Json& accessor) { used[accessor.get<std::size_t>()] = true; });
    for (const std::size_t accessor : collectExtensionReferences(document).accessors) {
        if (accessor < used.size()) {
            used[accessor] = true;
        }
    }
    return used;
}

std::vector<bool> usedViews(const Json& document) {
    std::vector<bool> used(arrayMember(document, "bufferViews", "").size());
    forEachViewReference(document, [&](const Json& view) { used[view.get<std::size_t>()] = true; });
    return used;
}

/// Removes the elements of an array that were used before and are not now; those after `before` are new.
///
/// \return per element its new number
std::vector<std::size_t> removeElements(Json& document, const char* array, const std::vector<bool>& before,
                                        const std::vector<bool>& now) {
    std::vector<std::size_t> numbers(now.size());
    Json kept = Json::array();
    for (std::size_t i = 0; i < now.size(); ++i) {
        numbers[i] = kept.size();
        if (now[i] || i >= before.size() || !before[i]) {
            kept.push_back(std::move(document[array][i]));
        }
    }
    if (kept.empty()) {
        document.erase(array);
    } else {
        document[array] = std::move(kept);
    }
    return numbers;
}

} // namespace

UsedData::UsedData(const Json& document) : accessors_(usedAccessors(document)), views_(usedViews(document)) {}

std::vector<std::size_t> UsedData::removeUnused(Json& document) const {
    if (collectExtensionReferences(document).unknown) {
        std::vector<std::size_t> same(arrayMember(document, "accessors", "").size());
        std::iota(same.begin(), same.end(), std::size_t{0});
        return same;
    }
    const auto renumberWith = [](const std::vector<std::size_t>& numbers) {
        return [&numbers](Json& reference) { reference = numbers[reference.get<std::size_t>()]; };
    };
    std::vector<std::size_t> accessors = removeElements(document, "accessors", accessors_, usedAccessors(document));
    visitAccessorReferences(document, renumberWith(accessors));
    renumberExtensionAccessors(document, accessors);
    const std::vector<std::size_t> views = removeElements(document, "bufferViews", views_, usedViews(document));
    forEachViewReference(document, renumberWith(views));
    return accessors;
}

void forEachAccessorReference(Json& document, const std::function<void(Json&)>& visit) {
    visitAccessorReferences(document, visit);
}

} // namespace vexa::tool
