#include <vexa/mesh/Mesh.h>

#include <vexa/mesh/detail/DefaultAttributeBuffer.h>
#include <vexa/mesh/detail/VectorBufferData.h>

#include "support/Buffers.h"
#include "support/Foreign.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <set>
#include <stdexcept>

namespace {

using namespace vexa::mesh;
using vexa::test::Calls;
using vexa::test::foreignCopy;
using vexa::test::ForeignMesh;
using vexa::test::LogCapture;
using vexa::test::LogRecord;
using vexa::test::meshOf;
using vexa::test::Severity;
using vexa::test::zeros;

/// The one record that a comparison writes; checks the rest of it.
std::string differenceOf(const MeshPtr& first, const MeshPtr& second) {
    const LogCapture capture;
    EXPECT_FALSE(Mesh::meshesAreCompatible(first, second, true));
    const std::vector<LogRecord> records = capture.records();
    if (records.size() != 1) {
        return std::to_string(records.size()) + " records";
    }
    EXPECT_EQ(records[0].severity, Severity::Error);
    EXPECT_EQ(records[0].file, "vexa/mesh/Mesh");
    EXPECT_EQ(records[0].function,
              "static bool vexa::mesh::Mesh::meshesAreCompatible(const MeshPtr&, const MeshPtr&, bool)");
    EXPECT_GT(records[0].line, 0);
    return records[0].message;
}

TEST(MeshesAreCompatible, MeshIsCompatibleWithItself) {
    const LogCapture capture;
    for (const MeshPtr& mesh : {meshOf({}), meshOf({zeros("position", 3), zeros("a", 0)}, {0, 1})}) {
        EXPECT_TRUE(Mesh::meshesAreCompatible(mesh, mesh, true));
    }
    EXPECT_TRUE(capture.records().empty());
}

TEST(MeshesAreCompatible, ComparesPrimitiveTypesByCode) {
    const MeshPtr first = meshOf({zeros("a", 1)});
    const MeshPtr second = meshOf({});
    second->setPrimitive(static_cast<PrimitiveType>(-7));
    EXPECT_EQ(differenceOf(first, second), "Meshes do not have the same primitive type: 4 and -7");
}

TEST(MeshesAreCompatible, ComparesTheNumbersOfAttributes) {
    EXPECT_EQ(differenceOf(meshOf({zeros("a", 1)}), meshOf({zeros("b", 1), zeros("a", 1)})),
              "Meshes do not have the same number of attributes: 1 and 2");
}

TEST(MeshesAreCompatible, ComparesNamesByPosition) {
    EXPECT_EQ(differenceOf(meshOf({zeros("position", 1), zeros("normal", 1)}),
                           meshOf({zeros("normal", 1), zeros("position", 1)})),
              "Mesh attributes 0 have different names: position and normal");
    EXPECT_EQ(differenceOf(meshOf({zeros("a", 1), zeros("b", 1)}), meshOf({zeros("a", 1), zeros("b ", 1)})),
              "Mesh attributes 1 have different names: b and b ");
}

TEST(MeshesAreCompatible, ComparesComponentTypesByTheirTexts) {
    const MeshPtr floats = meshOf({zeros("normal", 1)});
    EXPECT_EQ(differenceOf(floats, meshOf({AttributeBuffer::createDefault(UNSIGNED_BYTE, 2, "normal")})),
              "Mesh attributes 0 have different component types: float and unsigned byte");
    EXPECT_EQ(
        differenceOf(meshOf({AttributeBuffer::createDefault(static_cast<ComponentType>(1), 3, "normal")}), floats),
        "Mesh attributes 0 have different component types:  and float");
}

TEST(MeshesAreCompatible, ComparesComponentCounts) {
    EXPECT_EQ(differenceOf(meshOf({zeros("p", 1), zeros("a", 1)}),
                           meshOf({zeros("p", 1), AttributeBuffer::createDefaultVec2f("a")})),
              "Mesh attributes 1 have different component counts: 3 and 2");
}

TEST(MeshesAreCompatible, ReportsTheFirstDifferenceOnly) {
    EXPECT_EQ(differenceOf(meshOf({zeros("p", 1), zeros("a", 1)}),
                           meshOf({AttributeBuffer::createDefaultVec2f("p"), zeros("b", 1)})),
              "Mesh attributes 0 have different component counts: 3 and 2");
}

TEST(MeshesAreCompatible, LogsNothingUnlessAsked) {
    const LogCapture capture;
    EXPECT_FALSE(Mesh::meshesAreCompatible(meshOf({zeros("a", 1)}), meshOf({}), false));
    EXPECT_FALSE(Mesh::meshesAreCompatible(meshOf({zeros("a", 1)}), meshOf({zeros("b", 1)}), false));
    for (const auto& other : {AttributeBuffer::createDefaultVec2f("a"), AttributeBuffer::createDefault(INT, 3, "a")}) {
        EXPECT_FALSE(Mesh::meshesAreCompatible(meshOf({zeros("a", 1)}), meshOf({other}), false));
    }
    const MeshPtr points = Mesh::createDefault(POINTS, UNSIGNED_INT);
    EXPECT_FALSE(Mesh::meshesAreCompatible(meshOf({}), points, false));
    EXPECT_TRUE(capture.records().empty());
}

TEST(MeshesAreCompatible, ReturnsTheSameWhenTheRecordIsRefused) {
    const LogCapture capture(Severity::Fatal);
    EXPECT_FALSE(Mesh::meshesAreCompatible(meshOf({zeros("a", 1)}), meshOf({zeros("b", 1)}), true));
    EXPECT_TRUE(capture.records().empty());
}

TEST(MeshesAreCompatible, PropagatesExceptionsOfTheSink) {
    const LogCapture capture(Severity::Trace, 0);
    EXPECT_THROW((void)Mesh::meshesAreCompatible(meshOf({zeros("a", 1)}), meshOf({}), true), std::runtime_error);
}

TEST(MeshesAreCompatible, EveryRecordHasALineOfItsOwn) {
    const LogCapture capture;
    const MeshPtr mesh = meshOf({zeros("a", 1)});
    const MeshPtr points = meshOf({});
    points->setPrimitive(POINTS);
    for (const MeshPtr& other :
         {points, meshOf({}), meshOf({zeros("b", 1)}), meshOf({AttributeBuffer::createDefault(INT, 3, "a")}),
          meshOf({AttributeBuffer::createDefaultVec2f("a")})}) {
        EXPECT_FALSE(Mesh::meshesAreCompatible(mesh, other, true));
    }
    std::set<int> lines;
    for (const LogRecord& record : capture.records()) {
        lines.insert(record.line);
    }
    EXPECT_EQ(lines.size(), 5u);
}

TEST(MeshesAreCompatible, IgnoresIndicesElementsAndStrides) {
    const LogCapture capture;
    const MeshPtr first = meshOf({zeros("a", 1)}, {0, 1, 2});
    const MeshPtr second = meshOf({});
    second->addAttributeBuffer(std::make_shared<detail::DefaultAttributeBuffer>(
        FLOAT, 3UL, 40UL, 4UL, std::make_shared<detail::VectorBufferData>(), "a"));
    second->setIndexBuffer({});
    EXPECT_TRUE(Mesh::meshesAreCompatible(first, second, true));
    second->setIndexBuffer(IndexBuffer::createDefault(BYTE));
    EXPECT_TRUE(Mesh::meshesAreCompatible(first, second, true));
    EXPECT_TRUE(capture.records().empty());
}

TEST(MeshesAreCompatible, AsksForTheNumberOfAttributesAtEachStep) {
    const auto calls = std::make_shared<Calls>();
    const auto first = std::make_shared<ForeignMesh>(LINES, "first", calls);
    const auto second = std::make_shared<ForeignMesh>(LINES, "second");
    for (const char* name : {"a", "b"}) {
        first->addAttributeBuffer(zeros(name, 1));
        second->addAttributeBuffer(foreignCopy(*zeros(name, 2)));
    }
    calls->clear();
    EXPECT_TRUE(Mesh::meshesAreCompatible(first, second, true));
    EXPECT_EQ(*calls, (Calls{"first.getPrimitiveType", "first.getNumAttributeBuffers", "first.getNumAttributeBuffers",
                             "first.getAttributeBuffer 0", "first.getNumAttributeBuffers", "first.getAttributeBuffer 1",
                             "first.getNumAttributeBuffers"}));
}

TEST(MeshesAreCompatible, RefusesAnEmptyAttributeBuffer) {
    EXPECT_THROW((void)Mesh::meshesAreCompatible(meshOf({zeros("a", 1)}), meshOf({nullptr}), false), std::logic_error);
}

} // namespace
