#include "Normals.h"
#include "cases/Cases.h"
#include "cases/Limits.h"

#include <array>
#include <cstdint>
#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>
#include <vexa/mesh.h>

// Functions on whole buffers, next to plain loops and to the functions on packed buffers.
namespace bench {

namespace {

using namespace vexa::mesh;

constexpr std::size_t elementCount = 10'000'000;
constexpr int rounds = 7;

Contender contenderOf(const char* name, double elements, std::function<void()> run, std::function<Output()> inspect,
                      Role role = Role::Own) {
    Contender contender;
    contender.name = name;
    contender.role = role;
    contender.elements = elements;
    contender.prepare = [] {};
    contender.run = std::move(run);
    contender.inspect = std::move(inspect);
    return contender;
}

Comparison compareAssignment() {
    const NormalsPtr vectors = makeNormals(elementCount);
    const auto buffer = makeAttribute("position", *vectors);
    return {"bulk/assign",
            "element",
            false,
            false,
            rounds,
            {contenderOf(
                 names::assignVectors, elementCount, [=] { assign(*buffer, *vectors); },
                 [=] {
                     return Output{0, 0, elementsOf<glm::vec3>(*buffer).back() == vectors->back() ? "" : "wrong"};
                 }),
             copied(elementCount * sizeof(glm::vec3), elementCount)}};
}

/// Strips of 24 indices, as long as those of real models, some swaps included.
std::vector<std::uint16_t> makeStrips() {
    std::vector<std::uint16_t> strip(elementCount);
    for (std::size_t i = 0; i < strip.size(); ++i) {
        const std::size_t place = i % 25;
        strip[i] =
            place == 24 ? 65535 : static_cast<std::uint16_t>((i / 25 * 7 + place - (place > 11 ? 2 : 0)) % 65535);
    }
    return strip;
}

/// The loop that a program would write by hand.
template <typename Take>
void walkByHand(const std::vector<std::uint16_t>& strip, Take take) {
    std::size_t begin = 0;
    for (std::size_t i = 0; i < strip.size(); ++i) {
        if (strip[i] == 65535) {
            begin = i + 1;
        } else if (i >= begin + 2) {
            const unsigned int a = strip[i - 2];
            const unsigned int b = strip[i - 1];
            const unsigned int c = strip[i];
            if (a != b && b != c && c != a) {
                const bool isOdd = (i - begin) % 2 != 0;
                take(a, isOdd ? c : b, isOdd ? b : c);
            }
        }
    }
}

Comparison compareWalks() {
    const auto strip = std::make_shared<const std::vector<std::uint16_t>>(makeStrips());
    const auto sums = std::make_shared<std::array<std::uint64_t, 2>>();
    // Depends on the order of the corners.
    const auto weigh = [](unsigned int a, unsigned int b, unsigned int c) {
        return std::uint64_t{a} + 2 * std::uint64_t{b} + 4 * std::uint64_t{c};
    };
    const auto inspect = [sums] {
        return Output{0, 0, (*sums)[0] == 0 || (*sums)[0] != (*sums)[1] ? "the sums differ" : ""};
    };
    const auto walk = [=] {
        std::uint64_t sum = 0;
        for (const auto [a, b, c] : trianglesOf(TRIANGLE_STRIP, *strip)) {
            sum += weigh(a, b, c);
        }
        (*sums)[0] = sum;
    };
    const auto walkPlainly = [=] {
        std::uint64_t sum = 0;
        walkByHand(*strip, [&](unsigned int a, unsigned int b, unsigned int c) { sum += weigh(a, b, c); });
        (*sums)[1] = sum;
    };
    walk();
    walkPlainly();
    return {"bulk/triangles of strips",
            "element",
            false,
            false,
            rounds,
            {contenderOf(names::walk, elementCount, walk, inspect),
             contenderOf(names::walkByHand, elementCount, walkPlainly, inspect, Role::Limit)}};
}

template <int Bits>
std::vector<Contender> codecContenders(const NormalsPtr& normals, const char* encode, const char* decode) {
    using Codec = OctahedralCodec<Bits>;
    const auto codes = std::make_shared<std::vector<typename Codec::Code>>(normals->size());
    const auto decoded = std::make_shared<Normals>(normals->size());
    const auto inspect = [=] {
        return Output{0, 0, compareNormals(*normals, [&](std::size_t i) { return Codec::decode((*codes)[i]); })};
    };
    return {contenderOf(
                encode, elementCount, [=] { Codec::encode(*normals, *codes); }, inspect),
            contenderOf(
                decode, elementCount, [=] { Codec::decode(*codes, *decoded); }, inspect)};
}

Comparison compareCodec() {
    const NormalsPtr normals = makeNormals(elementCount);
    const auto plain = makeAttribute("normal", *normals);
    const auto packed = makeAttribute<glm::u8vec2>("normal", elementCount);
    std::vector<Contender> contenders = codecContenders<8>(normals, names::encode8, names::decode8);
    for (Contender& contender : codecContenders<16>(normals, names::encode16, names::decode16)) {
        contenders.push_back(std::move(contender));
    }
    contenders.push_back(
        contenderOf(names::pack, elementCount, [=] { transformAttributes(plain, packed, quantizeNormals()); }, {}));
    contenders.push_back(
        contenderOf(names::unpack, elementCount, [=] { transformAttributes(packed, plain, dequantizeNormals()); }, {}));
    return {"bulk/codec", "element", false, false, rounds, std::move(contenders)};
}

Comparison compareInterleaved() {
    const NormalsPtr normals = makeNormals(elementCount);
    const auto packed = std::make_shared<MeshPtr>(
        makeMesh(POINTS, nullptr, {makeAttribute("position", *normals), makeAttribute("normal", *normals)}));
    const auto interleaved = std::make_shared<MeshPtr>(makeMesh(POINTS, nullptr, interleave(attributesOf(**packed))));
    AttributeTransformationMap map;
    createClassicTransformation(map, glm::mat4(1.0F));
    return {"bulk/interleaved",
            "element",
            false,
            false,
            rounds,
            {contenderOf(names::interleavedMesh, elementCount, [=] { transformMesh(*interleaved, map); }, {}),
             contenderOf(names::packedMesh, elementCount, [=] { transformMesh(*packed, map); }, {})}};
}

} // namespace

std::vector<Case> bulkCases() {
    return {{"bulk/assign", false, compareAssignment},
            {"bulk/triangles of strips", false, compareWalks},
            {"bulk/codec", false, compareCodec},
            {"bulk/interleaved", false, compareInterleaved}};
}

} // namespace bench
