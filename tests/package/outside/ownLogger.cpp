// The library's records go to the program's own logger, which printingLogger.cpp defines.

#include <vexa/mesh/HalfEdgeGraph.h>

#include <iostream>

int main() {
    vexa::mesh::HalfEdgeGraph graph;
    std::vector<unsigned int> indices;
    const int written = graph.fillIndexFromFan(indices, nullptr);
    std::cout << "written: " << written << '\n';
}
