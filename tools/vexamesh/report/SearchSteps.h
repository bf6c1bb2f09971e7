#pragma once

#include "ops/Stripping.h"
#include "report/Picture.h"

#include <cstddef>
#include <cstdint>
#include <vector>
#include <vexa/mesh/StripBuffer.h>

namespace vexa::tool {

/// Repeats the search for the strips of primitives, and keeps the strips at the end of each of its passes.
class SearchSteps {
public:
    /// Triangles of a model up to which this is worth its time and its place in a page.
    static constexpr std::size_t maxTriangles = 100'000;

    /// \param options of the search, which must not be one that looks at the clock
    /// \param joining how the indices count
    SearchSteps(const mesh::StripBufferOptions& options, Joining joining) : options_(options), joining_(joining) {}

    /// Searches in a primitive.
    ///
    /// \param isCounted whether its indices count; not those of one that shares them with another
    void add(const std::vector<unsigned int>& triangles, bool isCounted);

    /// To be called once, when all primitives are added.
    ///
    /// \param firstDrawing of the picture that will show a step; the others follow
    /// \return the steps, the last of which shows drawing 0, as that of a report's strips; nothing if there is only one
    std::vector<PictureStep> finish(std::size_t firstDrawing);

    /// The drawings of a primitive, by its number in the order of `add`, for the steps that do not show drawing 0.
    [[nodiscard]] std::vector<PictureCut> drawingsOf(std::size_t primitive) const;

private:
    struct Search {
        std::vector<mesh::StripStep> steps;
        std::uint64_t indices; ///< of its result
        bool isCounted;
    };

    [[nodiscard]] std::uint64_t countIndices(std::uint64_t joined, std::size_t strips) const;

    mesh::StripBufferOptions options_;
    Joining joining_;
    std::vector<Search> searches_;
    std::size_t drawings_ = 0; ///< of steps
};

} // namespace vexa::tool
