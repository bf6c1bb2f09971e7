#include <vexa/mesh/MeshConcatenation.h>

#include <vexa/mesh/detail/DefaultAttributeBuffer.h>
#include <vexa/mesh/detail/DefaultIndexBuffer.h>
#include <vexa/mesh/detail/VectorBufferData.h>

#include "reference/ReferenceOperations.h"
#include "support/Buffers.h"
#include "support/Floats.h"
#include "support/Foreign.h"
#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <new>
#include <stdexcept>

namespace {

using namespace vexa::mesh;
using vexa::test::attribute;
using vexa::test::Calls;
using vexa::test::elementsOf;
using vexa::test::foreignCopy;
using vexa::test::ForeignMesh;
using vexa::test::indexBuffer;
using vexa::test::indicesOf;
using vexa::test::meshOf;
using vexa::test::Vec3;
using vexa::test::vec3f;
using vexa::test::zeros;

const std::vector<ComponentType> indexTypes{BYTE, UNSIGNED_BYTE, SHORT, UNSIGNED_SHORT, INT, UNSIGNED_INT};

/// The message of a call that throws exactly std::invalid_argument.
template <typename Function>
std::string invalidArgumentOf(Function function) {
    try {
        function();
    } catch (const std::exception& error) {
        return typeid(error) == typeid(std::invalid_argument) ? error.what() : typeid(error).name();
    }
    return "";
}

AttributeTransformationMap classic(const glm::mat4& m) {
    AttributeTransformationMap map;
    createClassicTransformation(map, m);
    return map;
}

void addOne(void* element) {
    float x;
    std::memcpy(&x, element, sizeof x);
    x += 1;
    std::memcpy(element, &x, sizeof x);
}

void leave(void* /*element*/) {}

detail::DefaultBuffer& storageView(const std::shared_ptr<AttributeBuffer>& buffer) {
    return dynamic_cast<detail::DefaultBuffer&>(*buffer);
}

TEST(ConcatAttribs, AppendsTransformedCopies) {
    auto target = vec3f("a", {{1, 1, 1}});
    const auto source = vec3f("b", {{2, 2, 2}, {3, 3, 3}});
    concatAttribs(target, source, addOne);
    EXPECT_EQ(elementsOf<Vec3>(*target), (std::vector<Vec3>{{1, 1, 1}, {3, 2, 2}, {4, 3, 3}}));
    EXPECT_EQ(elementsOf<Vec3>(*source), (std::vector<Vec3>{{2, 2, 2}, {3, 3, 3}}));
}

TEST(ConcatAttribs, RefusesIncompatibleBuffersAndChangesNothing) {
    for (const auto& source : {AttributeBuffer::createDefaultVec2f("a"), AttributeBuffer::createDefault(INT, 3, "a")}) {
        source->resize(2);
        auto target = vec3f("a", {{1, 1, 1}});
        EXPECT_EQ(invalidArgumentOf([&] { concatAttribs(target, source, leave); }), "Attributes are incompatible!!!");
        EXPECT_EQ(target->getElementCount(), 1u);
    }
}

TEST(ConcatAttribs, GrowsTheTargetOnceAndCopiesInOrder) {
    const auto calls = std::make_shared<Calls>();
    std::shared_ptr<AttributeBuffer> target = foreignCopy(*zeros("t", 1), calls);
    const auto source = foreignCopy(*zeros("s", 2), calls);
    concatAttribs(target, source, leave);
    EXPECT_EQ(*calls, (Calls{"t.getComponentType", "s.getComponentType", "t.getComponentCountPerElement",
                             "s.getComponentCountPerElement", "t.getElementCount", "s.getElementCount", "t.resize 3",
                             "t.getElementSizeInBytes", "s.getElementSizeInBytes", "s.getElement 0", "t.setElement 1",
                             "s.getElement 1", "t.setElement 2"}));
}

TEST(ConcatAttribs, ThrowsForAnEmptyTransformationAfterGrowing) {
    auto target = vec3f("a", {{1, 1, 1}});
    EXPECT_THROW(concatAttribs(target, vec3f("a", {{2, 2, 2}}), nullptr), std::bad_function_call);
    EXPECT_EQ(elementsOf<Vec3>(*target), (std::vector<Vec3>{{1, 1, 1}, {0, 0, 0}}));
    EXPECT_NO_THROW(concatAttribs(target, vec3f("a", {}), nullptr));
    EXPECT_EQ(target->getElementCount(), 2u);
}

TEST(ConcatAttribs, KeepsElementsAppendedBeforeAnException) {
    auto target = vec3f("a", {{1, 1, 1}});
    const auto source = vec3f("a", {{2, 2, 2}, {3, 3, 3}, {4, 4, 4}});
    EXPECT_THROW(concatAttribs(target, source,
                               [call = 0](void*) mutable {
                                   if (call++ == 1) {
                                       throw std::runtime_error("second");
                                   }
                               }),
                 std::runtime_error);
    EXPECT_EQ(elementsOf<Vec3>(*target), (std::vector<Vec3>{{1, 1, 1}, {2, 2, 2}, {0, 0, 0}, {0, 0, 0}}));
}

TEST(ConcatAttribs, AppendsElementsWithoutComponentsToAnEmptyStorage) {
    const auto data = std::make_shared<detail::VectorBufferData>();
    data->resize(36);
    const auto source = std::make_shared<detail::DefaultAttributeBuffer>(FLOAT, 0UL, 12UL, 0UL, data, "a");
    auto target = AttributeBuffer::createDefault(FLOAT, 0, "a");
    int calls = 0;
    concatAttribs(target, source, [&calls](void*) { ++calls; });
    EXPECT_EQ(calls, 3);
    EXPECT_EQ(target->getElementCount(), 0u);
}

TEST(ConcatAttribs, DoublesABufferThatIsAppendedToItself) {
    auto buffer = vec3f("a", vexa::test::ordinaryVectors(100, 1));
    const std::vector<Vec3> before = elementsOf<Vec3>(*buffer);
    concatAttribs(buffer, buffer, leave);
    std::vector<Vec3> expected = before;
    expected.insert(expected.end(), before.begin(), before.end());
    EXPECT_EQ(elementsOf<Vec3>(*buffer), expected);
    concatAttribs(buffer, buffer, classic(glm::mat4(1.0F)).at("position"));
    EXPECT_EQ(buffer->getElementCount(), 400u);
    EXPECT_EQ(elementsOf<Vec3>(*buffer)[399], before[99]);
}

TEST(ConcatAttribs, DoublesAStorageThatBothBuffersShare) {
    auto target = vec3f("a", {{1, 1, 1}, {2, 2, 2}});
    const auto source = zeros("b", 0);
    storageView(source).getBufferData() = storageView(target).getBufferData();
    concatAttribs(target, source, addOne);
    EXPECT_EQ(elementsOf<Vec3>(*target), (std::vector<Vec3>{{1, 1, 1}, {2, 2, 2}, {2, 1, 1}, {3, 2, 2}}));
}

TEST(ConcatAttribs, FunctionMayGrowBothBuffersAndResetThePointers) {
    auto target = vec3f("a", {{1, 1, 1}});
    auto source = vec3f("a", {{2, 2, 2}, {3, 3, 3}});
    const auto heldTarget = target;
    const auto heldSource = source;
    concatAttribs(target, source, [&](void* element) {
        heldTarget->resize(heldTarget->getElementCount() + 5000);
        heldSource->resize(heldSource->getElementCount() + 5000);
        target.reset();
        source.reset();
        addOne(element);
    });
    const std::vector<Vec3> elements = elementsOf<Vec3>(*heldTarget);
    EXPECT_EQ(elements[1], (Vec3{3, 2, 2}));
    EXPECT_EQ(elements[2], (Vec3{4, 3, 3}));
}

// Positions that claim so many elements that the sum of two counts overflows.
class EndlessBuffer : public vexa::test::ForeignAttributeBuffer {
public:
    explicit EndlessBuffer(const std::string& name, const vexa::test::CallsPtr& calls = nullptr)
        : ForeignAttributeBuffer(FLOAT, 3, name, calls) {}
    unsigned long getElementCount() const override { return std::numeric_limits<unsigned long>::max(); }
};

TEST(ConcatAttribs, RefusesMoreElementsThan64BitsCount) {
    const auto calls = std::make_shared<Calls>();
    auto target = vec3f("a", {{1, 1, 1}});
    std::shared_ptr<AttributeBuffer> endless = std::make_shared<EndlessBuffer>("a", calls);
    EXPECT_THROW(concatAttribs(target, endless, leave), std::length_error);
    EXPECT_EQ(target->getElementCount(), 1u);
    EXPECT_THROW(concatAttribs(endless, target, leave), std::length_error);
    EXPECT_EQ(std::count(calls->begin(), calls->end(), "a.resize 0"), 0);
}

// Has no room for elements.
class FullBuffer : public vexa::test::ForeignAttributeBuffer {
public:
    FullBuffer() : ForeignAttributeBuffer(FLOAT, 3, "a") {}
    void resize(unsigned long) override { throw std::bad_alloc(); }
};

TEST(ConcatAttribs, AllowsAsManyElementsAs64BitsCount) {
    const std::shared_ptr<AttributeBuffer> endless = std::make_shared<EndlessBuffer>("a");
    std::shared_ptr<AttributeBuffer> full = std::make_shared<FullBuffer>();
    EXPECT_THROW(concatAttribs(full, endless, leave), std::bad_alloc);
}

TEST(ConcatAttribs, OverwritesAPartOfAnElementAtTheEndOfTheStorage) {
    for (const AttributeTransformationFunction& f :
         {AttributeTransformationFunction(leave), classic(glm::mat4(1.0F)).at("position")}) {
        auto target = vec3f("a", {{1, 1, 1}});
        storageView(target).getBufferData()->resize(19);
        concatAttribs(target, vec3f("a", {{2, 2, 2}, {3, 3, 3}}), f);
        EXPECT_EQ(elementsOf<Vec3>(*target), (std::vector<Vec3>{{1, 1, 1}, {2, 2, 2}, {3, 3, 3}}));
        EXPECT_EQ(storageView(target).getBufferData()->getSizeInBytes(), 36u);
    }
}

TEST(ConcatMeshes, OverwritesAPartOfAnIndexAtTheEndOfTheStorage) {
    MeshPtr target = meshOf({zeros("position", 2)}, {7});
    dynamic_cast<detail::DefaultBuffer&>(*target->getIndexBuffer()).getBufferData()->resize(6);
    concatMeshes(target, meshOf({zeros("position", 2)}, {0, 1}), {});
    EXPECT_EQ(indicesOf(*target->getIndexBuffer()), (std::vector<unsigned long>{7, 2, 3}));
}

TEST(ConcatMeshes, AppendsManyIndicesAndCopiesManyElements) {
    std::vector<unsigned long> indices(5000);
    for (std::size_t i = 0; i < indices.size(); ++i) {
        indices[i] = i * 7 % 3001;
    }
    const std::vector<Vec3> positions = vexa::test::mixedVectors(3001, 8);
    MeshPtr target = meshOf({vec3f("position", positions)}, indices);
    const MeshPtr source = meshOf({vec3f("position", positions)}, indices);
    for (unsigned long round = 1; round < 4; ++round) {
        concatMeshes(target, source, {});
        for (std::size_t i = 0; i < indices.size(); ++i) {
            ASSERT_EQ(target->getIndexBuffer()->getElement(5000 * round + i), indices[i] + 3001 * round);
        }
    }
    const std::vector<Vec3> result = elementsOf<Vec3>(*target->getAttributeBuffer(0));
    ASSERT_EQ(result.size(), 4 * 3001u);
    for (std::size_t round = 0; round < 4; ++round) {
        EXPECT_EQ(std::memcmp(&result[3001 * round], positions.data(), 3001 * sizeof(Vec3)), 0);
    }
}

template <typename T>
void expectAppended(const AttributeBuffer& own, const AttributeBuffer& foreign) {
    const std::vector<T> result = elementsOf<T>(own);
    const std::vector<T> expected = elementsOf<T>(foreign);
    ASSERT_EQ(result.size(), expected.size());
    EXPECT_EQ(std::memcmp(result.data(), expected.data(), result.size() * sizeof(T)), 0);
}

TEST(ConcatAttribs, GivesTheSameBytesInBulkAndThroughTheInterface) {
    for (const std::size_t count : {1UL, 3UL, 4UL, 5UL, 1001UL}) {
        const auto source = vec3f("a", vexa::test::mixedVectors(count, 21));
        for (const glm::mat4& m : vexa::test::variousMatrices()) {
            for (const auto& [name, f] : classic(m)) {
                auto own = vec3f("a", vexa::test::mixedVectors(3, 22));
                std::shared_ptr<AttributeBuffer> foreign = foreignCopy(*own);
                concatAttribs(own, source, f);
                concatAttribs(foreign, source, f);
                expectAppended<Vec3>(*own, *foreign);
            }
        }
    }
}

TEST(ConcatMeshes, AppendsVerticesAndShiftedIndices) {
    MeshPtr target = meshOf({vec3f("position", {{1, 0, 0}, {2, 0, 0}, {3, 0, 0}})}, {0, 1, 2});
    const MeshPtr source = meshOf({vec3f("position", {{4, 0, 0}, {5, 0, 0}, {6, 0, 0}})}, {0, 1, 2});
    concatMeshes(target, source, {});
    EXPECT_EQ(indicesOf(*target->getIndexBuffer()), (std::vector<unsigned long>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(elementsOf<Vec3>(*target->getAttributeBuffer(0)),
              (std::vector<Vec3>{{1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}, {5, 0, 0}, {6, 0, 0}}));
    EXPECT_EQ(indicesOf(*source->getIndexBuffer()), (std::vector<unsigned long>{0, 1, 2}));
    EXPECT_EQ(source->getAttributeBuffer(0)->getElementCount(), 3u);
}

TEST(ConcatMeshes, TransformsAppendedElementsOnly) {
    MeshPtr target = meshOf({vec3f("position", {{1, 0, 0}}), vec3f("uv", {{1, 0, 0}})});
    const MeshPtr source = meshOf({vec3f("position", {{4, 0, 0}}), vec3f("uv", {{4, 0, 0}})});
    concatMeshes(target, source, {{"position", addOne}, {"other", nullptr}});
    EXPECT_EQ(elementsOf<Vec3>(*target->getAttributeBuffer(0)), (std::vector<Vec3>{{1, 0, 0}, {5, 0, 0}}));
    EXPECT_EQ(elementsOf<Vec3>(*target->getAttributeBuffer(1)), (std::vector<Vec3>{{1, 0, 0}, {4, 0, 0}}));
}

TEST(ConcatMeshes, EveryHolderOfABufferSeesTheAppendedElements) {
    const auto position = zeros("position", 2);
    MeshPtr target = meshOf({position});
    const auto indices = target->getIndexBuffer();
    concatMeshes(target, meshOf({zeros("position", 3)}, {0, 1}), {});
    EXPECT_EQ(position->getElementCount(), 5u);
    EXPECT_EQ(indices->getElementCount(), 2u);
    EXPECT_EQ(target->getAttributeBuffer(0), position);
}

TEST(ConcatMeshes, RefusesMeshesOfAnotherLayoutWithoutLogging) {
    const vexa::test::LogCapture capture;
    MeshPtr target = meshOf({zeros("position", 1)}, {0});
    EXPECT_EQ(invalidArgumentOf([&] { concatMeshes(target, meshOf({zeros("normal", 1)}, {0}), {}); }),
              "Both meshes are not compatible!!!");
    EXPECT_EQ(target->getIndexBuffer()->getElementCount(), 1u);
    EXPECT_EQ(target->getAttributeBuffer(0)->getElementCount(), 1u);
    EXPECT_TRUE(capture.records().empty());
}

TEST(ConcatMeshes, LeavesMeshesWithoutAttributesAsTheyAre) {
    MeshPtr target = meshOf({}, {7});
    const MeshPtr source = meshOf({}, {1, 2, 3});
    concatMeshes(target, source, {});
    EXPECT_EQ(indicesOf(*target->getIndexBuffer()), std::vector<unsigned long>{7});
    source->setIndexBuffer({});
    EXPECT_NO_THROW(concatMeshes(target, source, {}));
    EXPECT_EQ(indicesOf(*target->getIndexBuffer()), std::vector<unsigned long>{7});
}

TEST(ConcatMeshes, SkipsTheIndicesWhenNeitherMeshHasThem) {
    MeshPtr target = meshOf({zeros("position", 2)});
    const MeshPtr source = meshOf({zeros("position", 3)});
    target->setIndexBuffer({});
    source->setIndexBuffer({});
    concatMeshes(target, source, {});
    EXPECT_EQ(target->getIndexBuffer(), nullptr);
    EXPECT_EQ(target->getAttributeBuffer(0)->getElementCount(), 5u);
}

TEST(ConcatMeshes, RefusesToMixIndexedAndUnindexedMeshesBeforeChangingAnything) {
    for (const bool targetIsIndexed : {true, false}) {
        MeshPtr target = meshOf({zeros("position", 2)}, {0, 1});
        const MeshPtr source = meshOf({zeros("position", 3)}, {0, 1});
        (targetIsIndexed ? source : target)->setIndexBuffer({});
        EXPECT_EQ(invalidArgumentOf([&] { concatMeshes(target, source, {}); }), "Only one mesh has an index buffer!!!");
        EXPECT_EQ(target->getAttributeBuffer(0)->getElementCount(), 2u);
        EXPECT_EQ(source->getAttributeBuffer(0)->getElementCount(), 3u);
    }
}

TEST(ConcatMeshes, ChecksElementCountsJustBeforeEachAttribute) {
    MeshPtr target = meshOf({zeros("position", 2), zeros("normal", 2), zeros("uv", 2)}, {0});
    const MeshPtr source = meshOf({zeros("position", 4), zeros("normal", 3), zeros("uv", 4)}, {1});
    EXPECT_EQ(invalidArgumentOf([&] { concatMeshes(target, source, {}); }),
              "Number of elements in differs with different attributes!!!");
    EXPECT_EQ(indicesOf(*target->getIndexBuffer()), (std::vector<unsigned long>{0, 3}));
    EXPECT_EQ(target->getAttributeBuffer(0)->getElementCount(), 6u);
    EXPECT_EQ(target->getAttributeBuffer(1)->getElementCount(), 2u);
    EXPECT_EQ(target->getAttributeBuffer(2)->getElementCount(), 2u);
}

TEST(ConcatMeshes, ShiftsByTheFirstAttributeOfTheTargetWhateverItsName) {
    MeshPtr target = meshOf({zeros("normal", 10), zeros("position", 8)}, {});
    concatMeshes(target, meshOf({zeros("normal", 2), zeros("position", 2)}, {0, 1}), {});
    EXPECT_EQ(indicesOf(*target->getIndexBuffer()), (std::vector<unsigned long>{10, 11}));
    EXPECT_EQ(target->getAttributeBuffer(1)->getElementCount(), 10u);
}

TEST(ConcatMeshes, AppendsBothBuffersOfANameToTheFirstOfIt) {
    MeshPtr target = meshOf({vec3f("n", {{1, 0, 0}}), vec3f("n", {{2, 0, 0}})});
    concatMeshes(target, meshOf({vec3f("n", {{3, 0, 0}}), vec3f("n", {{4, 0, 0}})}), {});
    EXPECT_EQ(elementsOf<Vec3>(*target->getAttributeBuffer(0)), (std::vector<Vec3>{{1, 0, 0}, {3, 0, 0}, {4, 0, 0}}));
    EXPECT_EQ(elementsOf<Vec3>(*target->getAttributeBuffer(1)), (std::vector<Vec3>{{2, 0, 0}}));
}

TEST(ConcatMeshes, RefusesIncompatibleBuffersOfOneNameAfterAppendingTheFirst) {
    const auto layout = [] { return meshOf({zeros("n", 1), AttributeBuffer::createDefaultVec2f("n")}, {0}); };
    MeshPtr target = layout();
    const MeshPtr source = layout();
    source->getAttributeBuffer(1)->resize(1);
    EXPECT_EQ(invalidArgumentOf([&] { concatMeshes(target, source, {}); }), "Attributes are incompatible!!!");
    EXPECT_EQ(target->getAttributeBuffer(0)->getElementCount(), 2u);
    EXPECT_EQ(target->getIndexBuffer()->getElementCount(), 2u);
}

TEST(ConcatMeshes, SelfAppendDoublesEveryAttribute) {
    const auto positions = vexa::test::ordinaryVectors(50, 3);
    MeshPtr mesh = meshOf({vec3f("position", positions),
                           attribute<unsigned char>(UNSIGNED_BYTE, 1, "id", std::vector<unsigned char>(50, 9))},
                          {0, 49, 3});
    concatMeshes(mesh, mesh, {});
    EXPECT_EQ(indicesOf(*mesh->getIndexBuffer()), (std::vector<unsigned long>{0, 49, 3, 50, 99, 53}));
    const std::vector<Vec3> doubled = elementsOf<Vec3>(*mesh->getAttributeBuffer(0));
    EXPECT_TRUE(std::equal(positions.begin(), positions.end(), doubled.begin()));
    EXPECT_TRUE(std::equal(positions.begin(), positions.end(), doubled.begin() + 50));
    EXPECT_EQ(elementsOf<unsigned char>(*mesh->getAttributeBuffer(1)), std::vector<unsigned char>(100, 9));
}

TEST(ConcatMeshes, SelfAppendTransformsTheSecondHalf) {
    MeshPtr mesh = meshOf({vec3f("position", {{1, 1, 1}, {2, 2, 2}})}, {0, 1});
    glm::mat4 m(1.0F);
    m[3] = {10.0F, 0.0F, 0.0F, 1.0F};
    concatMeshes(mesh, mesh, classic(m));
    EXPECT_EQ(elementsOf<Vec3>(*mesh->getAttributeBuffer(0)),
              (std::vector<Vec3>{{1, 1, 1}, {2, 2, 2}, {11, 1, 1}, {12, 2, 2}}));
}

TEST(ConcatMeshes, FunctionMayResetTheCallersMeshes) {
    MeshPtr target = meshOf({zeros("position", 1), zeros("normal", 1)});
    MeshPtr source = meshOf({zeros("position", 1), zeros("normal", 1)});
    const MeshPtr held = target;
    concatMeshes(target, source, {{"position", [&](void*) {
                                       target.reset();
                                       source.reset();
                                   }}});
    EXPECT_EQ(held->getAttributeBuffer(1)->getElementCount(), 2u);
}

TEST(ConcatMeshes, ThrowsForAnEmptyFunction) {
    MeshPtr target = meshOf({zeros("a", 1), zeros("b", 1)}, {0});
    EXPECT_THROW(concatMeshes(target, meshOf({zeros("a", 1), zeros("b", 1)}, {0}), {{"b", nullptr}}),
                 std::bad_function_call);
    EXPECT_EQ(target->getIndexBuffer()->getElementCount(), 2u);
    EXPECT_EQ(target->getAttributeBuffer(0)->getElementCount(), 2u);
    EXPECT_EQ(target->getAttributeBuffer(1)->getElementCount(), 2u);
}

TEST(ConcatMeshes, RefusesAnEmptyAttributeBufferBeforeChangingAnything) {
    MeshPtr target = meshOf({zeros("position", 1), nullptr}, {0});
    EXPECT_THROW(concatMeshes(target, target, {}), std::logic_error);
    EXPECT_EQ(target->getIndexBuffer()->getElementCount(), 1u);
    EXPECT_EQ(target->getAttributeBuffer(0)->getElementCount(), 1u);
}

// From every type to every type, through every mixture of the library's buffers and foreign ones.
TEST(ConcatMeshes, WidensAddsAndTruncatesIndicesInEveryPairOfTypes) {
    const std::vector<unsigned long> values{
        0, 1, 127, 128, 255, 256, 32767, 32768, 65535, 65536, 2147483647, 2147483648UL, 4294967295UL, 200, 40000, 3, 4};
    for (const ComponentType from : indexTypes) {
        for (const ComponentType to : indexTypes) {
            for (const unsigned long offset : {0UL, 1UL, 200UL, 70000UL}) {
                const auto sourceIndices = indexBuffer(from, values);
                const MeshPtr source = meshOf({zeros("position", 1)});
                source->setIndexBuffer(sourceIndices);
                MeshPtr target = meshOf({zeros("position", offset)});
                target->setIndexBuffer(indexBuffer(to, {5}));
                concatMeshes(target, source, {});
                ASSERT_EQ(target->getIndexBuffer()->getElementCount(), values.size() + 1);
                EXPECT_EQ(target->getIndexBuffer()->getElement(0), 5u);
                for (std::size_t i = 0; i < values.size(); ++i) {
                    const unsigned long widened = reference::storedIndex(from, values[i]);
                    ASSERT_EQ(target->getIndexBuffer()->getElement(i + 1), reference::storedIndex(to, widened + offset))
                        << from << " " << to << " " << offset << " " << values[i];
                }

                MeshPtr other = meshOf({zeros("position", offset)});
                other->setIndexBuffer(indexBuffer(to, {5}));
                source->setIndexBuffer(foreignCopy(*sourceIndices));
                concatMeshes(other, source, {});
                ASSERT_EQ(indicesOf(*other->getIndexBuffer()), indicesOf(*target->getIndexBuffer()));
            }
        }
    }
}

TEST(ConcatMeshes, KeepsAll64BitsOfForeignIndices) {
    MeshPtr target = meshOf({zeros("position", 3)});
    const auto foreign = std::make_shared<vexa::test::ForeignIndexBuffer>(UNSIGNED_INT);
    target->setIndexBuffer(foreign);
    const MeshPtr source = meshOf({zeros("position", 1)});
    source->setIndexBuffer(indexBuffer(BYTE, {255, 1}));
    concatMeshes(target, source, {});
    EXPECT_EQ(indicesOf(*foreign), (std::vector<unsigned long>{2, 4}));
    concatMeshes(target, meshOf({zeros("position", 1)}, {4294967295UL}), {});
    EXPECT_EQ(foreign->getElement(2), 4294967295UL + 4);
}

TEST(ConcatMeshes, AppendsIndicesOfAnotherTypeInASharedStorage) {
    const auto shorts = indexBuffer(UNSIGNED_SHORT, {0x0102, 0x0304});
    const auto bytes = IndexBuffer::createDefault(UNSIGNED_BYTE);
    dynamic_cast<detail::DefaultBuffer&>(*bytes).getBufferData() =
        dynamic_cast<detail::DefaultBuffer&>(*shorts).getBufferData();
    MeshPtr target = meshOf({zeros("position", 1)});
    target->setIndexBuffer(bytes);
    const MeshPtr source = meshOf({zeros("position", 1)});
    source->setIndexBuffer(shorts);
    concatMeshes(target, source, {});
    EXPECT_EQ(indicesOf(*bytes), (std::vector<unsigned long>{2, 1, 4, 3, 3, 5}));
}

TEST(ConcatMeshes, GrowsEachBufferOnceInTheDescribedOrder) {
    const auto calls = std::make_shared<Calls>();
    const auto meshNamed = [&](const std::string& name) {
        const auto mesh = std::make_shared<ForeignMesh>(TRIANGLES, name, calls);
        mesh->setIndexBuffer(foreignCopy(*indexBuffer(INT, {0}), calls));
        mesh->addAttributeBuffer(foreignCopy(*zeros("a", 1), calls));
        return mesh;
    };
    MeshPtr target = meshNamed("target");
    const MeshPtr source = meshNamed("source");
    calls->clear();
    concatMeshes(target, source, {});
    // After the comparison of the layouts.
    const auto begin = std::find(calls->begin(), calls->end(), "target.getNumAttributeBuffers") + 3;
    const Calls expected{"source.getAttributeBuffer 0", "a.getElementCount",       "target.getAttributeBuffer 0",
                         "a.getElementCount",           "target.getIndexBuffer",   "source.getIndexBuffer",
                         "indices.getElementCount",     "indices.getElementCount", "indices.resize 2",
                         "indices.getElement 0",        "indices.setElement 1",    "source.getAttributeBuffer 0",
                         "a.getElementCount",           "a.getAttributeName",      "target.getAttributeBuffer a"};
    EXPECT_NE(std::search(begin, calls->end(), expected.begin(), expected.end()), calls->end());
    EXPECT_EQ(std::count(calls->begin(), calls->end(), "a.resize 2"), 1);
    EXPECT_EQ(std::count(calls->begin(), calls->end(), "indices.resize 2"), 1);
}

TEST(ConcatMeshes, ReadsTheSourceOnly) {
    const auto calls = std::make_shared<Calls>();
    const auto source = std::make_shared<ForeignMesh>(TRIANGLES, "source", calls);
    source->setIndexBuffer(foreignCopy(*indexBuffer(INT, {0, 1}), calls));
    source->addAttributeBuffer(foreignCopy(*zeros("a", 2), calls));
    calls->clear();
    MeshPtr target = meshOf({zeros("a", 1)});
    concatMeshes(target, source, {{"a", addOne}});
    for (const std::string& call : *calls) {
        EXPECT_EQ(call.find("set"), std::string::npos) << call;
        EXPECT_EQ(call.find("resize"), std::string::npos) << call;
    }
}

/// Elements of three floats and more, which only their size shows.
class WideElements : public vexa::test::ForeignAttributeBuffer {
public:
    static constexpr unsigned long size = 4096;
    WideElements() : ForeignAttributeBuffer(FLOAT, 3, "wide") {}
    unsigned long getElementSizeInBytes() const override { return size; }
    void getElement(unsigned long, void* destination) const override { std::memset(destination, 7, size); }
};

TEST(ConcatAttribs, TakesElementsThatAreLargerThanTheTargets) {
    const auto source = std::make_shared<WideElements>();
    source->resize(2);
    std::shared_ptr<AttributeBuffer> target = AttributeBuffer::createDefaultVec3f("wide");
    concatAttribs(target, source, [](void*) {});
    ASSERT_EQ(target->getElementCount(), 2u);
    std::array<unsigned char, 12> element{};
    target->getElement(1, element.data());
    EXPECT_EQ(element, (std::array<unsigned char, 12>{7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7, 7}));
}

} // namespace
