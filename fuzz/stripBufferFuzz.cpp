// Runs buildStripBuffer at efforts 0 to 2 with both joins and for the vertex cache: every result must hold the triangles
// of the input, and none may be longer than that of a lower effort.

#include "Failure.h"
#include "Input.h"
#include "reference/ReferenceDecode.h"

#include <vexa/mesh/StripBuffer.h>

#include <string>

namespace {

using vexa::mesh::StripJoin;

void checkTriangles(const meshes::Indices& strip, const meshes::Indices& expected) {
    if (reference::canonical(reference::decode(vexa::mesh::TRIANGLE_STRIP, strip)) != expected) {
        fuzz::failUnlessEmpty("the strips hold different triangles");
    }
}

void checkEfforts(const meshes::Indices& mesh, const meshes::Indices& expected, StripJoin join) {
    std::size_t shortest = vexa::mesh::joinStrips(vexa::mesh::buildPrimitives(mesh, {.allStrips = true}), join).size();
    for (unsigned effort = 0; effort <= 2; ++effort) {
        const auto strip = vexa::mesh::buildStripBuffer(mesh, {.effort = effort, .join = join});
        checkTriangles(strip, expected);
        if (strip.size() > shortest) {
            fuzz::failUnlessEmpty("effort " + std::to_string(effort) + " needs more indices than a lower one");
        }
        shortest = strip.size();
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const fuzz::CutInput input(data, size);
    const meshes::Indices expected = reference::canonical(reference::withoutCollapsed(input.mesh));
    checkEfforts(input.mesh, expected, StripJoin::Restart);
    checkEfforts(input.mesh, expected, StripJoin::Degenerate);
    checkTriangles(vexa::mesh::buildStripBuffer(
                       input.mesh, {.maxTriangles = input.parameters.minFanTriangles, .forVertexCache = true}),
                   expected);
    return 0;
}
