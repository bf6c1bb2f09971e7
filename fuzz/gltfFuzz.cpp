// Reads bytes as the JSON of a glTF file that also has 512 bytes of data: the result is either a document whose
// accessors can be read and whose indices are in range, or an error.

#include "Failure.h"
#include "base/Errors.h"
#include "io/Document.h"
#include "io/gltf/PrimitiveRestart.h"
#include "tool/support/SmallModels.h"

#include <algorithm>
#include <cstdint>
#include <string>

namespace {

std::string data() {
    std::string bytes(512, '\0');
    for (std::size_t i = 0; i < bytes.size(); i += 2) {
        bytes[i] = static_cast<char>(i / 2 % 24);
    }
    return bytes;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* text, std::size_t size) {
    const std::string json(reinterpret_cast<const char*>(text), size);
    const std::string model = tool_test::makeGlb(json, data());
    try {
        const auto document = vexa::tool::loadDocument(vexa::tool::Bytes(model.begin(), model.end()), "fuzzed.glb");
        for (const auto& mesh : document.meshes) {
            for (const auto& primitive : mesh.primitives) {
                if (std::any_of(primitive.indices.begin(), primitive.indices.end(), [&](unsigned int index) {
                        return index >= primitive.vertices && index != vexa::tool::decodedRestart;
                    })) {
                    fuzz::failUnlessEmpty("an index is out of range");
                }
                for (const auto& attribute : primitive.attributes) {
                    vexa::tool::readAccessor(document.asset, attribute.accessor);
                }
            }
        }
    } catch (const vexa::tool::FileError&) {
        return 0;
    } catch (const vexa::tool::FormatError&) {
        return 0; // a sparse index
    }
    return 0;
}
