#include <vexa/mesh/Faults.h>

#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/Views.h>
#include <vexa/mesh/detail/DefaultAttributeBuffer.h>
#include <vexa/mesh/detail/VectorBufferData.h>

#include "support/Foreign.h"
#include "support/Meshes.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstdint>
#include <limits>
#include <map>
#include <optional>
#include <set>
#include <stdexcept>
#include <utility>

namespace {

using namespace vexa::mesh;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::Pair;
using testing::UnorderedElementsAre;
using Indices = std::vector<unsigned int>;

/// Vertices that are on no line with one another.
std::shared_ptr<AttributeBuffer> positions(std::size_t count) {
    std::vector<glm::vec3> result(count);
    for (std::size_t i = 0; i < count; ++i) {
        const auto t = static_cast<float>(i);
        result[i] = {t, t * t, t * t * t};
    }
    return makeAttribute("position", result);
}

/// With the indices as they are, in 32 bits.
MeshPtr uncheckedMesh(PrimitiveType type, const Indices& indices, std::size_t vertexCount) {
    const auto buffer = IndexBuffer::createDefault(UNSIGNED_INT);
    assign(*buffer, indices);
    return makeMesh(type, buffer, {positions(vertexCount)});
}

std::optional<MeshFault> faultOf(const Mesh& mesh, FaultCode code, const FaultOptions& options = {}) {
    for (const MeshFault& fault : findFaults(mesh, options)) {
        if (fault.code == code) {
            return fault;
        }
    }
    return std::nullopt;
}

std::vector<std::string> names(const Mesh& mesh, FaultSeverity minSeverity = FaultSeverity::Note) {
    std::vector<std::string> result;
    for (const MeshFault& fault : findFaults(mesh, {.minSeverity = minSeverity})) {
        result.push_back(getStringForFaultCode(fault.code));
    }
    return result;
}

std::vector<std::uint64_t> elementsOf(const MeshFault& fault) {
    std::vector<std::uint64_t> elements;
    for (const FaultSite& site : fault.sites) {
        elements.push_back(site.element);
    }
    return elements;
}

const Indices tetrahedron{0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3};

TEST(FindFaults, ClosedMeshHasNone) {
    EXPECT_THAT(findFaults(*uncheckedMesh(TRIANGLES, tetrahedron, 4)), IsEmpty());
}

TEST(FindFaults, ReportsIndicesOutOfRangeWithPlaceAndNumber) {
    const MeshPtr mesh = uncheckedMesh(TRIANGLES, {0, 1, 2, 0, 99, 7, 1, 2, 24}, 24);
    const auto fault = faultOf(*mesh, FaultCode::IndexOutOfRange);
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->severity, FaultSeverity::Error);
    EXPECT_EQ(fault->total, 2U);
    EXPECT_EQ(fault->text, "2 of 9 indices are out of range, first 99 at 4: the mesh has 24 vertices");
    EXPECT_THAT(elementsOf(*fault), ElementsAre(4, 8));
    EXPECT_EQ(fault->sites[0].value, 99);
    // The other triangle is still looked at.
    EXPECT_EQ(faultOf(*mesh, FaultCode::OpenBorder)->total, 3U);
    EXPECT_FALSE(faultOf(*mesh, FaultCode::CollapsedTriangle));
}

TEST(FindFaults, ReportsMissingPositionsAndEmptyPointers) {
    const MeshPtr mesh = Mesh::createDefault();
    mesh->addAttributeBuffer(nullptr);
    EXPECT_THAT(names(*mesh), ElementsAre("missing-position", "empty-buffer"));
}

TEST(FindFaults, ReportsNamesAndCountsThatDisagree) {
    const MeshPtr mesh = uncheckedMesh(POINTS, {0, 1, 2}, 3);
    for (const unsigned long count : {3UL, 2UL, 4UL}) {
        mesh->addAttributeBuffer(makeAttribute<float>("uv", count));
    }
    const auto faults = findFaults(*mesh);
    ASSERT_EQ(faults.size(), 4U);
    EXPECT_EQ(faults[0].text, "attribute \"uv\" has 2 elements for 3 vertices");
    EXPECT_EQ(faults[0].severity, FaultSeverity::Error);
    EXPECT_EQ(faults[1].text, "attribute 2 has the name of a preceding one, \"uv\"");
    EXPECT_EQ(faults[3].severity, FaultSeverity::Warning);
}

