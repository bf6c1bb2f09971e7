// Packs the normals of generated models, which may be zero: the file holds the packed normals.

#include "Failure.h"
#include "Model.h"
#include "base/Errors.h"
#include "ops/Packing.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Numbers numbers(data, size);
    const vexa::tool::Document document = fuzz::takeDocument(numbers);
    try {
        const vexa::tool::PackedFile packed = vexa::tool::packDocument(document);
        fuzz::failUnlessEmpty(packed.findFault(packed.file));
    } catch (const vexa::tool::FileError&) {
        return 0; // without normals
    }
    return 0;
}
