#include "Normals.h"
#include "cases/Cases.h"
#include "cases/ForeignBuffer.h"
#include "cases/Limits.h"
#include "peers/Peers.h"

#include <array>
#include <cmath>
#include <cstring>
#include <glm/gtc/matrix_transform.hpp>
#include <limits>
#include <memory>
#include <vexa/mesh.h>

namespace bench {

namespace {

using vexa::mesh::AttributeBuffer;
using vexa::mesh::AttributeTransformationFunction;
using vexa::mesh::AttributeTransformationMap;
using vexa::mesh::Mesh;
using vexa::mesh::MeshPtr;

using AttributePtr = std::shared_ptr<AttributeBuffer>;

constexpr std::size_t elementCount = 10'000'000;
constexpr double elements = elementCount;
constexpr std::size_t bytesOfVectors = elementCount * sizeof(glm::vec3);
constexpr std::size_t bytesOfIndices = elementCount * sizeof(unsigned int);
constexpr int rounds = 7;

/// A rotation and a small translation: however often it is applied, the values keep their magnitude.
glm::mat4 makePlacement() {
    const glm::mat4 rotation = glm::rotate(glm::mat4(1.0F), 0.1F, glm::vec3(1.0F, 2.0F, 3.0F));
    return glm::translate(rotation, glm::vec3(0.01F, 0.02F, 0.03F));
}

AttributePtr fill(AttributePtr buffer, const Normals& vectors) {
    buffer->resize(vectors.size());
    for (std::size_t i = 0; i < vectors.size(); ++i) {
        buffer->setElement(i, &vectors[i]);
    }
    return buffer;
}

MeshPtr meshWith(const AttributePtr& buffer) {
    MeshPtr mesh = Mesh::createDefault();
    mesh->addAttributeBuffer(buffer);
    return mesh;
}

glm::vec3 vectorAt(const AttributeBuffer& buffer, std::size_t index) {
    glm::vec3 vector;
    buffer.getElement(index, &vector);
    return vector;
}

Contender ownContender(const char* name) {
    Contender contender;
    contender.name = name;
    contender.elements = elements;
    return contender;
}

/// A sample of a buffer's elements before a run, to check the result against.
class Samples {
public:
    void take(const AttributeBuffer& buffer) {
        for (std::size_t i = 0; i < before_.size(); ++i) {
            before_[i] = vectorAt(buffer, i * step);
        }
    }
    [[nodiscard]] std::string compare(const AttributeBuffer& buffer, const AttributeTransformationFunction& f) const {
        for (std::size_t i = 0; i < before_.size(); ++i) {
            glm::vec3 expected = before_[i];
            f(&expected);
            if (vectorAt(buffer, i * step) != expected) {
                return "element " + std::to_string(i * step) + " is wrong";
            }
        }
        return {};
    }

private:
    static constexpr std::size_t step = 9973;
    std::array<glm::vec3, elementCount / step> before_{};
};

Contender transformContender(const char* name, const AttributePtr& buffer, const AttributeTransformationFunction& f) {
    const auto samples = std::make_shared<Samples>();
    const auto mesh = std::make_shared<MeshPtr>(meshWith(buffer));
    const AttributeTransformationMap map{{buffer->getAttributeName(), f}};
    Contender contender = ownContender(name);
    contender.prepare = [buffer, samples] { samples->take(*buffer); };
    contender.run = [mesh, map] { vexa::mesh::transformMesh(*mesh, map); };
    contender.inspect = [buffer, samples, f] { return Output{0, 0, samples->compare(*buffer, f)}; };
    return contender;
}

Comparison compareClassicTransformation(const char* name, const char* attribute, const char* contender) {
    AttributeTransformationMap map;
    vexa::mesh::createClassicTransformation(map, makePlacement());
    const AttributePtr buffer = fill(AttributeBuffer::createDefaultVec3f(attribute), *makeNormals(elementCount));
    return {
        name,   "element",
        false,  false,
        rounds, {transformContender(contender, buffer, map.at(attribute)), scaledInPlace(3 * elementCount, elements)}};
}

/// A function as a caller might pass it: translates three floats.
void moveElement(void* element) {
    glm::vec3 vector;
    std::memcpy(&vector, element, sizeof(vector));
    vector += glm::vec3(0.25F, 0.5F, 0.75F);
    std::memcpy(element, &vector, sizeof(vector));
}

Comparison compareOwnFunction() {
    const NormalsPtr vectors = makeNormals(elementCount);
    const AttributePtr own = fill(AttributeBuffer::createDefaultVec3f("position"), *vectors);
    const AttributePtr derived = fill(makeDerivedBuffer("position"), *vectors);
    const AttributePtr foreign = fill(makeForeignBuffer("position"), *vectors);
    return {"operations/caller's function",
            "element",
            false,
            false,
            rounds,
            {transformContender(names::ownBuffer, own, moveElement),
             transformContender(names::derivedBuffer, derived, moveElement),
             transformContender(names::foreignBuffer, foreign, moveElement),
             scaledInPlace(3 * elementCount, elements)}};
}

std::string compareBox(const glm::detail::taabb<float>& box, const Normals& points, const glm::mat4& placement) {
    glm::vec3 min(std::numeric_limits<float>::max());
    glm::vec3 max(std::numeric_limits<float>::lowest());
    for (const glm::vec3& point : points) {
        const glm::vec3 placed(placement * glm::vec4(point, 1.0F));
        min = glm::min(min, placed);
        max = glm::max(max, placed);
    }
    return box.min == min && box.max == max ? std::string() : "the box is wrong";
}

Comparison compareVolume() {
    const NormalsPtr points = makeNormals(elementCount);
    const MeshPtr mesh = meshWith(fill(AttributeBuffer::createDefaultVec3f("position"), *points));
    const auto box = std::make_shared<glm::detail::taabb<float>>();
    Contender contender = ownContender(names::volume);
    contender.prepare = [] {};
    contender.run = [mesh, box] { vexa::mesh::computeVolume(*box, mesh, makePlacement()); };
    contender.inspect = [points, box] { return Output{0, 0, compareBox(*box, *points, makePlacement())}; };
    return {"operations/volume", "element", false, false, rounds, {contender, readThrough(bytesOfVectors, elements)}};
}

struct NormalBuffers {
    AttributePtr plain = AttributeBuffer::createDefaultVec3f("normal");
    AttributePtr packed = AttributeBuffer::createDefault(vexa::mesh::UNSIGNED_BYTE, 2, "normal");
};

NormalBuffers makeNormalBuffers(const Normals& normals) {
    NormalBuffers buffers;
    fill(buffers.plain, normals);
    buffers.packed->resize(normals.size());
    transformAttributes(buffers.plain, buffers.packed, vexa::mesh::quantizeNormals());
    return buffers;
}

Comparison comparePacking() {
    const NormalsPtr normals = makeNormals(elementCount);
    const NormalBuffers buffers = makeNormalBuffers(*normals);
    Contender contender = ownContender(names::pack);
    contender.prepare = [] {};
    contender.run = [buffers] { transformAttributes(buffers.plain, buffers.packed, vexa::mesh::quantizeNormals()); };
    contender.inspect = [normals, buffers] {
        const auto unpackedAt = [&buffers](std::size_t i) {
            std::array<unsigned char, 2> packed{};
            buffers.packed->getElement(i, packed.data());
            glm::vec3 normal;
            vexa::mesh::dequantizeNormal(packed.data(), &normal);
            return normal;
        };
        return Output{0, 0, compareNormals(*normals, unpackedAt)};
    };
    return {"operations/packing",
            "element",
            false,
            false,
            rounds,
            {contender, meshoptimizerPacking(normals), readThrough(bytesOfVectors, elements)}};
}

Comparison compareUnpacking() {
    const NormalsPtr normals = makeNormals(elementCount);
    const NormalBuffers buffers = makeNormalBuffers(*normals);
    Contender contender = ownContender(names::unpack);
    contender.prepare = [] {};
    contender.run = [buffers] { transformAttributes(buffers.packed, buffers.plain, vexa::mesh::dequantizeNormals()); };
    contender.inspect = [normals, buffers] {
        const auto unpackedAt = [&buffers](std::size_t i) { return vectorAt(*buffers.plain, i); };
        return Output{0, 0, compareNormals(*normals, unpackedAt)};
    };
    return {"operations/unpacking",
            "element",
            false,
            false,
            rounds,
            {contender, meshoptimizerUnpacking(normals), copied(bytesOfVectors, elements)}};
}

/// A mesh with ten million indices over one position.
MeshPtr makeIndexedMesh() {
    MeshPtr mesh = meshWith(fill(AttributeBuffer::createDefaultVec3f("position"), {glm::vec3(0.0F)}));
    mesh->getIndexBuffer()->resize(elementCount);
    return mesh;
}

Comparison compareIndexCheck() {
    const MeshPtr mesh = makeIndexedMesh();
    Contender contender = ownContender(names::validate);
    contender.prepare = [] {};
    contender.run = [mesh] { mesh->isValid(); }; // throws if it finds an error
    return {
        "operations/index check", "element", false, false, rounds, {contender, readThrough(bytesOfIndices, elements)}};
}

std::string compareAppended(const Mesh& target, const Mesh& source) {
    const AttributePtr appended = target.getAttributeBuffer("position");
    const AttributePtr original = source.getAttributeBuffer("position");
    const unsigned long offset = appended->getElementCount() - original->getElementCount();
    for (unsigned long i = 0; i < original->getElementCount(); ++i) {
        if (vectorAt(*appended, offset + i) != vectorAt(*original, i)) {
            return "position " + std::to_string(i) + " is wrong";
        }
    }
    for (unsigned long i = 0; i < source.getIndexBuffer()->getElementCount(); ++i) {
        if (target.getIndexBuffer()->getElement(i) != source.getIndexBuffer()->getElement(i) + offset) {
            return "index " + std::to_string(i) + " is wrong";
        }
    }
    return {};
}

/// Appends to a mesh with one position and no indices, so that the run allocates its buffers and shifts every index.
Contender appendContender(const MeshPtr& source) {
    const auto target = std::make_shared<MeshPtr>();
    Contender contender = ownContender(names::append);
    contender.prepare = [target] {
        *target = meshWith(fill(AttributeBuffer::createDefaultVec3f("position"), {glm::vec3(1.0F)}));
        releaseFreeMemory();
    };
    contender.run = [source, target] { vexa::mesh::concatMeshes(*target, source, {}); };
    contender.inspect = [source, target] { return Output{0, 0, compareAppended(**target, *source)}; };
    return contender;
}

Comparison compareAppendedIndices() {
    return {"operations/appended indices",
            "element",
            false,
            false,
            rounds,
            {appendContender(makeIndexedMesh()), copiedToNewMemory(bytesOfIndices, elements)}};
}

Comparison compareAppendedAttributes() {
    const MeshPtr source = meshWith(fill(AttributeBuffer::createDefaultVec3f("position"), *makeNormals(elementCount)));
    return {"operations/appended attributes",
            "element",
            false,
            false,
            rounds,
            {appendContender(source), copiedToNewMemory(bytesOfVectors, elements)}};
}

} // namespace

std::vector<Case> operationCases() {
    const auto classic = [](const char* name, const char* attribute, const char* contender) {
        return Case{name, false, [=] { return compareClassicTransformation(name, attribute, contender); }};
    };
    return {classic("operations/positions", "position", names::positions),
            classic("operations/normals", "normal", names::normals),
            {"operations/caller's function", false, compareOwnFunction},
            {"operations/volume", false, compareVolume},
            {"operations/packing", false, comparePacking},
            {"operations/unpacking", false, compareUnpacking},
            {"operations/index check", false, compareIndexCheck},
            {"operations/appended indices", false, compareAppendedIndices},
            {"operations/appended attributes", false, compareAppendedAttributes}};
}

} // namespace bench
