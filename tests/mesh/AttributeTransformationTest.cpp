#include <vexa/mesh/AttributeTransformation.h>

#include <vexa/mesh/NormalQuantization.h>
#include <vexa/mesh/detail/DefaultAttributeBuffer.h>
#include <vexa/mesh/detail/VectorBufferData.h>

#include "reference/ReferenceOperations.h"
#include "support/Buffers.h"
#include "support/Floats.h"
#include "support/Foreign.h"

#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>

namespace {

using namespace vexa::mesh;
using vexa::test::attribute;
using vexa::test::Calls;
using vexa::test::elementsOf;
using vexa::test::exactly;
using vexa::test::foreignCopy;
using vexa::test::meshOf;
using vexa::test::Vec3;
using vexa::test::vec3f;

AttributeTransformationMap classic(const glm::mat4& m) {
    AttributeTransformationMap map;
    createClassicTransformation(map, m);
    return map;
}

Vec3 apply(const AttributeTransformationFunction& f, Vec3 element) {
    f(element.data());
    return element;
}

glm::mat4 scaling(float x, float y, float z) {
    glm::mat4 m(1.0F);
    m[0][0] = x;
    m[1][1] = y;
    m[2][2] = z;
    return m;
}

/// Adds 1 to the first float of an element.
void addOne(void* element) {
    float x;
    std::memcpy(&x, element, sizeof x);
    x += 1;
    std::memcpy(element, &x, sizeof x);
}

/// Throws at the call of the given number.
AttributeTransformationFunction throwingAt(int number) {
    return [number, calls = 0](void* element) mutable {
        if (calls++ == number) {
            throw std::runtime_error("transformation");
        }
        addOne(element);
    };
}

TEST(ClassicTransformation, SetsTwoEntriesAndLeavesTheOthers) {
    AttributeTransformationMap map;
    map["position"] = nullptr;
    map["uv"] = addOne;
    createClassicTransformation(map, glm::mat4(1.0F));
    EXPECT_EQ(map.size(), 3u);
    EXPECT_TRUE(map.at("position"));
    EXPECT_TRUE(map.at("normal"));
    EXPECT_EQ(*map.at("uv").target<void (*)(void*)>(), addOne);
}

TEST(ClassicTransformation, OnlyNormalisesForTheIdentity) {
    const auto map = classic(glm::mat4(1.0F));
    EXPECT_EQ(apply(map.at("position"), {1, -2, 3}), (Vec3{1, -2, 3}));
    EXPECT_EQ(apply(map.at("normal"), {0, 0, 2}), (Vec3{0, 0, 1}));
    EXPECT_EQ(apply(map.at("normal"), {1, 1, 0}), (Vec3{0.5F, 0.5F, 0}));
    EXPECT_EQ(apply(map.at("normal"), {0, 0, 0}), (Vec3{0, 0, 0}));
}

TEST(ClassicTransformation, ScalesAndTranslatesPositionsOnly) {
    glm::mat4 m = scaling(2, 2, 2);
    m[3] = {1.0F, 2.0F, 3.0F, 1.0F};
    const auto map = classic(m);
    EXPECT_EQ(apply(map.at("position"), {1, 1, 1}), (Vec3{3, 4, 5}));
    EXPECT_EQ(apply(map.at("normal"), {1, 0, 0}), (Vec3{1, 0, 0}));
}

TEST(ClassicTransformation, UsesASingularPartAsItIs) {
    EXPECT_EQ(apply(classic(scaling(0, 1, 1)).at("normal"), {1, 1, 0}), (Vec3{0, 1, 0}));
}

TEST(ClassicTransformation, DividesByTheTransformedW) {
    glm::mat4 m(1.0F);
    m[3][3] = 2.0F;
    EXPECT_EQ(apply(classic(m).at("position"), {2, 4, 6}), (Vec3{1, 2, 3}));
    m[3][3] = 0.0F;
    const Vec3 infinite = apply(classic(m).at("position"), {1, -1, 0});
    EXPECT_TRUE(std::isinf(infinite[0]) && std::isinf(infinite[1]) && std::isnan(infinite[2]));
}

// The determinant is the constant itself: still singular, and one step above it no longer.
TEST(ClassicTransformation, TreatsADeterminantOfTheThresholdAsSingular) {
    const float constant = 1e-9F;
    EXPECT_EQ(apply(classic(scaling(constant, 1, 1)).at("normal"), {1, 1, 0}), (Vec3{constant, 1, 0}));
    const float above = std::nextafter(constant, 1.0F);
    EXPECT_EQ(apply(classic(scaling(above, 1, 1)).at("normal"), {1, 1, 0})[0], 1.0F);
    EXPECT_EQ(apply(classic(scaling(-constant, 1, 1)).at("normal"), {1, 1, 0}), (Vec3{-constant, 1, 0}));
}

TEST(ClassicTransformation, NormalisesFromTheThresholdOn) {
    const auto normal = classic(glm::mat4(1.0F)).at("normal");
    const float constant = 1e-9F;
    const float below = std::nextafter(constant, 0.0F);
    EXPECT_EQ(apply(normal, {constant, 0, 0}), (Vec3{1, 0, 0}));
    EXPECT_EQ(apply(normal, {below, 0, 0}), (Vec3{below, 0, 0}));
}

TEST(ClassicTransformation, HoldsCopiesOfTheMatrix) {
    glm::mat4 m = scaling(2, 2, 2);
    const auto map = classic(m);
    m = glm::mat4(0.0F);
    EXPECT_EQ(apply(map.at("position"), {1, 1, 1}), (Vec3{2, 2, 2}));
}

TEST(ClassicTransformation, MatchesTheReferenceToTheBit) {
    std::vector<Vec3> vectors = vexa::test::mixedVectors(3000, 1);
    const std::vector<Vec3> ordinary = vexa::test::ordinaryVectors(3000, 2);
    vectors.insert(vectors.end(), ordinary.begin(), ordinary.end());
    for (const glm::mat4& m : vexa::test::variousMatrices()) {
        const auto map = classic(m);
        const reference::Mat3 normalMatrix = reference::normalMatrix(m);
        for (const Vec3& v : vectors) {
            ASSERT_EQ(exactly(apply(map.at("position"), v)), exactly(reference::transformPosition(m, v)));
            ASSERT_EQ(exactly(apply(map.at("normal"), v)), exactly(reference::transformNormal(normalMatrix, v)));
        }
    }
}

// In bulk, through the interface and one by one: the same bytes, whatever came in.
TEST(TransformAttrib, GivesTheSameBytesInBulkAndThroughTheInterface) {
    for (const std::size_t count : {0UL, 1UL, 2UL, 3UL, 4UL, 5UL, 7UL, 8UL, 9UL, 31UL, 1000UL}) {
        const std::vector<Vec3> vectors = vexa::test::mixedVectors(count, static_cast<std::uint32_t>(count));
        for (const glm::mat4& m : vexa::test::variousMatrices()) {
            for (const char* name : {"position", "normal"}) {
                std::shared_ptr<AttributeBuffer> own = vec3f(name, vectors);
                std::shared_ptr<AttributeBuffer> foreign = foreignCopy(*own);
                const auto map = classic(m);
                transformAttrib(own, map.at(name));
                transformAttrib(foreign, map.at(name));
                const std::vector<Vec3> result = elementsOf<Vec3>(*own);
                const std::vector<Vec3> expected = elementsOf<Vec3>(*foreign);
                ASSERT_TRUE(count == 0 || std::memcmp(result.data(), expected.data(), 12 * count) == 0) << name;
                for (std::size_t i = 0; i < count; ++i) {
                    const Vec3 plain = *name == 'p'
                                           ? reference::transformPosition(m, vectors[i])
                                           : reference::transformNormal(reference::normalMatrix(m), vectors[i]);
                    ASSERT_EQ(exactly(result[i]), exactly(plain)) << name << " " << i;
                }
            }
        }
    }
}

TEST(TransformAttrib, FetchesTransformsAndStoresEachElementInOrder) {
    const auto calls = std::make_shared<Calls>();
    std::shared_ptr<AttributeBuffer> buffer = foreignCopy(*vec3f("a", {{1, 2, 3}, {4, 5, 6}}), calls);
    transformAttrib(buffer, addOne);
    EXPECT_EQ(*calls, (Calls{"a.getElementCount", "a.getElementSizeInBytes", "a.getElement 0", "a.setElement 0",
                             "a.getElement 1", "a.setElement 1"}));
    EXPECT_EQ(elementsOf<Vec3>(*buffer), (std::vector<Vec3>{{2, 2, 3}, {5, 5, 6}}));
}

TEST(TransformAttrib, LeavesBytesBetweenElementsAlone) {
    const auto data = std::make_shared<detail::VectorBufferData>();
    std::shared_ptr<AttributeBuffer> buffer =
        std::make_shared<detail::DefaultAttributeBuffer>(FLOAT, 3UL, 16UL, 4UL, data, "position");
    data->resize(36);
    std::memset(data->getData(), 0x11, 36);
    const std::vector<unsigned char> before(36, 0x11);
    transformAttrib(buffer, classic(scaling(2, 2, 2)).at("position"));
    const auto* bytes = static_cast<const unsigned char*>(data->getData());
    EXPECT_EQ(std::memcmp(bytes, before.data(), 4), 0);
    EXPECT_NE(std::memcmp(bytes + 4, before.data(), 12), 0);
    EXPECT_EQ(std::memcmp(bytes + 16, before.data(), 4), 0);
    EXPECT_NE(std::memcmp(bytes + 20, before.data(), 12), 0);
    EXPECT_EQ(std::memcmp(bytes + 32, before.data(), 4), 0);
}

TEST(TransformAttrib, CallsTheFunctionForElementsWithoutComponentsAndStoresNothing) {
    const auto data = std::make_shared<detail::VectorBufferData>();
    data->resize(36);
    std::memset(data->getData(), 0x11, 36);
    std::shared_ptr<AttributeBuffer> buffer =
        std::make_shared<detail::DefaultAttributeBuffer>(FLOAT, 0UL, 12UL, 0UL, data, "a");
    int calls = 0;
    transformAttrib(buffer, [&calls](void*) { ++calls; });
    EXPECT_EQ(calls, 3);
    const auto* bytes = static_cast<const unsigned char*>(data->getData());
    EXPECT_EQ(std::vector<unsigned char>(bytes, bytes + 36), std::vector<unsigned char>(36, 0x11));
}

TEST(TransformAttrib, GoesThroughAForeignStorageForEachElement) {
    std::shared_ptr<AttributeBuffer> buffer = AttributeBuffer::createDefaultVec3f("position");
    const auto data = std::make_shared<vexa::test::ForeignData>();
    dynamic_cast<detail::DefaultBuffer&>(*buffer).getBufferData() = data;
    buffer->resize(3);
    transformAttrib(buffer, classic(scaling(2, 2, 2)).at("position"));
    EXPECT_EQ(data->timesAsked(), 6u);
}

TEST(TransformAttrib, ThrowsForAnEmptyFunctionAtTheFirstElement) {
    auto buffer = vec3f("a", {{1, 2, 3}});
    EXPECT_THROW(transformAttrib(buffer, nullptr), std::bad_function_call);
    EXPECT_EQ(elementsOf<Vec3>(*buffer), (std::vector<Vec3>{{1, 2, 3}}));
    auto empty = vec3f("a", {});
    EXPECT_NO_THROW(transformAttrib(empty, nullptr));
}

TEST(TransformAttrib, KeepsElementsTransformedBeforeAnException) {
    auto buffer = vec3f("a", {{1, 0, 0}, {2, 0, 0}, {3, 0, 0}});
    EXPECT_THROW(transformAttrib(buffer, throwingAt(1)), std::runtime_error);
    EXPECT_EQ(elementsOf<Vec3>(*buffer), (std::vector<Vec3>{{2, 0, 0}, {2, 0, 0}, {3, 0, 0}}));
}

TEST(TransformAttrib, GivesTheFunctionACopyWithZerosWhereNothingWasRead) {
    auto buffer = vec3f("a", {{1, 2, 3}, {4, 5, 6}});
    std::vector<Vec3> seen;
    transformAttrib(buffer, [&](void* element) {
        Vec3 value;
        std::memcpy(value.data(), element, 12);
        seen.push_back(value);
        std::memset(element, 0, 12);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(element) % alignof(double), 0u);
    });
    EXPECT_EQ(seen, (std::vector<Vec3>{{1, 2, 3}, {4, 5, 6}}));
    EXPECT_EQ(elementsOf<Vec3>(*buffer), (std::vector<Vec3>{{0, 0, 0}, {0, 0, 0}}));
}

