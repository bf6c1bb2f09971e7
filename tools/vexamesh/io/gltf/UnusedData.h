#pragma once

#include "io/Json.h"

#include <cstddef>
#include <vector>

namespace vexa::tool {

/// The accessors and buffer views that a document uses before an edit, so that those which the edit leaves without use
/// can be removed. What nothing referred to in the first place stays.
class UsedData {
public:
    explicit UsedData(const Json& document);

    /// Removes what is used no more, and renumbers the references to the rest. Where an unknown extension may refer to
    /// something by its number, nothing is removed.
    ///
    /// \return per accessor its new number
    std::vector<std::size_t> removeUnused(Json& document) const;

private:
    std::vector<bool> accessors_;
    std::vector<bool> views_;
};

} // namespace vexa::tool