TEST(FindFaults, ReportsRestartsAndRestsInLists) {
    const MeshPtr mesh = uncheckedMesh(TRIANGLES, {0, 2, 1, restartIndex, 0, 1, 3, 2}, 4);
    EXPECT_EQ(faultOf(*mesh, FaultCode::RestartInList)->text, "1 index restarts a list of TRIANGLES, first at 3");
    const auto rest = faultOf(*mesh, FaultCode::IncompletePrimitive);
    EXPECT_EQ(rest->text, "1 primitive of TRIANGLES is incomplete, first from index 7");
    EXPECT_EQ(rest->sites[0].value, 1);
    const MeshPtr strip = uncheckedMesh(TRIANGLE_STRIP, {0, 2, 1, restartIndex, 0, 1}, 3);
    EXPECT_THAT(names(*strip, FaultSeverity::Warning), ElementsAre("incomplete-primitive"));
}

TEST(FindFaults, ReportsRestsOfEveryType) {
    const auto restOf = [](PrimitiveType type, const Indices& indices) {
        return faultOf(*uncheckedMesh(type, indices, 4), FaultCode::IncompletePrimitive).has_value();
    };
    EXPECT_TRUE(restOf(LINES, {0, 1, 2}));
    EXPECT_FALSE(restOf(LINES, {0, 1, 2, 3}));
    EXPECT_TRUE(restOf(TRIANGLE_FAN, {0, 1}));
    EXPECT_FALSE(restOf(TRIANGLE_FAN, {0, 1, 2}));
    const MeshPtr unknown = Mesh::createDefault(static_cast<PrimitiveType>(7), UNSIGNED_INT);
    unknown->addAttributeBuffer(positions(4));
    unknown->getIndexBuffer()->resize(1);
    EXPECT_FALSE(faultOf(*unknown, FaultCode::IncompletePrimitive)); // it is not known how many make a primitive
}

TEST(FindFaults, ReportsTrianglesOfAFanByTheirNumber) {
    const auto fault = faultOf(*uncheckedMesh(TRIANGLE_FAN, {0, 1, 2, 2, 3}, 4), FaultCode::CollapsedTriangle);
    ASSERT_TRUE(fault);
    ASSERT_EQ(fault->total, 1U);
    EXPECT_EQ(fault->sites[0].element, 1U);
}

TEST(FindFaults, ReportsValuesThatAreNotFiniteOrNotUnit) {
    const float infinity = std::numeric_limits<float>::infinity();
    const MeshPtr mesh = uncheckedMesh(POINTS, {0, 1, 2}, 3);
    mesh->addAttributeBuffer(makeAttribute("normal", std::vector<glm::vec3>{{0, 0, 1}, {0, 3, 4}, {1, 0, 0.01F}}));
    mesh->addAttributeBuffer(makeAttribute("uv", std::vector<glm::vec2>{{0, 0}, {0, infinity}, {infinity, infinity}}));
    const auto finite = faultOf(*mesh, FaultCode::NonFiniteValue);
    EXPECT_EQ(finite->attribute, "uv");
    EXPECT_EQ(finite->text, "3 components of attribute \"uv\" are not finite, first of vertex 1");
    const auto unit = faultOf(*mesh, FaultCode::NonUnitNormal);
    EXPECT_EQ(unit->text, "1 of 3 normals are not of length 1, first 5 of vertex 1");
    EXPECT_EQ(faultOf(*mesh, FaultCode::NonUnitNormal, {.unitTolerance = 1e-6F})->total, 2U);
}

TEST(FindFaults, ReportsASingleValueThatIsNotFinite) {
    const MeshPtr mesh = uncheckedMesh(TRIANGLES, tetrahedron, 4);
    elementsOf<glm::vec3>(*mesh->getAttributeBuffer("position"))[2].y = std::numeric_limits<float>::infinity();
    const auto fault = faultOf(*mesh, FaultCode::NonFiniteValue);
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->text, "1 component of attribute \"position\" is not finite, first of vertex 2");
}

TEST(FindFaults, ChecksTheLengthsOfNormalsOfThreeFloatsForWarningsOnly) {
    const MeshPtr mesh = uncheckedMesh(TRIANGLES, tetrahedron, 4);
    mesh->addAttributeBuffer(makeAttribute("normal", std::vector<glm::vec4>(4, glm::vec4(3))));
    EXPECT_FALSE(faultOf(*mesh, FaultCode::NonUnitNormal));
    mesh->addAttributeBuffer(makeAttribute("normal", std::vector<glm::vec3>(4, glm::vec3(3))));
    EXPECT_TRUE(faultOf(*mesh, FaultCode::NonUnitNormal));
    EXPECT_FALSE(faultOf(*mesh, FaultCode::NonUnitNormal, {.minSeverity = FaultSeverity::Error}));
}