// Each element is fetched from where the storage is then.
TEST(TransformAttrib, FunctionMayMoveTheStorageAndResetTheCallersPointer) {
    auto buffer = vec3f("a", {{1, 0, 0}, {2, 0, 0}, {3, 0, 0}});
    const auto held = buffer;
    transformAttrib(buffer, [&](void* element) {
        held->resize(held->getElementCount() + 1000);
        buffer.reset();
        addOne(element);
    });
    EXPECT_EQ(buffer, nullptr);
    EXPECT_EQ(held->getElementCount(), 3003u);
    const std::vector<Vec3> elements = elementsOf<Vec3>(*held);
    EXPECT_EQ(elements[0][0], 2);
    EXPECT_EQ(elements[1][0], 3);
    EXPECT_EQ(elements[2][0], 4);
    EXPECT_EQ(elements[3][0], 0);
}

TEST(TransformAttrib, FunctionMayReplaceTheStorage) {
    auto buffer = vec3f("a", {{1, 0, 0}, {2, 0, 0}, {3, 0, 0}});
    auto& data = dynamic_cast<detail::DefaultBuffer&>(*buffer).getBufferData();
    const auto first = data;
    const auto other = vec3f("b", {{7, 0, 0}, {8, 0, 0}, {9, 0, 0}});
    transformAttrib(buffer, [&](void* element) {
        data = dynamic_cast<detail::DefaultBuffer&>(*other).getBufferData();
        addOne(element);
    });
    EXPECT_EQ(elementsOf<Vec3>(*buffer), (std::vector<Vec3>{{2, 0, 0}, {9, 0, 0}, {10, 0, 0}}));
    data = first;
    EXPECT_EQ(elementsOf<Vec3>(*buffer), (std::vector<Vec3>{{1, 0, 0}, {2, 0, 0}, {3, 0, 0}}));
}

