// Turns the arrays of a loader into a mesh with one 16-bit strip buffer, and uploads it.
// usage: stripArrays MODEL.obj

#include "ObjFile.h"

#include <vexa/mesh.h>

#include <cstdint>
#include <exception>
#include <iostream>
#include <span>

using namespace vexa::mesh;

namespace {

/// `texcoords` is flat: u0 v0 u1 v1 ...
MeshPtr makeStripMesh(std::span<const glm::vec3> positions, std::span<const glm::vec3> normals,
                      std::span<const float> texcoords, std::span<const unsigned int> triangles) {
    const auto strip = buildStripBuffer(triangles, {.effort = 2, .join = StripJoin::Restart});
    // Throws std::length_error if a vertex above 65534 is used: see splitMesh.
    return makeMesh(TRIANGLE_STRIP, strip,
                    {makeAttribute("position", positions), makeAttribute("normal", normals),
                     makeAttribute("TEXCOORD_0", texcoords, 2)},
                    {.indexWidth = IndexWidth::Bits16});
}

/// Stands for the call of a graphics API.
void upload(const char* what, std::span<const std::byte> bytes) {
    std::cout << what << ": " << bytes.size() << " bytes\n";
}

} // namespace

int main(int argc, char** argv) try {
    if (argc != 2) {
        std::cerr << "usage: stripArrays MODEL.obj\n";
        return 2;
    }
    const ObjFile file(argv[1]);
    const std::span<const float> flat(&file.texcoords[0].x, 2 * file.texcoords.size());
    const MeshPtr mesh = makeStripMesh(file.positions, file.normals, flat, file.triangles);

    for (const auto& attribute : attributesOf(*mesh)) {
        upload(attribute->getAttributeName().c_str(), bytesOf(*attribute));
    }
    const auto indices = indicesOf<std::uint16_t>(*mesh); // 65535 restarts, and is never a vertex
    upload("indices", std::as_bytes(indices));
    std::cout << file.triangles.size() << " indices as triangles, " << indices.size() << " as strips\n"
              << (sameTriangles(toTriangles(*mesh), toTriangles(TRIANGLES, file.triangles)) ? "the same" : "other")
              << " triangles\n";
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
