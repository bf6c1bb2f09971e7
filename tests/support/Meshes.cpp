#include "support/Meshes.h"

#include <algorithm>
#include <functional>
#include <numeric>

namespace meshes {

namespace {

void append(Indices& mesh, unsigned int a, unsigned int b, unsigned int c) {
    mesh.insert(mesh.end(), {a, b, c});
}

void appendQuad(Indices& mesh, unsigned int a, unsigned int b, unsigned int c, unsigned int d) {
    append(mesh, a, b, c);
    append(mesh, a, c, d);
}

/// Quads between columns and rows of vertices, where number(column, row) names a vertex.
Indices quads(unsigned int width, unsigned int height,
              const std::function<unsigned int(unsigned int, unsigned int)>& number) {
    Indices mesh;
    for (unsigned int y = 0; y < height; ++y) {
        for (unsigned int x = 0; x < width; ++x) {
            appendQuad(mesh, number(x, y), number(x + 1, y), number(x + 1, y + 1), number(x, y + 1));
        }
    }
    return mesh;
}

} // namespace

Indices singleTriangle() {
    return {0, 1, 2};
}

Indices twoTriangles() {
    return {0, 1, 2, 2, 1, 3};
}

Indices strip(unsigned int n) {
    Indices mesh;
    for (unsigned int i = 0; i < n; ++i) {
        append(mesh, i + i % 2, i + 1 - i % 2, i + 2);
    }
    return mesh;
}

Indices run(unsigned int first, std::size_t count) {
    Indices strip(count);
    std::iota(strip.begin(), strip.end(), first);
    return strip;
}

Indices closedFan(unsigned int n) {
    Indices mesh;
    for (unsigned int i = 0; i < n; ++i) {
        append(mesh, 0, 1 + i, 1 + (i + 1) % n);
    }
    return mesh;
}

Indices openFan(unsigned int n) {
    Indices mesh;
    for (unsigned int i = 0; i < n; ++i) {
        append(mesh, 0, 1 + i, 2 + i);
    }
    return mesh;
}

Indices tetrahedron() {
    return {0, 1, 2, 0, 3, 1, 1, 3, 2, 2, 3, 0};
}

Indices octahedron() {
    return {0, 1, 2, 0, 2, 3, 0, 3, 4, 0, 4, 1, 5, 2, 1, 5, 3, 2, 5, 4, 3, 5, 1, 4};
}

Indices icosahedron() {
    Indices mesh = closedFan(5);
    for (unsigned int i = 0; i < 5; ++i) {
        const unsigned int upper = 1 + i;
        const unsigned int upperNext = 1 + (i + 1) % 5;
        const unsigned int lower = 6 + i;
        const unsigned int lowerNext = 6 + (i + 1) % 5;
        append(mesh, upperNext, upper, lower);
        append(mesh, lower, lowerNext, upperNext);
        append(mesh, 11, lowerNext, lower);
    }
    return mesh;
}

Indices grid(unsigned int width, unsigned int height) {
    return quads(width, height, [width](unsigned int x, unsigned int y) { return y * (width + 1) + x; });
}

Indices cylinder(unsigned int around, unsigned int height) {
    return quads(around, height, [around](unsigned int x, unsigned int y) { return y * around + x % around; });
}

Indices torus(unsigned int width, unsigned int height) {
    return quads(width, height,
                 [width, height](unsigned int x, unsigned int y) { return y % height * width + x % width; });
}

Indices sphere(unsigned int slices, unsigned int stacks) {
    const unsigned int rings = stacks - 1;
    const unsigned int southPole = 1 + rings * slices;
    Indices mesh;
    for (unsigned int i = 0; i < slices; ++i) {
        append(mesh, 0, 1 + i, 1 + (i + 1) % slices);
    }
    const Indices belt = shifted(cylinder(slices, rings - 1), 1);
    for (std::size_t i = 0; i < belt.size(); i += 3) {
        append(mesh, belt[i], belt[i + 2], belt[i + 1]);
    }
    const unsigned int lastRing = 1 + (rings - 1) * slices;
    for (unsigned int i = 0; i < slices; ++i) {
        append(mesh, southPole, lastRing + (i + 1) % slices, lastRing + i);
    }
    return mesh;
}

Indices openSphere(unsigned int slices, unsigned int stacks) {
    return quads(slices - 1, stacks - 2, [slices](unsigned int x, unsigned int y) { return y * slices + x; });
}

Indices pinchedVertex(unsigned int first, unsigned int second) {
    Indices mesh = closedFan(first);
    for (unsigned int i = 0; i < second; ++i) {
        append(mesh, 0, 1 + first + i, 1 + first + (i + 1) % second);
    }
    return mesh;
}

Indices doubledSameWinding() {
    return {0, 1, 2, 0, 1, 2};
}

Indices doubledOppositeWinding() {
    return {0, 1, 2, 0, 2, 1};
}

Indices fourOnAnEdge() {
    return {0, 1, 2, 1, 0, 3, 0, 1, 4, 1, 0, 5};
}

Indices book(unsigned int n) {
    Indices mesh;
    for (unsigned int i = 0; i < n; ++i) {
        append(mesh, i % 2, 1 - i % 2, 2 + i);
    }
    return mesh;
}

Indices moebius(unsigned int n) {
    return quads(n, 1, [n](unsigned int x, unsigned int y) { return x < n ? 2 * x + y : 1 - y; });
}

Indices hub(unsigned int n) {
    Indices mesh;
    for (unsigned int i = 0; i < n; ++i) {
        append(mesh, 0, 2 * i + 1, 2 * i + 2);
    }
    return mesh;
}

Indices chain(unsigned int n) {
    Indices mesh;
    for (unsigned int i = 0; i < n; ++i) {
        append(mesh, 2 * i, 2 * i + 1, 2 * i + 2);
    }
    return mesh;
}

Indices scattered(unsigned int n) {
    Indices mesh(std::size_t{3} * n);
    std::iota(mesh.begin(), mesh.end(), 0U);
    return mesh;
}

Indices pairs(unsigned int n) {
    Indices mesh;
    for (unsigned int i = 0; i < n; ++i) {
        append(mesh, 4 * i, 4 * i + 1, 4 * i + 2);
        append(mesh, 4 * i + 2, 4 * i + 1, 4 * i + 3);
    }
    return mesh;
}

Indices joined(const Indices& first, const Indices& second) {
    Indices mesh = first;
    mesh.insert(mesh.end(), second.begin(), second.end());
    return mesh;
}

Indices shifted(const Indices& mesh, unsigned int offset) {
    Indices result = mesh;
    for (unsigned int& index : result) {
        index += offset;
    }
    return result;
}

} // namespace meshes