TEST(TransformAttrib, ClassicFunctionsTouchNothingBeyondSmallElements) {
    auto buffer = attribute<std::array<float, 2>>(FLOAT, 2, "position", {{1, 2}, {3, 4}});
    transformAttrib(buffer, classic(scaling(2, 2, 2)).at("position"));
    EXPECT_EQ((elementsOf<std::array<float, 2>>(*buffer)), (std::vector<std::array<float, 2>>{{2, 4}, {6, 8}}));
}

TEST(TransformAttrib, ClassicFunctionsLeaveBytesAfterThreeFloats) {
    auto buffer = attribute<std::array<float, 4>>(FLOAT, 4, "position", {{1, 2, 3, 4}, {5, 6, 7, 8}});
    transformAttrib(buffer, classic(scaling(2, 2, 2)).at("position"));
    EXPECT_EQ((elementsOf<std::array<float, 4>>(*buffer)),
              (std::vector<std::array<float, 4>>{{2, 4, 6, 4}, {10, 12, 14, 8}}));
}

TEST(TransformMesh, AppliesTheEntryOfEachNameAndLeavesTheRest) {
    MeshPtr mesh =
        meshOf({vec3f("position", {{1, 1, 1}}), vec3f("normal", {{0, 0, 2}}), vec3f("uv", {{5, 5, 5}})}, {0, 0, 0});
    transformMesh(mesh, classic(scaling(3, 3, 3)));
    EXPECT_EQ(elementsOf<Vec3>(*mesh->getAttributeBuffer(0)), (std::vector<Vec3>{{3, 3, 3}}));
    EXPECT_EQ(elementsOf<Vec3>(*mesh->getAttributeBuffer(1)), (std::vector<Vec3>{{0, 0, 1}}));
    EXPECT_EQ(elementsOf<Vec3>(*mesh->getAttributeBuffer(2)), (std::vector<Vec3>{{5, 5, 5}}));
    EXPECT_EQ(mesh->getIndexBuffer()->getElementCount(), 3u);
    EXPECT_EQ(mesh->getPrimitiveType(), TRIANGLES);
}

