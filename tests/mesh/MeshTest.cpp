#include <vexa/mesh/Mesh.h>

#include <vexa/mesh/detail/DefaultMesh.h>

#include "support/LogCapture.h"
#include "support/Vtable.h"

#include <gtest/gtest.h>

#include <new>
#include <type_traits>
#include <typeinfo>

namespace {

using namespace vexa::mesh;
using detail::DefaultMesh;
using vexa::test::callVtableEntry;
using vexa::test::vtableEntry;

static_assert(std::is_abstract_v<Mesh> && std::has_virtual_destructor_v<Mesh> && sizeof(Mesh) == sizeof(void*));
static_assert(std::is_same_v<MeshPtr, std::shared_ptr<Mesh>>);
// The table pointer, then the primitive type, the index buffer and the attribute buffers.
static_assert(sizeof(DefaultMesh) == 8 + 8 + 16 + sizeof(std::vector<std::shared_ptr<AttributeBuffer>>));

std::shared_ptr<AttributeBuffer> vec3f(const std::string& name, unsigned long elementCount) {
    auto buffer = AttributeBuffer::createDefaultVec3f(name);
    buffer->resize(elementCount);
    return buffer;
}

const void* pointerAt(const void* place) {
    const void* pointer;
    std::memcpy(&pointer, place, sizeof pointer);
    return pointer;
}

class TrackedMesh : public DefaultMesh {
public:
    explicit TrackedMesh(bool& destroyed) : DefaultMesh(TRIANGLES, UNSIGNED_INT), destroyed_(destroyed) {}
    ~TrackedMesh() override { destroyed_ = true; }

private:
    bool& destroyed_;
};

TEST(Mesh, HasItsSlotsInTheDescribedOrderAndTheDestructorLast) {
    using ByIndex = std::shared_ptr<AttributeBuffer> (Mesh::*)(unsigned long) const;
    using ByName = std::shared_ptr<AttributeBuffer> (Mesh::*)(const std::string&) const;
    EXPECT_EQ(vtableEntry(&Mesh::getPrimitiveType), 0);
    EXPECT_EQ(vtableEntry(&Mesh::getNumPrimitives), 1);
    EXPECT_EQ(vtableEntry(&Mesh::getIndexBuffer), 2);
    EXPECT_EQ(vtableEntry(&Mesh::getNumAttributeBuffers), 3);
    EXPECT_EQ(vtableEntry(static_cast<ByIndex>(&Mesh::getAttributeBuffer)), 4);
    EXPECT_EQ(vtableEntry(static_cast<ByName>(&Mesh::getAttributeBuffer)), 5);
    EXPECT_EQ(vtableEntry(&Mesh::addAttributeBuffer), 6);
    EXPECT_EQ(vtableEntry(&Mesh::setPrimitive), 7);
    EXPECT_EQ(vtableEntry(&Mesh::setIndexBuffer), 8);

    bool destroyed = false;
    alignas(TrackedMesh) unsigned char room[sizeof(TrackedMesh)];
    Mesh* mesh = new (room) TrackedMesh(destroyed);
    callVtableEntry(mesh, 9);
    EXPECT_TRUE(destroyed);
}

TEST(DefaultMesh, HoldsItsFieldsInTheDescribedOrder) {
    DefaultMesh mesh(LINE_STRIP, SHORT);
    const auto* object = reinterpret_cast<const unsigned char*>(&mesh);
    std::int32_t type;
    std::memcpy(&type, object + 8, sizeof type);
    EXPECT_EQ(type, 3);
    EXPECT_EQ(pointerAt(object + 16), mesh.getIndexBuffer().get());
#ifndef _GLIBCXX_DEBUG // its vectors have another layout
    mesh.addAttributeBuffer(vec3f("position", 0));
    EXPECT_EQ(pointerAt(pointerAt(object + 32)), mesh.getAttributeBuffer(0).get());
#endif
}

TEST(CreateMesh, DefaultsToTrianglesWith32BitIndices) {
    const MeshPtr mesh = Mesh::createDefault();
    EXPECT_EQ(mesh->getPrimitiveType(), TRIANGLES);
    ASSERT_NE(mesh->getIndexBuffer(), nullptr);
    EXPECT_EQ(mesh->getIndexBuffer()->getComponentType(), UNSIGNED_INT);
    EXPECT_EQ(mesh->getIndexBuffer()->getElementCount(), 0u);
    EXPECT_EQ(mesh->getNumAttributeBuffers(), 0u);
    EXPECT_EQ(mesh->getNumPrimitives(), 0u);
    const Mesh& interface = *mesh;
    EXPECT_EQ(typeid(interface), typeid(DefaultMesh));
}

TEST(CreateMesh, StoresThePrimitiveTypeUnchecked) {
    for (const int code : {0, 6, 7, -1}) {
        const MeshPtr mesh = Mesh::createDefault(static_cast<PrimitiveType>(code), UNSIGNED_SHORT);
        EXPECT_EQ(mesh->getPrimitiveType(), code);
        EXPECT_EQ(mesh->getIndexBuffer()->getComponentType(), UNSIGNED_SHORT);
    }
}

TEST(CreateMesh, HasNoIndexBufferForATypeThatCannotBeAnIndex) {
    const vexa::test::LogCapture capture;
    const MeshPtr mesh = Mesh::createDefault(TRIANGLES, FLOAT);
    ASSERT_NE(mesh, nullptr);
    EXPECT_EQ(mesh->getIndexBuffer(), nullptr);
    EXPECT_TRUE(capture.records().empty());
}

TEST(Mesh, SettingThePrimitiveTouchesNoBuffer) {
    const MeshPtr mesh = Mesh::createDefault();
    const auto indices = mesh->getIndexBuffer();
    mesh->setPrimitive(static_cast<PrimitiveType>(99));
    EXPECT_EQ(mesh->getPrimitiveType(), 99);
    EXPECT_EQ(mesh->getIndexBuffer(), indices);
}

TEST(Mesh, SharesItsIndexBufferWithItsCallers) {
    const MeshPtr mesh = Mesh::createDefault();
    mesh->getIndexBuffer()->resize(6);
    EXPECT_EQ(mesh->getIndexBuffer()->getElementCount(), 6u);
    const auto indices = mesh->getIndexBuffer();
    mesh->setIndexBuffer(indices);
    EXPECT_EQ(mesh->getIndexBuffer(), indices);
    EXPECT_EQ(indices.use_count(), 2);
    mesh->setIndexBuffer({});
    EXPECT_EQ(mesh->getIndexBuffer(), nullptr);
    EXPECT_EQ(indices.use_count(), 1);
}

TEST(Mesh, KeepsAttributeBuffersInTheOrderOfAdding) {
    const MeshPtr mesh = Mesh::createDefault();
    const auto first = vec3f("b", 1);
    const auto second = vec3f("a", 2);
    mesh->addAttributeBuffer(first);
    mesh->addAttributeBuffer(second);
    mesh->addAttributeBuffer(first);
    EXPECT_EQ(mesh->getNumAttributeBuffers(), 3u);
    EXPECT_EQ(mesh->getAttributeBuffer(0), first);
    EXPECT_EQ(mesh->getAttributeBuffer(1), second);
    EXPECT_EQ(mesh->getAttributeBuffer(2), first);
    EXPECT_EQ(first.use_count(), 3);
}

TEST(Mesh, ShowsTheChangesOfACallerToItsBuffers) {
    const MeshPtr mesh = Mesh::createDefault();
    mesh->addAttributeBuffer(vec3f("position", 1));
    mesh->getAttributeBuffer(0)->resize(9);
    EXPECT_EQ(mesh->getAttributeBuffer("position")->getElementCount(), 9u);
}

TEST(Mesh, ReleasesItsBuffersWhenDestroyed) {
    MeshPtr mesh = Mesh::createDefault();
    const auto position = vec3f("position", 1);
    const auto indices = mesh->getIndexBuffer();
    mesh->addAttributeBuffer(position);
    mesh.reset();
    EXPECT_EQ(position.use_count(), 1);
    EXPECT_EQ(indices.use_count(), 1);
}

TEST(MeshLookup, FindsTheFirstBufferWhoseNameMatchesByteForByte) {
    const MeshPtr mesh = Mesh::createDefault();
    const auto first = vec3f("normal", 1);
    mesh->addAttributeBuffer(vec3f("position", 1));
    mesh->addAttributeBuffer(first);
    mesh->addAttributeBuffer(vec3f("normal", 2));
    EXPECT_EQ(mesh->getAttributeBuffer("normal"), first);
    for (const char* name : {"Normal", "normal ", "norma", ""}) {
        EXPECT_EQ(mesh->getAttributeBuffer(name), nullptr) << name;
    }
}

TEST(MeshLookup, ComparesNamesBeyondAZeroByte) {
    const MeshPtr mesh = Mesh::createDefault();
    const auto second = vec3f(std::string("a\0c", 3), 1);
    mesh->addAttributeBuffer(vec3f(std::string("a\0b", 3), 1));
    mesh->addAttributeBuffer(second);
    EXPECT_EQ(mesh->getAttributeBuffer(std::string("a\0c", 3)), second);
    EXPECT_EQ(mesh->getAttributeBuffer("a"), nullptr);
}

TEST(MeshLookup, LogsNothingWhenNoBufferMatches) {
    const vexa::test::LogCapture capture;
    EXPECT_EQ(Mesh::createDefault()->getAttributeBuffer("position"), nullptr);
    EXPECT_TRUE(capture.records().empty());
}

TEST(MeshLookup, SkipsEmptyPointers) {
    const MeshPtr mesh = Mesh::createDefault();
    const auto position = vec3f("position", 3);
    mesh->addAttributeBuffer({});
    mesh->addAttributeBuffer(position);
    EXPECT_EQ(mesh->getNumAttributeBuffers(), 2u);
    EXPECT_EQ(mesh->getAttributeBuffer(0), nullptr);
    EXPECT_EQ(mesh->getAttributeBuffer("position"), position);
    EXPECT_EQ(mesh->getAttributeBuffer("normal"), nullptr);
}

// A mesh that shrinks by itself: a lookup that asked for the number once would go on too far.
class ShrinkingMesh : public DefaultMesh {
public:
    ShrinkingMesh() : DefaultMesh(TRIANGLES, UNSIGNED_INT) {}
    using DefaultMesh::getAttributeBuffer;
    unsigned long getNumAttributeBuffers() const override { return 3 - asked++; }
    std::shared_ptr<AttributeBuffer> getAttributeBuffer(unsigned long index) const override {
        taken.push_back(index);
        return vec3f("other", 0);
    }
    mutable unsigned long asked = 0;
    mutable std::vector<unsigned long> taken;
};

TEST(MeshLookup, AsksForTheNumberOfBuffersAtEachStepThroughTheInterface) {
    const ShrinkingMesh mesh;
    EXPECT_EQ(mesh.getAttributeBuffer("position"), nullptr);
    EXPECT_EQ(mesh.taken, (std::vector<unsigned long>{0, 1}));
    EXPECT_EQ(mesh.asked, 3u);
}

TEST(NumPrimitives, DivideTheIndexCountByTheVerticesOfAListPrimitive) {
    struct Row {
        PrimitiveType type;
        unsigned long indexCount;
        unsigned long primitives;
    };
    for (const Row& row : {Row{POINTS, 5, 5}, Row{LINES, 5, 2}, Row{LINE_LOOP, 5, 2}, Row{LINE_STRIP, 3, 1},
                           Row{TRIANGLES, 8, 2}, Row{TRIANGLE_STRIP, 5, 1}, Row{TRIANGLE_FAN, 6, 2}}) {
        const MeshPtr mesh = Mesh::createDefault(row.type, UNSIGNED_BYTE);
        mesh->getIndexBuffer()->resize(row.indexCount);
        EXPECT_EQ(mesh->getNumPrimitives(), row.primitives) << row.type;
    }
}

TEST(NumPrimitives, CountPositionsOfAMeshWithoutIndices) {
    const MeshPtr mesh = Mesh::createDefault();
    mesh->setIndexBuffer({});
    EXPECT_EQ(mesh->getNumPrimitives(), 0u);
    mesh->addAttributeBuffer(vec3f("normal", 60));
    EXPECT_EQ(mesh->getNumPrimitives(), 0u);
    mesh->addAttributeBuffer(vec3f("position", 7));
    EXPECT_EQ(mesh->getNumPrimitives(), 2u);
    mesh->setPrimitive(POINTS);
    EXPECT_EQ(mesh->getNumPrimitives(), 7u);
}

TEST(NumPrimitives, CountAnEmptyIndexBufferRatherThanThePositions) {
    const MeshPtr mesh = Mesh::createDefault();
    mesh->addAttributeBuffer(vec3f("position", 7));
    EXPECT_EQ(mesh->getNumPrimitives(), 0u);
}

TEST(NumPrimitives, AreZeroForAnUnknownPrimitiveType) {
    const MeshPtr mesh = Mesh::createDefault(static_cast<PrimitiveType>(7), UNSIGNED_INT);
    mesh->getIndexBuffer()->resize(12);
    EXPECT_EQ(mesh->getNumPrimitives(), 0u);
    mesh->setPrimitive(static_cast<PrimitiveType>(-1));
    EXPECT_EQ(mesh->getNumPrimitives(), 0u);
}

// Lookup by name and index buffer as an implementation of its own answers them.
class RenamingMesh : public DefaultMesh {
public:
    RenamingMesh() : DefaultMesh(POINTS, FLOAT) {}
    using DefaultMesh::getAttributeBuffer;
    std::shared_ptr<AttributeBuffer> getAttributeBuffer(const std::string& name) const override {
        return vec3f(name, name == "position" ? 11 : 0);
    }
};

TEST(NumPrimitives, UseTheVirtualLookupByName) {
    EXPECT_EQ(RenamingMesh().getNumPrimitives(), 11u);
}

} // namespace
