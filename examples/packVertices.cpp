// Packs vertices into 24 bytes: position 12, normal 4, texture coordinates 8, interleaved for a graphics API.
// usage: packVertices MODEL.obj

#include "ObjFile.h"

#include <vexa/mesh.h>

#include <algorithm>
#include <cmath>
#include <exception>
#include <glm/geometric.hpp>
#include <glm/trigonometric.hpp>
#include <iostream>

using namespace vexa::mesh;

namespace {

using Codec = OctahedralCodec<16>; // 4 bytes, read by the GPU as SNORM 16x2

MeshPtr packVertices(const Mesh& mesh) {
    const auto normals = elementsOf<glm::vec3>(mesh, "normal");
    const auto packed = makeAttribute<Codec::Code>("normal", normals.size());
    Codec::encode(normals, elementsOf<Codec::Code>(*packed));
    return makeMesh(mesh.getPrimitiveType(), mesh.getIndexBuffer(),
                    interleave({mesh.getAttributeBuffer("position"), packed, mesh.getAttributeBuffer("TEXCOORD_0")}));
}

/// Prints instead of calling a graphics API.
void uploadVertices(const Mesh& mesh) {
    const auto attributes = attributesOf(mesh);
    std::cout << "vertex buffer of " << bytesOf(*attributes.front()).size() << " bytes, stride "
              << attributes.front()->getElementStrideInBytes() << '\n';
    for (const auto& a : attributes) {
        std::cout << a->getAttributeName() << ": " << a->getComponentCountPerElement() << " x "
                  << getStringForComponentType(a->getComponentType()) << " at " << a->getElementOffsetInBytes() << '\n';
    }
}

} // namespace

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::cerr << "usage: packVertices MODEL.obj\n";
        return 2;
    }
    const ObjFile file(argv[1]);
    const MeshPtr mesh = makeMesh(TRIANGLES, file.triangles,
                                  {makeAttribute("position", file.positions), makeAttribute("normal", file.normals),
                                   makeAttribute("TEXCOORD_0", file.texcoords)});
    const MeshPtr packed = packVertices(*mesh);
    uploadVertices(*packed);

    const auto codes = stridedElementsOf<Codec::Code>(*packed, "normal");
    float maxDegrees = 0;
    for (std::size_t i = 0; i < codes.size(); ++i) {
        const glm::vec3 decoded = Codec::decode(codes[i]);
        const float sine = glm::length(glm::cross(decoded, glm::normalize(file.normals[i])));
        maxDegrees = std::max(maxDegrees, glm::degrees(std::asin(sine)));
    }
    std::cout << codes.size() << " normals, the largest error "
              << (maxDegrees < 0.004F ? "below 0.004 degrees" : "too large") << '\n';
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
