#pragma once

#include "ops/Stripping.h"

#include <cstdint>
#include <string>

namespace vexa::tool {

class Flags;
class Progress;

/// How triangles are cut into strips, as flags say it; the same for every verb that cuts them.
struct CutFlags {
    std::uint32_t iterations = 1;
    std::uint32_t fans = 0; ///< fewest triangles of a fan; 0 makes none
    bool allStrips = false;
    std::string join = "degenerate";

    void addTo(Flags& flags);
    /// \param progress shows the passes of a search; null for none
    [[nodiscard]] StripSettings settings(Progress* progress = nullptr) const;
};

} // namespace vexa::tool
