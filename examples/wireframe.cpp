// Draws a model as a person would: its borders and sharp edges, not the diagonals of flat faces.
// usage: wireframe MODEL.stl

#include "readStl.h"

#include <vexa/mesh.h>

#include <algorithm>
#include <glm/trigonometric.hpp>
#include <iostream>

using namespace vexa::mesh;

namespace {

MeshPtr makeWireframe(const Mesh& mesh) {
    const auto edges = classifyEdges(mesh, {.creaseAngle = glm::radians(30.0F)});
    const auto lines = toLines(edges, EdgeClass::Border | EdgeClass::Crease | EdgeClass::Seam);
    return makeMesh(LINES, lines, {mesh.getAttributeBuffer("position")}); // shares the positions
}

// Every edge of the index list has two triangles.
bool isClosed(std::span<const unsigned int> triangles) {
    return std::ranges::all_of(buildEdges(triangles), [](const Edge& edge) { return edge.triangleCount == 2; });
}

} // namespace

int main(int, char** argv) {
    const MeshPtr mesh = weld(*makeMesh(TRIANGLES, nullptr, {makeAttribute("position", readStl(argv[1]))})).mesh;
    const MeshPtr wireframe = makeWireframe(*mesh);
    std::cout << buildEdges(toTriangles(*mesh)).size() << " edges, " << wireframe->getNumPrimitives()
              << " of them drawn\n"
              << (isClosed(toTriangles(*mesh)) ? "closed\n" : "open\n");
}
