#include "io/gltf/IndexEdit.h"

#include "base/Errors.h"
#include "io/AssetBuilder.h"
#include "io/gltf/GltfCheck.h"
#include "io/gltf/GltfExtensions.h"
#include "io/gltf/PrimitiveRestart.h"
#include "io/gltf/UnusedData.h"

#include <algorithm>
#include <map>
#include <optional>
#include <set>

namespace vexa::tool {

namespace {

/// The references to the accessors and buffer views of a document.
struct References {
    std::vector<std::size_t> indexUses;  ///< per accessor: primitives that take their indices from it
    std::vector<bool> otherAccessorUses; ///< per accessor: whether anything else refers to it
    std::vector<bool> otherViewUses;     ///< per buffer view: whether anything but an accessor's elements refers to it
};

References collectReferences(Json& json, const ExtensionReferences& extensions) {
    const Json& accessors = arrayMember(json, "accessors", "");
    const std::size_t views = arrayMember(json, "bufferViews", "").size();
    References references{std::vector<std::size_t>(accessors.size()), std::vector<bool>(accessors.size()),
                          std::vector<bool>(views)};
    std::vector<std::size_t> uses(accessors.size());
    forEachAccessorReference(json, [&](const Json& accessor) { ++uses[accessor.get<std::size_t>()]; });
    for (const Json& mesh : arrayMember(json, "meshes", "")) {
        for (const Json& primitive : mesh["primitives"]) {
            if (primitive.contains("indices")) {
                ++references.indexUses[primitive["indices"].get<std::size_t>()];
            }
        }
    }
    for (std::size_t i = 0; i < accessors.size(); ++i) {
        references.otherAccessorUses[i] =
            uses[i] > references.indexUses[i] || extensions.accessors.contains(i) || extensions.anything.contains(i);
        if (accessors[i].contains("sparse")) {
            for (const char* part : {"indices", "values"}) {
                references.otherViewUses[accessors[i]["sparse"][part]["bufferView"].get<std::size_t>()] = true;
            }
        }
    }
    for (const Json& image : arrayMember(json, "images", "")) {
        if (image.contains("bufferView")) {
            references.otherViewUses[image["bufferView"].get<std::size_t>()] = true;
        }
    }
    for (const std::uint64_t number : extensions.anything) {
        if (number < views) {
            references.otherViewUses[number] = true;
        }
    }
    return references;
}

class IndexEditor {
public:
    IndexEditor(Asset& asset, const std::vector<IndexEdit>& edits)
        : json_(asset.json), buffers_(asset.buffers), model_(asset.model), edits_(edits), used_(json_),
          oldGroups_(removeOldGroups()), extensions_(collectExtensionReferences(json_)),
          references_(collectReferences(json_, extensions_)) {
        if (!extensions_.bufferUsers.empty()) {
            throw FormatError("the extension " + *extensions_.bufferUsers.begin() +
                              " refers to a buffer, whose bytes would move");
        }
    }

    std::vector<EditedIndices> run() {
        findReplacedAccessors();
        findRebuildableViews();
        for (const IndexEdit& edit : edits_) {
            placeEdit(edit);
        }
        rebuildViews();
        rewritePrimitives();
        addGroups();
        reuseDropped();
        listRestartExtensions(json_, [this](std::size_t accessor) { return holdsRestarts(accessor); });
        removeUnused();
        return results_;
    }

private:
    /// New indices, and the accessor that holds them.
    struct Placed {
        const std::vector<unsigned int>* indices;
        std::size_t accessor;
        std::optional<std::size_t> group; ///< an accessor of this and what follows
        bool restartFollows = false;
    };

    /// The strips of an edit that become a group.
    struct Group {
        std::size_t first = 0;
        std::size_t count = 0; ///< 0: no group
        std::size_t indices = 0;
        mesh::ComponentType type = mesh::UNSIGNED_BYTE;
    };

    Json& primitiveOf(const IndexEdit& edit, std::size_t offset = 0) {
        return json_["meshes"][edit.mesh]["primitives"][edit.primitive + offset];
    }

