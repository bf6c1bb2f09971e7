#include "ops/Dump.h"

#include "base/Errors.h"
#include "base/Text.h"
#include "ops/MeshConversion.h"

#include <sstream>
#include <vexa/mesh/AttributeBufferDump.h>

namespace vexa::tool {

namespace {

std::size_t countPrimitives(const Document& document) {
    std::size_t count = 0;
    for (const Mesh& mesh : document.meshes) {
        count += mesh.primitives.size();
    }
    return count;
}

std::string dumpOf(const mesh::Mesh& primitive, const std::string& wanted, bool elements) {
    std::ostringstream text;
    for (unsigned long i = 0; i < primitive.getNumAttributeBuffers(); ++i) {
        const auto buffer = primitive.getAttributeBuffer(i);
        if (wanted.empty() || buffer->getAttributeName() == wanted) {
            mesh::detail::printAttributeBuffer(text, buffer, elements);
        }
    }
    return std::move(text).str();
}

} // namespace

void dumpAttributes(const Document& document, const std::string& attribute, bool elements,
                    const std::function<void(const std::string&)>& print) {
    const bool namesPrimitives = countPrimitives(document) > 1;
    const std::string wanted = libraryName(attribute);
    bool isFound = false;
    for (const Mesh& mesh : document.meshes) {
        for (std::size_t p = 0; p < mesh.primitives.size(); ++p) {
            const std::string text = dumpOf(*toMesh(document, mesh.primitives[p]), wanted, elements);
            if (!text.empty()) {
                print(namesPrimitives ? printable(primitiveName(mesh, p)) + ":\n" + text : text);
                isFound = true;
            }
        }
    }
    if (!isFound) {
        throw FileError(document.file.string(), wanted.empty() ? "has no attributes" : "has no attribute " + wanted);
    }
}

} // namespace vexa::tool
