#include "ops/Unstripping.h"

#include "base/Errors.h"
#include "io/gltf/IndexEdit.h"
#include "ops/MeshConversion.h"
#include "ops/UneditedContent.h"

#include <vexa/mesh/Strips.h>

namespace vexa::tool {

namespace {

/// Everything of a primitive but its mode and indices.
Json withoutIndices(Json primitive) {
    primitive.erase("mode");
    primitive.erase("indices");
    return primitive;
}

class Unstripper {
public:
    Unstripper(const Document& document, std::vector<UnstripStats>& meshes) : document_(document), meshes_(meshes) {}

    std::vector<IndexEdit> run() {
        for (std::size_t m = 0; m < document_.meshes.size(); ++m) {
            meshes_.push_back({});
            meshes_.back().name = document_.meshes[m].name;
            const std::size_t count = document_.meshes[m].primitives.size();
            for (std::size_t first = 0; first < count;) {
                const std::size_t last = lastOfList(m, first);
                replace(m, first, last);
                first = last + 1;
            }
        }
        return std::move(edits_);
    }

private:
    [[nodiscard]] mesh::PrimitiveType typeOf(std::size_t m, std::size_t p) const {
        return document_.meshes[m].primitives[p].type;
    }

    [[nodiscard]] bool isStripOrFan(std::size_t m, std::size_t p) const {
        return typeOf(m, p) == mesh::TRIANGLE_STRIP || typeOf(m, p) == mesh::TRIANGLE_FAN;
    }

    /// The last of the primitives that become one list with this one.
    [[nodiscard]] std::size_t lastOfList(std::size_t m, std::size_t p) const {
        const Json& primitives = document_.asset.json["meshes"][m]["primitives"];
        const Json common = withoutIndices(primitives[p]);
        while (isStripOrFan(m, p) && p + 1 < primitives.size() && typeOf(m, p + 1) >= mesh::TRIANGLES &&
               withoutIndices(primitives[p + 1]) == common) {
            ++p;
        }
        return p;
    }

    void replace(std::size_t m, std::size_t first, std::size_t last) {
        if (!isStripOrFan(m, first)) {
            return;
        }
        std::vector<unsigned int> list;
        std::size_t strips = 0;
        std::size_t indices = 0;
        for (std::size_t p = first; p <= last; ++p) {
            const Primitive& primitive = document_.meshes[m].primitives[p];
            const std::vector<unsigned int> triangles = mesh::toTriangles(primitive.type, primitive.indices);
            list.insert(list.end(), triangles.begin(), triangles.end());
            strips += isStripOrFan(m, p) ? 1 : 0;
            indices += primitive.indices.size();
        }
        if (list.empty()) {
            // glTF does not allow the empty primitive that it would become.
            return;
        }
        UnstripStats& stats = meshes_.back();
        stats.primitives += strips;
        stats.triangles += list.size() / 3;
        stats.indicesBefore += indices;
        ++stats.lists;
        edits_.push_back({m, first, {{mesh::TRIANGLES, std::move(list)}}, false, last - first + 1});
    }

    const Document& document_;
    std::vector<UnstripStats>& meshes_;
    std::vector<IndexEdit> edits_;
};

/// \param lists one for each edit
std::string findTriangleFault(const Document& output, const std::vector<IndexEdit>& edits,
                              const std::vector<EditedPrimitive>& lists) {
    for (std::size_t i = 0; i < edits.size(); ++i) {
        const Mesh& mesh = output.meshes.at(lists[i].mesh);
        const Primitive& primitive = mesh.primitives.at(lists[i].first);
        if (primitive.type != mesh::TRIANGLES || primitive.indices != edits[i].replacements.front().indices) {
            return primitiveName(mesh, lists[i].first) + " would not have the triangles of the input";
        }
    }
    return "";
}

} // namespace

UnstrippedFile unstripDocument(Document document) {
    UnstrippedFile result;
    std::vector<IndexEdit> edits = Unstripper(document, result.meshes).run();
    std::vector<EditedPrimitive> strips;
    strips.reserve(edits.size());
    for (const IndexEdit& edit : edits) {
        strips.push_back({edit.mesh, edit.primitive, edit.count});
    }
    Json content = uneditedContent(document, strips);
    std::vector<EditedPrimitive> lists;
    try {
        for (const EditedIndices& place : replaceIndices(document.asset, edits)) {
            lists.push_back({edits[lists.size()].mesh, place.firstPrimitive, 1});
        }
        result.file = writeGlb(document.asset.json, document.asset.buffers);
    } catch (const FormatError& error) {
        throw FileError(document.file.string(), error.what());
    }
    result.findFault = [edits = std::move(edits), lists = std::move(lists),
                        content = std::move(content)](const Bytes& file) {
        const Document output = loadDocument(file, "output.glb");
        const std::string fault = findTriangleFault(output, edits, lists);
        const bool isSame = !fault.empty() || isSameContent(uneditedContent(output, lists), content);
        return isSame ? fault : contentFault;
    };
    return result;
}

} // namespace vexa::tool