    std::set<std::size_t> removeOldGroups() {
        std::set<std::size_t> accessors;
        for (const IndexEdit& edit : edits_) {
            for (const std::size_t accessor : removeRestartGroups(json_["meshes"][edit.mesh])) {
                accessors.insert(accessor);
            }
        }
        return accessors;
    }

    /// Whether an accessor held the indices of a group that is gone, and is of no other use.
    bool isOldGroup(std::size_t accessor) const {
        return oldGroups_.contains(accessor) && references_.indexUses[accessor] == 0 &&
               !references_.otherAccessorUses[accessor];
    }

    /// Whether nobody needs an accessor's indices any longer, nor has another taken its place.
    bool isDropped(std::size_t accessor) const {
        return isOldGroup(accessor) || (replaced_.contains(accessor) && !reused_.contains(accessor));
    }

    /// The indices of an accessor that is dropped are gone: where it has to stay, it shows what another does.
    void reuseDropped() {
        for (std::size_t i = 0; i < references_.indexUses.size(); ++i) {
            if (isDropped(i)) {
                json_["accessors"][i] = json_["accessors"][results_.front().accessors.front()];
            }
        }
    }

    /// An accessor is replaced when everybody who refers to it is edited.
    void findReplacedAccessors() {
        std::map<std::size_t, std::size_t> edited;
        for (const IndexEdit& edit : edits_) {
            for (std::size_t i = 0; i < edit.count; ++i) {
                if (primitiveOf(edit, i).contains("indices")) {
                    ++edited[primitiveOf(edit, i)["indices"].get<std::size_t>()];
                }
            }
        }
        for (const auto& [accessor, uses] : edited) {
            if (!references_.otherAccessorUses[accessor] && uses == references_.indexUses[accessor]) {
                replaced_.insert(accessor);
            }
        }
    }

    /// A buffer view that holds nothing but indices can be rewritten.
    void findRebuildableViews() {
        rebuildable_ = references_.otherViewUses;
        rebuildable_.flip();
        const Json& accessors = arrayMember(json_, "accessors", "");
        for (std::size_t i = 0; i < accessors.size(); ++i) {
            const bool isIndices = references_.indexUses[i] > 0 && !references_.otherAccessorUses[i];
            if (accessors[i].contains("bufferView") && !isIndices && !isOldGroup(i)) {
                rebuildable_[accessors[i]["bufferView"].get<std::size_t>()] = false;
            }
        }
    }

    void placeEdit(const IndexEdit& edit) {
        const Json& primitive = primitiveOf(edit);
        std::optional<std::size_t> old;
        if (primitive.contains("indices")) {
            old = primitive["indices"].get<std::size_t>();
        }
        if (const EditedIndices* shared = findShared(old, edit)) {
            results_.push_back(*shared);
            return;
        }
        // The old accessor changes with the first new indices: what is needed of it is taken before.
        const Json original = old ? json_["accessors"][*old] : Json::object();
        const Group group = groupOf(edit);
        EditedIndices result{0, edit.replacements.size(), {}, {}};
        for (std::size_t r = 0; r < edit.replacements.size(); ++r) {
            const std::vector<unsigned int>& indices = edit.replacements[r].indices;
            const bool isGrouped = r - group.first < group.count;
            Placed& placed = placeIndices(old, original, indices, isGrouped ? group.type : narrowestIndexType(indices));
            result.accessors.push_back(placed.accessor);
            placed.restartFollows = isGrouped && r - group.first + 1 < group.count;
            if (isGrouped && r == group.first) {
                placed.group = result.group = addGroupAccessor(group);
            }
        }
        if (old) {
            shared_[*old].push_back({&edit, result});
        }
        results_.push_back(std::move(result));
    }

    static Group groupOf(const IndexEdit& edit) {
        Group group;
        for (std::size_t r = 0; r < edit.replacements.size() && edit.groupsStrips; ++r) {
            const mesh::IndexedPrimitive& replacement = edit.replacements[r];
            if (replacement.type == mesh::TRIANGLE_STRIP) {
                group.first = group.count == 0 ? r : group.first;
                ++group.count;
                group.indices += replacement.indices.size();
                group.type = std::max(group.type, narrowestIndexType(replacement.indices));
            }
        }
        return group.count < 2 ? Group() : group;
    }