/// Whether a triangle on one line is found by these positions.
bool findsFlat(const AttributeBuffers& attributes) {
    return faultOf(*makeMesh(TRIANGLES, nullptr, attributes), FaultCode::ZeroAreaTriangle).has_value();
}

TEST(FindFaults, MeasuresTrianglesByTheFirstPositionsOfThreeFloatsForAllVertices) {
    const auto flat = makeAttribute("position", std::vector<glm::vec3>{{0, 0, 0}, {1, 0, 0}, {2, 0, 0}});
    EXPECT_TRUE(findsFlat({flat}));
    EXPECT_TRUE(findsFlat({flat, positions(3)}));
    EXPECT_FALSE(findsFlat({positions(3), flat}));
    EXPECT_FALSE(findsFlat({makeAttribute<glm::vec2>("position", 3)}));
    EXPECT_FALSE(findsFlat({positions(3), makeAttribute<float>("uv", 3)}));
    const MeshPtr tooFew = makeMesh(TRIANGLES, nullptr, {makeAttribute<glm::vec2>("position", 3)});
    tooFew->addAttributeBuffer(makeAttribute<glm::vec3>("position", 1));
    EXPECT_FALSE(faultOf(*tooFew, FaultCode::ZeroAreaTriangle));
}

TEST(FindFaults, CountsVerticesByTheFirstAttributeWithoutPositions) {
    const MeshPtr mesh = makeMesh(POINTS, nullptr, {makeAttribute<float>("uv", 3)});
    mesh->addAttributeBuffer(makeAttribute<float>("w", 2));
    const auto fault = faultOf(*mesh, FaultCode::UnequalElementCounts);
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->text, "attribute \"w\" has 2 elements for 3 vertices");
}

TEST(FindFaults, ReportsTrianglesWithoutAnArea) {
    const auto line = makeAttribute("position", std::vector<glm::vec3>{{0, 0, 0}, {1, 1, 1}, {3, 3, 3}, {0, 1, 0}});
    const MeshPtr mesh = makeMesh(TRIANGLES, Indices{0, 1, 3, 0, 1, 2, 3, 3, 0}, {line});
    EXPECT_THAT(elementsOf(*faultOf(*mesh, FaultCode::ZeroAreaTriangle)), ElementsAre(1));
    EXPECT_THAT(elementsOf(*faultOf(*mesh, FaultCode::CollapsedTriangle)), ElementsAre(2));
    const MeshPtr loose = makeMesh(TRIANGLES, nullptr, {makeAttribute<glm::vec3>("position", 3)});
    EXPECT_EQ(faultOf(*loose, FaultCode::ZeroAreaTriangle)->total, 1U);
    // Degenerate triangles join strips.
    const MeshPtr strip = uncheckedMesh(TRIANGLE_STRIP, {0, 1, 2, 2, 3, 3, 4, 5}, 6);
    EXPECT_FALSE(faultOf(*strip, FaultCode::CollapsedTriangle));
}

TEST(FindFaults, ReportsWindingAndEdgesOfMoreThanTwoTriangles) {
    const auto winding = faultOf(*uncheckedMesh(TRIANGLES, {0, 1, 2, 0, 1, 3}, 4), FaultCode::InconsistentWinding);
    EXPECT_EQ(winding->text, "1 edge lies between triangles of opposite winding, first 0-1");
    const auto crowded = faultOf(*uncheckedMesh(TRIANGLES, meshes::book(5), 7), FaultCode::NonManifoldEdge);
    EXPECT_EQ(crowded->text, "1 edge has more than two triangles, first 0-1");
    EXPECT_EQ(crowded->sites[0].value, 1);
}

TEST(FindFaults, NamesBothVerticesOfEveryOpenEdge) {
    const auto fault = faultOf(*uncheckedMesh(TRIANGLES, {0, 1, 2, 2, 1, 3}, 4), FaultCode::OpenBorder);
    ASSERT_TRUE(fault);
    std::vector<std::pair<std::uint64_t, double>> edges;
    for (const FaultSite& site : fault->sites) {
        edges.emplace_back(site.element, site.value);
    }
    EXPECT_THAT(edges, UnorderedElementsAre(Pair(0, 1), Pair(0, 2), Pair(1, 3), Pair(2, 3)));
}

TEST(FindFaults, ReportsIsolatedVertices) {
    EXPECT_EQ(faultOf(*uncheckedMesh(TRIANGLES, tetrahedron, 6), FaultCode::IsolatedVertex)->text,
              "2 vertices are in no primitive, first 4");
}

