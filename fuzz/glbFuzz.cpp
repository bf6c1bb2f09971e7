// Reads bytes as a binary glTF file: the result is either a document whose indices are in range, or an error.

#include "Failure.h"
#include "base/Errors.h"
#include "io/Document.h"
#include "io/gltf/PrimitiveRestart.h"

#include <algorithm>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const auto document = vexa::tool::loadDocument(vexa::tool::Bytes(data, data + size), "fuzzed.glb");
        for (const auto& mesh : document.meshes) {
            for (const auto& primitive : mesh.primitives) {
                if (std::any_of(primitive.indices.begin(), primitive.indices.end(), [&](unsigned int index) {
                        return index >= primitive.vertices && index != vexa::tool::decodedRestart;
                    })) {
                    fuzz::failUnlessEmpty("an index is out of range");
                }
            }
        }
    } catch (const vexa::tool::FileError&) {
        return 0;
    }
    return 0;
}
