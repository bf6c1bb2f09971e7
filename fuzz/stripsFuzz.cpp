// Runs buildPrimitives, compares with the plain reference, then joins the strips and decodes them again.

#include "Failure.h"
#include "Input.h"
#include "reference/ReferenceDecode.h"
#include "support/GraphComparison.h"

#include <vexa/mesh/Strips.h>

namespace {

using vexa::mesh::IndexedPrimitive;
using vexa::mesh::StripJoin;

std::string differenceInPrimitives(const std::vector<IndexedPrimitive>& primitives, const fuzz::CutInput& input) {
    reference::Graph expected(reference::EdgeRule::Pair);
    expected.addTriangles(input.mesh);
    expected.calcOptPrim(input.parameters);
    const std::vector<reference::Primitive> all = expected.takePrimitives();
    if (all.size() != primitives.size()) {
        return "the number of primitives differs";
    }
    for (std::size_t i = 0; i < all.size(); ++i) {
        if (primitives[i].type != all[i].type) {
            return "the type of primitive " + std::to_string(i) + " differs";
        }
        if (std::string text = vexa::test::differenceInIndices("primitive", primitives[i].indices, all[i].indices);
            !text.empty()) {
            return text;
        }
    }
    return {};
}

void checkJoined(const std::vector<IndexedPrimitive>& strips, const meshes::Indices& triangles, StripJoin join) {
    const auto joined = vexa::mesh::joinStrips(strips, join);
    const auto back = vexa::mesh::toTriangles(vexa::mesh::TRIANGLE_STRIP, joined);
    if (reference::canonical(back) != reference::canonical(triangles) || !vexa::mesh::sameTriangles(back, triangles)) {
        fuzz::failUnlessEmpty("joined strips hold different triangles");
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::CutInput input(data, size);
    const reference::Parameters& p = input.parameters;
    const auto primitives = vexa::mesh::buildPrimitives(
        input.mesh, {p.iterations, p.buildStrips, p.buildFans, p.minFanTriangles, p.allStrips});
    fuzz::failUnlessEmpty(differenceInPrimitives(primitives, input));

    const auto strips = vexa::mesh::buildPrimitives(input.mesh, {.allStrips = true});
    const meshes::Indices triangles = reference::withoutCollapsed(input.mesh);
    checkJoined(strips, triangles, StripJoin::Degenerate);
    checkJoined(strips, triangles, StripJoin::Restart);
    return 0;
}
