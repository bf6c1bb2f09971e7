#include "vexa/mesh/detail/VectorBufferData.h"

namespace vexa::mesh::detail {

void* VectorBufferData::getData() {
    return bytes_.data();
}

const void* VectorBufferData::getData() const {
    return bytes_.data();
}

unsigned long VectorBufferData::getSizeInBytes() const {
    return bytes_.size();
}

void VectorBufferData::resize(unsigned long sizeInBytes) {
    bytes_.resize(sizeInBytes);
}

} // namespace vexa::mesh::detail
