#include "vexa/mesh/MeshConcatenation.h"

#include "vexa/mesh/detail/elements/ElementCopy.h"
#include "vexa/mesh/detail/elements/ElementTransformation.h"
#include "vexa/mesh/detail/elements/Kernels.h"
#include "vexa/mesh/detail/elements/MeshBuffers.h"
#include "vexa/mesh/detail/elements/PackedElements.h"
#include "vexa/mesh/detail/elements/StridedCopy.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <string>

namespace vexa::mesh {

namespace {

void checkCounts(unsigned long targetCount, unsigned long sourceCount) {
    if (sourceCount > std::numeric_limits<unsigned long>::max() - targetCount) {
        throw std::length_error("Element count exceeds 64 bits");
    }
}

/// Appends to another storage, without filling it with zeros first as resize does.
bool appendIndicesInBulk(const detail::PackedIndices& target, const detail::PackedIndices& source,
                         unsigned long offset) {
    if (source.storage == target.storage || !target.canGrow()) {
        return false;
    }
    target.storage->reserveFurther(source.elementCount * target.elementSizeInBytes);
    constexpr unsigned long blockCount = 1024;
    unsigned char block[blockCount * sizeof(unsigned int)];
    for (unsigned long begin = 0; begin < source.elementCount; begin += blockCount) {
        const unsigned long count = std::min(blockCount, source.elementCount - begin);
        detail::shiftIndices(source.element(begin), source.type, block, target.type, count, offset);
        target.storage->append(block, count * target.elementSizeInBytes);
    }
    return true;
}

/// Stores shifted indices from position `begin` on in a buffer that is already large enough.
void shiftIndices(IndexBuffer& target, unsigned long begin, IndexBuffer& source, unsigned long count,
                  unsigned long offset) {
    const auto from = detail::findPackedIndices(source);
    const auto to = detail::findPackedIndices(target);
    if (from && to &&
        detail::areSameOrApart(from->bytes, count * from->elementSizeInBytes, to->element(begin),
                               count * to->elementSizeInBytes)) {
        detail::shiftIndices(from->bytes, from->type, to->element(begin), to->type, count, offset);
        return;
    }
    for (unsigned long i = 0; i < count; ++i) {
        target.setElement(begin + i, source.getElement(i) + offset);
    }
}

// Counts are read before the target grows: both may be one buffer or share a storage.
void appendIndices(IndexBuffer& target, IndexBuffer& source, unsigned long offset) {
    const unsigned long sourceCount = source.getElementCount();
    const unsigned long targetCount = target.getElementCount();
    checkCounts(targetCount, sourceCount);

    const auto from = detail::findPackedIndices(source);
    const auto to = detail::findPackedIndices(target);
    if (from && to && appendIndicesInBulk(*to, *from, offset)) {
        return;
    }
    target.resize(targetCount + sourceCount);
    shiftIndices(target, targetCount, source, sourceCount, offset);
}

/// The kernel works on packed positions: a block at a time, in a copy that stays in the cache.
detail::Bounds calcBounds(const detail::InterleavedElements& positions, unsigned long count, const glm::mat4& matrix) {
    detail::Bounds bounds = detail::boundPosition(positions.bytes, matrix);
    constexpr unsigned long size = 3 * sizeof(float);
    constexpr unsigned long blockCount = 256;
    unsigned char block[blockCount * size];
    for (unsigned long begin = 0; begin < count; begin += blockCount) {
        const unsigned long inBlock = std::min(blockCount, count - begin);
        const unsigned char* const first = positions.bytes + begin * positions.strideInBytes;
        detail::copyStrided<size>(first, positions.strideInBytes, block, size, inBlock);
        detail::extendBounds(bounds, block, inBlock, matrix);
    }
    return bounds;
}

detail::Bounds calcBounds(AttributeBuffer& positions, unsigned long count, const glm::mat4& matrix) {
    if (const auto elements = detail::findPackedElements(positions)) {
        detail::Bounds bounds = detail::boundPosition(elements->bytes, matrix);
        detail::extendBounds(bounds, elements->bytes, count, matrix);
        return bounds;
    }
    if (const auto elements = detail::findInterleavedElements(positions)) {
        return calcBounds(*elements, count, matrix);
    }
    const detail::ElementCopy position(positions.getElementSizeInBytes());
    positions.getElement(0, position.get());
    detail::Bounds bounds = detail::boundPosition(position.get(), matrix);
    for (unsigned long i = 1; i < count; ++i) {
        positions.getElement(i, position.get());
        detail::extendBounds(bounds, position.get(), 1, matrix);
    }
    return bounds;
}

} // namespace

void concatAttribs(std::shared_ptr<AttributeBuffer>& target, const std::shared_ptr<AttributeBuffer>& source,
                   AttributeTransformationFunction transformation) {
    // The function may reset the caller's pointers.
    const std::shared_ptr<AttributeBuffer> heldTarget = target;
    const std::shared_ptr<AttributeBuffer> heldSource = source;
    if (!heldTarget->isCompatible(heldSource)) {
        throw std::invalid_argument("Attributes are incompatible!!!");
    }
    const unsigned long targetCount = heldTarget->getElementCount();
    const unsigned long sourceCount = heldSource->getElementCount();
    checkCounts(targetCount, sourceCount);
    detail::appendElements(*heldSource, *heldTarget, targetCount, sourceCount, transformation);
}

void concatMeshes(MeshPtr& target, const MeshPtr& source, const AttributeTransformationMap& transformations) {
    const MeshPtr heldTarget = target;
    const MeshPtr heldSource = source;
    if (!Mesh::meshesAreCompatible(heldTarget, heldSource, false)) {
        throw std::invalid_argument("Both meshes are not compatible!!!");
    }
    const unsigned long attributeCount = heldTarget->getNumAttributeBuffers();
    if (attributeCount == 0) {
        return;
    }
    const unsigned long sourceVertexCount = detail::requireAttributeBuffer(*heldSource, 0)->getElementCount();
    const unsigned long indexOffset = detail::requireAttributeBuffer(*heldTarget, 0)->getElementCount();

    const std::shared_ptr<IndexBuffer> targetIndices = heldTarget->getIndexBuffer();
    const std::shared_ptr<IndexBuffer> sourceIndices = heldSource->getIndexBuffer();
    if ((targetIndices == nullptr) != (sourceIndices == nullptr)) {
        throw std::invalid_argument("Only one mesh has an index buffer!!!");
    }
    if (targetIndices) {
        appendIndices(*targetIndices, *sourceIndices, indexOffset);
    }

    // Each attribute is checked just before it is appended: those preceding a wrong one are kept.
    for (unsigned long i = 0; i < attributeCount; ++i) {
        const std::shared_ptr<AttributeBuffer> sourceBuffer = detail::requireAttributeBuffer(*heldSource, i);
        const unsigned long elementCount = sourceBuffer->getElementCount();
        const std::string name = sourceBuffer->getAttributeName();
        std::shared_ptr<AttributeBuffer> targetBuffer = heldTarget->getAttributeBuffer(name);
        if (elementCount != sourceVertexCount) {
            throw std::invalid_argument("Number of elements in differs with different attributes!!!");
        }
        const auto entry = transformations.find(name);
        concatAttribs(targetBuffer, sourceBuffer,
                      entry != transformations.end() ? entry->second : detail::leaveElement);
    }
}

void computeVolume(glm::detail::taabb<float>& box, const MeshPtr& mesh, const glm::mat4& matrix) {
    const std::shared_ptr<AttributeBuffer> positions = mesh->getAttributeBuffer("position");
    if (!positions) {
        throw std::invalid_argument("Mesh has no points");
    }
    if (positions->getComponentCountPerElement() != 3 || positions->getComponentType() != FLOAT) {
        throw std::invalid_argument("Only vec3f is allowed for position!!!");
    }
    const unsigned long count = positions->getElementCount();
    if (count == 0) {
        throw std::invalid_argument("Have zero positions for mesh!!!");
    }
    const detail::Bounds bounds = calcBounds(*positions, count, matrix);
    box.min = bounds.min;
    box.max = bounds.max;
}

} // namespace vexa::mesh
