#include "vexa/mesh/Mesh.h"
#include "vexa/mesh/detail/LogRecord.h"
#include "vexa/mesh/detail/MeshBuffers.h"

namespace vexa::mesh {

namespace {

constexpr const char* functionText =
    "static bool vexa::mesh::Mesh::meshesAreCompatible(const MeshPtr&, const MeshPtr&, bool)";
constexpr const char* fileText = "vexa/mesh/Mesh";

/// Compares the attribute buffers at one position of two meshes; logs the first difference if asked to.
bool buffersAreCompatible(unsigned long position, const AttributeBuffer& first, const AttributeBuffer& second,
                          bool logDifferences) {
    const std::string firstName = first.getAttributeName();
    const std::string secondName = second.getAttributeName();
    if (firstName != secondName) {
        if (logDifferences) {
            VEXA_MESH_LOG(error, functionText, fileText)
                << "Mesh attributes " << position << " have different names: " << firstName << " and " << secondName;
        }
        return false;
    }
    const ComponentType firstType = first.getComponentType();
    const ComponentType secondType = second.getComponentType();
    if (firstType != secondType) {
        if (logDifferences) {
            VEXA_MESH_LOG(error, functionText, fileText)
                << "Mesh attributes " << position
                << " have different component types: " << getStringForComponentType(firstType) << " and "
                << getStringForComponentType(secondType);
        }
        return false;
    }
    const unsigned long firstCount = first.getComponentCountPerElement();
    const unsigned long secondCount = second.getComponentCountPerElement();
    if (firstCount != secondCount) {
        if (logDifferences) {
            VEXA_MESH_LOG(error, functionText, fileText)
                << "Mesh attributes " << position << " have different component counts: " << firstCount << " and "
                << secondCount;
        }
        return false;
    }
    return true;
}

} // namespace

bool Mesh::meshesAreCompatible(const MeshPtr& first, const MeshPtr& second, bool logDifferences) {
    const PrimitiveType firstType = first->getPrimitiveType();
    const PrimitiveType secondType = second->getPrimitiveType();
    if (firstType != secondType) {
        if (logDifferences) {
            VEXA_MESH_LOG(error, functionText, fileText)
                << "Meshes do not have the same primitive type: " << static_cast<int>(firstType) << " and "
                << static_cast<int>(secondType);
        }
        return false;
    }
    const unsigned long firstCount = first->getNumAttributeBuffers();
    const unsigned long secondCount = second->getNumAttributeBuffers();
    if (firstCount != secondCount) {
        if (logDifferences) {
            VEXA_MESH_LOG(error, functionText, fileText)
                << "Meshes do not have the same number of attributes: " << firstCount << " and " << secondCount;
        }
        return false;
    }
    for (unsigned long i = 0; i < first->getNumAttributeBuffers(); ++i) {
        const std::shared_ptr<AttributeBuffer> firstBuffer = detail::requireAttributeBuffer(*first, i);
        const std::shared_ptr<AttributeBuffer> secondBuffer = detail::requireAttributeBuffer(*second, i);
        if (!buffersAreCompatible(i, *firstBuffer, *secondBuffer, logDifferences)) {
            return false;
        }
    }
    return true;
}

} // namespace vexa::mesh