TEST(TransformMesh, DoesNothingForAnEmptyMapOrNamesTheMeshLacks) {
    MeshPtr mesh = meshOf({vec3f("position", {{1, 1, 1}})});
    transformMesh(mesh, {});
    transformMesh(mesh, {{"normal", addOne}, {"Position", nullptr}});
    EXPECT_EQ(elementsOf<Vec3>(*mesh->getAttributeBuffer(0)), (std::vector<Vec3>{{1, 1, 1}}));
    MeshPtr empty = meshOf({});
    EXPECT_NO_THROW(transformMesh(empty, classic(glm::mat4(1.0F))));
}

TEST(TransformMesh, TransformsEveryBufferOfANameAndABufferHeldTwiceTwice) {
    const auto shared = vec3f("a", {{1, 0, 0}});
    MeshPtr mesh = meshOf({shared, vec3f("a", {{7, 0, 0}}), shared});
    transformMesh(mesh, {{"a", addOne}});
    EXPECT_EQ(elementsOf<Vec3>(*shared), (std::vector<Vec3>{{3, 0, 0}}));
    EXPECT_EQ(elementsOf<Vec3>(*mesh->getAttributeBuffer(1)), (std::vector<Vec3>{{8, 0, 0}}));
}

TEST(TransformMesh, RunsACopyOfTheEntryForEachBuffer) {
    MeshPtr mesh = meshOf({vec3f("a", {{1, 0, 0}, {2, 0, 0}}), vec3f("a", {{7, 0, 0}})});
    // Throws at its second call: each buffer gets a function that has not been called.
    EXPECT_THROW(transformMesh(mesh, {{"a", throwingAt(1)}}), std::runtime_error);
    MeshPtr other = meshOf({vec3f("a", {{1, 0, 0}}), vec3f("a", {{7, 0, 0}})});
    EXPECT_NO_THROW(transformMesh(other, {{"a", throwingAt(1)}}));
}

