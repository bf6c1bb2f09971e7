// Reads bytes as an OBJ file: either a document comes out, or an error that says why.

#include "Errors.h"
#include "Failure.h"
#include "io/ObjReader.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    try {
        const auto asset = vexa::tool::readObj(vexa::tool::Bytes(data, data + size), "fuzzed.obj");
        if (asset.json.at("meshes").empty()) {
            fuzz::failUnlessEmpty("a document without meshes");
        }
    } catch (const vexa::tool::FormatError&) {
        return 0;
    }
    return 0;
}
