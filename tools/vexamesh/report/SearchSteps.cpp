#include "report/SearchSteps.h"

#include <algorithm>
#include <utility>

namespace vexa::tool {

namespace {

const char* nameOf(mesh::StripChange change) {
    switch (change) {
    case mesh::StripChange::Greedy:
        return "Greedy search";
    case mesh::StripChange::Flow:
        return "Flow";
    case mesh::StripChange::Tunnelling:
        return "Tunnelling";
    case mesh::StripChange::Annealing:
        return "Annealing";
    case mesh::StripChange::Parity:
        break;
    }
    return "Parity";
}

} // namespace

/// Without joints there is a restart index less for every strip but the last.
std::uint64_t SearchSteps::countIndices(std::uint64_t joined, std::size_t strips) const {
    return joining_ == Joining::None && strips > 0 ? joined - (strips - 1) : joined;
}

void SearchSteps::add(const std::vector<unsigned int>& triangles, bool isCounted) {
    Search search{{}, 0, isCounted};
    const std::vector<unsigned int> result = mesh::traceStripBuffer(triangles, options_, [&](mesh::StripStep step) {
        step.indices = countIndices(step.indices, step.strips.size());
        search.steps.push_back(std::move(step));
    });
    const auto restarts = std::count(result.begin(), result.end(), mesh::restartIndex);
    search.indices = countIndices(result.size(), static_cast<std::size_t>(restarts) + 1);
    searches_.push_back(std::move(search));
}

std::vector<PictureStep> SearchSteps::finish(std::size_t firstDrawing) {
    std::vector<mesh::StripStep>* longest = nullptr;
    // A pass that makes the strips worse is undone, so that equal numbers mean the same strips.
    bool endsWithResult = true;
    for (Search& search : searches_) {
        longest = longest == nullptr || search.steps.size() > longest->size() ? &search.steps : longest;
        endsWithResult = endsWithResult && search.steps.back().indices == search.indices;
    }
    std::vector<PictureStep> steps;
    const std::size_t passes = longest == nullptr ? 0 : longest->size();
    for (std::size_t i = 0; i < passes; ++i) {
        steps.push_back({nameOf((*longest)[i].change), 0, firstDrawing + i});
    }
    if (!endsWithResult) {
        steps.push_back({"The result", 0, 0});
    }
    if (steps.size() < 2) {
        return {};
    }
    steps.back().drawing = 0;
    drawings_ = steps.size() - 1;
    for (Search& search : searches_) {
        while (search.steps.size() < passes) {
            search.steps.push_back(search.steps.back());
        }
        for (std::size_t i = 0; i < steps.size() && search.isCounted; ++i) {
            steps[i].indices += i < passes ? search.steps[i].indices : search.indices;
        }
    }
    return steps;
}

std::vector<PictureCut> SearchSteps::drawingsOf(std::size_t primitive) const {
    std::vector<PictureCut> cuts;
    for (std::size_t i = 0; i < drawings_; ++i) {
        const mesh::StripStep& step = searches_[primitive].steps[i];
        cuts.push_back({nameOf(step.change), step.strips});
    }
    return cuts;
}

} // namespace vexa::tool
