#include "ops/MergeLosses.h"

#include "base/Text.h"
#include "io/gltf/GltfExtensions.h"
#include "io/gltf/PrimitiveRestart.h"
#include "ops/Placement.h"

#include <algorithm>
#include <initializer_list>
#include <set>
#include <string_view>

namespace vexa::tool {

namespace {

/// Looks through the parts of a document that become one mesh.
class LossFinder {
public:
    explicit LossFinder(const Document& document) : json_(document.asset.json) {
        for (const char* part : {"animations", "skins"}) {
            if (!arrayMember(json_, part, "").empty()) {
                note(part);
            }
        }
        note(json_, "the document", {lightsExtension, variantsExtension});
        note(json_["asset"], "the document", {});
        for (const Json& scene : arrayMember(json_, "scenes", "")) {
            note(scene, "scenes", {});
        }
        lookAtMeshes();
        lookAtNodes(document);
    }

    [[nodiscard]] std::vector<std::string> losses() && { return std::move(losses_); }

private:
    void note(const std::string& loss) {
        if (std::find(losses_.begin(), losses_.end(), loss) == losses_.end()) {
            losses_.push_back(loss);
        }
    }

    /// Extras, and extensions other than those that are carried over or that only say how vertices are stored.
    void note(const Json& object, const std::string& of, const std::initializer_list<std::string_view>& known) {
        if (object.contains("extras")) {
            note("extras of " + of);
        }
        for (const auto& [name, content] : objectMember(object, "extensions", of).items()) {
            if (std::find(known.begin(), known.end(), name) == known.end()) {
                note("extension " + name + " of " + of);
            }
        }
    }

    void lookAtMeshes() {
        for (const Json& mesh : arrayMember(json_, "meshes", "")) {
            note(mesh, "meshes", {restartExtension, restartGroupExtension});
            for (const Json& primitive : mesh["primitives"]) {
                note(primitive, "primitives", {variantsExtension});
                if (primitive.contains("targets")) {
                    note("morph targets");
                }
                for (const auto& [name, accessor] : objectMember(primitive, "attributes", "").items()) {
                    if (name.starts_with("JOINTS_") || name.starts_with("WEIGHTS_")) {
                        note("skins");
                    }
                }
            }
        }
    }

    void lookAtNodes(const Document& document) {
        const Json& nodes = arrayMember(json_, "nodes", "");
        std::set<std::size_t> shown;
        for (const PlacedNode& placed : placedNodes(document)) {
            shown.insert(placed.node);
        }
        std::size_t hidden = 0;
        for (std::size_t i = 0; i < nodes.size(); ++i) {
            const Json& node = nodes[i];
            const bool isCopied = node.contains("camera") || findExtension(node, lightsExtension) != nullptr;
            if (!shown.contains(i)) {
                hidden += node.contains("mesh") || isCopied ? 1 : 0;
                continue;
            }
            Json noted = node;
            if (isCopied) {
                noted.erase("extras");
            }
            note(noted, "nodes", {lightsExtension, instancingExtension});
            if (const Json* const instancing = findExtension(node, instancingExtension)) {
                noteInstancing(*instancing);
            }
        }
        if (hidden > 0) {
            note(counted(hidden, "node") + " outside of its scene");
        }
    }

    void noteInstancing(const Json& instancing) {
        for (const auto& [name, accessor] : objectMember(instancing, "attributes", instancingExtension).items()) {
            if (name != "TRANSLATION" && name != "ROTATION" && name != "SCALE") {
                note("attribute " + name + " of instances");
            }
        }
    }

    const Json& json_;
    std::vector<std::string> losses_;
};

} // namespace

std::vector<std::string> mergeLosses(const Document& document) {
    return LossFinder(document).losses();
}

} // namespace vexa::tool
