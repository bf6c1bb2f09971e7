#include "ops/Unstripping.h"

#include "base/Errors.h"
#include "io/gltf/IndexEdit.h"
#include "ops/MeshConversion.h"
#include "ops/UneditedContent.h"

#include <vexa/mesh/Strips.h>

namespace vexa::tool {

namespace {

/// Of strips and fans that hold a triangle: glTF does not allow the empty primitive that the others would become.
std::vector<IndexEdit> triangleEdits(const Document& document, std::vector<UnstripStats>& meshes) {
    std::vector<IndexEdit> edits;
    for (std::size_t m = 0; m < document.meshes.size(); ++m) {
        UnstripStats stats;
        stats.name = document.meshes[m].name;
        for (std::size_t p = 0; p < document.meshes[m].primitives.size(); ++p) {
            const Primitive& primitive = document.meshes[m].primitives[p];
            if (primitive.type != mesh::TRIANGLE_STRIP && primitive.type != mesh::TRIANGLE_FAN) {
                continue;
            }
            std::vector<unsigned int> triangles = mesh::toTriangles(primitive.type, primitive.indices);
            if (triangles.empty()) {
                continue;
            }
            ++stats.primitives;
            stats.triangles += triangles.size() / 3;
            stats.indicesBefore += primitive.indices.size();
            edits.push_back({m, p, {{mesh::TRIANGLES, std::move(triangles)}}});
        }
        meshes.push_back(std::move(stats));
    }
    return edits;
}

std::string findTriangleFault(const Document& output, const std::vector<IndexEdit>& edits) {
    for (const IndexEdit& edit : edits) {
        const Primitive& primitive = output.meshes.at(edit.mesh).primitives.at(edit.primitive);
        if (primitive.type != mesh::TRIANGLES || primitive.indices != edit.replacements.front().indices) {
            return primitiveName(output.meshes[edit.mesh], edit.primitive) +
                   " would not have the triangles of the input";
        }
    }
    return "";
}

} // namespace

UnstrippedFile unstripDocument(Document document, bool isText) {
    UnstrippedFile result;
    std::vector<IndexEdit> edits = triangleEdits(document, result.meshes);
    std::vector<EditedPrimitive> edited;
    edited.reserve(edits.size());
    for (const IndexEdit& edit : edits) {
        edited.push_back({edit.mesh, edit.primitive, 1});
    }
    Json content = uneditedContent(document, edited);
    try {
        replaceIndices(document.asset, edits);
        result.file = isText ? writeGltf(document.asset.json, document.asset.buffers)
                             : writeGlb(document.asset.json, document.asset.buffers);
    } catch (const FormatError& error) {
        throw FileError(document.file.string(), error.what());
    }
    const char* name = isText ? "output.gltf" : "output.glb";
    result.findFault = [=, edits = std::move(edits), edited = std::move(edited),
                        content = std::move(content)](const Bytes& file) {
        const Document output = loadDocument(file, name);
        const std::string fault = findTriangleFault(output, edits);
        const bool isSame = !fault.empty() || isSameContent(uneditedContent(output, edited), content);
        return isSame ? fault : contentFault;
    };
    return result;
}

} // namespace vexa::tool
