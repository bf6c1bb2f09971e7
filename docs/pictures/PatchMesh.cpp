#include "PatchMesh.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <map>
#include <random>
#include <set>
#include <utility>

namespace pictures {

namespace {

using Edge = std::pair<unsigned int, unsigned int>;

Patch makeLattice(int radius) {
    Patch patch;
    std::map<std::pair<int, int>, unsigned int> vertices;
    // Steps along two edges of the lattice that enclose 60 degrees; the third direction bounds the hexagon as well.
    for (int v = -radius; v <= radius; ++v) {
        for (int u = std::max(-radius, -radius - v); u <= std::min(radius, radius - v); ++u) {
            vertices[{u, v}] = static_cast<unsigned int>(patch.points.size());
            patch.points.push_back({u + 0.5 * v, std::sqrt(0.75) * v});
        }
    }
    const auto add = [&](std::pair<int, int> a, std::pair<int, int> b, std::pair<int, int> c) {
        if (vertices.contains(a) && vertices.contains(b) && vertices.contains(c)) {
            patch.triangles.insert(patch.triangles.end(), {vertices[a], vertices[b], vertices[c]});
        }
    };
    for (int v = -radius; v < radius; ++v) {
        for (int u = -radius; u <= radius; ++u) {
            add({u, v}, {u + 1, v}, {u, v + 1});
            add({u + 1, v}, {u + 1, v + 1}, {u, v + 1});
        }
    }
    return patch;
}

/// Keeps track of the edges of a patch while some are flipped.
class Flipper {
public:
    explicit Flipper(Patch& patch) : patch_(patch), degrees_(patch.points.size()) {
        for (std::size_t i = 0; i < patch.triangles.size(); ++i) {
            enter(i);
        }
        for (const auto& [edge, corner] : corners_) {
            degrees_[edge.first] += 1;
        }
    }

    [[nodiscard]] std::vector<Edge> innerEdges() const {
        std::vector<Edge> edges;
        for (const auto& [edge, corner] : corners_) {
            if (edge.first < edge.second && corners_.contains({edge.second, edge.first})) {
                edges.push_back(edge);
            }
        }
        return edges;
    }

    /// Replaces an edge by the other diagonal of its two triangles, unless that gives a vertex few or many triangles.
    bool flip(const Edge& edge) {
        const std::size_t left = corners_.at(edge);
        const std::size_t right = corners_.at({edge.second, edge.first});
        const unsigned int a = edge.first;
        const unsigned int b = edge.second;
        const unsigned int c = patch_.triangles[prev(left)];
        const unsigned int d = patch_.triangles[prev(right)];
        if (degrees_[a] < 6 || degrees_[b] < 6 || degrees_[c] > 6 || degrees_[d] > 6 || corners_.contains({c, d}) ||
            corners_.contains({d, c})) {
            return false;
        }
        forget(left);
        forget(right);
        write(left / 3, {c, a, d});
        write(right / 3, {d, b, c});
        --degrees_[a];
        --degrees_[b];
        ++degrees_[c];
        ++degrees_[d];
        return true;
    }

private:
    static std::size_t next(std::size_t corner) { return corner % 3 == 2 ? corner - 2 : corner + 1; }
    static std::size_t prev(std::size_t corner) { return corner % 3 == 0 ? corner + 2 : corner - 1; }

    void enter(std::size_t corner) { corners_[{patch_.triangles[corner], patch_.triangles[next(corner)]}] = corner; }
    void forget(std::size_t corner) {
        for (std::size_t i = corner - corner % 3, end = i + 3; i < end; ++i) {
            corners_.erase({patch_.triangles[i], patch_.triangles[next(i)]});
        }
    }
    void write(std::size_t triangle, const std::array<unsigned int, 3>& vertices) {
        std::copy(vertices.begin(), vertices.end(),
                  patch_.triangles.begin() + static_cast<std::ptrdiff_t>(3 * triangle));
        for (std::size_t i = 3 * triangle; i < 3 * triangle + 3; ++i) {
            enter(i);
        }
    }

    Patch& patch_;
    std::map<Edge, std::size_t> corners_; ///< the corner at which each directed edge starts
    std::vector<unsigned int> degrees_;   ///< triangles around each vertex
};

/// Moves every inner vertex to the middle of its neighbours, again and again.
void smooth(Patch& patch) {
    std::vector<std::set<unsigned int>> neighbours(patch.points.size());
    std::map<Edge, int> sides;
    for (std::size_t i = 0; i < patch.triangles.size(); ++i) {
        const unsigned int a = patch.triangles[i];
        const unsigned int b = patch.triangles[i % 3 == 2 ? i - 2 : i + 1];
        neighbours[a].insert(b);
        neighbours[b].insert(a);
        ++sides[{std::min(a, b), std::max(a, b)}];
    }
    std::vector<bool> isInner(patch.points.size(), true);
    for (const auto& [edge, count] : sides) {
        if (count == 1) {
            isInner[edge.first] = false;
            isInner[edge.second] = false;
        }
    }
    for (int round = 0; round < 40; ++round) {
        for (std::size_t v = 0; v < patch.points.size(); ++v) {
            if (!isInner[v]) {
                continue;
            }
            Point middle;
            for (const unsigned int neighbour : neighbours[v]) {
                middle.x += patch.points[neighbour].x / static_cast<double>(neighbours[v].size());
                middle.y += patch.points[neighbour].y / static_cast<double>(neighbours[v].size());
            }
            patch.points[v] = middle;
        }
    }
}

} // namespace

Patch makePatch(int radius, unsigned int flips) {
    Patch patch = makeLattice(radius);
    Flipper flipper(patch);
    std::mt19937 random(5); // the same patch in every run
    for (unsigned int done = 0; done < flips;) {
        const std::vector<Edge> edges = flipper.innerEdges();
        done += flipper.flip(edges[random() % edges.size()]) ? 1 : 0;
    }
    smooth(patch);
    return patch;
}

} // namespace pictures
