#pragma once

#include "support/Meshes.h"

#include "reference/ReferenceGraph.h"

#include <cstddef>
#include <cstdint>

namespace fuzz {

/// A small mesh and optimiser parameters decoded from the fuzzer's bytes; any bytes are valid input.
struct CutInput {
    reference::Parameters parameters;
    meshes::Indices mesh;

    CutInput(const std::uint8_t* data, std::size_t size) {
        const auto take = [&]() -> std::uint8_t { return size == 0 ? std::uint8_t{0} : (--size, *data++); };
        const std::uint8_t flags = take();
        parameters.buildStrips = (flags & 1U) == 0;
        parameters.buildFans = (flags & 2U) != 0;
        parameters.allStrips = (flags & 4U) != 0;
        parameters.iterations = (flags >> 3U) % 5U;
        parameters.minFanTriangles = take() % 8U;
        const unsigned int vertexCount = 3 + take() % 30U;
        // The reference takes quadratic time, and small meshes get tangled just as well as large ones.
        constexpr std::size_t maxIndices = 300;
        while (size >= 3 && mesh.size() < maxIndices) {
            for (int i = 0; i < 3; ++i) {
                mesh.push_back(take() % vertexCount);
            }
        }
    }
};

} // namespace fuzz
