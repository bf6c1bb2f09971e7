// Turns generated models into strips of every form and back: the triangles are those of the input.

#include "Failure.h"
#include "Model.h"
#include "base/Errors.h"
#include "ops/StripFile.h"
#include "ops/Unstripping.h"

#include <vexa/mesh/Strips.h>

namespace {

using vexa::mesh::PrimitiveType;

/// The sum of the triangles of each mesh.
std::vector<vexa::mesh::TriangleSum> triangles(const vexa::tool::Document& document) {
    std::vector<vexa::mesh::TriangleSum> sums;
    for (const auto& mesh : document.meshes) {
        vexa::mesh::TriangleSum sum;
        for (const auto& primitive : mesh.primitives) {
            if (primitive.type == vexa::mesh::TRIANGLES || primitive.type == vexa::mesh::TRIANGLE_STRIP ||
                primitive.type == vexa::mesh::TRIANGLE_FAN) {
                sum += vexa::mesh::sumTriangles(primitive.type, primitive.indices);
            }
        }
        sums.push_back(sum);
    }
    return sums;
}

vexa::tool::StripSettings takeSettings(fuzz::Numbers& numbers) {
    vexa::tool::StripSettings settings;
    settings.search.effort = numbers.below(3);
    settings.joining = static_cast<vexa::tool::Joining>(numbers.below(4));
    settings.allStrips = numbers.below(2) == 0;
    settings.provesMin = numbers.below(2) == 0;
    settings.search.maxTriangles = numbers.below(3) == 0 ? 1 + numbers.below(9) : 0;
    if (numbers.below(4) == 0) {
        settings.passes = vexa::mesh::StripOptions{.iterations = 1 + numbers.below(3), .buildFans = true};
    }
    return settings;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Numbers numbers(data, size);
    const vexa::tool::StripSettings settings = takeSettings(numbers);
    vexa::tool::Document document = fuzz::takeDocument(numbers);
    const auto expected = triangles(document);
    vexa::tool::StripOutcome outcome = vexa::tool::stripDocument(std::move(document), settings, {});
    fuzz::failUnlessEmpty(vexa::tool::readBackStrips(outcome));
    const vexa::tool::UnstrippedFile lists =
        vexa::tool::unstripDocument(vexa::tool::loadDocument(outcome.file, "strips.glb"));
    fuzz::failUnlessEmpty(lists.findFault(lists.file));
    if (triangles(vexa::tool::loadDocument(lists.file, "lists.glb")) != expected) {
        fuzz::failUnlessEmpty("the triangles are not those of the input");
    }
    return 0;
}
