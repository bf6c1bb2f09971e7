#include "ops/Packing.h"

#include "base/Errors.h"
#include "ops/MeshConversion.h"

#include <algorithm>

namespace vexa::tool {

namespace {

/// Calls `visit(values, name)` with the normals of each primitive that has some.
template <typename Visit>
void forEachNormals(const Document& document, const Visit& visit) {
    for (const Mesh& mesh : document.meshes) {
        for (std::size_t p = 0; p < mesh.primitives.size(); ++p) {
            if (const auto values = readNormals(document, mesh, p)) {
                visit(*values, primitiveName(mesh, p));
            }
        }
    }
}

/// Decodes the bytes, and compares the angles to the normals of the document with those that were reported.
std::string findPackingFault(const Document& document, const Bytes& file, const std::vector<AngleStats>& expected) {
    std::size_t begin = 0;
    std::size_t next = 0;
    bool isSame = true;
    forEachNormals(document, [&](const AccessorData& values, const std::string&) {
        const std::size_t end = std::min(file.size(), begin + 2 * values.count);
        isSame = isSame && end - begin == 2 * values.count &&
                 measurePackedNormals(values, file.data() + begin).isSame(expected[next++]);
        begin = end;
    });
    return isSame && begin == file.size() ? "" : "its bytes would not decode to the normals that were packed";
}

} // namespace

std::optional<AccessorData> readNormals(const Document& document, const Mesh& mesh, std::size_t primitive) {
    const Attribute* normal = mesh.primitives[primitive].findAttribute("NORMAL");
    if (normal == nullptr) {
        return std::nullopt;
    }
    AccessorData values = readAccessor(document.asset, normal->accessor);
    if (values.components != 3) {
        throw FileError(document.file.string(), primitiveName(mesh, primitive) + " has normals that are not VEC3");
    }
    return values;
}

PackedFile packDocument(const Document& document) {
    PackedFile result;
    result.total.name = "total";
    forEachNormals(document, [&](const AccessorData& values, const std::string& name) {
        const Bytes packed = packNormals(values);
        AngleStats stats = measurePackedNormals(values, packed.data());
        stats.name = name;
        result.file.insert(result.file.end(), packed.begin(), packed.end());
        result.total.add(stats);
        result.primitives.push_back(std::move(stats));
    });
    if (result.primitives.empty()) {
        throw FileError(document.file.string(), "has no normals");
    }
    result.findFault = [&document, expected = result.primitives](const Bytes& file) {
        return findPackingFault(document, file, expected);
    };
    return result;
}

} // namespace vexa::tool
