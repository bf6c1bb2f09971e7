#include "Goals.h"

#include "cases/Cases.h"

#include <algorithm>
#include <cmath>
#include <initializer_list>
#include <string_view>

namespace bench {

namespace {

using Value = std::optional<double>;

/// A figure's ratios to another over all measurements of an area, on real models or on all.
std::vector<double> ratiosOf(const Results& results, std::string_view area, std::string_view figure,
                             std::string_view reference, bool onlyReal) {
    std::vector<double> ratios;
    for (const Measurement& measurement : results.all()) {
        const Figure* const measured = measurement.find(figure);
        const Figure* const other = measurement.find(reference);
        if (measurement.name.starts_with(area) && (measurement.real || !onlyReal) && measured != nullptr &&
            other != nullptr) {
            ratios.push_back(ratio(*measured, *other));
        }
    }
    return ratios;
}

/// How many models a text speaks of, for a run may have left some out.
std::string counted(const char* text, const std::vector<double>& ratios) {
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

Value largest(const std::vector<double>& values) {
    return values.empty() ? std::nullopt : Value(*std::max_element(values.begin(), values.end()));
}

Value indexRatio(const Results& results, std::string_view measurement) {
    const Figure* const own = results.find(measurement, names::joined);
    const Figure* const peer = results.find(measurement, names::meshoptimizer);
    if (own == nullptr || peer == nullptr) {
        return std::nullopt;
    }
    return static_cast<double>(own->output.indices) / static_cast<double>(peer->output.indices);
}

Value nanosecondsPerElement(const Results& results, std::string_view measurement, std::string_view name) {
    const Figure* const figure = results.find(measurement, name);
    return figure == nullptr ? std::nullopt : Value(figure->median() * 1e9 / figure->elements);
}

/// The largest of some figures' peaks; empty unless all were measured.
Value peakPerElement(const Results& results, std::string_view measurement, std::initializer_list<const char*> names) {
    std::vector<double> peaks;
    for (const char* const name : names) {
        const Figure* const figure = results.find(measurement, name);
        if (figure == nullptr || !figure->peakBytes) {
            return std::nullopt;
        }
        peaks.push_back(*figure->peakBytes / figure->elements);
    }
    return largest(peaks);
}

void judgeOneCall(const Results& results, std::vector<Goal>& goals) {
    const auto real = ratiosOf(results, "strips/", names::build, names::meshoptimizer, true);
    goals.push_back({counted("buildPrimitives to meshoptimizer, geometric mean over the real models", real), 0.40,
                     geometricMean(real)});
    goals.push_back({"buildPrimitives to meshoptimizer, worst real model", 0.55, largest(real)});
    goals.push_back({"buildPrimitives to meshoptimizer, dragon in shuffled order", 0.45,
                     results.ratio("strips/dragon shuffled", names::build, names::meshoptimizer)});
    goals.push_back({"indices of strips joined by restart, to meshoptimizer's, dragon", 0.89,
                     indexRatio(results, "strips/dragon")});
    goals.push_back({"buildPrimitives to OpenMesh, worst model", 1.0,
                     largest(ratiosOf(results, "strips/", names::build, names::openMesh, false))});
    goals.push_back({"buildPrimitives to VTK, worst model", 1.0,
                     largest(ratiosOf(results, "strips/", names::build, names::vtk, false))});
    goals.push_back({"buildPrimitives, 10 passes to 1, dragon", 7.0,
                     results.ratio("passes/dragon", names::buildTen, names::build)});
    goals.push_back({"buildPrimitives, 10 passes, a triangle of 2 M to one of 70 k", 3.0,
                     results.ratio("passes/grid", names::tenLarge, names::tenSmall)});
    goals.push_back({"buildPrimitives, 10 passes, nanoseconds per triangle of a soup of 1 M, all in strips", 2000.0,
                     nanosecondsPerElement(results, "passes/soup", names::buildTen)});
}

void judgeGraph(const Results& results, std::vector<Goal>& goals) {
    const auto real = ratiosOf(results, "strips/", names::graph, names::meshoptimizer, true);
    goals.push_back(
        {counted("graph to meshoptimizer, geometric mean over the real models", real), 0.70, geometricMean(real)});
    goals.push_back({"graph to meshoptimizer, worst real model", 1.05, largest(real)});
    goals.push_back(
        {"graph, 10 passes to 1, dragon", 5.0, results.ratio("passes/dragon", names::graphTen, names::graph)});
    goals.push_back({"addTriangles to CGAL, dragon", 0.65, results.ratio("adjacency/dragon", names::add, names::cgal)});
    goals.push_back({"addTriangles to CGAL, dragon in shuffled order", 0.50,
                     results.ratio("adjacency/dragon shuffled", names::add, names::cgal)});
    goals.push_back(
        {"addTriangles to OpenMesh, dragon", 0.50, results.ratio("adjacency/dragon", names::add, names::openMesh)});
    goals.push_back({"addTriangles, a triangle of the hub to one of the dragon", 1.0,
                     results.ratio("adjacency/hub", names::addHub, names::add)});
    goals.push_back({"calcEgdeLines to OpenMesh's edge iteration, dragon", 1.4,
                     results.ratio("edges/dragon", names::edges, names::openMesh)});
}

void judgeOperations(const Results& results, std::vector<Goal>& goals) {
    struct Bound {
        const char* text;
        const char* measurement;
        const char* figure;
        const char* reference;
        double limit;
    };
    const Bound bounds[] = {
        {"positions transformed, to scaling in place", "operations/positions", names::positions, names::scaled, 1.4},
        {"normals transformed, to scaling in place", "operations/normals", names::normals, names::scaled, 1.5},
        {"caller's function over the library's buffers, to the same through the interface",
         "operations/caller's function", names::ownBuffer, names::derivedBuffer, 0.35},
        {"computeVolume to reading", "operations/volume", names::volume, names::read, 1.6},
        {"normals packed, to meshoptimizer", "operations/packing", names::pack, names::meshoptimizer, 0.20},
        {"normals unpacked, to meshoptimizer", "operations/unpacking", names::unpack, names::meshoptimizer, 0.9},
        {"isValid to reading the indices", "operations/index check", names::validate, names::read, 1.7},
        {"indices appended, to copying", "operations/appended indices", names::append, names::copied, 1.4},
        {"attributes appended, to copying", "operations/appended attributes", names::append, names::copied, 1.1},
    };
    for (const Bound& bound : bounds) {
        goals.push_back({bound.text, bound.limit, results.ratio(bound.measurement, bound.figure, bound.reference)});
    }
}

void judgeMemory(const Results& results, std::vector<Goal>& goals) {
    goals.push_back({"buildPrimitives, bytes per triangle beyond input and output, 1 and 10 passes, dragon", 40.0,
                     peakPerElement(results, "passes/dragon", {names::build, names::buildTen})});
    goals.push_back(
        {"filled graph, bytes per triangle, dragon", 215.0, peakPerElement(results, "adjacency/dragon", {names::add})});
    goals.push_back({"graph while it is cut, bytes per triangle, 1 and 10 passes, dragon", 215.0,
                     peakPerElement(results, "passes/dragon", {names::graph, names::graphTen})});
}

} // namespace

std::vector<Goal> judge(const Results& results) {
    std::vector<Goal> goals;
    judgeOneCall(results, goals);
    judgeGraph(results, goals);
    judgeOperations(results, goals);
    judgeMemory(results, goals);
    return goals;
}

} // namespace bench
