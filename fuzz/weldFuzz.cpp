// Joins equal vertices of generated models: every corner that is drawn stays where it was. With a tolerance, only the
// number of primitives is fixed, and the indices stay in range.

#include "Failure.h"
#include "Model.h"
#include "base/Errors.h"
#include "io/gltf/PrimitiveRestart.h"
#include "ops/Weld.h"

#include <optional>

namespace {

/// The positions of all corners, in order.
std::vector<vexa::tool::Bytes> corners(const vexa::tool::Document& document) {
    std::vector<vexa::tool::Bytes> all;
    for (const auto& mesh : document.meshes) {
        for (const auto& primitive : mesh.primitives) {
            const auto positions =
                vexa::tool::readAccessor(document.asset, primitive.findAttribute("POSITION")->accessor);
            const std::size_t stride = positions.bytes.size() / positions.count;
            vexa::tool::Bytes bytes;
            for (const unsigned int index : primitive.indices) {
                if (index >= primitive.vertices && index != vexa::tool::decodedRestart) {
                    fuzz::failUnlessEmpty("an index is out of range");
                }
                const auto begin = positions.bytes.begin() + static_cast<std::ptrdiff_t>(index * stride);
                bytes.insert(bytes.end(), begin, begin + static_cast<std::ptrdiff_t>(stride));
            }
            all.push_back(bytes);
        }
    }
    return all;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Numbers numbers(data, size);
    const unsigned int tolerance = numbers.below(4);
    vexa::tool::Document document = fuzz::takeDocument(numbers);
    const auto before = corners(document);
    vexa::tool::weldVertices(document, tolerance == 0 ? std::nullopt : std::optional(0.3 * (tolerance - 1)));
    const auto after = corners(document);
    if (before.size() != after.size()) {
        fuzz::failUnlessEmpty("a primitive is missing");
    }
    if (tolerance == 0 && before != after) {
        fuzz::failUnlessEmpty("a corner has moved");
    }
    return 0;
}