TEST(TransformMesh, ReportsAnEmptyAttributeBuffer) {
    MeshPtr mesh = meshOf({vec3f("a", {{1, 0, 0}}), nullptr});
    EXPECT_THROW(transformMesh(mesh, {{"a", addOne}}), std::logic_error);
    EXPECT_EQ(elementsOf<Vec3>(*mesh->getAttributeBuffer(0)), (std::vector<Vec3>{{2, 0, 0}}));
}

TEST(TransformMesh, AsksForTheNumberOfBuffersOnce) {
    const auto calls = std::make_shared<Calls>();
    const auto mesh = std::make_shared<vexa::test::ForeignMesh>(TRIANGLES, "mesh", calls);
    mesh->addAttributeBuffer(foreignCopy(*vec3f("a", {{1, 0, 0}}), calls));
    calls->clear();
    MeshPtr pointer = mesh;
    transformMesh(pointer, {{"b", addOne}});
    EXPECT_EQ(*calls, (Calls{"mesh.getNumAttributeBuffers", "mesh.getAttributeBuffer 0", "a.getAttributeName"}));
}

TEST(TransformAttributes, ComputesEachTargetElementFromItsSource) {
    const auto source = vec3f("a", {{1, 2, 3}, {4, 5, 6}});
    const auto target = attribute<float>(FLOAT, 1, "sum", {0, 0});
    transformAttributes(source, target, [](void* in, void* out) {
        Vec3 v;
        std::memcpy(v.data(), in, 12);
        const float sum = v[0] + v[1] + v[2];
        std::memcpy(out, &sum, 4);
    });
    EXPECT_EQ(elementsOf<float>(*target), (std::vector<float>{6, 15}));
    EXPECT_EQ(elementsOf<Vec3>(*source), (std::vector<Vec3>{{1, 2, 3}, {4, 5, 6}}));
}

TEST(TransformAttributes, ReportsDifferentCountsOnStandardErrorAndChangesNothing) {
    const auto source = vexa::test::zeros("a", 3);
    const auto target = vec3f("b", {{1, 1, 1}, {2, 2, 2}, {3, 3, 3}, {4, 4, 4}});
    testing::internal::CaptureStderr();
    EXPECT_NO_THROW(transformAttributes(source, target, nullptr));
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Source and target element count are different\n");
    EXPECT_EQ(elementsOf<Vec3>(*target)[3], (Vec3{4, 4, 4}));
}

