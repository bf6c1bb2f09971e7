#include "vexa/mesh/OctahedralCodec.h"

#include "vexa/mesh/detail/elements/LaneKernels.h"

#include <stdexcept>
#include <string>

namespace vexa::mesh {

namespace {

template <int Bits>
const detail::OctahedralKernels& kernels() {
    const detail::LaneKernels& own = detail::laneKernels();
    return Bits == 8 ? own.octahedral8 : Bits == 12 ? own.octahedral12 : own.octahedral16;
}

void requireEqual(const char* function, std::size_t normalCount, std::size_t codeCount) {
    if (normalCount != codeCount) {
        throw std::invalid_argument("OctahedralCodec::" + std::string(function) + ": " + std::to_string(normalCount) +
                                    " normals and " + std::to_string(codeCount) + " codes; make their numbers equal");
    }
}

} // namespace

template <int Bits>
requires(Bits == 8 || Bits == 12 || Bits == 16) auto OctahedralCodec<Bits>::encode(const glm::vec3& normal) -> Code {
    Code code;
    kernels<Bits>().encode(&normal, &code, 1);
    return code;
}

template <int Bits>
requires(Bits == 8 || Bits == 12 || Bits == 16) glm::vec3 OctahedralCodec<Bits>::decode(Code code) {
    glm::vec3 normal;
    kernels<Bits>().decode(&code, &normal, 1);
    return normal;
}

template <int Bits>
requires(Bits == 8 || Bits == 12 || Bits == 16) void OctahedralCodec<Bits>::encode(std::span<const glm::vec3> normals,
                                                                                   std::span<Code> codes) {
    requireEqual("encode", normals.size(), codes.size());
    kernels<Bits>().encode(normals.data(), codes.data(), normals.size());
}

template <int Bits>
requires(Bits == 8 || Bits == 12 || Bits == 16) void OctahedralCodec<Bits>::decode(std::span<const Code> codes,
                                                                                   std::span<glm::vec3> normals) {
    requireEqual("decode", normals.size(), codes.size());
    kernels<Bits>().decode(codes.data(), normals.data(), normals.size());
}

template class OctahedralCodec<8>;
template class OctahedralCodec<12>;
template class OctahedralCodec<16>;

} // namespace vexa::mesh
