#include "vexa/mesh/detail/elements/ElementTransformation.h"

#include "vexa/mesh/NormalQuantization.h"
#include "vexa/mesh/detail/DefaultAttributeBuffer.h"
#include "vexa/mesh/detail/DefaultMesh.h"
#include "vexa/mesh/detail/elements/ElementCopy.h"
#include "vexa/mesh/detail/elements/MeshBuffers.h"
#include "vexa/mesh/detail/elements/PackedElements.h"
#include "vexa/mesh/detail/strips/WorkTeam.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <memory>
#include <optional>
#include <typeinfo>

#ifdef __SSE2__
#include <xmmintrin.h>
#else
#include <cfenv>
#endif

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
                      unsigned long count, unsigned long elementSizeInBytes, unsigned long stride) {
    if (const auto* position = f.target<PositionTransformation>()) {
        transformPositions(source, target, count, position->matrix, stride);
    } else if (const auto* normal = f.target<NormalTransformation>()) {
        normal->apply(source, target, count, stride);
    } else if (const auto* tangent = f.target<TangentTransformation>()) {
        tangent->apply(source, target, count, elementSizeInBytes, stride);
    } else if (count != 0 && source != target) {
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
    applyOwnFunction(f, source.bytes, begin, count, target.elementSizeInBytes, target.elementSizeInBytes);
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
        applyOwnFunction(f, source.element(begin), block, count, source.elementSizeInBytes, source.elementSizeInBytes);
        target.storage->append(block, count * source.elementSizeInBytes);
    }
    return true;
}

/// The elements of a buffer that one of the library's own functions can change in place.
std::optional<InterleavedElements> findChangeable(AttributeBuffer& buffer, const AttributeTransformationFunction& f) {
    const auto elements = findInterleavedElements(buffer);
    return elements && isOwnFunction(f, elements->elementSizeInBytes) ? elements : std::nullopt;
}

/// \param elements as found by findChangeable
void changeElements(const InterleavedElements& elements, unsigned long begin, unsigned long count,
                    const AttributeTransformationFunction& f) {
    if (count != 0) {
        unsigned char* const first = elements.bytes + begin * elements.strideInBytes;
        applyOwnFunction(f, first, first, count, elements.elementSizeInBytes, elements.strideInBytes);
    }
}

/// The kernels that pack normals round once where the scalar functions round twice, which is the same only to nearest.
bool roundsToNearest() {
#ifdef __SSE2__
    return _MM_GET_ROUNDING_MODE() == _MM_ROUND_NEAREST; // std::fegetround may ask another unit of an x86
#else
    return std::fegetround() == FE_TONEAREST;
#endif
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

void NormalTransformation::apply(const void* source, void* target, unsigned long count, unsigned long stride) const {
    switch (length) {
    case NormalLength::Unit:
        return transformUnitDirections(source, target, count, matrix, stride);
    case NormalLength::L1:
        return transformNormals(source, target, count, matrix, stride);
    case NormalLength::Keep:
        return transformDirections(source, target, count, matrix, stride);
    }
}

void TangentTransformation::apply(const void* source, void* target, unsigned long count,
                                  unsigned long elementSizeInBytes, unsigned long stride) const {
    const auto turn = length == NormalLength::Keep ? transformDirections : transformUnitDirections;
    if (elementSizeInBytes == vec3Size) {
        return turn(source, target, count, matrix, stride);
    }
    const auto* from = static_cast<const unsigned char*>(source);
    auto* to = static_cast<unsigned char*>(target);
    constexpr unsigned long blockCount = 256;
    for (unsigned long begin = 0; begin < count; begin += blockCount) {
        const unsigned long end = std::min(begin + blockCount, count);
        turn(from + begin * stride, to + begin * stride, end - begin, matrix, stride);
        for (unsigned long i = begin; i < end; ++i) {
            float sign = 0;
            std::memcpy(&sign, from + i * stride + vec3Size, sizeof sign);
            sign = isMirroring ? -sign : sign;
            std::memcpy(to + i * stride + vec3Size, &sign, sizeof sign);
        }
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
    if (&source == &target && targetBegin == 0) {
        if (const auto elements = findChangeable(source, f)) {
            changeElements(*elements, 0, count, f);
            return;
        }
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

bool ElementChanges::add(AttributeBuffer& buffer, const AttributeTransformationFunction& f) {
    const auto elements = findChangeable(buffer, f);
    if (!elements) {
        return false;
    }
    const InterleavedElements& others = rows_[0].elements;
    if (size_ == rows_.size() ||
        (size_ != 0 && (others.storage != elements->storage || others.strideInBytes != elements->strideInBytes))) {
        flush();
    }
    rows_[size_++] = {*elements, buffer.getElementCount(), &f};
    return true;
}

void ElementChanges::flush() {
    // A block stays near until the last attribute in it is changed.
    const unsigned long blockCount = size_ == 1 ? rows_[0].count : 256;
    unsigned long most = 0;
    for (std::size_t i = 0; i < size_; ++i) {
        most = std::max(most, rows_[i].count);
    }
    // Small enough for the last thread to end soon after the others.
    constexpr unsigned long taskCount = 1UL << 16;
    constexpr unsigned long manyElements = 1000000;
    if (executor_ && most >= manyElements) {
        WorkTeam team(executor_, threadsAllowed(0));
        team.forEach(static_cast<std::uint32_t>((most - 1) / taskCount + 1), [&](std::uint32_t task, unsigned) {
            const unsigned long begin = task * taskCount;
            change(begin, std::min(begin + taskCount, most), std::min(blockCount, taskCount));
        });
    } else {
        change(0, most, blockCount);
    }
    size_ = 0;
}

/// Changes a part of all rows, block by block.
void ElementChanges::change(unsigned long begin, unsigned long end, unsigned long blockCount) const {
    for (; begin < end; begin += blockCount) {
        const unsigned long blockEnd = std::min(begin + blockCount, end);
        for (std::size_t i = 0; i < size_; ++i) {
            const Row& row = rows_[i];
            const unsigned long rowBegin = std::min(begin, row.count);
            changeElements(row.elements, rowBegin, std::min(blockEnd, row.count) - rowBegin, *row.f);
        }
    }
}

void transformMeshElements(Mesh& mesh, const AttributeTransformationMap& map, const Executor& executor) {
    const bool isOwn = typeid(mesh) == typeid(DefaultMesh);
    const unsigned long count = mesh.getNumAttributeBuffers();
    // Flushed before anything is called that is not the library's own, or throws.
    ElementChanges changes(executor);
    for (unsigned long i = 0; i < count; ++i) {
        if (!isOwn || !mesh.getAttributeBuffer(i)) {
            changes.flush();
        }
        const std::shared_ptr<AttributeBuffer> buffer = requireAttributeBuffer(mesh, i);
        if (!findInterleavedElements(*buffer)) {
            changes.flush();
        }
        const auto entry = map.find(buffer->getAttributeName());
        if (entry != map.end() && !changes.add(*buffer, entry->second)) {
            changes.flush();
            // The function may change the map.
            const AttributeTransformationFunction f = entry->second;
            transformElements(*buffer, *buffer, 0, buffer->getElementCount(), f);
        }
    }
    changes.flush();
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
