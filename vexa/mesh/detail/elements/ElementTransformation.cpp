#include "vexa/mesh/detail/elements/ElementTransformation.h"

#include "vexa/mesh/NormalQuantization.h"
#include "vexa/mesh/detail/DefaultAttributeBuffer.h"
#include "vexa/mesh/detail/elements/ElementCopy.h"
#include "vexa/mesh/detail/elements/PackedElements.h"
#include "vexa/mesh/detail/elements/StridedCopy.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <typeinfo>
#include <xmmintrin.h>

namespace vexa::mesh::detail {

namespace {

constexpr unsigned long vec3Size = 3 * sizeof(float);
constexpr unsigned long vec4Size = 4 * sizeof(float);
constexpr unsigned long packedNormalSize = 2;

bool isLeaveElement(const AttributeTransformationFunction& f) {
    void (*const* function)(void*) = f.target<void (*)(void*)>();
    return function != nullptr && *function == leaveElement;
}

/// Whether a function is one of the library's own that can be applied to elements of a size in bulk.
bool isOwnFunction(const AttributeTransformationFunction& f, unsigned long elementSizeInBytes) {
    if (isLeaveElement(f)) {
        return true;
    }
    if (f.target<TangentTransformation>() != nullptr) {
        return elementSizeInBytes == vec3Size || elementSizeInBytes == vec4Size;
    }
    return elementSizeInBytes == vec3Size &&
           (f.target<PositionTransformation>() != nullptr || f.target<NormalTransformation>() != nullptr);
}

void applyOwnFunction(const AttributeTransformationFunction& f, const unsigned char* source, unsigned char* target,
                      unsigned long count, unsigned long elementSizeInBytes) {
    if (const auto* position = f.target<PositionTransformation>()) {
        transformPositions(source, target, count, position->matrix);
    } else if (const auto* normal = f.target<NormalTransformation>()) {
        normal->apply(source, target, count);
    } else if (const auto* tangent = f.target<TangentTransformation>()) {
        tangent->apply(source, target, count, elementSizeInBytes);
    } else if (count != 0) {
        std::memmove(target, source, count * elementSizeInBytes);
    }
}

bool transformInBulk(const PackedElements& source, const PackedElements& target, unsigned long targetBegin,
                     unsigned long count, const AttributeTransformationFunction& f) {
    const unsigned long sizeInBytes = count * target.elementSizeInBytes;
    unsigned char* const begin = target.element(targetBegin);
    if (source.elementSizeInBytes != target.elementSizeInBytes || !isOwnFunction(f, target.elementSizeInBytes) ||
        !areSameOrApart(source.bytes, sizeInBytes, begin, sizeInBytes)) {
        return false;
    }
    applyOwnFunction(f, source.bytes, begin, count, target.elementSizeInBytes);
    return true;
}

// resize would fill the new elements with zeros first.
bool appendInBulk(const PackedElements& source, const PackedElements& target,
                  const AttributeTransformationFunction& f) {
    if (source.elementSizeInBytes != target.elementSizeInBytes || !isOwnFunction(f, target.elementSizeInBytes) ||
        source.storage == target.storage || !target.canGrow()) {
        return false;
    }
    target.storage->reserveFurther(source.elementCount * source.elementSizeInBytes);
    if (isLeaveElement(f)) {
        target.storage->append(source.bytes, source.elementCount * source.elementSizeInBytes);
        return true;
    }
    constexpr unsigned long blockCount = 512;
    unsigned char block[blockCount * vec4Size];
    for (unsigned long begin = 0; begin < source.elementCount; begin += blockCount) {
        const unsigned long count = std::min(blockCount, source.elementCount - begin);
        applyOwnFunction(f, source.element(begin), block, count, source.elementSizeInBytes);
        target.storage->append(block, count * source.elementSizeInBytes);
    }
    return true;
}

/// Transforms interleaved elements in place, in blocks that are packed for it.
template <unsigned long Size>
void transformStrided(unsigned char* elements, unsigned long stride, unsigned long count,
                      const AttributeTransformationFunction& f) {
    constexpr unsigned long blockCount = 256;
    unsigned char block[blockCount * Size];
    for (unsigned long begin = 0; begin < count; begin += blockCount) {
        const unsigned long blockSize = std::min(blockCount, count - begin);
        unsigned char* const first = elements + begin * stride;
        copyStrided<Size>(first, stride, block, Size, blockSize);
        applyOwnFunction(f, block, block, blockSize, Size);
        copyStrided<Size>(block, Size, first, stride, blockSize);
    }
}

bool transformInterleaved(AttributeBuffer& buffer, unsigned long count, const AttributeTransformationFunction& f) {
    const auto elements = findInterleavedElements(buffer);
    if (!elements || isLeaveElement(f) || !isOwnFunction(f, elements->elementSizeInBytes)) {
        return false;
    }
    if (elements->elementSizeInBytes == vec3Size) {
        transformStrided<vec3Size>(elements->bytes, elements->strideInBytes, count, f);
    } else {
        transformStrided<vec4Size>(elements->bytes, elements->strideInBytes, count, f);
    }
    return true;
}

/// The kernels that pack normals round once where the scalar functions round twice, which is the same only to nearest.
bool roundsToNearest() {
    return _MM_GET_ROUNDING_MODE() == _MM_ROUND_NEAREST;
}

bool transformPairsInBulk(const PackedElements& source, const PackedElements& target, unsigned long count,
                          const std::function<void(void*, void*)>& f) {
    if (!roundsToNearest() || !areSameOrApart(source.bytes, count * source.elementSizeInBytes, target.bytes,
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

/// Elements of a buffer, accessed through its interface.
class InterfaceElements {
public:
    explicit InterfaceElements(AttributeBuffer& buffer) : buffer_(buffer) {}
    void get(unsigned long index, void* copy) const { buffer_.getElement(index, copy); }
    void set(unsigned long index, const void* copy) const { buffer_.setElement(index, copy); }

private:
    AttributeBuffer& buffer_;
};

/// Elements of a buffer of exactly the library's own class, accessed as its accessors do: the address is queried for each
/// element because the function may have resized the buffer or replaced its storage.
class StoredElements {
public:
    explicit StoredElements(AttributeBuffer& buffer)
        : data_(static_cast<DefaultAttributeBuffer&>(buffer).getBufferData()), size_(buffer.getElementSizeInBytes()),
          stride_(buffer.getElementStrideInBytes()), offset_(buffer.getElementOffsetInBytes()) {}

    [[nodiscard]] static bool reach(const AttributeBuffer& buffer) {
        return typeid(buffer) == typeid(DefaultAttributeBuffer);
    }

    void get(unsigned long index, void* copy) const {
        const BufferData& data = *data_;
        copyElement(copy, static_cast<const unsigned char*>(data.getData()) + begin(index));
    }
    void set(unsigned long index, const void* copy) const {
        copyElement(static_cast<unsigned char*>(data_->getData()) + begin(index), copy);
    }

private:
    [[nodiscard]] unsigned long begin(unsigned long index) const { return index * stride_ + offset_; }

    // A copy of constant size needs no function call.
    void copyElement(void* to, const void* from) const {
        switch (size_) {
        case 0:
            return;
        case vec3Size:
            std::memcpy(to, from, vec3Size);
            return;
        default:
            std::memcpy(to, from, size_);
        }
    }

    const std::shared_ptr<BufferData>& data_;
    unsigned long size_;
    unsigned long stride_;
    unsigned long offset_;
};

/// Bytes for an element of either buffer: the elements of a caller's class may be larger than their type and count say.
unsigned long scratchSize(const AttributeBuffer& source, const AttributeBuffer& target) {
    const unsigned long size = target.getElementSizeInBytes();
    return &source == &target ? size : std::max(size, source.getElementSizeInBytes());
}

/// Calls `walk` with the fastest access to the elements of both buffers.
template <typename Walk>
void reachElements(AttributeBuffer& source, AttributeBuffer& target, const Walk& walk) {
    if (StoredElements::reach(source) && StoredElements::reach(target)) {
        walk(StoredElements(source), StoredElements(target));
    } else {
        walk(InterfaceElements(source), InterfaceElements(target));
    }
}

} // namespace

void leaveElement(void* /*element*/) {}

void NormalTransformation::apply(const void* source, void* target, unsigned long count) const {
    switch (length) {
    case NormalLength::Unit:
        return transformUnitDirections(source, target, count, matrix);
    case NormalLength::L1:
        return transformNormals(source, target, count, matrix);
    case NormalLength::Keep:
        return transformDirections(source, target, count, matrix);
    }
}

void TangentTransformation::apply(const void* source, void* target, unsigned long count,
                                  unsigned long elementSizeInBytes) const {
    const auto turn = length == NormalLength::Keep ? transformDirections : transformUnitDirections;
    if (elementSizeInBytes == vec3Size) {
        return turn(source, target, count, matrix);
    }
    const auto* from = static_cast<const unsigned char*>(source);
    auto* to = static_cast<unsigned char*>(target);
    constexpr unsigned long blockCount = 256;
    unsigned char block[blockCount * vec3Size];
    for (unsigned long begin = 0; begin < count; begin += blockCount) {
        const unsigned long blockSize = std::min(blockCount, count - begin);
        copyStrided<vec3Size>(from + begin * vec4Size, vec4Size, block, vec3Size, blockSize);
        turn(block, block, blockSize, matrix);
        for (unsigned long i = 0; i < blockSize; ++i) {
            float sign = 0;
            std::memcpy(&sign, from + (begin + i) * vec4Size + vec3Size, sizeof sign);
            sign = isMirroring ? -sign : sign;
            std::memcpy(to + (begin + i) * vec4Size + vec3Size, &sign, sizeof sign);
        }
        copyStrided<vec3Size>(block, vec3Size, to + begin * vec4Size, vec4Size, blockSize);
    }
}

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
    if (&source == &target && targetBegin == 0 && transformInterleaved(source, count, f)) {
        return;
    }
    const ElementCopy element(scratchSize(source, target));
    reachElements(source, target, [&](const auto& from, const auto& to) {
        for (unsigned long i = 0; i < count; ++i) {
            from.get(i, element.get());
            f(element.get());
            to.set(targetBegin + i, element.get());
        }
    });
}

void appendElements(AttributeBuffer& source, AttributeBuffer& target, unsigned long targetCount,
                    unsigned long sourceCount, const AttributeTransformationFunction& f) {
    const auto sourceElements = findPackedElements(source);
    const auto targetElements = findPackedElements(target);
    if (sourceElements && targetElements && appendInBulk(*sourceElements, *targetElements, f)) {
        return;
    }
    target.resize(targetCount + sourceCount);
    transformElements(source, target, targetCount, sourceCount, f);
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
    reachElements(source, target, [&](const auto& from, const auto& to) {
        for (unsigned long i = 0; i < count; ++i) {
            from.get(i, sourceElement.get());
            f(sourceElement.get(), targetElement.get());
            to.set(i, targetElement.get());
        }
    });
}

} // namespace vexa::mesh::detail
