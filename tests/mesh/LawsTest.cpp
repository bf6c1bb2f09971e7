// Laws that hold between operations, whatever the mesh: each is checked on meshes of every family, or on random ones.

#include "reference/ReferenceDecode.h"
#include "support/Buffers.h"
#include "support/Floats.h"
#include "support/Meshes.h"

#include <vexa/mesh/AttributeTransformation.h>
#include <vexa/mesh/HalfEdgeGraph.h>
#include <vexa/mesh/MeshConcatenation.h>
#include <vexa/mesh/NormalQuantization.h>
#include <vexa/mesh/StripBound.h>
#include <vexa/mesh/StripBuffer.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <glm/common.hpp>
#include <glm/gtc/matrix_transform.hpp>
#include <set>
#include <utility>
#include <vector>

namespace {

using namespace vexa::mesh;
using meshes::Indices;
using vexa::test::elementsOf;
using vexa::test::meshOf;
using vexa::test::Vec3;
using vexa::test::vec3f;

/// Meshes of up to 400 triangles from every family.
const std::vector<meshes::NamedMesh>& examples() {
    static const std::vector<meshes::NamedMesh> all = [] {
        std::vector<meshes::NamedMesh> chosen = meshes::suite();
        std::erase_if(chosen, [](const meshes::NamedMesh& mesh) { return mesh.indices.size() > 1200; });
        return chosen;
    }();
    return all;
}

template <typename Law>
void forEachExample(const Law& law) {
    for (const meshes::NamedMesh& mesh : examples()) {
        SCOPED_TRACE(mesh.name);
        law(mesh.indices);
    }
}

Indices stripsOf(const Indices& mesh, StripJoin join = StripJoin::Restart) {
    return buildStripBuffer(mesh, {.effort = 1, .join = join});
}

TEST(LawsOfStrips, DecodingUndoesCutting) {
    forEachExample([](const Indices& mesh) {
        for (const StripJoin join : {StripJoin::Restart, StripJoin::Degenerate}) {
            EXPECT_TRUE(sameTriangles(toTriangles(TRIANGLE_STRIP, stripsOf(mesh, join)), toTriangles(TRIANGLES, mesh)));
        }
    });
}

TEST(LawsOfStrips, DecodingAListTwiceIsDecodingItOnce) {
    forEachExample([](const Indices& mesh) {
        const auto once = toTriangles(TRIANGLES, mesh);
        EXPECT_EQ(toTriangles(TRIANGLES, once), once);
    });
}

TEST(LawsOfStrips, DecodingJoinedPartsIsJoiningDecodedParts) {
    forEachExample([](const Indices& mesh) {
        const Indices one = stripsOf(mesh);
        const Indices other = stripsOf(meshes::shifted(mesh, 7));
        const Indices joint = meshes::joined(one, meshes::joined({0xffffffffU}, other));
        EXPECT_EQ(toTriangles(TRIANGLE_STRIP, joint),
                  meshes::joined(toTriangles(TRIANGLE_STRIP, one), toTriangles(TRIANGLE_STRIP, other)));
    });
}

TEST(LawsOfStrips, JoiningOneStripLeavesItAsItIs) {
    forEachExample([](const Indices& mesh) {
        const std::vector<IndexedPrimitive> all = buildStrips(mesh, {.effort = 0});
        for (const StripJoin join : {StripJoin::Restart, StripJoin::Degenerate}) {
            const Indices joined = joinStrips(all, join);
            EXPECT_EQ(joinStrips(std::vector<IndexedPrimitive>{{TRIANGLE_STRIP, joined}}, join), joined);
        }
    });
}

TEST(LawsOfStrips, JoiningBuiltStripsIsBuildingTheBuffer) {
    forEachExample([](const Indices& mesh) {
        EXPECT_EQ(joinStrips(buildStrips(mesh, {}), StripJoin::Restart), buildStripBuffer(mesh, {}));
    });
}

TEST(LawsOfStrips, NumbersOfVerticesDoNotMatter) {
    forEachExample([](const Indices& mesh) {
        Indices expected = stripsOf(mesh);
        for (unsigned int& index : expected) {
            index += index == 0xffffffffU ? 0 : 1000;
        }
        EXPECT_EQ(stripsOf(meshes::shifted(mesh, 1000)), expected);
    });
}

TEST(LawsOfStrips, LengthsAddUpToTheTrianglesAndStayBelowTheLimit) {
    forEachExample([](const Indices& mesh) {
        std::size_t triangles = 0;
        for (const IndexedPrimitive& strip : buildStrips(mesh, {.maxTriangles = 5})) {
            const std::size_t length = toTriangles(strip.type, strip.indices).size() / 3;
            EXPECT_LE(length, 5u);
            triangles += length;
        }
        EXPECT_EQ(triangles, toTriangles(TRIANGLES, mesh).size() / 3);
    });
}

TEST(LawsOfStrips, NoneAreShorterThanTheBound) {
    forEachExample([](const Indices& mesh) {
        for (const StripJoin join : {StripJoin::Restart, StripJoin::Degenerate}) {
            EXPECT_LE(minIndexCount(mesh, join), buildStripBuffer(mesh, {.join = join}).size());
        }
    });
}

TEST(LawsOfStrips, BoundOfSeparateCopiesIsAtMostTheirSumWithOneRestart) {
    forEachExample([](const Indices& mesh) {
        const Indices kept = toTriangles(TRIANGLES, mesh);
        if (kept.empty()) {
            return;
        }
        const unsigned int offset = *std::max_element(kept.begin(), kept.end()) + 1;
        const auto both = meshes::joined(kept, meshes::shifted(kept, offset));
        EXPECT_LE(minIndexCount(both, StripJoin::Restart),
                  2 * buildStripBuffer(kept, {.join = StripJoin::Restart}).size() + 1);
    });
}

TEST(LawsOfTriangleSums, OrderAndFirstCornersDoNotMatter) {
    forEachExample([](const Indices& mesh) {
        EXPECT_EQ(sumTriangles(TRIANGLES, meshes::shuffled(mesh, 1)), sumTriangles(TRIANGLES, mesh));
        EXPECT_EQ(sumTriangles(TRIANGLES, meshes::turned(mesh, 1)), sumTriangles(TRIANGLES, mesh));
    });
}

TEST(LawsOfTriangleSums, PartsAddUpToTheWhole) {
    forEachExample([](const Indices& mesh) {
        const Indices front(mesh.begin(), mesh.begin() + static_cast<std::ptrdiff_t>(mesh.size() / 6 * 3));
        const Indices back(mesh.begin() + static_cast<std::ptrdiff_t>(front.size()), mesh.end());
        TriangleSum sum = sumTriangles(TRIANGLES, front);
        sum += sumTriangles(TRIANGLES, back);
        EXPECT_EQ(sum, sumTriangles(TRIANGLES, mesh));
    });
}

TEST(LawsOfTriangleSums, OfAStripAreThoseOfItsTriangles) {
    forEachExample([](const Indices& mesh) {
        const Indices strip = stripsOf(mesh, StripJoin::Degenerate);
        EXPECT_EQ(sumTriangles(TRIANGLE_STRIP, strip), sumTriangles(TRIANGLES, toTriangles(TRIANGLE_STRIP, strip)));
    });
}

TEST(LawsOfTriangleSums, FlippingTwiceIsNotFlippingAndOnceIs) {
    forEachExample([](const Indices& mesh) {
        const auto flipped = meshes::flipped(mesh, 100, 1);
        EXPECT_TRUE(sameTriangles(meshes::flipped(flipped, 100, 1), mesh));
        // Except where every triangle comes with its mirror image.
        const std::set<std::array<unsigned int, 3>> all = [&] {
            std::set<std::array<unsigned int, 3>> triangles;
            const Indices sorted = reference::canonical(toTriangles(TRIANGLES, mesh));
            for (std::size_t i = 0; i < sorted.size(); i += 3) {
                triangles.insert({sorted[i], sorted[i + 1], sorted[i + 2]});
            }
            return triangles;
        }();
        const bool hasUnpaired = std::any_of(all.begin(), all.end(), [&](const std::array<unsigned int, 3>& t) {
            return all.count({t[0], t[2], t[1]}) == 0;
        });
        EXPECT_EQ(sameTriangles(flipped, mesh), !hasUnpaired && reference::canonical(toTriangles(TRIANGLES, flipped)) ==
                                                                    reference::canonical(toTriangles(TRIANGLES, mesh)));
    });
}

/// The lines of edges as a set.
std::set<std::pair<unsigned int, unsigned int>> edgesOf(const Indices& mesh) {
    HalfEdgeGraph graph;
    graph.addTriangles(mesh.data(), mesh.size());
    Indices lines;
    graph.calcEgdeLines(lines, false);
    std::set<std::pair<unsigned int, unsigned int>> edges;
    for (std::size_t i = 0; i + 1 < lines.size(); i += 2) {
        edges.insert(std::minmax(lines[i], lines[i + 1]));
    }
    return edges;
}

TEST(LawsOfGraphs, EdgesDoNotDependOnTheOrderOfTriangles) {
    // Triangles that are split off or collapsed have edges of their own, and which those are depends on the order.
    for (const meshes::NamedMesh& mesh : meshes::family("Plain")) {
        EXPECT_EQ(edgesOf(meshes::shuffled(meshes::turned(mesh.indices, 2), 3)), edgesOf(mesh.indices)) << mesh.name;
    }
}

TEST(LawsOfGraphs, PrimitivesHoldTheTrianglesThatWereAdded) {
    forEachExample([](const Indices& mesh) {
        HalfEdgeGraph graph;
        graph.addTriangles(mesh.data(), mesh.size());
        graph.calcOptPrim(1, true, true, 4, true);
        TriangleSum sum;
        Indices indices;
        for (int type = graph.getPrimitive(indices, 0); type != 0; type = graph.getPrimitive(indices, 0)) {
            sum += sumTriangles(static_cast<PrimitiveType>(type), indices);
            indices.clear();
        }
        EXPECT_EQ(sum, sumTriangles(TRIANGLES, mesh));
    });
}

std::vector<Vec3> randomVectors(std::size_t count, std::uint32_t seed) {
    meshes::Random random(seed);
    std::vector<Vec3> all(count);
    for (Vec3& vector : all) {
        for (float& component : vector) {
            component = static_cast<float>(static_cast<int>(random.below(257)) - 128);
        }
    }
    return all;
}

MeshPtr randomMesh(std::uint32_t seed) {
    return meshOf({vec3f("position", randomVectors(20, seed)), vec3f("normal", randomVectors(20, seed + 1))},
                  {0, 1, 2, 19, 18, 17});
}

std::vector<Vec3> valuesOf(const MeshPtr& mesh, const std::string& name) {
    return elementsOf<Vec3>(*mesh->getAttributeBuffer(name));
}

AttributeTransformationMap by(const glm::mat4& m) {
    AttributeTransformationMap map;
    createClassicTransformation(map, m);
    return map;
}

glm::mat4 moved(float x, float y, float z) {
    return glm::translate(glm::mat4(1.0F), glm::vec3(x, y, z));
}

TEST(LawsOfTransformations, TheIdentityChangesNoPosition) {
    MeshPtr mesh = randomMesh(1);
    const auto before = valuesOf(mesh, "position");
    transformMesh(mesh, by(glm::mat4(1.0F)));
    EXPECT_EQ(valuesOf(mesh, "position"), before);
}

TEST(LawsOfTransformations, MovesAddUp) {
    MeshPtr mesh = randomMesh(2);
    MeshPtr other = randomMesh(2);
    transformMesh(mesh, by(moved(1, 2, 3)));
    transformMesh(mesh, by(moved(4, -5, 6)));
    transformMesh(other, by(moved(5, -3, 9)));
    EXPECT_EQ(valuesOf(mesh, "position"), valuesOf(other, "position"));
}

TEST(LawsOfTransformations, TheInverseLeadsBack) {
    const glm::mat4 m = glm::scale(glm::rotate(moved(3, 4, 5), 0.7F, glm::vec3(1, 2, 2) / 3.0F), glm::vec3(2, 0.5F, 4));
    MeshPtr mesh = randomMesh(3);
    const auto before = valuesOf(mesh, "position");
    transformMesh(mesh, by(m));
    transformMesh(mesh, by(glm::inverse(m)));
    const auto after = valuesOf(mesh, "position");
    for (std::size_t i = 0; i < before.size(); ++i) {
        for (std::size_t j = 0; j < 3; ++j) {
            EXPECT_NEAR(after[i][j], before[i][j], 1e-3);
        }
    }
}

/// Appends a copy of a mesh to another.
MeshPtr appended(const MeshPtr& first, const MeshPtr& second) {
    MeshPtr result = Mesh::createEmptyMesh(first);
    concatMeshes(result, first, {});
    concatMeshes(result, second, {});
    return result;
}

void expectEqual(const MeshPtr& a, const MeshPtr& b) {
    EXPECT_EQ(valuesOf(a, "position"), valuesOf(b, "position"));
    EXPECT_EQ(valuesOf(a, "normal"), valuesOf(b, "normal"));
    EXPECT_EQ(vexa::test::indicesOf(*a->getIndexBuffer()), vexa::test::indicesOf(*b->getIndexBuffer()));
}

TEST(LawsOfConcatenation, IsAssociative) {
    const MeshPtr a = randomMesh(4);
    const MeshPtr b = randomMesh(5);
    const MeshPtr c = randomMesh(6);
    expectEqual(appended(appended(a, b), c), appended(a, appended(b, c)));
}

TEST(LawsOfConcatenation, AnEmptyMeshChangesNothingOnEitherSide) {
    const MeshPtr a = randomMesh(7);
    const MeshPtr empty = Mesh::createEmptyMesh(a);
    expectEqual(appended(a, empty), a);
    expectEqual(appended(empty, a), a);
}

TEST(LawsOfConcatenation, TransformingThePartsIsTransformingTheWhole) {
    const auto m = by(moved(1, -1, 2));
    MeshPtr parts = Mesh::createEmptyMesh(randomMesh(8));
    concatMeshes(parts, randomMesh(8), m);
    concatMeshes(parts, randomMesh(9), m);
    MeshPtr whole = appended(randomMesh(8), randomMesh(9));
    transformMesh(whole, m);
    expectEqual(parts, whole);
}

glm::detail::taabb<float> boxOf(const MeshPtr& mesh, const glm::mat4& m = glm::mat4(1.0F)) {
    glm::detail::taabb<float> box{};
    box.min = glm::vec3(1e30F);
    box.max = glm::vec3(-1e30F);
    computeVolume(box, mesh, m);
    return box;
}

TEST(LawsOfBoundingBoxes, TheBoxOfTheWholeIsThatOfThePartsTogether) {
    const MeshPtr a = randomMesh(10);
    const MeshPtr b = randomMesh(11);
    EXPECT_EQ(glm::min(boxOf(a).min, boxOf(b).min), boxOf(appended(a, b)).min);
    EXPECT_EQ(glm::max(boxOf(a).max, boxOf(b).max), boxOf(appended(a, b)).max);
}

TEST(LawsOfBoundingBoxes, UnderAMatrixIsThatOfTheTransformedMesh) {
    const glm::mat4 m = glm::scale(moved(1, 2, 3), glm::vec3(2, 4, -8));
    MeshPtr mesh = randomMesh(12);
    const auto expected = boxOf(mesh, m);
    transformMesh(mesh, by(m));
    EXPECT_EQ(boxOf(mesh).min, expected.min);
    EXPECT_EQ(boxOf(mesh).max, expected.max);
}

TEST(LawsOfCompatibility, IsReflexiveAndSymmetricAndThatOfAnEmptyCopy) {
    const MeshPtr a = randomMesh(13);
    const MeshPtr b = meshOf({vec3f("position", randomVectors(5, 1))}, {0, 1, 2});
    EXPECT_TRUE(Mesh::meshesAreCompatible(a, a, false));
    EXPECT_EQ(Mesh::meshesAreCompatible(a, b, false), Mesh::meshesAreCompatible(b, a, false));
    EXPECT_TRUE(Mesh::meshesAreCompatible(a, Mesh::createEmptyMesh(a), false));
    EXPECT_TRUE(Mesh::meshesAreCompatible(Mesh::createEmptyMesh(a), a, false));
}

/// Packs what two bytes unpack to.
std::array<unsigned char, 2> repacked(std::array<unsigned char, 2> bytes) {
    glm::vec3 normal;
    dequantizeNormal(bytes.data(), &normal);
    quantizeNormal(&normal, bytes.data());
    return bytes;
}

TEST(LawsOfPackedNormals, UnpackedOnesPackToTheSameDirectionForEver) {
    for (unsigned int x = 0; x < 256; ++x) {
        for (unsigned int y = 0; y < 256; ++y) {
            const std::array<unsigned char, 2> once =
                repacked({static_cast<unsigned char>(x), static_cast<unsigned char>(y)});
            // Truncation may lower a byte at each repetition, but not below 0.
            std::array<unsigned char, 2> bytes = once;
            for (int i = 0; i < 600; ++i) {
                const std::array<unsigned char, 2> next = repacked(bytes);
                if (next == bytes) {
                    break;
                }
                bytes = next;
            }
            ASSERT_EQ(repacked(bytes), bytes) << x << " " << y;
        }
    }
}

TEST(LawsOfPackedNormals, MirroringXAndYMirrorsTheUnpackedNormal) {
    for (unsigned int x = 0; x < 256; ++x) {
        for (unsigned int y = 0; y < 256; ++y) {
            std::array<unsigned char, 2> bytes{static_cast<unsigned char>(x), static_cast<unsigned char>(y)};
            std::array<unsigned char, 2> mirrored{static_cast<unsigned char>(255 - x),
                                                  static_cast<unsigned char>(255 - y)};
            glm::vec3 a;
            glm::vec3 b;
            dequantizeNormal(bytes.data(), &a);
            dequantizeNormal(mirrored.data(), &b);
            ASSERT_NEAR(a.x, -b.x, 1e-6) << x << " " << y;
            ASSERT_NEAR(a.y, -b.y, 1e-6) << x << " " << y;
            ASSERT_NEAR(a.z, b.z, 1e-6) << x << " " << y;
        }
    }
}

} // namespace
