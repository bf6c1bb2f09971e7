#pragma once

#include "base/Json.h"

#include <cstddef>
#include <functional>
#include <vector>

namespace vexa::tool {

/// The accessors and buffer views that a document uses before an edit, so that those which the edit leaves without use
/// can be removed. Those that were unused before stay.
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

/// Calls `visit(reference)` with each reference to an accessor outside of extensions, which it may change.
void forEachAccessorReference(Json& document, const std::function<void(Json&)>& visit);

} // namespace vexa::tool
