#include "support/Meshes.h"

#include <stdexcept>

namespace meshes {

namespace {

std::vector<NamedMesh> plainMeshes() {
    return {
        {"empty", {}},
        {"single triangle", singleTriangle()},
        {"two triangles", twoTriangles()},
        {"strip of 3", strip(3)},
        {"strip of 4", strip(4)},
        {"strip of 17", strip(17)},
        {"open fan of 2", openFan(2)},
        {"open fan of 9", openFan(9)},
        {"closed fan of 2", closedFan(2)},
        {"closed fan of 3", closedFan(3)},
        {"closed fan of 5", closedFan(5)},
        {"closed fan of 6", closedFan(6)},
        {"closed fan of 40", closedFan(40)},
        {"tetrahedron", tetrahedron()},
        {"octahedron", octahedron()},
        {"icosahedron", icosahedron()},
        {"grid 1x1", grid(1, 1)},
        {"grid 1x8", grid(1, 8)},
        {"grid 3x3", grid(3, 3)},
        {"grid 9x7", grid(9, 7)},
        {"cylinder 5x3", cylinder(5, 3)},
        {"torus 3x3", torus(3, 3)},
        {"torus 8x5", torus(8, 5)},
        {"sphere 6x4", sphere(6, 4)},
        {"sphere 12x9", sphere(12, 9)},
        {"open sphere 10x8", openSphere(10, 8)},
        {"chain of 6", chain(6)},
        {"scattered 7", scattered(7)},
        {"pairs 9", pairs(9)},
        {"hub of 30", hub(30)},
        {"unused vertices", shifted(grid(3, 2), 50)},
        {"several parts", joined(grid(3, 3), joined(shifted(tetrahedron(), 20), shifted(closedFan(7), 30)))},
    };
}

std::vector<NamedMesh> knottedMeshes() {
    return {
        {"pinched vertex 3+4", pinchedVertex(3, 4)},
        {"pinched vertex 6+6", pinchedVertex(6, 6)},
        {"pinched vertex 5+2", pinchedVertex(5, 2)},
        {"doubled, same winding", doubledSameWinding()},
        {"doubled, opposite winding", doubledOppositeWinding()},
        {"four on an edge", fourOnAnEdge()},
        {"book of 3", book(3)},
        {"book of 11", book(11)},
        {"shuffled book of 24", shuffled(flipped(book(24), 50, 11), 12)},
        {"moebius of 3", moebius(3)},
        {"moebius of 4", moebius(4)},
        {"moebius of 21", moebius(21)},
        {"torus 2x2", torus(2, 2)},
        {"torus 1x4", torus(1, 4)},
        {"torus 2x9", torus(2, 9)},
        {"one triangle six times",
         joined(joined(doubledOppositeWinding(), doubledSameWinding()), doubledOppositeWinding())},
        {"two octahedra in one", joined(octahedron(), flipped(octahedron(), 100, 13))},
        {"octahedra sharing a triangle", joined(octahedron(), relabelled(octahedron(), 14))},
        {"all collapsed", collapsed(grid(3, 3), 100, 15)},
        {"one point", Indices(12, 0)},
        {"two points", {0, 0, 1, 1, 0, 0, 1, 1, 1, 0, 1, 0}},
        {"strip doubled in opposite winding", joined(strip(8), flipped(strip(8), 100, 16))},
        {"grid doubled in opposite winding", joined(grid(4, 4), flipped(grid(4, 4), 100, 17))},
        {"grid doubled in same winding", joined(grid(4, 4), grid(4, 4))},
        {"closed fan with a flipped triangle", flipped(closedFan(8), 15, 18)},
    };
}

std::vector<NamedMesh> soups() {
    std::vector<NamedMesh> list;
    std::uint32_t seed = 100;
    const auto add = [&](unsigned int triangleCount, unsigned int vertexCount) {
        list.push_back({"soup " + std::to_string(seed) + ": " + std::to_string(triangleCount) + " over " +
                            std::to_string(vertexCount),
                        soup(vertexCount, triangleCount, seed)});
        ++seed;
    };
    for (unsigned int round = 0; round < 3; ++round) {
        for (unsigned int vertexCount : {4U, 5U, 6U, 8U, 12U, 30U}) {
            for (unsigned int triangleCount : {5U, 12U, 40U}) {
                add(triangleCount, vertexCount);
            }
        }
    }
    add(300, 60);
    add(300, 900);
    add(900, 100);
    return list;
}

std::vector<NamedMesh> variants() {
    const std::vector<NamedMesh> bases = {
        {"grid 12x9", grid(12, 9)},     {"torus 9x8", torus(9, 8)},     {"sphere 13x7", sphere(13, 7)},
        {"moebius of 60", moebius(60)}, {"icosahedron", icosahedron()}, {"pinched vertex 9+7", pinchedVertex(9, 7)},
    };
    std::vector<NamedMesh> list;
    std::uint32_t seed = 200;
    for (const NamedMesh& base : bases) {
        list.push_back({"shuffled " + base.name, shuffled(base.indices, seed)});
        list.push_back({"turned " + base.name, turned(base.indices, seed + 1)});
        list.push_back({"relabelled " + base.name, relabelled(base.indices, seed + 2)});
        list.push_back({"flipped " + base.name, flipped(base.indices, 20, seed + 3)});
        list.push_back({"collapsed " + base.name, collapsed(base.indices, 10, seed + 4)});
        list.push_back({"doubled " + base.name, doubled(base.indices, 25, seed + 5)});
        list.push_back({"holed " + base.name, holed(base.indices, 15, seed + 6)});
        list.push_back({"damaged " + base.name, damaged(base.indices, seed + 7)});
        seed += 20;
    }
    return list;
}

std::vector<NamedMesh> largeMeshes() {
    return {
        {"damaged grid 30x20", damaged(grid(30, 20), 500)},
        {"shuffled torus 25x20", shuffled(turned(torus(25, 20), 510), 511)},
        {"sphere 50x31", sphere(50, 31)},
    };
}

} // namespace

std::vector<Family> families() {
    return {{"Plain", plainMeshes()},
            {"Knotted", knottedMeshes()},
            {"Soups", soups()},
            {"Variants", variants()},
            {"Large", largeMeshes()}};
}

std::vector<NamedMesh> family(const std::string& name) {
    for (Family& candidate : families()) {
        if (candidate.name == name) {
            return candidate.meshes;
        }
    }
    throw std::out_of_range("no family of meshes is named " + name);
}

std::vector<NamedMesh> suite() {
    std::vector<NamedMesh> all;
    for (const Family& each : families()) {
        all.insert(all.end(), each.meshes.begin(), each.meshes.end());
    }
    return all;
}

} // namespace meshes
