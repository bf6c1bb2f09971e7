#include "support/Meshes.h"

#include <algorithm>
#include <numeric>

namespace meshes {

Random::Random(std::uint32_t seed) : engine_(seed) {}

unsigned int Random::below(unsigned int limit) {
    return static_cast<unsigned int>(std::uint64_t{static_cast<std::uint32_t>(engine_())} * limit >> 32U);
}

bool Random::chance(unsigned int percent) {
    return below(100) < percent;
}

namespace {

Indices randomOrder(std::size_t count, Random& random) {
    Indices order(count);
    std::iota(order.begin(), order.end(), 0U);
    for (std::size_t i = count; i > 1; --i) {
        std::swap(order[i - 1], order[random.below(static_cast<unsigned int>(i))]);
    }
    return order;
}

} // namespace

Indices soup(unsigned int vertexCount, unsigned int triangleCount, std::uint32_t seed) {
    Random random(seed);
    Indices mesh(std::size_t{3} * triangleCount);
    for (unsigned int& index : mesh) {
        index = random.below(vertexCount);
    }
    return mesh;
}

Indices shuffled(const Indices& mesh, std::uint32_t seed) {
    Random random(seed);
    Indices result;
    for (std::size_t triangle : randomOrder(mesh.size() / 3, random)) {
        result.insert(result.end(), {mesh[3 * triangle], mesh[3 * triangle + 1], mesh[3 * triangle + 2]});
    }
    return result;
}

Indices turned(const Indices& mesh, std::uint32_t seed) {
    Random random(seed);
    Indices result = mesh;
    for (auto triangle = result.begin(); triangle != result.end(); triangle += 3) {
        std::rotate(triangle, triangle + random.below(3), triangle + 3);
    }
    return result;
}

Indices relabelled(const Indices& mesh, std::uint32_t seed) {
    Random random(seed);
    Indices result = mesh;
    if (!mesh.empty()) {
        const Indices number = randomOrder(std::size_t{*std::max_element(mesh.begin(), mesh.end())} + 1, random);
        for (unsigned int& index : result) {
            index = number[index];
        }
    }
    return result;
}

Indices flipped(const Indices& mesh, unsigned int percent, std::uint32_t seed) {
    Random random(seed);
    Indices result = mesh;
    for (std::size_t i = 0; i < result.size(); i += 3) {
        if (random.chance(percent)) {
            std::swap(result[i + 1], result[i + 2]);
        }
    }
    return result;
}

Indices collapsed(const Indices& mesh, unsigned int percent, std::uint32_t seed) {
    Random random(seed);
    Indices result = mesh;
    for (std::size_t i = 0; i < result.size(); i += 3) {
        if (random.chance(percent)) {
            const unsigned int corner = random.below(3);
            result[i + corner] = result[i + (corner + 1) % 3];
        }
    }
    return result;
}

Indices doubled(const Indices& mesh, unsigned int percent, std::uint32_t seed) {
    Random random(seed);
    Indices result = mesh;
    for (std::size_t i = 0; i < mesh.size(); i += 3) {
        if (random.chance(percent)) {
            const unsigned int turn = random.below(2);
            result.insert(result.end(), {mesh[i], mesh[i + 1 + turn], mesh[i + 2 - turn]});
        }
    }
    return result;
}

Indices holed(const Indices& mesh, unsigned int percent, std::uint32_t seed) {
    Random random(seed);
    Indices result;
    for (std::size_t i = 0; i < mesh.size(); i += 3) {
        if (!random.chance(percent)) {
            result.insert(result.end(), {mesh[i], mesh[i + 1], mesh[i + 2]});
        }
    }
    return result;
}

Indices damaged(const Indices& mesh, std::uint32_t seed) {
    Indices result = holed(mesh, 5, seed);
    result = flipped(result, 10, seed + 1);
    result = collapsed(result, 5, seed + 2);
    result = doubled(result, 10, seed + 3);
    return shuffled(turned(result, seed + 4), seed + 5);
}

} // namespace meshes
