#include "reference/ReferenceGraph.h"

#include <algorithm>

namespace reference {

Graph::Graph(EdgeRule edgeRule) : rule(edgeRule) {}

std::uint32_t Graph::next(std::uint32_t halfEdge) {
    return halfEdge % 3 == 2 ? halfEdge - 2 : halfEdge + 1;
}

std::uint32_t Graph::triangleOf(std::uint32_t halfEdge) {
    return halfEdge / 3;
}

std::uint32_t Graph::twinTriangle(std::uint32_t halfEdge) const {
    return twin[halfEdge] == none ? none : triangleOf(twin[halfEdge]);
}

std::uint32_t Graph::edgeTowards(std::uint32_t triangle, std::uint32_t neighbour) const {
    for (std::uint32_t h = 3 * triangle; h < 3 * triangle + 3; ++h) {
        if (twin[h] != none && triangleOf(twin[h]) == neighbour) {
            return h;
        }
    }
    return none;
}

std::uint32_t Graph::oppositeCorner(std::uint32_t halfEdge) const {
    return vertex[next(next(halfEdge))];
}

bool Graph::isCollapsed(std::uint32_t triangle) const {
    const std::uint32_t h = 3 * triangle;
    return vertex[h] == vertex[h + 1] || vertex[h + 1] == vertex[h + 2] || vertex[h + 2] == vertex[h];
}

/// The half-edges between two vertices, in the order in which they were added, without those of triangles that are
/// never linked.
Indices Graph::halfEdgesOnEdge(std::uint32_t a, std::uint32_t b) const {
    Indices found;
    for (const auto& [from, to] : {std::pair(a, b), std::pair(b, a)}) {
        for (const auto& [otherEnd, h] : vertexHalfEdges[from]) {
            if (otherEnd == to && !isCollapsed(triangleOf(h)) && state[triangleOf(h)] != splitOffState) {
                found.push_back(h);
            }
        }
    }
    std::sort(found.begin(), found.end());
    return found;
}

bool Graph::touchesFullEdge(std::uint32_t triangle) const {
    for (std::uint32_t h = 3 * triangle; h < 3 * triangle + 3; ++h) {
        if (halfEdgesOnEdge(vertex[h], vertex[next(h)]).size() >= 2) {
            return true;
        }
    }
    return false;
}

/// The earliest half-edge that runs the opposite way and has no twin. On an edge that nobody is split off from there
/// may be several; otherwise there is at most one half-edge on the edge at all.
std::uint32_t Graph::partnerFor(std::uint32_t halfEdge) const {
    for (std::uint32_t other : halfEdgesOnEdge(vertex[halfEdge], vertex[next(halfEdge)])) {
        const bool opposite = vertex[other] == vertex[next(halfEdge)];
        if (opposite && twin[other] == none) {
            return other;
        }
    }
    return none;
}

void Graph::link(std::uint32_t a, std::uint32_t b) {
    twin[a] = b;
    twin[b] = a;
    ++state[triangleOf(a)];
    ++state[triangleOf(b)];
}

void Graph::addTriangle(std::uint32_t v0, std::uint32_t v1, std::uint32_t v2) {
    const auto triangle = static_cast<std::uint32_t>(state.size());
    state.push_back(0);
    vertex.insert(vertex.end(), {v0, v1, v2});
    twin.insert(twin.end(), 3, none);
    vertexHalfEdges.resize(std::max(vertexHalfEdges.size(), std::size_t{std::max({v0, v1, v2})} + 1));

    // The lists do not know the new half-edges yet, so every search finds earlier triangles only.
    const bool linkable = !isCollapsed(triangle);
    const bool splitOff = linkable && rule == EdgeRule::SplitOff && touchesFullEdge(triangle);
    if (linkable && !splitOff) {
        for (std::uint32_t h = 3 * triangle; h < 3 * triangle + 3; ++h) {
            if (const std::uint32_t partner = partnerFor(h); partner != none) {
                link(h, partner);
            }
        }
    }
    if (splitOff) {
        state[triangle] = splitOffState;
        claimedTriangles.push_back(triangle);
    } else {
        freeTriangles.push_back(triangle);
    }
    for (std::uint32_t h = 3 * triangle; h < 3 * triangle + 3; ++h) {
        vertexHalfEdges[vertex[h]].emplace_back(vertex[next(h)], h);
    }
}

void Graph::addTriangles(const Indices& indices) {
    for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
        addTriangle(indices[i], indices[i + 1], indices[i + 2]);
    }
}

