#include <vexa/mesh.h>

#include <gtest/gtest.h>

// Programs keep pointers to these functions; a second overload would make their names ambiguous.

namespace {

using namespace vexa::mesh;

template <typename... Functions>
bool allExist(Functions... functions) {
    return (... && (functions != nullptr));
}

TEST(Addresses, OfMeshOperationsAreUnambiguous) {
    EXPECT_TRUE(allExist(&createClassicTransformation, &transformAttrib, &transformMesh, &transformAttributes,
                         &createVec3TransformationFunction, &createVec3AttributeTransformationFunction));
    EXPECT_TRUE(allExist(&concatAttribs, &concatMeshes, &computeVolume));
}

TEST(Addresses, OfNormalPackingAreUnambiguous) {
    EXPECT_TRUE(allExist(&wrapOctahedronNormalValue, &encodeOctahedronNormal, &quantizeNormal, &dequantizeNormal,
                         &quantizeNormals, &dequantizeNormals));
}

TEST(Addresses, OfTypesAndDumpsAreUnambiguous) {
    EXPECT_TRUE(allExist(&getComponentSizeInBytes, &getStringForComponentType, &getVertexCountForPrimitiveType,
                         &getStringForPrimitiveType));
    EXPECT_TRUE(allExist(&detail::printAttributeBuffer, &detail::printAttributeBufferElement,
                         &detail::printAttributeBufferComponent));
}

TEST(Addresses, OfFactoriesAndMembersAreUnambiguous) {
    EXPECT_TRUE(allExist(&AttributeBuffer::createDefault, &AttributeBuffer::createDefaultVec2f,
                         &AttributeBuffer::createDefaultVec3f, &AttributeBuffer::isVec3f,
                         &AttributeBuffer::isCompatible, &IndexBuffer::createDefault, &Mesh::createEmptyMesh,
                         &Mesh::meshesAreCompatible, &Mesh::isValid));
    EXPECT_TRUE(allExist(&HalfEdgeGraph::addTriangle, &HalfEdgeGraph::calcOptPrim, &HalfEdgeGraph::getPrimitive,
                         &HalfEdgeGraph::calcStripCost, &HalfEdgeGraph::fillIndexFromStrip,
                         &HalfEdgeGraph::fillIndexFromFan, &HalfEdgeGraph::calcEgdeLines, &HalfEdgeGraph::verify));
}

} // namespace