    std::size_t addGroupAccessor(const Group& group) {
        Json& accessors = json_["accessors"];
        accessors.push_back(
            {{"componentType", group.type}, {"count", group.indices + group.count - 1}, {"type", "SCALAR"}});
        return accessors.size() - 1;
    }

    const EditedIndices* findShared(std::optional<std::size_t> old, const IndexEdit& edit) {
        if (!old) {
            return nullptr;
        }
        for (const auto& [other, result] : shared_[*old]) {
            const auto same = [](const mesh::IndexedPrimitive& a, const mesh::IndexedPrimitive& b) {
                return a.type == b.type && a.indices == b.indices;
            };
            if (other->groupsStrips == edit.groupsStrips &&
                std::equal(other->replacements.begin(), other->replacements.end(), edit.replacements.begin(),
                           edit.replacements.end(), same)) {
                return &result;
            }
        }
        return nullptr;
    }

    Placed& placeIndices(std::optional<std::size_t> old, const Json& original, const std::vector<unsigned int>& indices,
                         mesh::ComponentType type) {
        Json accessor = original;
        for (const char* member : {"bufferView", "byteOffset", "normalized", "sparse"}) {
            accessor.erase(member);
        }
        accessor["componentType"] = type;
        accessor["count"] = indices.size();
        accessor["type"] = "SCALAR";
        const bool restarts = std::find(indices.begin(), indices.end(), decodedRestart) != indices.end();
        if (restarts) {
            accessor.erase("min");
            accessor.erase("max");
        } else if (accessor.contains("min") || accessor.contains("max")) {
            const auto [least, largest] = std::minmax_element(indices.begin(), indices.end());
            accessor["min"] = Json::array({*least});
            accessor["max"] = Json::array({*largest});
        }
        Json& accessors = json_["accessors"];
        const bool takesPlace = old && replaced_.contains(*old) && reused_.insert(*old).second;
        const std::size_t index = takesPlace ? *old : accessors.size();
        if (takesPlace) {
            accessors[index] = std::move(accessor);
        } else {
            accessors.push_back(std::move(accessor));
        }

        if (restarts) {
            restarting_.insert(index);
        }

        const auto view = original.find("bufferView");
        const bool inOldView =
            view != original.end() && replaced_.contains(*old) && rebuildable_[view->get<std::size_t>()];
        std::vector<Placed>& content = contents_[inOldView ? view->get<std::size_t>() : newView];
        content.push_back({&indices, index, {}, false});
        return content.back();
    }

    void rebuildViews() {
        for (const auto& [view, placed] : contents_) {
            Bytes content;
            if (view != newView) {
                keepOthers(view, content);
            }
            std::size_t target = view;
            if (view == newView) {
                Json& views = json_["bufferViews"];
                target = views.size();
                views.push_back({{"buffer", 0}, {"byteLength", 0}, {"target", elementArrayBuffer}});
            }
            for (const Placed& entry : placed) {
                const auto type = json_["accessors"][entry.accessor]["componentType"].get<mesh::ComponentType>();
                padTo(content, mesh::getComponentSizeInBytes(type));
                setRange(entry.accessor, target, content.size());
                if (entry.group) {
                    setRange(*entry.group, target, content.size());
                }
                appendIndices(content, *entry.indices, type);
                if (entry.restartFollows) {
                    appendIndices(content, {restartIndexOf(type)}, type);
                }
            }
            Json& entry = json_["bufferViews"][target];
            entry.erase("byteStride");
            entry.erase("byteOffset");
            entry["buffer"] = buffers_.size();
            entry["byteLength"] = content.size();
            json_["buffers"].push_back({{"byteLength", content.size()}});
            buffers_.push_back(std::move(content));
        }
    }

