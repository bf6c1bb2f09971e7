#include "vexa/mesh/Merge.h"

#include "vexa/mesh/AttributeTransformation.h"
#include "vexa/mesh/Triangles.h"
#include "vexa/mesh/Types.h"
#include "vexa/mesh/detail/VectorBufferData.h"
#include "vexa/mesh/detail/elements/ElementTransformation.h"
#include "vexa/mesh/detail/elements/Indices.h"
#include "vexa/mesh/detail/elements/Kernels.h"
#include "vexa/mesh/detail/elements/PackedElements.h"
#include "vexa/mesh/detail/strips/HugePages.h"
#include "vexa/mesh/detail/strips/WorkTeam.h"
#include "vexa/mesh/detail/vertices/AttributeElements.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <optional>
#include <stdexcept>
#include <string>
#include <utility>

namespace vexa::mesh {

namespace {

bool containsTriangles(PrimitiveType type) {
    return type == TRIANGLES || type == TRIANGLE_STRIP || type == TRIANGLE_FAN;
}

bool isList(PrimitiveType type) {
    return type == POINTS || type == LINES || type == TRIANGLES;
}

/// One attribute of the merged mesh.
struct AttributeLayout {
    std::string name;
    ComponentType type;
    unsigned long componentCount;
};

/// An instance, with its attributes in the order of the merged mesh.
struct Source {
    const Mesh* mesh = nullptr;
    std::string name; ///< for messages, with the name of the function
    PrimitiveType type = TRIANGLES;
    AttributeBuffers attributes; ///< empty pointers for missing ones
    std::shared_ptr<IndexBuffer> indices;
    bool isPlaced = false;
    bool isFlipped = false;
    MeshRange range;
};

[[noreturn]] void fail(const Source& source, const std::string& fault) {
    throw std::invalid_argument(source.name + ": " + fault);
}

std::string textOf(const AttributeLayout& layout) {
    return std::to_string(layout.componentCount) + " components of the type \"" +
           getStringForComponentType(layout.type) + "\"";
}

/// The plan of a merged mesh: everything but the elements, checked.
class Plan {
public:
    Plan(const char* caller, std::span<const MeshInstance> instances, const MergeOptions& options);

    [[nodiscard]] PrimitiveType type() const { return type_; }
    [[nodiscard]] const std::vector<AttributeLayout>& layout() const { return layout_; }
    [[nodiscard]] const std::vector<Source>& sources() const { return sources_; }
    [[nodiscard]] std::uint64_t vertexCount() const { return vertexCount_; }
    [[nodiscard]] std::uint64_t indexCount() const { return indexCount_; }
    /// Nothing for a mesh without indices.
    [[nodiscard]] std::optional<ComponentType> indexType() const { return indexType_; }

    /// Whether the indices of a source are copied as they are, raised by the number of its first vertex and perhaps with
    /// their winding flipped; all others are those of `partOf`.
    [[nodiscard]] bool isPlain(const Source& source) const {
        return isList(source.type) && (!source.indices || detail::findPackedIndices(*source.indices));
    }
    /// The indices of a source that is not plain, as they are joined, from 0 up.
    [[nodiscard]] std::vector<unsigned int> partOf(const Source& source) const;
    /// Checks the indices of a plain source.
    void checkPlain(const Source& source) const;
    /// The indices between those so far and a part: at most three, which end with the first one of the part.
    [[nodiscard]] std::vector<unsigned int> jointTo(std::span<const unsigned int> part, std::uint64_t firstVertex,
                                                    std::uint64_t indexCount, unsigned int lastIndex) const;

private:
    void addSource(const char* caller, std::size_t number, const MeshInstance& instance);
    void placeAttribute(Source& source, std::size_t position, const std::shared_ptr<AttributeBuffer>& attribute);
    void checkMissing() const;
    void chooseIndexType();
    void layOutIndices();

