#pragma once

#include "support/SmallModels.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace tool_test {

/// A triangle that node 0 shows with a skin of nodes 1 and 2, which are 10 and 30 to the right of where they were when
/// the skin was bound. The node itself is far away.
///
/// \param weights of four joints per vertex
inline GltfModel skinnedTriangle(const std::vector<float>& weights = {1, 0, 0, 0, 0, 1, 0, 0, 0.5F, 0.5F, 0, 0}) {
    GltfModel model;
    model.addMesh(model.addPositions({0, 0, 0, 1, 0, 0, 0, 1, 0}), model.addIndices({0, 1, 2}));
    const std::vector<std::uint8_t> joints{0, 1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0};
    model.primitive(0)["attributes"]["JOINTS_0"] = model.addAccessor(joints, 5121, "VEC4");
    model.primitive(0)["attributes"]["WEIGHTS_0"] = model.addAccessor(weights, 5126, "VEC4");
    std::vector<float> matrices(32);
    for (const std::size_t first : {std::size_t{0}, std::size_t{16}}) {
        for (std::size_t i = 0; i < 4; ++i) {
            matrices[first + 5 * i] = 1;
        }
        matrices[first + 12] = -100;
    }
    const int inverse = model.addAccessor(matrices, 5126, "VEC4"); // counted as vectors
    model.json["accessors"].back()["type"] = "MAT4";
    model.json["accessors"].back()["count"] = 2;
    model.json["skins"] = {{{"joints", {1, 2}}, {"inverseBindMatrices", inverse}}};
    model.json["nodes"] = {{{"mesh", 0}, {"skin", 0}, {"translation", {5000, 0, 0}}},
                           {{"translation", {110, 0, 0}}, {"children", {2}}},
                           {{"translation", {20, 0, 0}}}};
    model.json["scenes"] = {{{"nodes", {0, 1}}}};
    model.json["scene"] = 0;
    return model;
}

} // namespace tool_test