TEST(TransformAttributes, CarriesUnwrittenBytesToTheNextElement) {
    const auto source = attribute<unsigned char>(UNSIGNED_BYTE, 1, "a", {5, 6, 7});
    const auto target = attribute<std::array<unsigned char, 2>>(UNSIGNED_BYTE, 2, "b", {{9, 9}, {9, 9}, {9, 9}});
    transformAttributes(source, target, [call = 0](void* in, void* out) mutable {
        std::memcpy(static_cast<unsigned char*>(out) + (call++ % 2), in, 1);
    });
    EXPECT_EQ((elementsOf<std::array<unsigned char, 2>>(*target)),
              (std::vector<std::array<unsigned char, 2>>{{5, 0}, {5, 6}, {7, 6}}));
}

TEST(TransformAttributes, ReadsOnlyTheSourceAndWritesOnlyTheTarget) {
    const auto calls = std::make_shared<Calls>();
    const auto source = foreignCopy(*vexa::test::zeros("s", 2), calls);
    const auto target = foreignCopy(*vexa::test::zeros("t", 2), calls);
    transformAttributes(source, target, [](void*, void*) {});
    EXPECT_EQ(*calls,
              (Calls{"s.getElementCount", "t.getElementCount", "s.getElementSizeInBytes", "t.getElementSizeInBytes",
                     "s.getElement 0", "t.setElement 0", "s.getElement 1", "t.setElement 1"}));
}

TEST(TransformAttributes, ThrowsForAnEmptyFunctionAtTheFirstElement) {
    const auto buffer = vec3f("a", {{1, 2, 3}});
    EXPECT_THROW(transformAttributes(buffer, buffer, nullptr), std::bad_function_call);
    const auto empty = vec3f("a", {});
    EXPECT_NO_THROW(transformAttributes(empty, empty, nullptr));
}

TEST(TransformAttributes, KeepsElementsWrittenBeforeAnException) {
    const auto source = attribute<unsigned char>(UNSIGNED_BYTE, 1, "a", {5, 6, 7});
    const auto target = attribute<unsigned char>(UNSIGNED_BYTE, 1, "a", {0, 0, 0});
    EXPECT_THROW(transformAttributes(source, target,
                                     [call = 0](void* in, void* out) mutable {
                                         if (call++ == 2) {
                                             throw std::runtime_error("third");
                                         }
                                         std::memcpy(out, in, 1);
                                     }),
                 std::runtime_error);
    EXPECT_EQ(elementsOf<unsigned char>(*target), (std::vector<unsigned char>{5, 6, 0}));
}

TEST(TransformAttributes, MayWriteTheSourceItself) {
    const auto buffer = vec3f("a", {{1, 0, 0}, {2, 0, 0}});
    transformAttributes(buffer, buffer, createVec3AttributeTransformationFunction([](const glm::vec3& v) {
                            return v + glm::vec3(1.0F, 2.0F, 3.0F);
                        }));
    EXPECT_EQ(elementsOf<Vec3>(*buffer), (std::vector<Vec3>{{2, 2, 3}, {3, 2, 3}}));
}

TEST(TransformAttributes, PacksAndUnpacksTheSameInBulkAndThroughTheInterface) {
    using Packed = reference::PackedNormal;
    for (const std::size_t count : {0UL, 1UL, 2UL, 3UL, 4UL, 5UL, 7UL, 8UL, 15UL, 16UL, 17UL, 100000UL}) {
        std::vector<Vec3> vectors = vexa::test::mixedVectors(count / 2, static_cast<std::uint32_t>(count));
        const std::vector<Vec3> ordinary = vexa::test::ordinaryVectors(count - count / 2, 5);
        vectors.insert(vectors.end(), ordinary.begin(), ordinary.end());
        const auto normals = vec3f("normal", vectors);
        const auto bulk = AttributeBuffer::createDefault(UNSIGNED_BYTE, 2, "normal");
        bulk->resize(count);
        const auto single = foreignCopy(*bulk);
        transformAttributes(normals, bulk, quantizeNormals());
        transformAttributes(normals, single, quantizeNormals());
        ASSERT_EQ(elementsOf<Packed>(*bulk), elementsOf<Packed>(*single));

        const auto unpacked = vexa::test::zeros("normal", count);
        transformAttributes(bulk, unpacked, dequantizeNormals());
        for (std::size_t i = 0; i < count; ++i) {
            Packed packed;
            Vec3 normal;
            bulk->getElement(i, packed.data());
            unpacked->getElement(i, normal.data());
            ASSERT_EQ(packed, reference::quantize(vectors[i])) << i;
            ASSERT_EQ(exactly(normal), exactly(reference::dequantize(packed))) << i;
        }
    }
}

