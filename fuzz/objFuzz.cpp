// Reads bytes as an OBJ file: either a document comes out whose indices are in range, or an error that says why.

#include "ImportedAsset.h"
#include "io/import/ObjReader.h"

#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::checkImport([&] { return vexa::tool::readObj(vexa::tool::Bytes(data, data + size), "fuzzed.obj"); });
    return 0;
}
