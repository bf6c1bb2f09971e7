#include "Goals.h"

#include "cases/Cases.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string_view>
#include <utility>

namespace bench {

namespace {

using Value = std::optional<double>;

/// Time ratios of one contender to another over all measurements of an area, on real models or on all.
std::vector<double> ratiosOf(const Results& results, std::string_view area, std::string_view contender,
                             std::string_view reference, bool onlyReal) {
    std::vector<double> ratios;
    for (const Measurement& measurement : results.all()) {
        const Stats* const measured = measurement.find(contender);
        const Stats* const other = measurement.find(reference);
        if (measurement.name.starts_with(area) && (measurement.real || !onlyReal) && measured != nullptr &&
            other != nullptr) {
            ratios.push_back(ratio(*measured, *other));
        }
    }
    return ratios;
}

/// Appends the number of models, because a run may have left some out.
std::string withCount(const char* text, const std::vector<double>& ratios) {
    return text + (" (" + std::to_string(ratios.size()) + ")");
}

Value geometricMean(const std::vector<double>& values) {
    if (values.empty()) {
        return std::nullopt;
    }
    double sum = 0;
    for (const double value : values) {
        sum += std::log(value);
    }
    return std::exp(sum / static_cast<double>(values.size()));
}

Value maxOf(const std::vector<double>& values) {
    return values.empty() ? std::nullopt : Value(*std::max_element(values.begin(), values.end()));
}

Value indexRatio(const Results& results, std::string_view measurement) {
    const Stats* const own = results.find(measurement, names::joined);
    const Stats* const peer = results.find(measurement, names::meshoptimizer);
    if (own == nullptr || peer == nullptr) {
        return std::nullopt;
    }
    return static_cast<double>(own->output.indices) / static_cast<double>(peer->output.indices);
}

Value nanosecondsPerElement(const Results& results, std::string_view measurement, std::string_view name) {
    const Stats* const stats = results.find(measurement, name);
    return stats == nullptr ? std::nullopt : Value(stats->median() * 1e9 / stats->elements);
}

/// The highest peak of some contenders; empty unless all were measured.
Value peakPerElement(const Results& results, std::string_view measurement, std::initializer_list<const char*> names) {
    std::vector<double> peaks;
    for (const char* const name : names) {
        const Stats* const stats = results.find(measurement, name);
        if (stats == nullptr || !stats->peakBytes) {
            return std::nullopt;
        }
        peaks.push_back(*stats->peakBytes / stats->elements);
    }
    return maxOf(peaks);
}

void addOneCallGoals(const Results& results, std::vector<Goal>& goals) {
    const auto real = ratiosOf(results, "strips/", names::build, names::meshoptimizer, true);
    goals.push_back({withCount("buildPrimitives to meshoptimizer, geometric mean over the real models", real), 0.25,
                     geometricMean(real)});
    goals.push_back({"buildPrimitives to meshoptimizer, worst real model", 0.55, maxOf(real)});
    goals.push_back({"buildPrimitives to meshoptimizer, shuffled dragon", 0.45,
                     results.ratio("strips/dragon shuffled", names::build, names::meshoptimizer)});
    goals.push_back(
        {"indices joined by restart, to meshoptimizer's, dragon", 0.89, indexRatio(results, "strips/dragon")});
    goals.push_back({"buildPrimitives to OpenMesh, worst model", 1.0,
                     maxOf(ratiosOf(results, "strips/", names::build, names::openMesh, false))});
    goals.push_back({"buildPrimitives to VTK, worst model", 1.0,
                     maxOf(ratiosOf(results, "strips/", names::build, names::vtk, false))});
    goals.push_back({"buildPrimitives, 10 passes, per triangle, grid of 2 M to grid of 70 k", 3.0,
                     results.ratio("passes/grid", names::tenLarge, names::tenSmall)});
    goals.push_back({"buildPrimitives, 10 passes, nanoseconds per triangle, soup of 1 M, all strips", 2000.0,
                     nanosecondsPerElement(results, "passes/soup", names::buildTen)});
}

void addBoundGoals(const Results& results, std::vector<Goal>& goals) {
    const auto real = ratiosOf(results, "bound/", names::bound, names::effort2, true);
    goals.push_back(
        {withCount("minIndexCount to buildStripBuffer at effort 2, geometric mean over the real models", real), 15.0,
         geometricMean(real)});
    goals.push_back({"minIndexCount, bytes per triangle beyond input and output, dragon", 60.0,
                     peakPerElement(results, "bound/dragon", {names::bound})});
}

/// A count of joined strips to that of the best peer, or to a certain one, on every real model.
std::vector<double> joinedRatios(const Results& results, std::string_view contender, std::uint64_t JoinedStrips::*count,
                                 std::string_view peer = {}) {
    std::vector<double> ratios;
    for (const Measurement& measurement : results.all()) {
        const Stats* const own = measurement.find(contender);
        if (!measurement.real || !measurement.name.starts_with("strips/") || own == nullptr) {
            continue;
        }
        std::uint64_t best = 0;
        for (const Stats& other : measurement.contenders) {
            const std::uint64_t value = other.output.joined.*count;
            if (other.role == Role::Peer && value != 0 && (peer.empty() || other.name == peer)) {
                best = best == 0 ? value : std::min(best, value);
            }
        }
        ratios.push_back(static_cast<double>(own->output.joined.*count) / static_cast<double>(best));
    }
    return ratios;
}

/// Indices of a contender to those of another one, or to those proven necessary, on every real model with both.
std::vector<double> indexRatios(const Results& results, std::string_view contender, std::string_view reference) {
    std::vector<double> ratios;
    for (const Measurement& measurement : results.all()) {
        const Stats* const own = measurement.find(contender);
        const Stats* const other = measurement.find(reference);
        if (measurement.real && own != nullptr && other != nullptr) {
            ratios.push_back(static_cast<double>(own->output.indices) / static_cast<double>(other->output.indices));
        }
    }
    return ratios;
}

void addBufferGoals(const Results& results, std::vector<Goal>& goals) {
    const auto add = [&goals](const std::string& text, const std::vector<double>& ratios, double mean, double worst) {
        goals.push_back({text + ", geometric mean over the real models", mean, geometricMean(ratios)});
        goals.push_back({text + ", worst real model", worst, maxOf(ratios)});
    };
    add("indices at effort 2 joined by restart, to the best peer",
        joinedRatios(results, names::effort2, &JoinedStrips::byRestart), 0.87, 0.93);
    add("indices at effort 2 joined by degenerate triangles, to the best peer",
        joinedRatios(results, names::degenerate2, &JoinedStrips::byDegenerates), 0.80, 0.93);
    add("indices at effort 3 joined by restart, to the best peer",
        joinedRatios(results, names::effort3, &JoinedStrips::byRestart), 0.84, 0.91);
    const auto ofEffort3 = indexRatios(results, names::effort3, names::bound);
    const auto ofEffort4 = indexRatios(results, names::effort4, names::bound);
    goals.push_back({withCount("indices at effort 3 to minIndexCount, geometric mean", ofEffort3), 1.025,
                     geometricMean(ofEffort3)});
    goals.push_back({withCount("indices at effort 4 with 60 us to minIndexCount, geometric mean", ofEffort4), 1.012,
                     geometricMean(ofEffort4)});
    goals.push_back({"indices after 10 annealing passes to effort 2, geometric mean over the real models", 0.992,
                     geometricMean(indexRatios(results, names::annealingTen, names::effort2))});
    goals.push_back({"buildStripBuffer with 10 annealing passes to effort 2, geometric mean over the real models", 4.0,
                     geometricMean(ratiosOf(results, "strips/", names::annealingTen, names::effort2, true))});
    const auto time3 = ratiosOf(results, "strips/", names::effort3, names::effort2, true);
    goals.push_back({"buildStripBuffer at effort 3, to effort 2, worst real model", 20.0, maxOf(time3)});
    add("buildStripBuffer at effort 1, to meshoptimizer",
        ratiosOf(results, "strips/", names::effort1, names::meshoptimizer, true), 0.50, 0.65);
    add("buildStripBuffer at effort 2, to meshoptimizer",
        ratiosOf(results, "strips/", names::effort2, names::meshoptimizer, true), 0.80, 0.95);
    const std::string_view peer = names::meshoptimizer;
    goals.push_back({"indices for the vertex cache, to meshoptimizer, worst real model", 0.9999,
                     maxOf(joinedRatios(results, names::cacheOrder, &JoinedStrips::byRestart, peer))});
    goals.push_back({"misses of a vertex cache of 16, to meshoptimizer, worst real model", 0.9999,
                     maxOf(joinedRatios(results, names::cacheOrder, &JoinedStrips::misses16, peer))});
    goals.push_back({"misses of a vertex cache of 32, to meshoptimizer, worst real model", 0.9999,
                     maxOf(joinedRatios(results, names::cacheOrder, &JoinedStrips::misses32, peer))});
    goals.push_back({"buildStripBuffer at effort 2, per triangle, mesh of 8 M to mesh of 70 k", 1.6,
                     results.ratio("passes/buffer", names::flowLarge, names::flowSmall)});
    goals.push_back({"buildStripBuffer at effort 2, per triangle, two hubs of 1 M to two hubs of 20 k", 3.0,
                     results.ratio("passes/hubs", names::hubsLarge, names::hubsSmall)});
    const Value ordered = nanosecondsPerElement(results, "strips/dragon", names::effort2);
    const Value shuffled = nanosecondsPerElement(results, "strips/dragon shuffled", names::effort2);
    goals.push_back({"buildStripBuffer at effort 2, shuffled dragon to the dragon", 2.0,
                     ordered && shuffled ? Value(*shuffled / *ordered) : std::nullopt});
    goals.push_back({"buildStripBuffer at effort 2, bytes per triangle beyond input and output, dragon", 55.0,
                     peakPerElement(results, "strips/dragon", {names::effort2})});
}

void addGraphGoals(const Results& results, std::vector<Goal>& goals) {
    const auto real = ratiosOf(results, "strips/", names::graph, names::meshoptimizer, true);
    goals.push_back(
        {withCount("graph to meshoptimizer, geometric mean over the real models", real), 0.60, geometricMean(real)});
    goals.push_back({"graph to meshoptimizer, worst real model", 1.05, maxOf(real)});
    const auto busy = ratiosOf(results, "busy/", names::graph, names::meshoptimizer, true);
    goals.push_back({withCount("graph to meshoptimizer beside a process that streams memory, geometric mean", busy),
                     0.80, geometricMean(busy)});
    goals.push_back({"addTriangles to CGAL, dragon, measured first, in a process without freed memory", 0.65,
                     results.ratio("alone/dragon", names::add, names::cgal)});
    goals.push_back({"addTriangles to CGAL, dragon, measured within the run", 0.80,
                     results.ratio("adjacency/dragon", names::add, names::cgal)});
    goals.push_back({"addTriangles to CGAL, shuffled dragon", 0.50,
                     results.ratio("adjacency/dragon shuffled", names::add, names::cgal)});
    goals.push_back(
        {"addTriangles to OpenMesh, dragon", 0.50, results.ratio("adjacency/dragon", names::add, names::openMesh)});
    goals.push_back(
        {"addTriangles, per triangle, hub to dragon", 1.0, results.ratio("adjacency/hub", names::addHub, names::add)});
    for (const auto& [crowded, regular] :
         {std::pair(names::addCrowded, names::addGrid), std::pair(names::addCollapsed, names::addGrid),
          std::pair(names::singleCrowded, names::singleGrid), std::pair(names::singleCollapsed, names::singleGrid)}) {
        goals.push_back({std::string(crowded) + ", per triangle, to a grid", 3.0,
                         results.ratio("adjacency/crowded edges", crowded, regular)});
    }
    goals.push_back({"addTriangles and calcEgdeLines to OpenMesh, dragon", 0.60,
                     results.ratio("edges/dragon", names::fillEdges, names::openMesh)});
    goals.push_back({"buildEdges to building OpenMesh's mesh, worst model", 0.35,
                     maxOf(ratiosOf(results, "adjacency/", names::buildEdges, names::openMesh, false))});
    goals.push_back({"weld to meshoptimizer's remap alone, worst model", 1.0,
                     maxOf(ratiosOf(results, "weld/", names::weld, names::meshoptimizer, false))});
}

void addOperationGoals(const Results& results, std::vector<Goal>& goals) {
    struct Bound {
        const char* text;
        const char* measurement;
        const char* contender;
        const char* reference;
        double limit;
    };
    const Bound bounds[] = {
        {"positions transformed, to scaling in place", "operations/positions", names::positions, names::scaled, 1.4},
        {"normals transformed, to scaling in place", "operations/normals", names::normals, names::scaled, 1.5},
        {"caller's function over the library's buffers, to the same through the virtual interface",
         "operations/caller's function", names::ownBuffer, names::derivedBuffer, 0.35},
        {"computeVolume, to reading", "operations/volume", names::volume, names::read, 1.6},
        {"normals packed, to meshoptimizer", "operations/packing", names::pack, names::meshoptimizer, 0.20},
        {"normals unpacked, to meshoptimizer", "operations/unpacking", names::unpack, names::meshoptimizer, 0.9},
        {"isValid, to reading the indices", "operations/index check", names::validate, names::read, 1.7},
        {"indices appended, to copying", "operations/appended indices", names::append, names::copied, 1.4},
        {"attributes appended, to copying", "operations/appended attributes", names::append, names::copied, 1.1},
        {"trianglesOf, to a loop by hand", "bulk/triangles of strips", names::walk, names::walkByHand, 1.5},
        {"interleaved attributes transformed, to packed ones", "bulk/interleaved", names::interleavedMesh,
         names::packedMesh, 2.0},
        {"interleaved attributes placed, to packed ones", "meshes/placing", names::placeInterleaved, names::placePacked,
         2.0},
        {"8-bit codes, to packing", "bulk/codec", names::encode8, names::pack, 1.0},
        {"16-bit codes, to packing", "bulk/codec", names::encode16, names::pack, 1.0},
        {"8-bit codes decoded, to unpacking", "bulk/codec", names::decode8, names::unpack, 1.0},
        {"16-bit codes decoded, to unpacking", "bulk/codec", names::decode16, names::unpack, 1.0},
        {"a thousand meshes merged, to copying", "meshes/merging", names::merge, names::copied, 1.3},
    };
    for (const Bound& bound : bounds) {
        goals.push_back({bound.text, bound.limit, results.ratio(bound.measurement, bound.contender, bound.reference)});
    }
}

void addWholeMeshGoals(const Results& results, std::vector<Goal>& goals) {
    const Value faults = nanosecondsPerElement(results, "meshes/faults", names::faults);
    goals.push_back({"findFaults on 10 M triangles, seconds", 1.0, faults ? Value(*faults / 100) : std::nullopt});
}

void addMemoryGoals(const Results& results, std::vector<Goal>& goals) {
    goals.push_back({"buildPrimitives, bytes per triangle beyond input and output, 1 and 10 passes, dragon", 40.0,
                     peakPerElement(results, "passes/dragon", {names::build, names::buildTen})});
    goals.push_back(
        {"filled graph, bytes per triangle, dragon", 215.0, peakPerElement(results, "adjacency/dragon", {names::add})});
    goals.push_back({"graph during optimisation, bytes per triangle, dragon", 215.0,
                     peakPerElement(results, "passes/dragon", {names::graph})});
}

} // namespace

std::vector<Goal> evaluateGoals(const Results& results) {
    std::vector<Goal> goals;
    addOneCallGoals(results, goals);
    addBoundGoals(results, goals);
    addBufferGoals(results, goals);
    addGraphGoals(results, goals);
    addOperationGoals(results, goals);
    addWholeMeshGoals(results, goals);
    addMemoryGoals(results, goals);
    return goals;
}

} // namespace bench
