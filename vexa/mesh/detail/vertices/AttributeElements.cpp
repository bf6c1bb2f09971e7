#include "vexa/mesh/detail/vertices/AttributeElements.h"

#include "vexa/mesh/Types.h"
#include "vexa/mesh/Views.h"
#include "vexa/mesh/detail/elements/PackedElements.h"

#include <algorithm>
#include <cstring>
#include <numeric>
#include <stdexcept>
#include <string>

namespace vexa::mesh::detail {

namespace {

template <std::size_t Size>
void pickElements(const VertexRow& row, std::span<const std::uint32_t> vertices, unsigned char* target) {
    for (const std::uint32_t vertex : vertices) {
        std::memcpy(target, row.bytes + vertex * row.stride, Size);
        target += Size;
    }
}

} // namespace

AttributeElements::AttributeElements(const std::shared_ptr<AttributeBuffer>& buffer) : buffer_(buffer) {
    if (const auto own = findInterleavedElements(*buffer)) {
        row_ = {own->bytes, own->elementSizeInBytes, own->strideInBytes};
        return;
    }
    const std::size_t size = buffer->getElementSizeInBytes();
    const std::size_t count = buffer->getElementCount();
    copy_.resize(count * size);
    for (std::size_t i = 0; i < count && size != 0; ++i) {
        buffer->getElement(i, &copy_[i * size]);
    }
    row_ = {copy_.data(), size, size};
}

std::shared_ptr<AttributeBuffer> AttributeElements::pick(std::span<const std::uint32_t> vertices) const {
    auto result = AttributeBuffer::createDefault(buffer_->getComponentType(), buffer_->getComponentCountPerElement(),
                                                 buffer_->getAttributeName());
    result->resize(vertices.size());
    const std::size_t size = std::min<std::size_t>(result->getElementSizeInBytes(), row_.size);
    if (size == 0 || vertices.empty()) {
        return result;
    }
    auto* target = reinterpret_cast<unsigned char*>(bytesOf(*result).data());
    switch (size) {
    case 4:
        pickElements<4>(row_, vertices, target);
        break;
    case 8:
        pickElements<8>(row_, vertices, target);
        break;
    case 12:
        pickElements<12>(row_, vertices, target);
        break;
    case 16:
        pickElements<16>(row_, vertices, target);
        break;
    default:
        for (const std::uint32_t vertex : vertices) {
            std::memcpy(target, (*this)[vertex], size);
            target += result->getElementSizeInBytes();
        }
    }
    return result;
}

void checkVertexCount(const char* caller, std::uint64_t vertexCount) {
    if (vertexCount >= restartIndex) {
        throw std::length_error(caller + (": " + std::to_string(vertexCount)) +
                                " vertices need indices of more than 32 bits; split the mesh");
    }
}

AttributeBuffers checkedAttributes(const char* caller, const Mesh& mesh) {
    AttributeBuffers attributes;
    for (unsigned long i = 0; i < mesh.getNumAttributeBuffers(); ++i) {
        attributes.push_back(mesh.getAttributeBuffer(i));
        const auto fail = [&](const std::string& fault) {
            throw std::invalid_argument(caller + (": attribute " + std::to_string(i)) + fault);
        };
        if (!attributes.back()) {
            fail(" of the mesh is an empty pointer");
        }
        const unsigned long count = attributes.back()->getElementCount();
        if (count != attributes.front()->getElementCount()) {
            fail(" (\"" + attributes.back()->getAttributeName() + "\") has " + std::to_string(count) +
                 " elements, and attribute 0 (\"" + attributes.front()->getAttributeName() + "\") has " +
                 std::to_string(attributes.front()->getElementCount()) + "; give every vertex one element of each");
        }
        checkVertexCount(caller, count);
    }
    return attributes;
}

std::vector<unsigned int> checkedIndices(const char* caller, const Mesh& mesh, std::size_t vertexCount) {
    const std::shared_ptr<IndexBuffer> buffer = mesh.getIndexBuffer();
    if (!buffer) {
        std::vector<unsigned int> indices(vertexCount);
        std::iota(indices.begin(), indices.end(), 0U);
        return indices;
    }
    std::vector<unsigned int> indices = toIndices(*buffer);
    const auto wrong = std::find_if(indices.begin(), indices.end(), [vertexCount](unsigned int index) {
        return index >= vertexCount && index != restartIndex;
    });
    if (wrong != indices.end()) {
        throw std::invalid_argument(caller + (": index " + std::to_string(*wrong)) + " at " +
                                    std::to_string(wrong - indices.begin()) + " is out of range: the mesh has " +
                                    std::to_string(vertexCount) + " vertices");
    }
    return indices;
}

} // namespace vexa::mesh::detail
