#pragma once

#include <cstddef>

namespace vexa::test {

/// Allocations by `new` that were not yet deleted, in the whole program.
std::size_t liveAllocations();

/// Lets `new` throw std::bad_alloc while it lives; one at a time.
class FailingNew {
public:
    enum class Mode { Once, FromThenOn };

    /// The n-th allocation fails, counted from 0, and in the one mode all later ones too.
    FailingNew(std::size_t n, Mode mode);
    /// Allocations beyond a size in bytes fail.
    explicit FailingNew(std::size_t largestSize);
    ~FailingNew();
    FailingNew(const FailingNew&) = delete;
    FailingNew& operator=(const FailingNew&) = delete;

    /// Whether any allocation has failed so far.
    [[nodiscard]] bool hasFailed() const;
};

} // namespace vexa::test