TEST(FindFaults, LimitsSitesButNotTotals) {
    const MeshPtr mesh = uncheckedMesh(TRIANGLES, meshes::scattered(50), 150);
    const auto fault = faultOf(*mesh, FaultCode::OpenBorder, {.maxSites = 3});
    EXPECT_EQ(fault->total, 150U);
    EXPECT_EQ(fault->sites.size(), 3U);
    EXPECT_THAT(faultOf(*mesh, FaultCode::OpenBorder, {.maxSites = 0})->sites, IsEmpty());
    EXPECT_THAT(names(*mesh, FaultSeverity::Warning), IsEmpty());
}

/// Elements of 12 bytes that are 8 bytes apart.
class OverlappingNormals : public vexa::test::ForeignAttributeBuffer {
public:
    OverlappingNormals() : ForeignAttributeBuffer(FLOAT, 3, "normal") {}
    unsigned long getElementStrideInBytes() const override { return 8; }
};

TEST(FindFaults, ReportsElementsThatOverlapWithoutReadingThem) {
    const auto normals = std::make_shared<OverlappingNormals>();
    normals->resize(4);
    const MeshPtr mesh = uncheckedMesh(TRIANGLES, tetrahedron, 4);
    mesh->addAttributeBuffer(normals);
    const auto faults = findFaults(*mesh);
    ASSERT_EQ(faults.size(), 1U);
    EXPECT_EQ(faults[0].code, FaultCode::SizeOverflow);
    EXPECT_EQ(faults[0].text,
              "attribute \"normal\" has elements of 12 bytes at offset 7, which do not fit a stride of 8 bytes");
}

TEST(FindFaults, FindsCollapsedTrianglesWithoutPositions) {
    const MeshPtr mesh = makeMesh(TRIANGLES, Indices{0, 1, 2, 1, 1, 2}, {makeAttribute<float>("uv", 3)});
    const auto fault = faultOf(*mesh, FaultCode::CollapsedTriangle);
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->total, 1U);
    EXPECT_FALSE(faultOf(*mesh, FaultCode::ZeroAreaTriangle));
}

TEST(FindFaults, ReportsElementsWhoseOffsetExceedsTheStride) {
    const auto data = std::make_shared<detail::VectorBufferData>();
    data->resize(48);
    const MeshPtr mesh = uncheckedMesh(TRIANGLES, tetrahedron, 4);
    mesh->addAttributeBuffer(std::make_shared<detail::DefaultAttributeBuffer>(FLOAT, 2, 12, 8, data, "uv"));
    const auto fault = faultOf(*mesh, FaultCode::SizeOverflow);
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->text,
              "attribute \"uv\" has elements of 8 bytes at offset 8, which do not fit a stride of 12 bytes");
}

/// Floats, each of which takes 8 bytes.
class SpacedFloats : public vexa::test::ForeignAttributeBuffer {
public:
    SpacedFloats() : ForeignAttributeBuffer(FLOAT, 1, "uv") {}
    unsigned long getElementSizeInBytes() const override { return 8; }
    unsigned long getElementStrideInBytes() const override { return 16; }
    void getElement(unsigned long /*index*/, void* /*destination*/) const override { throw std::logic_error("read"); }
};

TEST(FindFaults, DoesNotReadElementsThatAreMoreThanTheirComponents) {
    const auto floats = std::make_shared<SpacedFloats>();
    floats->resize(4);
    const MeshPtr mesh = uncheckedMesh(TRIANGLES, tetrahedron, 4);
    mesh->addAttributeBuffer(floats);
    EXPECT_THAT(findFaults(*mesh), IsEmpty());
}

TEST(FindFaults, ForeignIndicesRestartAsOwnOnesDo) {
    const MeshPtr own = uncheckedMesh(TRIANGLE_STRIP, {0, 1, 2, restartIndex, 3}, 4);
    const MeshPtr foreign = makeMesh(TRIANGLE_STRIP, vexa::test::foreignCopy(*own->getIndexBuffer()), {positions(4)});
    EXPECT_EQ(names(*foreign), names(*own));
    EXPECT_FALSE(faultOf(*foreign, FaultCode::IndexOutOfRange));
}

TEST(FindFaults, ReportsMoreVerticesThanIndicesCanTellApart) {
    const MeshPtr mesh = makeMesh(POINTS, nullptr, {std::make_shared<vexa::test::TooManyPositions>()});
    const auto fault = faultOf(*mesh, FaultCode::SizeOverflow);
    ASSERT_TRUE(fault);
    EXPECT_EQ(fault->text,
              "attribute \"position\" has 4294967295 elements, which indices of 32 bits cannot tell apart; "
              "split the mesh");
}

