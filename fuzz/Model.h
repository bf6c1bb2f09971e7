#pragma once

#include "io/Document.h"
#include "tool/support/SmallModels.h"

#include <cstdint>
#include <string>
#include <vector>

namespace fuzz {

/// Takes numbers from the fuzzer's bytes; 0 once they are used up.
class Numbers {
public:
    Numbers(const std::uint8_t* data, std::size_t size) : next_(data), end_(data + size) {}

    [[nodiscard]] bool isEmpty() const { return next_ == end_; }
    std::uint8_t take() { return isEmpty() ? std::uint8_t{0} : *next_++; }
    /// A number from 0 to limit - 1.
    unsigned int below(unsigned int limit) { return take() % limit; }

private:
    const std::uint8_t* next_;
    const std::uint8_t* end_;
};

inline std::vector<float> takeFloats(Numbers& numbers, std::size_t count) {
    std::vector<float> floats(count);
    for (float& value : floats) {
        // Few values, so that vertices are equal now and then.
        value = static_cast<float>(static_cast<int>(numbers.below(5)) - 2) / 2.0F;
    }
    return floats;
}

/// A valid model of up to three meshes with up to three primitives each, of any mode, with or without indices, which
/// share vertices or have their own.
inline std::string takeModel(Numbers& numbers) {
    tool_test::GltfModel model;
    int positions = -1;
    unsigned int vertices = 0;
    const auto takeVertices = [&] {
        if (positions < 0 || numbers.below(3) == 0) {
            vertices = 3 + numbers.below(30);
            positions = model.addPositions(takeFloats(numbers, std::size_t{3} * vertices));
        }
    };
    const auto takeIndices = [&](int mode) {
        // Whole lists, because the last incomplete triangle or line of one is not drawn.
        const unsigned int unit = mode == 4 ? 3 : mode == 1 ? 2 : 1;
        std::vector<std::uint16_t> indices((1 + numbers.below(60 / unit)) * unit + (unit == 1 ? 2 : 0));
        for (std::uint16_t& index : indices) {
            index = static_cast<std::uint16_t>(numbers.below(vertices));
        }
        return model.addIndices(indices);
    };
    const unsigned int meshes = 1 + numbers.below(3);
    for (unsigned int mesh = 0; mesh < meshes; ++mesh) {
        takeVertices();
        const int mode = static_cast<int>(numbers.below(7));
        const int number = model.addMesh(positions, takeIndices(mode), mode);
        const unsigned int more = numbers.below(3);
        for (unsigned int i = 0; i < more; ++i) {
            takeVertices();
            tool_test::Json primitive = model.primitive(number, 0);
            const int other = static_cast<int>(numbers.below(7));
            primitive["mode"] = other;
            primitive["attributes"]["POSITION"] = positions;
            primitive["indices"] = takeIndices(other);
            if (numbers.below(2) == 0) {
                primitive["attributes"]["NORMAL"] =
                    model.addAccessor(std::vector<float>(takeFloats(numbers, std::size_t{3} * vertices)), 5126, "VEC3");
            }
            model.json["meshes"][static_cast<std::size_t>(number)]["primitives"].push_back(primitive);
        }
    }
    return model.glb();
}

/// The model as a document.
inline vexa::tool::Document takeDocument(Numbers& numbers) {
    const std::string model = takeModel(numbers);
    return vexa::tool::loadDocument(vexa::tool::Bytes(model.begin(), model.end()), "fuzzed.glb");
}

} // namespace fuzz
