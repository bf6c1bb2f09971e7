#include "vexa/mesh/detail/elements/AdoptedBufferData.h"

#include <stdexcept>
#include <string>
#include <utility>

namespace vexa::mesh::detail {

AdoptedBufferData::AdoptedBufferData(std::span<std::byte> bytes, std::shared_ptr<const void> owner)
    : bytes_(bytes), owner_(std::move(owner)) {}

void* AdoptedBufferData::getData() {
    return bytes_.data();
}

const void* AdoptedBufferData::getData() const {
    return bytes_.data();
}

unsigned long AdoptedBufferData::getSizeInBytes() const {
    return bytes_.size();
}

void AdoptedBufferData::resize(unsigned long sizeInBytes) {
    if (sizeInBytes != bytes_.size()) {
        throw std::length_error("A buffer over " + std::to_string(bytes_.size()) +
                                " bytes of the program cannot be resized to " + std::to_string(sizeInBytes) +
                                "; copy the mesh with copyMesh first");
    }
}

} // namespace vexa::mesh::detail
