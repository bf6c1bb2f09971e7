#include "vexa/mesh/detail/ElementTransformation.h"

#include "vexa/mesh/NormalQuantization.h"
#include "vexa/mesh/detail/ElementCopy.h"
#include "vexa/mesh/detail/PackedElements.h"

#include <cstring>

namespace vexa::mesh::detail {

namespace {

constexpr unsigned long vec3Size = 3 * sizeof(float);
constexpr unsigned long packedNormalSize = 2;

bool transformInBulk(const PackedElements& source, const PackedElements& target, unsigned long targetBegin,
                     unsigned long count, const AttributeTransformationFunction& f) {
    const unsigned long sizeInBytes = count * target.elementSizeInBytes;
    unsigned char* const begin = target.element(targetBegin);
    if (source.elementSizeInBytes != target.elementSizeInBytes ||
        !areSameOrApart(source.bytes, sizeInBytes, begin, sizeInBytes)) {
        return false;
    }
    if (void (*const* function)(void*) = f.target<void (*)(void*)>();
        function != nullptr && *function == leaveElement) {
        if (count != 0) {
            std::memmove(begin, source.bytes, sizeInBytes);
        }
        return true;
    }
    if (target.elementSizeInBytes != vec3Size) {
        return false;
    }
    if (const auto* position = f.target<PositionTransformation>()) {
        transformPositions(source.bytes, begin, count, position->matrix);
        return true;
    }
    if (const auto* normal = f.target<NormalTransformation>()) {
        transformNormals(source.bytes, begin, count, normal->matrix);
        return true;
    }
    return false;
}

bool transformPairsInBulk(const PackedElements& source, const PackedElements& target, unsigned long count,
                          const std::function<void(void*, void*)>& f) {
    if (!areSameOrApart(source.bytes, count * source.elementSizeInBytes, target.bytes,
                        count * target.elementSizeInBytes)) {
        return false;
    }
    if (f.target<NormalPacking>() != nullptr && source.elementSizeInBytes == vec3Size &&
        target.elementSizeInBytes == packedNormalSize) {
        packNormals(source.bytes, target.bytes, count);
        return true;
    }
    if (f.target<NormalUnpacking>() != nullptr && source.elementSizeInBytes == packedNormalSize &&
        target.elementSizeInBytes == vec3Size) {
        unpackNormals(source.bytes, target.bytes, count);
        return true;
    }
    return false;
}

} // namespace

void leaveElement(void* /*element*/) {}

void NormalPacking::operator()(void* source, void* target) const {
    glm::vec3 normal;
    std::memcpy(&normal, source, sizeof normal);
    quantizeNormal(&normal, static_cast<unsigned char*>(target));
}

void NormalUnpacking::operator()(void* source, void* target) const {
    glm::vec3 normal;
    dequantizeNormal(static_cast<unsigned char*>(source), &normal);
    std::memcpy(target, &normal, sizeof normal);
}

void transformElements(AttributeBuffer& source, AttributeBuffer& target, unsigned long targetBegin, unsigned long count,
                       const AttributeTransformationFunction& f) {
    const auto sourceElements = findPackedElements(source);
    const auto targetElements = findPackedElements(target);
    if (sourceElements && targetElements && transformInBulk(*sourceElements, *targetElements, targetBegin, count, f)) {
        return;
    }
    const ElementCopy element(target.getElementSizeInBytes());
    for (unsigned long i = 0; i < count; ++i) {
        source.getElement(i, element.get());
        f(element.get());
        target.setElement(targetBegin + i, element.get());
    }
}

void transformElementPairs(AttributeBuffer& source, AttributeBuffer& target, unsigned long count,
                           const std::function<void(void*, void*)>& f) {
    const auto sourceElements = findPackedElements(source);
    const auto targetElements = findPackedElements(target);
    if (sourceElements && targetElements && transformPairsInBulk(*sourceElements, *targetElements, count, f)) {
        return;
    }
    const ElementCopy sourceElement(source.getElementSizeInBytes());
    const ElementCopy targetElement(target.getElementSizeInBytes());
    for (unsigned long i = 0; i < count; ++i) {
        source.getElement(i, sourceElement.get());
        f(sourceElement.get(), targetElement.get());
        target.setElement(i, targetElement.get());
    }
}

} // namespace vexa::mesh::detail