int Graph::getPrimitive(Indices& indices, int primitiveType) {
    indices.clear();
    if (!fans.empty() && (primitiveType == 0 || primitiveType == fanCode)) {
        indices = indicesOfFan(fans.back().first).indices;
        appendToClaimed(fans.back());
        fans.pop_back();
        return fanCode;
    }
    if (!strips.empty() && (primitiveType == 0 || primitiveType == stripCode)) {
        indices = indicesOfStrip(strips.back().triangles, strips.back().first != 0).indices;
        appendToClaimed(strips.back());
        strips.pop_back();
        return stripCode;
    }
    if (triangleLists.empty() || (primitiveType != 0 && primitiveType != trianglesCode)) {
        return 0;
    }
    indices = indicesOfBatch(triangleLists.front().triangles).indices;
    appendToClaimed(triangleLists.front());
    triangleLists.clear();
    return trianglesCode;
}

std::vector<Primitive> Graph::takePrimitives() {
    std::vector<Primitive> primitives;
    while (true) {
        Primitive primitive;
        if (fans.empty() && !strips.empty()) {
            primitive.swaps = indicesOfStrip(strips.back().triangles, strips.back().first != 0).swaps;
        }
        primitive.type = getPrimitive(primitive.indices, 0);
        if (primitive.type == 0) {
            return primitives;
        }
        primitives.push_back(primitive);
    }
}

void Graph::appendToClaimed(Entry& entry) {
    claimedTriangles.insert(claimedTriangles.end(), entry.triangles.begin(), entry.triangles.end());
}

Primitive Graph::indicesOfFan(std::uint32_t centre) const {
    const std::uint32_t start = vertexHalfEdges[centre][0].second;
    Primitive fan{fanCode, {vertex[start], vertex[next(start)]}, 0};
    for (std::uint32_t h = twin[next(next(start))]; h != start; h = twin[next(next(h))]) {
        fan.indices.push_back(vertex[next(h)]);
    }
    fan.indices.push_back(vertex[next(start)]);
    return fan;
}

Primitive Graph::indicesOfStrip(const Indices& strip, bool reversed) const {
    Indices walk = strip;
    if (reversed) {
        std::reverse(walk.begin(), walk.end());
    }
    if (walk.empty()) {
        return {stripCode, {}, 0};
    }
    if (walk.size() == 1) {
        const std::uint32_t h = 3 * walk[0];
        return {stripCode, {vertex[h], vertex[h + 1], vertex[h + 2]}, 0};
    }

    std::uint32_t exit = edgeTowards(walk[0], walk[1]);
    const std::uint32_t first = next(next(exit));
    Primitive result{stripCode, {vertex[first], vertex[next(first)], vertex[next(next(first))]}, 0};
    Indices& indices = result.indices;
    indices.push_back(oppositeCorner(twin[exit]));

    bool odd = true;
    for (std::size_t i = 1; i + 1 < walk.size(); ++i) {
        const std::uint32_t entry = twin[exit];
        exit = edgeTowards(walk[i], walk[i + 1]);
        const std::uint32_t continuation = odd ? next(next(entry)) : next(entry);
        if (exit == continuation) {
            odd = !odd;
        } else {
            indices.back() = odd ? vertex[exit] : vertex[next(exit)];
            indices.push_back(odd ? vertex[next(exit)] : vertex[exit]);
            ++result.swaps;
        }
        indices.push_back(oppositeCorner(twin[exit]));
    }
    return result;
}

Primitive Graph::indicesOfBatch(const Indices& batch) const {
    Primitive result{trianglesCode, {}, 0};
    for (std::uint32_t triangle : batch) {
        for (std::uint32_t h = 3 * triangle; h < 3 * triangle + 3; ++h) {
            result.indices.push_back(vertex[h]);
        }
    }
    return result;
}

std::uint32_t Graph::calcEgdeLines(Indices& lines, bool withShareFlag) const {
    lines.clear();
    std::uint32_t count = 0;
    for (const auto& list : vertexHalfEdges) {
        for (const auto& [otherEnd, h] : list) {
            const bool shared = twin[h] != none;
            if (shared && vertex[h] >= vertex[next(h)]) {
                continue;
            }
            lines.insert(lines.end(), {vertex[h], vertex[next(h)]});
            if (withShareFlag) {
                lines.push_back(shared ? 1 : 0);
            }
            ++count;
        }
    }
    return count;
}

} // namespace reference
