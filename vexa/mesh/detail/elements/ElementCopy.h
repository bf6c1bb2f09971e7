#pragma once

#include <algorithm>
#include <memory>

namespace vexa::mesh::detail {

/// Room for a copy of one element: zero at first, aligned for every scalar type, null for elements without bytes.
class ElementCopy {
public:
    explicit ElementCopy(unsigned long sizeInBytes)
        : bytes_(sizeInBytes == 0 ? nullptr : new unsigned char[std::max(sizeInBytes, minSize)]()) {}
    [[nodiscard]] void* get() const { return bytes_.get(); }

private:
    // The library's own functions access three or four floats even in smaller elements.
    static constexpr unsigned long minSize = 4 * sizeof(float);
    std::unique_ptr<unsigned char[]> bytes_;
};

} // namespace vexa::mesh::detail
