// Places two copies of a mesh in a scene, concatenates them and computes the bounding box of the result.

#include <vexa/mesh.h>

#include <array>
#include <iostream>

using namespace vexa::mesh;

namespace {

// A pyramid of four triangles with an open base.
MeshPtr createPyramid() {
    const std::array<glm::vec3, 5> corners{glm::vec3(-1.0F, -1.0F, 0.0F), glm::vec3(1.0F, -1.0F, 0.0F),
                                           glm::vec3(1.0F, 1.0F, 0.0F), glm::vec3(-1.0F, 1.0F, 0.0F),
                                           glm::vec3(0.0F, 0.0F, 2.0F)};
    const std::array<unsigned long, 12> indices{0, 1, 4, 1, 2, 4, 2, 3, 4, 3, 0, 4};

    MeshPtr mesh = Mesh::createDefault();
    const auto positions = AttributeBuffer::createDefaultVec3f("position");
    const auto normals = AttributeBuffer::createDefaultVec3f("normal");
    positions->resize(corners.size());
    normals->resize(corners.size());
    for (unsigned long i = 0; i < corners.size(); ++i) {
        const glm::vec3 normal = corners[i] + glm::vec3(0.0F, 0.0F, 1.0F);
        positions->setElement(i, &corners[i]);
        normals->setElement(i, &normal);
    }
    mesh->addAttributeBuffer(positions);
    mesh->addAttributeBuffer(normals);

    const auto indexBuffer = mesh->getIndexBuffer();
    indexBuffer->resize(indices.size());
    for (unsigned long i = 0; i < indices.size(); ++i) {
        indexBuffer->setElement(i, indices[i]);
    }
    mesh->isValid();
    return mesh;
}

void append(MeshPtr& scene, const MeshPtr& mesh, const glm::mat4& placement) {
    AttributeTransformationMap transformations;
    createClassicTransformation(transformations, placement);
    concatMeshes(scene, mesh, transformations);
}

std::ostream& operator<<(std::ostream& os, const glm::vec3& v) {
    return os << '(' << v.x << ", " << v.y << ", " << v.z << ')';
}

} // namespace

int main() {
    const MeshPtr pyramid = createPyramid();
    MeshPtr scene = Mesh::createEmptyMesh(pyramid);

    append(scene, pyramid, glm::mat4(1.0F));
    // Turned upside down, half as wide, and moved aside.
    const glm::mat4 placement(glm::vec4(0.5F, 0.0F, 0.0F, 0.0F), glm::vec4(0.0F, -0.5F, 0.0F, 0.0F),
                              glm::vec4(0.0F, 0.0F, -1.0F, 0.0F), glm::vec4(4.0F, 0.0F, 2.0F, 1.0F));
    append(scene, pyramid, placement);

    scene->isValid();
    glm::detail::taabb<float> box{};
    computeVolume(box, scene, glm::mat4(1.0F));
    std::cout << getStringForPrimitiveType(scene->getPrimitiveType()) << ": " << scene->getNumPrimitives()
              << " of them\n"
              << "bounding box from " << box.min << " to " << box.max << '\n'
              << "last index " << scene->getIndexBuffer()->getElement(23) << '\n';

    glm::vec3 tip;
    glm::vec3 normal;
    scene->getAttributeBuffer("position")->getElement(9, &tip);
    scene->getAttributeBuffer("normal")->getElement(5, &normal);
    std::cout << "second tip at " << tip << ", normal of its first corner " << normal << '\n';
}
