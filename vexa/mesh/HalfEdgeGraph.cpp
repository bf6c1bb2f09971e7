#include "vexa/mesh/HalfEdgeGraph.h"

#include "vexa/mesh/detail/TriangleLists.h"

namespace vexa::mesh {

HalfEdgeGraph::TrianglePool::Chunk::~Chunk() {
    delete[] triangles;
    while (next != nullptr) {
        Chunk* const following = next;
        next = following->next;
        following->next = nullptr;
        delete following;
    }
}

HalfEdgeGraph::HalfEdgeGraph() = default;

HalfEdgeGraph::~HalfEdgeGraph() {
    clear();
}

void HalfEdgeGraph::reserve(unsigned int vertexCount, unsigned int chunkSize, unsigned int edgesPerVertex) {
    pool.chunkSize = chunkSize;
    vertexHalfEdges.resize(vertexCount);
    if (edgesPerVertex == 0) {
        return;
    }
    for (auto& list : vertexHalfEdges) {
        list.reserve(edgesPerVertex);
    }
}

void HalfEdgeGraph::clear() {
    vertexHalfEdges.clear();
    delete pool.chunks;
    pool.chunks = nullptr;
    pool.used = 0;
    for (auto* const primitives : {&strips, &fans, &triangleLists}) {
        for (const Primitive& primitive : *primitives) {
            delete primitive.second;
        }
        primitives->clear();
    }
    std::vector<const Triangle*>().swap(upcoming_);
    upcomingBegin_ = 0;
}

} // namespace vexa::mesh
