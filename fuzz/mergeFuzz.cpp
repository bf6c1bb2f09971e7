// Merges generated models with placements: the file holds what was merged, bit for bit.

#include "Failure.h"
#include "Model.h"
#include "base/Errors.h"
#include "ops/Merging.h"

#include <glm/gtc/matrix_transform.hpp>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Numbers numbers(data, size);
    vexa::tool::Merger merger;
    const unsigned int count = 1 + numbers.below(3);
    for (unsigned int i = 0; i < count; ++i) {
        const auto number = [&] { return (static_cast<double>(numbers.below(9)) - 4) / 2; };
        glm::dmat4 placement = glm::translate(glm::dmat4(1), glm::dvec3(number(), number(), number()));
        placement = glm::scale(placement, glm::dvec3(number(), number(), number()));
        try {
            merger.add(fuzz::takeDocument(numbers), placement);
        } catch (const vexa::tool::FileError&) {
            return 0; // a placement that flattens
        }
    }
    if (merger.groups().empty()) {
        return 0;
    }
    try {
        fuzz::failUnlessEmpty(merger.findFault(merger.finish()));
    } catch (const vexa::tool::CheckError&) {
        return 0;
    }
    return 0;
}
