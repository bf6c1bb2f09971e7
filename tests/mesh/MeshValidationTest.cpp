#include <vexa/mesh/Mesh.h>

#include <vexa/mesh/detail/DefaultIndexBuffer.h>

#include "support/Buffers.h"
#include "support/Foreign.h"

#include <gtest/gtest.h>

#include <limits>
#include <stdexcept>

namespace {

using namespace vexa::mesh;
using vexa::test::attribute;
using vexa::test::Calls;
using vexa::test::foreignCopy;
using vexa::test::ForeignMesh;
using vexa::test::indexBuffer;
using vexa::test::meshOf;
using vexa::test::zeros;

/// The message of isValid; empty for a valid mesh.
std::string faultOf(const MeshPtr& mesh) {
    try {
        mesh->isValid();
    } catch (const std::logic_error& error) {
        return error.what();
    }
    return "";
}

// A class derived from std::logic_error would be a different answer.
template <typename Function>
bool throwsPlainLogicError(Function function) {
    try {
        function();
    } catch (const std::exception& error) {
        return typeid(error) == typeid(std::logic_error);
    }
    return false;
}

TEST(IsValid, AcceptsAConsistentMesh) {
    static_assert(std::is_void_v<decltype(std::declval<const Mesh&>().isValid())>);
    EXPECT_EQ(faultOf(meshOf({zeros("position", 3), zeros("normal", 3)}, {0, 1, 2, 2, 1, 0})), "");
    EXPECT_EQ(faultOf(meshOf({zeros("position", 0)})), "");
}

TEST(IsValid, RequiresPositions) {
    EXPECT_EQ(faultOf(meshOf({})), "Missing position attribute");
    EXPECT_EQ(faultOf(meshOf({zeros("normal", 3), zeros("Position", 3)}, {0, 1, 2})), "Missing position attribute");
    EXPECT_TRUE(throwsPlainLogicError([] { meshOf({})->isValid(); }));
}

TEST(IsValid, RequiresAsManyElementsOfEachAttributeAsPositions) {
    EXPECT_EQ(faultOf(meshOf({zeros("position", 4), zeros("normal", 3)})),
              "Attribute normal has less elements than vertices");
    EXPECT_EQ(faultOf(meshOf({zeros("position", 4), zeros("normal", 5)})), "");
    EXPECT_EQ(faultOf(meshOf({zeros("", 3), zeros("position", 4)})), "Attribute  has less elements than vertices");
    const MeshPtr mesh = meshOf({zeros("position", 4), zeros("a", 4), zeros("b", 2), zeros("c", 1)});
    EXPECT_EQ(faultOf(mesh), "Attribute b has less elements than vertices");
    EXPECT_TRUE(throwsPlainLogicError([&] { mesh->isValid(); }));
}

TEST(IsValid, MeasuresASecondPositionBufferByTheFirst) {
    EXPECT_EQ(faultOf(meshOf({zeros("position", 4), zeros("position", 3)})),
              "Attribute position has less elements than vertices");
}

TEST(IsValid, RequiresIndicesBelowTheVertexCount) {
    EXPECT_EQ(faultOf(meshOf({zeros("position", 3)}, {0, 1, 2})), "");
    EXPECT_EQ(faultOf(meshOf({zeros("position", 3)}, {0, 1, 3})), "Indices are out of range");
    EXPECT_EQ(faultOf(meshOf({zeros("position", 0)}, {0})), "Indices are out of range");
    EXPECT_TRUE(throwsPlainLogicError([] { meshOf({zeros("position", 0)}, {0})->isValid(); }));
}

TEST(IsValid, ReportsAttributesBeforeIndices) {
    EXPECT_EQ(faultOf(meshOf({zeros("position", 3), zeros("n", 2)}, {9})),
              "Attribute n has less elements than vertices");
}

TEST(IsValid, AcceptsAnyNumberOfIndicesAndAnyPrimitiveType) {
    const MeshPtr mesh = meshOf({zeros("position", 3)}, {0, 1});
    EXPECT_EQ(faultOf(mesh), "");
    mesh->setPrimitive(static_cast<PrimitiveType>(77));
    EXPECT_EQ(faultOf(mesh), "");
    mesh->setIndexBuffer({});
    EXPECT_EQ(faultOf(mesh), "");
}

TEST(IsValid, ReportsAnEmptyAttributeBuffer) {
    const MeshPtr mesh = meshOf({zeros("position", 3), nullptr});
    EXPECT_EQ(faultOf(mesh), "Attribute buffer is empty");
    EXPECT_TRUE(throwsPlainLogicError([&] { mesh->isValid(); }));
    EXPECT_EQ(faultOf(meshOf({nullptr})), "Missing position attribute");
}

TEST(IsValid, TreatsNegativeIndicesAsHugeOnes) {
    for (const ComponentType type : {BYTE, SHORT, INT}) {
        const MeshPtr mesh = meshOf({zeros("position", 3)});
        mesh->setIndexBuffer(indexBuffer(type, {0, 2, std::numeric_limits<unsigned long>::max()}));
        EXPECT_EQ(faultOf(mesh), "Indices are out of range") << type;
    }
}

// Positions that claim any number of elements.
class ManyPositions : public vexa::test::ForeignAttributeBuffer {
public:
    explicit ManyPositions(unsigned long count) : ForeignAttributeBuffer(FLOAT, 3, "position"), count_(count) {}
    unsigned long getElementCount() const override { return count_; }

private:
    unsigned long count_;
};

// Every type at every limit around its largest values, the wrong index first, last, and at the ends of blocks, both in
// bulk and through the interface.
TEST(IsValid, FindsTheOneIndexOutOfRangeWhereverItIs) {
    constexpr unsigned long max = std::numeric_limits<unsigned long>::max();
    for (const ComponentType type : {BYTE, UNSIGNED_BYTE, SHORT, UNSIGNED_SHORT, INT, UNSIGNED_INT}) {
        for (const unsigned long limit : {1UL, 100UL, 127UL, 128UL, 255UL, 256UL, 32767UL, 32768UL, 65535UL, 65536UL,
                                          2147483647UL, 2147483648UL, 4294967295UL, 4294967296UL, max - 200, max}) {
            for (const unsigned long wrong : {limit, limit - 1, max, 128UL, 32768UL, 2147483648UL}) {
                for (const unsigned long place : {0UL, 4095UL, 4096UL, 16383UL, 16384UL, 17000UL}) {
                    const auto own = IndexBuffer::createDefault(type);
                    own->resize(17001);
                    own->setElement(place, wrong);
                    const MeshPtr mesh = Mesh::createDefault();
                    mesh->addAttributeBuffer(std::make_shared<ManyPositions>(limit));
                    mesh->setIndexBuffer(own);
                    const bool isBelow = own->getElement(place) < limit;
                    ASSERT_EQ(faultOf(mesh), isBelow ? "" : "Indices are out of range")
                        << type << " " << limit << " " << wrong << " " << place;
                }
            }
        }
    }
}

TEST(IsValid, ReadsForeignIndicesInOrderUpToTheFirstWrongOne) {
    const auto calls = std::make_shared<Calls>();
    const MeshPtr mesh = meshOf({zeros("position", 3)});
    mesh->setIndexBuffer(foreignCopy(*indexBuffer(UNSIGNED_INT, {2, 7, 1}), calls));
    EXPECT_EQ(faultOf(mesh), "Indices are out of range");
    EXPECT_EQ(*calls, (Calls{"indices.getElementCount", "indices.getElement 0", "indices.getElement 1"}));
}

TEST(IsValid, AcceptsForeignIndicesInRange) {
    const MeshPtr mesh = meshOf({zeros("position", 3)});
    mesh->setIndexBuffer(foreignCopy(*indexBuffer(UNSIGNED_INT, {2, 0, 1})));
    EXPECT_EQ(faultOf(mesh), "");
}

TEST(IsValid, ReadsAMeshThroughItsInterface) {
    const auto calls = std::make_shared<Calls>();
    const auto mesh = std::make_shared<ForeignMesh>(TRIANGLES, "mesh", calls);
    const auto normal = foreignCopy(*zeros("normal", 3), calls);
    mesh->addAttributeBuffer(normal);
    mesh->addAttributeBuffer(zeros("position", 3));
    calls->clear();
    mesh->isValid();
    const Calls lookup{"mesh.getAttributeBuffer position", "mesh.getNumAttributeBuffers", "mesh.getAttributeBuffer 0",
                       "normal.getAttributeName",          "mesh.getNumAttributeBuffers", "mesh.getAttributeBuffer 1"};
    const Calls checks{"mesh.getNumAttributeBuffers", "mesh.getAttributeBuffer 0", "normal.getElementCount",
                       "mesh.getAttributeBuffer 1", "mesh.getIndexBuffer"};
    Calls expected = lookup;
    expected.insert(expected.end(), checks.begin(), checks.end());
    EXPECT_EQ(*calls, expected);
}

TEST(IsValid, ReadsIndicesFromAForeignStorage) {
    const auto indices = IndexBuffer::createDefault(UNSIGNED_SHORT);
    const auto data = std::make_shared<vexa::test::ForeignData>();
    dynamic_cast<detail::DefaultBuffer&>(*indices).getBufferData() = data;
    indices->resize(5);
    indices->setElement(4, 3);
    const unsigned long before = data->timesAsked();
    const MeshPtr mesh = meshOf({zeros("position", 3)});
    mesh->setIndexBuffer(indices);
    EXPECT_EQ(faultOf(mesh), "Indices are out of range");
    EXPECT_EQ(data->timesAsked(), before + 5);
}

TEST(CreateEmptyMesh, KeepsTheLayoutAndNoElements) {
    const MeshPtr source = meshOf({zeros("position", 3), attribute<short>(SHORT, 1, "a", {1, 2})}, {0, 1, 2});
    source->setPrimitive(TRIANGLE_FAN);
    source->setIndexBuffer(indexBuffer(UNSIGNED_SHORT, {0, 1}));
    const MeshPtr empty = Mesh::createEmptyMesh(source);
    EXPECT_EQ(empty->getPrimitiveType(), TRIANGLE_FAN);
    EXPECT_EQ(empty->getIndexBuffer()->getComponentType(), UNSIGNED_SHORT);
    EXPECT_EQ(empty->getIndexBuffer()->getElementCount(), 0u);
    ASSERT_EQ(empty->getNumAttributeBuffers(), 2u);
    EXPECT_EQ(empty->getAttributeBuffer(1)->getAttributeName(), "a");
    EXPECT_EQ(empty->getAttributeBuffer(1)->getComponentType(), SHORT);
    EXPECT_EQ(empty->getAttributeBuffer(1)->getComponentCountPerElement(), 1u);
    EXPECT_EQ(empty->getAttributeBuffer(1)->getElementCount(), 0u);
    EXPECT_TRUE(Mesh::meshesAreCompatible(source, empty, false));
}

TEST(CreateEmptyMesh, SharesNothingWithItsSource) {
    const MeshPtr source = meshOf({zeros("position", 3)}, {0, 1, 2});
    const MeshPtr empty = Mesh::createEmptyMesh(source);
    EXPECT_NE(empty->getIndexBuffer(), source->getIndexBuffer());
    EXPECT_NE(empty->getAttributeBuffer(0), source->getAttributeBuffer(0));
    EXPECT_EQ(source->getAttributeBuffer(0)->getElementCount(), 3u);
    EXPECT_EQ(source->getIndexBuffer()->getElementCount(), 3u);
}

TEST(CreateEmptyMesh, StaysUnindexedForAnUnindexedMesh) {
    const MeshPtr source = meshOf({zeros("position", 3)});
    source->setPrimitive(POINTS);
    source->setIndexBuffer({});
    const MeshPtr empty = Mesh::createEmptyMesh(source);
    EXPECT_EQ(empty->getPrimitiveType(), POINTS);
    EXPECT_EQ(empty->getIndexBuffer(), nullptr);
    EXPECT_EQ(empty->getNumAttributeBuffers(), 1u);
}

TEST(CreateEmptyMesh, DoesNotCopyStridesAndForeignClasses) {
    const auto source = std::make_shared<ForeignMesh>(LINES);
    source->addAttributeBuffer(foreignCopy(*zeros("position", 3)));
    source->setIndexBuffer(foreignCopy(*indexBuffer(BYTE, {1})));
    const MeshPtr empty = Mesh::createEmptyMesh(source);
    EXPECT_EQ(empty->getAttributeBuffer(0)->getElementStrideInBytes(), 12u);
    EXPECT_EQ(empty->getAttributeBuffer(0)->getElementOffsetInBytes(), 0u);
    EXPECT_EQ(empty->getIndexBuffer()->getComponentType(), BYTE);
}

TEST(CreateEmptyMesh, RefusesAnEmptyAttributeBuffer) {
    EXPECT_TRUE(throwsPlainLogicError([] { (void)Mesh::createEmptyMesh(meshOf({nullptr})); }));
}

} // namespace