    /// Moves what stays of a buffer view's indices into its new content.
    void keepOthers(std::size_t view, Bytes& content) {
        const Json& source = json_["bufferViews"][view];
        const Bytes& buffer = buffers_.at(source["buffer"].get<std::size_t>());
        const std::size_t start = source.value("byteOffset", std::size_t{0});
        const std::size_t stride = source.value("byteStride", std::size_t{0});
        for (std::size_t i = 0; i < references_.indexUses.size(); ++i) {
            Json& accessor = json_["accessors"][i];
            if (reused_.contains(i) || isDropped(i) || !accessor.contains("bufferView") ||
                accessor["bufferView"] != view) {
                continue;
            }
            const std::size_t size = elementSize(accessor["componentType"].get<std::uint64_t>(), "SCALAR");
            padTo(content, size);
            const std::size_t from = start + accessor.value("byteOffset", std::size_t{0});
            setRange(i, view, content.size());
            for (std::size_t element = 0; element < accessor["count"].get<std::size_t>(); ++element) {
                const auto* data = buffer.data() + from + element * (stride == 0 ? size : stride);
                content.insert(content.end(), data, data + size);
            }
        }
    }

    void setRange(std::size_t accessor, std::size_t view, std::size_t offset) {
        Json& entry = json_["accessors"][accessor];
        entry["bufferView"] = view;
        if (offset != 0) {
            entry["byteOffset"] = offset;
        } else {
            entry.erase("byteOffset");
        }
    }

    void rewritePrimitives() {
        for (std::size_t e = 0; e < edits_.size();) {
            const std::size_t mesh = edits_[e].mesh;
            Json& primitives = json_["meshes"][mesh]["primitives"];
            Json rewritten = Json::array();
            for (std::size_t i = 0; i < primitives.size(); ++i) {
                if (e == edits_.size() || edits_[e].mesh != mesh || edits_[e].primitive != i) {
                    rewritten.push_back(std::move(primitives[i]));
                    continue;
                }
                results_[e].firstPrimitive = rewritten.size();
                for (std::size_t r = 0; r < edits_[e].replacements.size(); ++r) {
                    Json primitive = primitives[i];
                    primitive["indices"] = results_[e].accessors[r];
                    primitive["mode"] = edits_[e].replacements[r].type;
                    rewritten.push_back(std::move(primitive));
                }
                i += edits_[e].count - 1;
                ++e;
            }
            primitives = std::move(rewritten);
        }
    }

    bool holdsRestarts(std::size_t accessor) const {
        const bool isOld = accessor < model_.accessors.size() && !reused_.contains(accessor);
        return isOld ? model_.accessors[accessor].holdsRestarts : restarting_.contains(accessor);
    }

    void addGroups() {
        for (std::size_t e = 0; e < edits_.size(); ++e) {
            if (results_[e].group) {
                const Group group = groupOf(edits_[e]);
                addRestartGroup(json_["meshes"][edits_[e].mesh], results_[e].firstPrimitive + group.first, group.count,
                                *results_[e].group);
            }
        }
    }

    void removeUnused() {
        const std::vector<std::size_t> numbers = used_.removeUnused(json_);
        for (EditedIndices& result : results_) {
            for (std::size_t& accessor : result.accessors) {
                accessor = numbers[accessor];
            }
            if (result.group) {
                result.group = numbers[*result.group];
            }
        }
    }

    static constexpr std::size_t newView = static_cast<std::size_t>(-1);

    Json& json_;
    std::vector<Bytes>& buffers_;
    const AssetModel& model_;
    const std::vector<IndexEdit>& edits_;
    UsedData used_;
    std::set<std::size_t> oldGroups_; ///< accessors of groups whose meshes are edited
    ExtensionReferences extensions_;
    References references_;
    std::set<std::size_t> replaced_;                      ///< accessors that nobody uses any longer
    std::set<std::size_t> reused_;                        ///< those whose place is taken
    std::set<std::size_t> restarting_;                    ///< new ones with restart indices
    std::vector<bool> rebuildable_;                       ///< per buffer view
    std::map<std::size_t, std::vector<Placed>> contents_; ///< per buffer view
    std::map<std::size_t, std::vector<std::pair<const IndexEdit*, EditedIndices>>> shared_;
    std::vector<EditedIndices> results_;
};

} // namespace

std::vector<EditedIndices> replaceIndices(Asset& asset, const std::vector<IndexEdit>& edits) {
    return edits.empty() ? std::vector<EditedIndices>() : IndexEditor(asset, edits).run();
}

} // namespace vexa::tool
