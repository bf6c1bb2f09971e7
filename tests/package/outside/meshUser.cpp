#include <vexa/mesh.h>

#include <glm/gtc/matrix_transform.hpp>

#include <iostream>

using namespace vexa::mesh;

namespace {

// Two triangles that share an edge, and one apart.
const std::vector<unsigned int> triangles{0, 1, 2, 2, 1, 3, 4, 5, 6};

MeshPtr createMesh() {
    MeshPtr mesh = Mesh::createDefault();
    const auto positions = AttributeBuffer::createDefaultVec3f("position");
    mesh->addAttributeBuffer(positions);
    positions->resize(7);
    for (unsigned int i = 0; i < 7; ++i) {
        const glm::vec3 position(i, i % 2, 0);
        positions->setElement(i, &position);
    }
    mesh->getIndexBuffer()->resize(triangles.size());
    for (unsigned long i = 0; i < triangles.size(); ++i) {
        mesh->getIndexBuffer()->setElement(i, triangles[i]);
    }
    return mesh;
}

void printIndices(const std::vector<unsigned int>& indices) {
    for (const unsigned int index : indices) {
        std::cout << ' ' << index;
    }
    std::cout << '\n';
}

} // namespace

int main() {
    HalfEdgeGraph graph;
    graph.addTriangles(triangles.data(), triangles.size());
    std::cout << "indices: " << graph.calcOptPrim(1, true, false, 0, false) << '\n';
    std::vector<unsigned int> indices;
    while (const int type = graph.getPrimitive(indices, 0)) {
        std::cout << getStringForPrimitiveType(static_cast<PrimitiveType>(type)) << ':';
        printIndices(indices);
    }
    std::cout << "joined:";
    printIndices(joinStrips(buildPrimitives(triangles, {.allStrips = true}), StripJoin::Degenerate));

    MeshPtr scene = Mesh::createEmptyMesh(createMesh());
    AttributeTransformationMap placement;
    createClassicTransformation(placement, glm::translate(glm::mat4(1), glm::vec3(0, 0, 2)));
    concatMeshes(scene, createMesh(), {});
    concatMeshes(scene, createMesh(), placement);
    scene->isValid();
    glm::detail::taabb<float> box;
    computeVolume(box, scene, glm::mat4(1));
    std::cout << "primitives: " << scene->getNumPrimitives() << '\n'
              << "box: to " << box.max.x << ' ' << box.max.y << ' ' << box.max.z << '\n';
}