    const MergeOptions& options_;
    PrimitiveType type_ = TRIANGLES;
    std::vector<AttributeLayout> layout_;
    std::vector<Source> sources_;
    std::uint64_t vertexCount_ = 0;
    std::uint64_t indexCount_ = 0;
    std::optional<ComponentType> indexType_;
};

Plan::Plan(const char* caller, std::span<const MeshInstance> instances, const MergeOptions& options)
    : options_(options) {
    if (instances.empty()) {
        throw std::invalid_argument(std::string(caller) + ": at least one instance is needed");
    }
    sources_.reserve(instances.size());
    for (std::size_t i = 0; i < instances.size(); ++i) {
        addSource(caller, i, instances[i]);
    }
    checkMissing();
    chooseIndexType();
    layOutIndices();
}

void Plan::addSource(const char* caller, std::size_t number, const MeshInstance& instance) {
    Source source;
    source.name = caller + (": instance " + std::to_string(number));
    if (!instance.mesh) {
        fail(source, "its mesh is missing");
    }
    source.mesh = instance.mesh.get();
    source.type = source.mesh->getPrimitiveType();
    if (number == 0) {
        type_ = options_.asTriangles ? TRIANGLES : source.type;
    }
    if (getVertexCountForPrimitiveType(source.type) == 0 || (options_.asTriangles && !containsTriangles(source.type))) {
        fail(source, "its primitive type is " + getStringForPrimitiveType(source.type) +
                         (options_.asTriangles ? ", which does not contain triangles" : ""));
    }
    if (!options_.asTriangles && source.type != type_) {
        fail(source, "its primitive type is " + getStringForPrimitiveType(source.type) + ", and that of the first is " +
                         getStringForPrimitiveType(type_) + "; merge triangles of different types with asTriangles");
    }
    source.isPlaced = instance.placement != glm::mat4(1.0F);
    source.isFlipped = containsTriangles(source.type) && isMirroring(instance.placement);
    const AttributeBuffers attributes = detail::checkedAttributes(source.name.c_str(), *source.mesh);
    for (std::size_t i = 0; i < attributes.size(); ++i) {
        placeAttribute(source, i, attributes[i]);
    }
    source.indices = source.mesh->getIndexBuffer();
    source.range.firstVertex = vertexCount_;
    source.range.vertexCount = attributes.empty() ? 0 : attributes.front()->getElementCount();
    vertexCount_ += source.range.vertexCount;
    if (vertexCount_ >= restartIndex) {
        throw std::length_error(source.name + ": with it there are " + std::to_string(vertexCount_) +
                                " vertices, which need indices of more than 32 bits; merge fewer meshes");
    }
    sources_.push_back(std::move(source));
}

/// \param position in the mesh; of several attributes of one name, the n-th is the n-th of that name in the layout
void Plan::placeAttribute(Source& source, std::size_t position, const std::shared_ptr<AttributeBuffer>& attribute) {
    const AttributeLayout own{attribute->getAttributeName(), attribute->getComponentType(),
                              attribute->getComponentCountPerElement()};
    const std::string name = "its attribute " + std::to_string(position) + " (\"" + own.name + "\") has ";
    const bool isTangent = own.name == "tangent";
    if (source.isPlaced && (own.name == "position" || own.name == "normal" || isTangent) &&
        (own.type != FLOAT || (own.componentCount != 3 && !(isTangent && own.componentCount == 4)))) {
        fail(source,
             name + textOf(own) + " and cannot be placed; make it " + (isTangent ? "four" : "three") + " floats");
    }
    std::size_t place = 0;
    while (place < layout_.size() && (layout_[place].name != own.name ||
                                      (place < source.attributes.size() && source.attributes[place] != nullptr))) {
        ++place;
    }
    if (place == layout_.size()) {
        layout_.push_back(own);
    } else if (layout_[place].type != own.type || layout_[place].componentCount != own.componentCount) {
        fail(source, name + textOf(own) + ", and that of a preceding mesh " + textOf(layout_[place]));
    }
    source.attributes.resize(std::max(source.attributes.size(), place + 1));
    source.attributes[place] = attribute;
}

void Plan::checkMissing() const {
    for (const Source& source : sources_) {
        for (std::size_t i = 0; i < layout_.size() && options_.missing == MissingAttribute::Throw; ++i) {
            if (i >= source.attributes.size() || !source.attributes[i]) {
                fail(source, "it lacks the attribute \"" + layout_[i].name +
                                 "\", which others have; fill it with MissingAttribute::FillWithZeros");
            }
        }
    }
}

void Plan::chooseIndexType() {
    ComponentType kept = UNSIGNED_BYTE;
    bool isAnyIndexed = false;
    bool needsIndices = !isList(type_);
    for (const Source& source : sources_) {
        needsIndices = needsIndices || source.isFlipped || source.type != type_;
        if (!source.indices) {
            continue;
        }
        isAnyIndexed = true;
        const ComponentType type = source.indices->getComponentType();
        if (getComponentSizeInBytes(type) > getComponentSizeInBytes(kept)) {
            kept = getComponentSizeInBytes(type) == 2 ? UNSIGNED_SHORT : UNSIGNED_INT;
        }
    }
    if (!isAnyIndexed && !needsIndices) {
        return;
    }
    indexType_ = detail::indexTypeFor(options_.indexWidth, isAnyIndexed ? kept : UNSIGNED_SHORT, vertexCount_);
    if (vertexCount_ > detail::allOnesOf(*indexType_)) {
        throw std::length_error(sources_.front().name + " and those after it have " + std::to_string(vertexCount_) +
                                " vertices, and indices of type \"" + getStringForComponentType(*indexType_) +
                                "\" refer to at most " + std::to_string(detail::allOnesOf(*indexType_)) +
                                "; choose a wider index width");
    }
}

void Plan::layOutIndices() {
    unsigned int lastIndex = 0;
    for (Source& source : sources_) {
        const unsigned long perPrimitive = getVertexCountForPrimitiveType(source.type);
        const std::uint64_t ownCount = source.indices ? source.indices->getElementCount() : source.range.vertexCount;
        if (isList(source.type) && ownCount % perPrimitive != 0) {
            fail(source, "its " + std::to_string(ownCount) + " indices are not a whole number of " +
                             getStringForPrimitiveType(source.type));
        }
        if (!indexType_) {
            continue;
        }
        if (isPlain(source)) {
            source.range.firstIndex = indexCount_;
            source.range.indexCount = ownCount;
        } else {
            const std::vector<unsigned int> part = partOf(source);
            indexCount_ += jointTo(part, source.range.firstVertex, indexCount_, lastIndex).size();
            source.range.firstIndex = indexCount_;
            source.range.indexCount = part.size();
            lastIndex = part.empty() ? lastIndex : part.back() + static_cast<unsigned int>(source.range.firstVertex);
        }
        indexCount_ += source.range.indexCount;
    }
}

void Plan::checkPlain(const Source& source) const {
    if (!source.indices) {
        return;
    }
    const auto packed = detail::findPackedIndices(*source.indices);
    if (!detail::areIndicesBelow(packed->bytes, packed->type, packed->elementCount, source.range.vertexCount)) {
        static_cast<void>(partOf(source)); // which names the fault
    }
}

std::vector<unsigned int> Plan::partOf(const Source& source) const {
    std::vector<unsigned int> part =
        detail::checkedIndices(source.name.c_str(), *source.mesh, source.range.vertexCount);
    const auto restart = std::find(part.begin(), part.end(), restartIndex);
    const bool hasRestarts = restart != part.end();
    if (isList(source.type) && hasRestarts) {
        fail(source, "index " + std::to_string(restart - part.begin()) + " restarts a primitive, which a list of " +
                         getStringForPrimitiveType(source.type) + " does not need");
    }
    if (source.isFlipped) {
        flipWinding(source.type, part);
    }
    if (type_ != source.type) {
        return toTriangles(source.type, part);
    }
    if (type_ != TRIANGLE_STRIP || options_.join == StripJoin::Restart || !hasRestarts) {
        return part;
    }
    std::vector<IndexedPrimitive> strips;
    for (auto begin = part.begin(); begin != part.end();) {
        const auto end = std::find(begin, part.end(), restartIndex);
        strips.push_back({TRIANGLE_STRIP, {begin, end}});
        begin = end == part.end() ? end : end + 1;
    }
    return joinStrips(strips, StripJoin::Degenerate);
}

std::vector<unsigned int> Plan::jointTo(std::span<const unsigned int> part, std::uint64_t firstVertex,
                                        std::uint64_t indexCount, unsigned int lastIndex) const {
    if (part.empty() || indexCount == 0 || isList(type_)) {
        return {};
    }
    if (type_ != TRIANGLE_STRIP || options_.join == StripJoin::Restart) {
        return {restartIndex};
    }
    const unsigned int first = part.front() + static_cast<unsigned int>(firstVertex);
    // A strip begins at an even position, so that its triangles keep their winding.
    return indexCount % 2 == 0 ? std::vector{lastIndex, first} : std::vector{lastIndex, first, first};
}

/// Stores indices in their type, raised by a number of vertices.
template <class T>
void appendTyped(detail::VectorBufferData& storage, std::span<const unsigned int> indices, std::uint64_t firstVertex) {
    constexpr std::size_t blockSize = 1024;
    T block[blockSize];
    for (std::size_t begin = 0; begin < indices.size(); begin += blockSize) {
        const std::size_t count = std::min(blockSize, indices.size() - begin);
        for (std::size_t i = 0; i < count; ++i) {
            const unsigned int index = indices[begin + i];
            block[i] = static_cast<T>(index == restartIndex ? index : index + firstVertex);
        }
        storage.append(reinterpret_cast<const unsigned char*>(block), count * sizeof(T));
    }
}

void append(const detail::PackedIndices& target, std::span<const unsigned int> indices, std::uint64_t firstVertex) {
    switch (target.elementSizeInBytes) {
    case 1:
        return appendTyped<std::uint8_t>(*target.storage, indices, firstVertex);
    case 2:
        return appendTyped<std::uint16_t>(*target.storage, indices, firstVertex);
    default:
        return appendTyped<std::uint32_t>(*target.storage, indices, firstVertex);
    }
}

/// Swaps the second and third index of each triangle.
template <class T>
void flipTriangles(unsigned char* bytes, std::size_t count) {
    for (std::size_t i = 0; i + 2 < count; i += 3) {
        unsigned char* const second = bytes + (i + 1) * sizeof(T);
        std::swap_ranges(second, second + sizeof(T), second + sizeof(T));
    }
}

void flipTriangles(unsigned char* bytes, std::size_t count, unsigned long indexSize) {
    switch (indexSize) {
    case 1:
        return flipTriangles<std::uint8_t>(bytes, count);
    case 2:
        return flipTriangles<std::uint16_t>(bytes, count);
    default:
        return flipTriangles<std::uint32_t>(bytes, count);
    }
}

/// Appends the indices of a list block by block: each is checked while it is near.
void appendPlain(const Plan& plan, const Source& source, const detail::PackedIndices& target) {
    if (!source.indices) {
        std::vector<unsigned int> indices = plan.partOf(source);
        append(target, indices, source.range.firstVertex);
        return;
    }
    const auto from = detail::findPackedIndices(*source.indices);
    constexpr std::size_t blockSize = 1023; // whole triangles
    unsigned char block[blockSize * sizeof(unsigned int)];
    for (std::size_t begin = 0; begin < from->elementCount; begin += blockSize) {
        const std::size_t count = std::min<std::size_t>(blockSize, from->elementCount - begin);
        if (!detail::areIndicesBelow(from->element(begin), from->type, count, source.range.vertexCount)) {
            plan.checkPlain(source);
        }
        detail::shiftIndices(from->element(begin), from->type, block, target.type, count, source.range.firstVertex);
        if (source.isFlipped) {
            flipTriangles(block, count, target.elementSizeInBytes);
        }
        target.storage->append(block, count * target.elementSizeInBytes);
    }
}

/// Makes room for everything at once.
void reserve(const detail::PackedElements& target, std::uint64_t elementCount) {
    const std::uint64_t size = elementCount * target.elementSizeInBytes;
    target.storage->reserveFurther(size);
    detail::adviseHugePages(target.storage->getData(), size);
}

std::shared_ptr<IndexBuffer> mergeIndices(const Plan& plan) {
    if (!plan.indexType()) {
        return nullptr;
    }
    auto buffer = IndexBuffer::createDefault(*plan.indexType());
    const auto target = detail::findPackedIndices(*buffer);
    reserve(*target, plan.indexCount());
    unsigned int lastIndex = 0;
    for (const Source& source : plan.sources()) {
        if (plan.isPlain(source)) {
            appendPlain(plan, source, *target);
            continue;
        }
        const std::vector<unsigned int> part = plan.partOf(source);
        const std::uint64_t indexCount = buffer->getElementCount();
        append(*target, plan.jointTo(part, source.range.firstVertex, indexCount, lastIndex), 0);
        append(*target, part, source.range.firstVertex);
        lastIndex = part.empty() ? lastIndex : part.back() + static_cast<unsigned int>(source.range.firstVertex);
    }
    return buffer;
}

/// \param number of the attribute in the layout
std::shared_ptr<AttributeBuffer> mergeAttribute(const Plan& plan, std::span<const MeshInstance> instances,
                                                const MergeOptions& options, std::size_t number) {
    const AttributeLayout& layout = plan.layout()[number];
    auto result = AttributeBuffer::createDefault(layout.type, layout.componentCount, layout.name);
    if (const auto packed = detail::findPackedElements(*result)) {
        reserve(*packed, plan.vertexCount());
    }
    for (std::size_t i = 0; i < instances.size(); ++i) {
        const Source& source = plan.sources()[i];
        const MeshRange& range = source.range;
        if (number >= source.attributes.size() || !source.attributes[number]) {
            result->resize(range.firstVertex + range.vertexCount);
            continue;
        }
        AttributeTransformationFunction place;
        if (source.isPlaced) {
            place = detail::placementOf(layout.name, instances[i].placement, options.transformation);
        }
        detail::appendElements(*source.attributes[number], *result, range.firstVertex, range.vertexCount,
                               place ? place : detail::leaveElement);
    }
    return result;
}

std::uint32_t bufferCount(const Plan& plan) {
    return static_cast<std::uint32_t>(plan.layout().size() + 1);
}

/// Each buffer of the result is one call's work.
MeshPtr mergeByPlan(const Plan& plan, std::span<const MeshInstance> instances, const MergeOptions& options,
                    detail::WorkTeam& team) {
    std::shared_ptr<IndexBuffer> indices;
    AttributeBuffers attributes(plan.layout().size());
    team.forEach(bufferCount(plan), [&](std::uint32_t buffer, unsigned) {
        if (buffer == 0) {
            indices = mergeIndices(plan);
        } else {
            attributes[buffer - 1] = mergeAttribute(plan, instances, options, buffer - 1);
        }
    });
    return makeMesh(plan.type(), indices, std::move(attributes));
}

} // namespace

MeshPtr mergeMeshes(std::span<const MeshInstance> instances, const MergeOptions& options) {
    const Plan plan("mergeMeshes", instances, options);
    detail::WorkTeam team(std::min(detail::threadsFor(plan.vertexCount(), options.threads), bufferCount(plan)));
    return mergeByPlan(plan, instances, options, team);
}

MeshPtr mergeMeshes(std::span<const MeshInstance> instances, const MergeOptions& options, const Executor& executor) {
    const Plan plan("mergeMeshes", instances, options);
    detail::WorkTeam team(executor, detail::tasksFor(plan.vertexCount(), options.threads));
    return mergeByPlan(plan, instances, options, team);
}

std::vector<MeshRange> mergedRanges(std::span<const MeshInstance> instances, const MergeOptions& options) {
    const Plan plan("mergedRanges", instances, options);
    std::vector<MeshRange> ranges;
    ranges.reserve(instances.size());
    for (const Source& source : plan.sources()) {
        if (plan.indexType() && plan.isPlain(source)) {
            plan.checkPlain(source);
        }
        ranges.push_back(source.range);
    }
    return ranges;
}

} // namespace vexa::mesh
