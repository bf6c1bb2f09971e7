#include "vexa/mesh/detail/VectorBufferData.h"

#include <algorithm>
#include <cstddef>
#include <stdexcept>

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

void VectorBufferData::reserveFurther(unsigned long sizeInBytes) {
    const unsigned long size = bytes_.size();
    if (sizeInBytes > bytes_.max_size() - size) {
        throw std::length_error("Buffer size exceeds the largest of a vector");
    }
    if (size + sizeInBytes > bytes_.capacity()) {
        bytes_.reserve(std::min<std::size_t>(size + std::max(size, sizeInBytes), bytes_.max_size()));
    }
}

void VectorBufferData::append(const unsigned char* bytes, unsigned long sizeInBytes) {
    bytes_.insert(bytes_.end(), bytes, bytes + sizeInBytes);
}

void VectorBufferData::assign(const unsigned char* bytes, unsigned long sizeInBytes) {
    if (sizeInBytes > bytes_.capacity()) {
        // Some libraries' vectors free their memory before they ask for more, and would lose their bytes without any.
        bytes_ = std::vector<unsigned char>(bytes, bytes + sizeInBytes);
    } else {
        bytes_.assign(bytes, bytes + sizeInBytes);
    }
}

} // namespace vexa::mesh::detail
