#include <vexa/mesh.h>

#include <iostream>

int main() {
    using namespace vexa::mesh;
    const std::vector<unsigned int> triangles{0, 1, 2, 2, 1, 3, 4, 5, 6};
    HalfEdgeGraph graph;
    graph.addTriangles(triangles.data(), triangles.size());
    std::cout << "indices: " << graph.calcOptPrim(1, true, false, 0, false) << '\n';

    std::vector<unsigned int> indices;
    while (const int type = graph.getPrimitive(indices, 0)) {
        std::cout << getStringForPrimitiveType(static_cast<PrimitiveType>(type)) << ':';
        for (const unsigned int index : indices) {
            std::cout << ' ' << index;
        }
        std::cout << '\n';
    }
    std::cout << "joined: " << joinStrips(buildPrimitives(triangles, {.allStrips = true}), StripJoin::Restart).size()
              << '\n';
}