TEST(FindFaults, ReadsNothingButFloats) {
    const MeshPtr mesh = uncheckedMesh(TRIANGLES, tetrahedron, 4);
    mesh->addAttributeBuffer(makeAttribute("normal", std::vector<std::array<std::uint8_t, 3>>(4, {1, 1, 1})));
    mesh->addAttributeBuffer(
        makeAttribute("colour", std::vector<std::array<std::uint8_t, 4>>(4, {255, 255, 255, 255})));
    EXPECT_THAT(findFaults(*mesh), IsEmpty());
}

TEST(GetStringForFault, NamesEveryCodeAndSeverity) {
    std::vector<std::string> codes;
    for (int code = 0; code <= static_cast<int>(FaultCode::IsolatedVertex) + 1; ++code) {
        codes.push_back(getStringForFaultCode(static_cast<FaultCode>(code)));
    }
    EXPECT_THAT(codes, ElementsAre("missing-position", "empty-buffer", "duplicate-name", "unequal-element-counts",
                                   "size-overflow", "index-out-of-range", "restart-in-list", "incomplete-primitive",
                                   "non-finite-value", "non-unit-normal", "collapsed-triangle", "zero-area-triangle",
                                   "duplicate-triangle", "inconsistent-winding", "non-manifold-edge", "open-border",
                                   "isolated-vertex", ""));
    std::vector<std::string> severities;
    for (int severity = 0; severity <= static_cast<int>(FaultSeverity::Error) + 1; ++severity) {
        severities.push_back(getStringForFaultSeverity(static_cast<FaultSeverity>(severity)));
    }
    EXPECT_THAT(severities, ElementsAre("note", "warning", "error", ""));
}

TEST(FindFaults, ForeignBuffersHaveTheSameFaults) {
    const MeshPtr own = uncheckedMesh(TRIANGLES, {0, 1, 2, 0, 1, 1, 9, 1, 2}, 4);
    const MeshPtr foreign = makeMesh(TRIANGLES, vexa::test::foreignCopy(*own->getIndexBuffer()),
                                     {vexa::test::foreignCopy(*own->getAttributeBuffer(0))});
    EXPECT_EQ(names(*foreign), names(*own));
    EXPECT_THAT(names(*own), ElementsAre("index-out-of-range", "collapsed-triangle", "open-border", "isolated-vertex"));
}

/// The totals of the faults of a surface, by plain maps.
std::map<FaultCode, std::uint64_t> plainTotals(const Indices& triangles) {
    std::map<FaultCode, std::uint64_t> totals;
    std::map<std::pair<unsigned int, unsigned int>, std::vector<bool>> edges; // the way of each triangle
    std::set<std::array<unsigned int, 3>> known;
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        std::array<unsigned int, 3> corners{triangles[i], triangles[i + 1], triangles[i + 2]};
        if (corners[0] == corners[1] || corners[1] == corners[2] || corners[2] == corners[0]) {
            ++totals[FaultCode::CollapsedTriangle];
            continue;
        }
        for (std::size_t k = 0; k < 3; ++k) {
            const unsigned int a = corners[k];
            const unsigned int b = corners[(k + 1) % 3];
            edges[std::minmax(a, b)].push_back(a < b);
        }
        std::sort(corners.begin(), corners.end());
        totals[FaultCode::DuplicateTriangle] += known.insert(corners).second ? 0 : 1;
    }
    for (const auto& [edge, ways] : edges) {
        totals[FaultCode::OpenBorder] += ways.size() == 1 ? 1 : 0;
        totals[FaultCode::NonManifoldEdge] += ways.size() > 2 ? 1 : 0;
        totals[FaultCode::InconsistentWinding] += ways.size() == 2 && ways[0] == ways[1] ? 1 : 0;
    }
    std::erase_if(totals, [](const auto& entry) { return entry.second == 0; });
    return totals;
}

TEST(FindFaults, TotalsAreThoseOfPlainMaps) {
    for (const meshes::NamedMesh& mesh : meshes::suite()) {
        const std::size_t vertexCount =
            mesh.indices.empty() ? 0 : 1 + std::size_t{*std::max_element(mesh.indices.begin(), mesh.indices.end())};
        std::map<FaultCode, std::uint64_t> totals;
        for (const MeshFault& fault : findFaults(*uncheckedMesh(TRIANGLES, mesh.indices, vertexCount))) {
            if (fault.code >= FaultCode::CollapsedTriangle && fault.code <= FaultCode::OpenBorder &&
                fault.code != FaultCode::ZeroAreaTriangle) {
                totals[fault.code] = fault.total;
            }
        }
        EXPECT_EQ(totals, plainTotals(mesh.indices)) << mesh.name;
    }
}

} // namespace
