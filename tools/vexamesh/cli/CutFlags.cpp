#include "cli/CutFlags.h"

#include "base/Errors.h"
#include "cli/Flags.h"
#include "cli/Progress.h"

#include <limits>

namespace vexa::tool {

namespace {

/// The effort whose search goes on for a given time.
constexpr std::uint32_t timedEffort = 4;
/// The lowest effort that anneals. Unless its passes are few, it takes longer than the proof of a minimum.
constexpr std::uint32_t annealingEffort = 3;

} // namespace

void CutFlags::addTo(Flags& flags) {
    constexpr std::uint64_t max = std::numeric_limits<std::uint32_t>::max();
    flags.add("--effort", effort_,
              "How hard to search for few indices: 0 greedily; 1 joins its strips; 2 (the default) plans them around "
              "vertices; 3 takes 10 to 20 times as long for 1 to 3 % fewer; 4 takes the time of --budget",
              {.typeName = "0-4", .max = timedEffort});
    flags.add("--budget", budget_, "Time per triangle of the search at effort 4 (default: 10)",
              {.typeName = "MICROSECONDS", .min = 1, .max = max});
    flags.add("--annealing-passes", annealingPasses_,
              "Passes of the search at efforts 3 and 4 (default: 88); 10 take 3 to 5 times as long as effort 2, for "
              "two thirds of what 88 save",
              {.typeName = "N", .min = 1, .max = max});
    flags.add("--for-vertex-cache", forVertexCache_,
              "Short strips in an order that reuses transformed vertices, for more indices");
    flags.add("--max-strip", maxStrip_, "Most triangles of a strip", {.typeName = "N", .min = 1, .max = max});
    flags.add(
        "--bound", provesMin_,
        "Prove how few indices strips can have, which takes several times as long as the search at effort 2; "
        "done unasked for primitives of up to 20,000 triangles and, without --annealing-passes, from effort 3 on");
    flags.add("--threads", threads_,
              "Threads that share the search and the proof in a large primitive; the strip command also cuts several "
              "primitives at the same time; the strips are the same in any number of threads, except at effort 4 "
              "(default: 1; 0: as many as the processor runs at once)",
              {.typeName = "N", .max = 1024});
    flags.add("--iterations", iterations_,
              "Search in passes instead: at random, the best of N; never worse than with one pass",
              {.typeName = "N", .min = 1, .max = max});
    flags.add("--fans", fans_, "Search in passes instead, with fans around vertices of at least MIN triangles",
              {.typeName = "MIN", .min = 1, .max = max});
    flags.add("--all-strips", allStrips_, "Write only strips, even where lists take fewer indices");
    flags.add(
        "--join", join_,
        "degenerate: one primitive per input primitive, its strips joined by degenerate triangles, for any reader; "
        "restart: the same with restart indices, the smallest file, only for readers that know "
        "KHR_mesh_primitive_restart; restart-fallback: a primitive per strip, which EXT_mesh_primitive_restart "
        "groups for one draw call, for renderers that know it; none: a primitive per strip, for hardware that takes "
        "one at a time (thousands of primitives are slow to read elsewhere)",
        {.showsDefault = true, .choices = {"degenerate", "restart", "restart-fallback", "none"}});
}

void CutFlags::checkSearch() const {
    const char* ofPasses = iterations_ ? "--iterations" : fans_ > 0 ? "--fans" : nullptr;
    const char* ofEfforts = effort_            ? "--effort"
                            : budget_          ? "--budget"
                            : annealingPasses_ ? "--annealing-passes"
                            : forVertexCache_  ? "--for-vertex-cache"
                                               : nullptr;
    if (ofPasses != nullptr && ofEfforts != nullptr) {
        throw UsageError(std::string(ofPasses) + " and " + ofEfforts +
                         " belong to different searches; give one of them");
    }
}

void CutFlags::checkEffort() const {
    if (budget_ && effort_.value_or(timedEffort) != timedEffort) {
        throw UsageError("--budget is the time of --effort 4; effort " + std::to_string(*effort_) +
                         " takes the time that it needs");
    }
    if (annealingPasses_ && effort_.value_or(annealingEffort) < annealingEffort) {
        throw UsageError("--annealing-passes are those of --effort 3 and 4; effort " + std::to_string(*effort_) +
                         " has none");
    }
}

StripSettings CutFlags::settings() const {
    checkSearch();
    checkEffort();
    StripSettings settings;
    settings.search.effort = effort_.value_or(budget_            ? timedEffort
                                              : annealingPasses_ ? annealingEffort
                                                                 : settings.search.effort);
    settings.search.annealingPasses = annealingPasses_.value_or(0);
    if (budget_) {
        settings.search.microsecondsPerTriangle = *budget_;
    }
    settings.search.forVertexCache = forVertexCache_;
    settings.search.maxTriangles = maxStrip_;
    settings.search.threads = threads_.value_or(1);
    if (iterations_ || fans_ > 0) {
        mesh::StripOptions& passes = settings.passes.emplace();
        passes.iterations = iterations_.value_or(1);
        passes.buildFans = fans_ > 0;
        passes.minFanTriangles = fans_;
    }
    if (provesMin_ || (settings.search.effort >= annealingEffort && !annealingPasses_)) {
        settings.provesMin = true;
    }
    settings.allStrips = allStrips_;
    settings.joining = join_ == "none"               ? Joining::None
                       : join_ == "restart"          ? Joining::Restart
                       : join_ == "restart-fallback" ? Joining::RestartFallback
                                                     : Joining::Degenerate;
    return settings;
}

std::string CutFlags::text() const {
    std::string text;
    text += effort_ ? " --effort " + std::to_string(*effort_) : "";
    text += budget_ ? " --budget " + std::to_string(*budget_) : "";
    text += annealingPasses_ ? " --annealing-passes " + std::to_string(*annealingPasses_) : "";
    text += forVertexCache_ ? " --for-vertex-cache" : "";
    text += maxStrip_ > 0 ? " --max-strip " + std::to_string(maxStrip_) : "";
    text += provesMin_ ? " --bound" : "";
    text += threads_ ? " --threads " + std::to_string(*threads_) : "";
    text += iterations_ ? " --iterations " + std::to_string(*iterations_) : "";
    text += fans_ > 0 ? " --fans " + std::to_string(fans_) : "";
    text += allStrips_ ? " --all-strips" : "";
    text += join_ == CutFlags().join_ ? "" : " --join " + join_;
    return text;
}

void showProgress(StripSettings& settings, Progress& progress) {
    settings.onProgress = [&progress](const char* work, double fraction) { progress.showPart(work, fraction); };
    if (settings.passes) {
        settings.passes->onPass = [&progress](const mesh::StripPass& pass) {
            if (pass.wanted > 1) {
                progress.show("passes", pass.number, pass.wanted);
            }
            return true;
        };
    }
}

} // namespace vexa::tool
