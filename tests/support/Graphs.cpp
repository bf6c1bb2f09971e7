#include "support/Graphs.h"

#include <algorithm>
#include <sstream>
#include <unordered_map>

namespace graphs {

namespace {

using Chunk = HalfEdgeGraph::TrianglePool::Chunk;

/// The chunks of a pool, the oldest first.
std::vector<const Chunk*> chunksByAge(const HalfEdgeGraph& graph) {
    std::vector<const Chunk*> chunks;
    for (const Chunk* chunk = graph.pool.chunks; chunk != nullptr; chunk = chunk->next) {
        chunks.push_back(chunk);
    }
    std::reverse(chunks.begin(), chunks.end());
    return chunks;
}

/// Names of the triangles and half-edges of a graph by their addresses.
class Names {
public:
    explicit Names(const HalfEdgeGraph& graph) {
        const std::vector<Triangle*> all = triangles(graph);
        for (std::size_t i = 0; i < all.size(); ++i) {
            names_[all[i]] = std::to_string(i);
            for (std::size_t place = 0; place < 3; ++place) {
                names_[&all[i]->halfEdge[place]] = std::to_string(i) + "." + std::to_string(place);
            }
        }
    }

    std::string operator()(const void* address) const {
        if (address == nullptr) {
            return "-";
        }
        const auto found = names_.find(address);
        return found != names_.end() ? found->second : "?";
    }

    std::string operator()(const TriangleList& list) const {
        std::ostringstream text;
        const Triangle* previous = nullptr;
        for (const Triangle* triangle = list.first; triangle != nullptr; triangle = triangle->next) {
            const std::string name = (*this)(triangle);
            text << (previous == nullptr ? "" : " ") << name;
            if (name == "?") {
                return text.str();
            }
            if (triangle->prev != previous) {
                text << " (prev " << (*this)(triangle->prev) << ")";
            }
            previous = triangle;
        }
        if (list.last != previous) {
            text << " (last " << (*this)(list.last) << ")";
        }
        return text.str();
    }

    std::string operator()(const Primitives& primitives) const {
        std::ostringstream text;
        for (const auto& [first, list] : primitives) {
            text << (text.tellp() == 0 ? "(" : " (") << first << ": " << (*this)(*list) << ")";
        }
        return text.str();
    }

private:
    std::unordered_map<const void*, std::string> names_;
};

} // namespace

FilledGraph::FilledGraph(const meshes::Indices& mesh) {
    addTriangles(mesh.data(), mesh.size());
}

std::vector<Triangle*> triangles(const HalfEdgeGraph& graph) {
    std::vector<Triangle*> all;
    for (const Chunk* chunk : chunksByAge(graph)) {
        const unsigned long count = chunk == graph.pool.chunks ? graph.pool.used : chunk->capacity;
        for (unsigned long i = 0; i < count; ++i) {
            all.push_back(&chunk->triangles[i]);
        }
    }
    return all;
}

std::vector<int> states(const HalfEdgeGraph& graph) {
    std::vector<int> states;
    for (const Triangle* triangle : triangles(graph)) {
        states.push_back(triangle->state);
    }
    return states;
}

std::string numbers(const HalfEdgeGraph& graph, const TriangleList& list) {
    return Names(graph)(list);
}

std::string numbers(const HalfEdgeGraph& graph, const Primitives& primitives) {
    return Names(graph)(primitives);
}

std::string describe(const HalfEdgeGraph& graph) {
    const Names name(graph);
    std::ostringstream text;
    text << "chunk size " << graph.pool.chunkSize << ", used " << graph.pool.used << ", chunks";
    for (const Chunk* chunk : chunksByAge(graph)) {
        text << " " << chunk->capacity;
    }
    for (const Triangle* triangle : triangles(graph)) {
        text << "\n" << name(triangle) << ": state " << triangle->state;
        text << ", next " << name(triangle->next) << ", prev " << name(triangle->prev);
        for (const HalfEdge& halfEdge : triangle->halfEdge) {
            text << ", " << halfEdge.vertex << " of " << name(halfEdge.triangle);
            text << " twin " << name(halfEdge.twin) << " next " << name(halfEdge.next);
        }
    }
    for (std::size_t vertex = 0; vertex < graph.vertexHalfEdges.size(); ++vertex) {
        text << "\nvertex " << vertex << ":";
        for (const auto& [end, halfEdge] : graph.vertexHalfEdges[vertex]) {
            text << " " << end << " by " << name(halfEdge);
        }
    }
    text << "\nfree " << name(graph.freeTriangles) << "\nclaimed " << name(graph.claimedTriangles);
    text << "\nstrips " << name(graph.strips) << "\nfans " << name(graph.fans);
    text << "\nlists " << name(graph.triangleLists) << "\n";
    return text.str();
}

void move(Triangle& triangle, TriangleList& from, TriangleList& to) {
    (triangle.prev != nullptr ? triangle.prev->next : from.first) = triangle.next;
    (triangle.next != nullptr ? triangle.next->prev : from.last) = triangle.prev;
    triangle.next = nullptr;
    triangle.prev = to.last;
    (to.last != nullptr ? to.last->next : to.first) = &triangle;
    to.last = &triangle;
}

void link(HalfEdge& a, HalfEdge& b) {
    a.twin = &b;
    b.twin = &a;
}

std::vector<std::string> takePrimitives(HalfEdgeGraph& graph) {
    std::vector<std::string> primitives;
    meshes::Indices indices;
    while (const int type = graph.getPrimitive(indices, 0)) {
        primitives.push_back(std::to_string(type) + ": " + text(indices));
    }
    return primitives;
}

std::string text(const meshes::Indices& indices) {
    std::ostringstream text;
    for (std::size_t i = 0; i < indices.size(); ++i) {
        text << (i == 0 ? "" : " ") << indices[i];
    }
    return text.str();
}

} // namespace graphs
