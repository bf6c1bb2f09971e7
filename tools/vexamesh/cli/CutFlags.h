#pragma once

#include "ops/Stripping.h"

#include <cstdint>
#include <optional>
#include <string>

namespace vexa::tool {

class Flags;
class Progress;

/// How triangles are cut into strips, as flags say it; the same for every verb that cuts them.
class CutFlags {
public:
    void addTo(Flags& flags);

    /// \throw UsageError flags contradict one another
    [[nodiscard]] StripSettings settings() const;

    /// The flags that were given, as on a command line.
    [[nodiscard]] std::string text() const;

private:
    void checkSearch() const;
    void checkEffort() const;

    std::optional<std::uint32_t> effort_;
    std::optional<std::uint32_t> budget_; ///< microseconds per triangle
    std::optional<std::uint32_t> annealingPasses_;
    bool forVertexCache_ = false;
    std::uint32_t maxStrip_ = 0; ///< most triangles of a strip; 0 for any number
    bool provesMin_ = false;
    std::optional<std::uint32_t> threads_;
    std::optional<std::uint32_t> iterations_;
    std::uint32_t fans_ = 0; ///< fewest triangles of a fan; 0 makes none
    bool allStrips_ = false;
    std::string join_ = "degenerate";
};

/// Shows the search for strips, and the proof of their minimum, while they go on.
void showProgress(StripSettings& settings, Progress& progress);

} // namespace vexa::tool
