// Compares the indices and transformed vertices of a mesh before and after stripping.
// usage: compareCaches MODEL.obj

#include "ObjFile.h"

#include <vexa/mesh.h>

#include <cstdint>
#include <exception>
#include <iomanip>
#include <iostream>

using namespace vexa::mesh;

namespace {

void compare(const Mesh& mesh) {
    const auto triangles = toTriangles(mesh);
    const auto strip = buildStripBuffer(triangles, {.effort = 3, .forVertexCache = true});
    std::cout << std::fixed << std::setprecision(3);
    for (const std::uint32_t cacheSize : {16U, 32U}) {
        const IndexStats before = computeStats(mesh, {.cacheSize = cacheSize});
        const IndexStats after = computeStats(TRIANGLE_STRIP, strip, {.cacheSize = cacheSize});
        std::cout << "cache of " << cacheSize << ": ACMR " << before.acmr() << " -> " << after.acmr() << ", ATVR "
                  << before.atvr() << " -> " << after.atvr() << ", indices " << before.indexCount << " -> "
                  << after.indexCount << '\n';
    }
    const auto shortest = buildStripBuffer(triangles, {.effort = 3});
    std::cout << "the fewest indices found are " << shortest.size() << ", and no strips have fewer than "
              << minIndexCount(triangles, StripJoin::Restart) << '\n';
}

} // namespace

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::cerr << "usage: compareCaches MODEL.obj\n";
        return 2;
    }
    const ObjFile file(argv[1]);
    compare(*makeMesh(TRIANGLES, file.triangles, {makeAttribute("position", file.positions)}));
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
