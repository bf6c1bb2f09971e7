#include "vexa/mesh/AttributeTransformation.h"

#include "vexa/mesh/detail/elements/ElementTransformation.h"
#include "vexa/mesh/detail/elements/Kernels.h"

#include <cstring>
#include <iostream>
#include <utility>

namespace vexa::mesh {

void createClassicTransformation(AttributeTransformationMap& map, const glm::mat4& m) {
    map["position"] = detail::PositionTransformation{m};
    map["normal"] = detail::NormalTransformation{detail::calcNormalMatrix(m), NormalLength::L1};
}

void transformAttrib(std::shared_ptr<AttributeBuffer>& buffer, AttributeTransformationFunction f) {
    // The function may reset the caller's pointer.
    const std::shared_ptr<AttributeBuffer> held = buffer;
    detail::transformElements(*held, *held, 0, held->getElementCount(), f);
}

void transformMesh(MeshPtr& mesh, const AttributeTransformationMap& map) {
    // A function may reset the caller's pointer.
    const MeshPtr held = mesh;
    detail::transformMeshElements(*held, map, {});
}

void transformAttributes(std::shared_ptr<AttributeBuffer> source, std::shared_ptr<AttributeBuffer> target,
                         std::function<void(void*, void*)> f) {
    const unsigned long count = source->getElementCount();
    if (count != target->getElementCount()) {
        std::cerr << "Source and target element count are different" << std::endl;
        return;
    }
    detail::transformElementPairs(*source, *target, count, f);
}

std::function<glm::vec3(const glm::vec3&)> createVec3TransformationFunction(float w, const glm::mat4& m) {
    return [w, m](const glm::vec3& v) { return detail::transformVector(m, v, w); };
}

std::function<void(void*, void*)>
createVec3AttributeTransformationFunction(std::function<glm::vec3(const glm::vec3&)> f) {
    return [f = std::move(f)](void* source, void* target) {
        glm::vec3 vector;
        std::memcpy(&vector, source, sizeof vector);
        vector = f(vector);
        std::memcpy(target, &vector, sizeof vector);
    };
}

} // namespace vexa::mesh