TEST(TransformAttributes, UnpacksEveryPairOfBytesInBulk) {
    std::vector<reference::PackedNormal> packed(65536);
    for (std::size_t i = 0; i < packed.size(); ++i) {
        packed[i] = {static_cast<unsigned char>(i & 255), static_cast<unsigned char>(i >> 8)};
    }
    const auto source = attribute(UNSIGNED_BYTE, 2, "normal", packed);
    const auto target = vexa::test::zeros("normal", packed.size());
    const auto again = AttributeBuffer::createDefault(UNSIGNED_BYTE, 2, "normal");
    again->resize(packed.size());
    transformAttributes(source, target, dequantizeNormals());
    transformAttributes(target, again, quantizeNormals());
    const std::vector<Vec3> normals = elementsOf<Vec3>(*target);
    for (std::size_t i = 0; i < packed.size(); ++i) {
        ASSERT_EQ(exactly(normals[i]), exactly(reference::dequantize(packed[i]))) << i;
        reference::PackedNormal bytes;
        again->getElement(i, bytes.data());
        ASSERT_EQ(bytes, reference::quantize(normals[i])) << i;
    }
}

TEST(Vec3TransformationFunction, TransformsPointsAndDirectionsWithoutADivision) {
    glm::mat4 m = scaling(2, 2, 2);
    m[3] = {1.0F, 2.0F, 3.0F, 5.0F};
    EXPECT_EQ(createVec3TransformationFunction(1.0F, m)({1.0F, 1.0F, 1.0F}), glm::vec3(3.0F, 4.0F, 5.0F));
    EXPECT_EQ(createVec3TransformationFunction(0.0F, m)({1.0F, 1.0F, 1.0F}), glm::vec3(2.0F, 2.0F, 2.0F));
    EXPECT_EQ(createVec3TransformationFunction(2.0F, m)({0.0F, 0.0F, 0.0F}), glm::vec3(2.0F, 4.0F, 6.0F));
}

TEST(Vec3TransformationFunction, HoldsACopyOfTheMatrix) {
    glm::mat4 m(2.0F);
    const auto f = createVec3TransformationFunction(1.0F, m);
    m = glm::mat4(0.0F);
    EXPECT_EQ(f({1.0F, 2.0F, 3.0F}), glm::vec3(2.0F, 4.0F, 6.0F));
}

// glm's own product of matrix and vector sums in pairs too.
TEST(Vec3TransformationFunction, MatchesTheReferenceAndGlmToTheBit) {
    for (const glm::mat4& m : vexa::test::variousMatrices()) {
        for (const float w : {0.0F, 1.0F, -2.5F}) {
            const auto f = createVec3TransformationFunction(w, m);
            for (const Vec3& v : vexa::test::mixedVectors(2000, 9)) {
                const glm::vec3 own = f({v[0], v[1], v[2]});
                const glm::vec4 product = m * glm::vec4(v[0], v[1], v[2], w);
                ASSERT_EQ(exactly({own.x, own.y, own.z}), exactly(reference::transformVector(m, v, w)));
                ASSERT_EQ(exactly({own.x, own.y, own.z}), exactly({product.x, product.y, product.z}));
            }
        }
    }
}

TEST(Vec3AttributeTransformationFunction, WorksOnElementsAtAnyAddress) {
    const auto f = createVec3AttributeTransformationFunction([](const glm::vec3& v) { return 2.0F * v; });
    unsigned char room[32] = {};
    const Vec3 v{1, 2, 3};
    std::memcpy(room + 1, v.data(), 12);
    f(room + 1, room + 15);
    Vec3 result;
    std::memcpy(result.data(), room + 15, 12);
    EXPECT_EQ(result, (Vec3{2, 4, 6}));
    EXPECT_EQ(room[14], 0);
    EXPECT_EQ(room[27], 0);
}

TEST(Vec3AttributeTransformationFunction, ThrowsWhenItHoldsNoFunction) {
    const auto f = createVec3AttributeTransformationFunction(nullptr);
    ASSERT_TRUE(f);
    Vec3 v{};
    EXPECT_THROW(f(v.data(), v.data()), std::bad_function_call);
}

} // namespace
