#include "cases/Cases.h"
#include "cases/OwnContenders.h"
#include "cases/ToolContender.h"
#include "peers/Peers.h"

#include <cmath>
#include <cstdint>
#include <cstring>
#include <glm/mat4x4.hpp>
#include <glm/vec3.hpp>
#include <memory>
#include <string>
#include <unistd.h>
#include <utility>
#include <vector>
#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/Merge.h>
#include <vexa/mesh/Transformation.h>

namespace bench {

namespace {

/// Bytes per triangle that a comparison needs at its peak, as the results of all contenders are in memory together.
constexpr double bytesPerTriangle = 850;
/// The same without graphs and other adjacency.
constexpr double lightBytesPerTriangle = 250;

bool fits(double triangleCount, double bytes) {
    const auto available = static_cast<double>(sysconf(_SC_AVPHYS_PAGES)) * static_cast<double>(sysconf(_SC_PAGESIZE));
    return triangleCount * bytes < available / 2; // others may need memory too
}

/// A mesh of positions and normals.
vexa::mesh::MeshPtr meshOf(const Model& model) {
    std::vector<glm::vec3> positions(model.vertexCount());
    std::memcpy(positions.data(), model.positions.data(), positions.size() * sizeof(glm::vec3));
    const std::vector<glm::vec3> normals(positions.size(), glm::vec3(0, 0, 1));
    return makeMesh(vexa::mesh::TRIANGLES, model.triangles,
                    {vexa::mesh::makeAttribute("position", positions), vexa::mesh::makeAttribute("normal", normals)},
                    {.indexWidth = vexa::mesh::IndexWidth::Bits32});
}

/// A rotation, so that no number of rounds takes the values out of range.
glm::mat4 quarterTurn() {
    return {{0, 1, 0, 0}, {-1, 0, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 1}};
}

/// Merges two meshes of half the triangles, one of them turned.
Contender mergeContender(const Model& half) {
    const auto merged = std::make_shared<vexa::mesh::MeshPtr>();
    const auto instances = std::make_shared<std::vector<vexa::mesh::MeshInstance>>();
    instances->push_back({meshOf(half)});
    instances->push_back({instances->front().mesh, quarterTurn()});
    Contender contender;
    contender.name = names::merge;
    contender.elements = 2 * static_cast<double>(half.triangleCount());
    contender.prepare = [merged] { merged->reset(); };
    contender.run = [merged, instances] { *merged = mergeMeshes(*instances); };
    contender.inspect = [merged, triangles = half.triangles.size(), vertices = half.vertexCount()] {
        const std::uint64_t indices = (*merged)->getIndexBuffer()->getElementCount();
        const std::uint64_t bytes = indices * sizeof(unsigned int) + 4 * vertices * sizeof(glm::vec3);
        return Output{0, bytes, indices == 2 * triangles ? "" : "wrong number of indices"};
    };
    return contender;
}

Contender placeContender(const Model& model) {
    const vexa::mesh::MeshPtr mesh = meshOf(model);
    Contender contender;
    contender.name = names::placePacked;
    contender.elements = static_cast<double>(model.triangleCount());
    contender.prepare = [] {};
    contender.run = [mesh] { placeMesh(*mesh, quarterTurn()); };
    return contender;
}

Comparison compareAt(const std::string& name, double triangleCount) {
    const auto quads = [](double triangles) {
        return static_cast<unsigned int>(std::lround(std::sqrt(triangles / 2)));
    };
    const ModelPtr mesh = makeIrregularGrid(name, quads(triangleCount));
    Comparison comparison{name, "triangle", false, triangleCount >= 1e5, triangleCount > 2e6 ? 1 : 3, {}};
    comparison.contenders = {buildPrimitivesContender(names::build, mesh, {}), meshoptimizerStrips(mesh),
                             mergeContender(*makeIrregularGrid(name, quads(triangleCount / 2))), placeContender(*mesh)};
    if (fits(triangleCount, bytesPerTriangle)) {
        Contender cgal = cgalBatchAdjacency(mesh);
        cgal.role = Role::Part;
        comparison.contenders.insert(
            comparison.contenders.end(),
            {addTrianglesContender(names::add, mesh), graphContender(names::graph, mesh, 1), std::move(cgal)});
    }
#ifdef BENCH_TOOL
    if (comparison.measuresMemory) {
        comparison.contenders.push_back(toolContender(mesh));
    }
#endif
    return comparison;
}

} // namespace

std::vector<Case> growthCases() {
    std::vector<Case> cases;
    for (const double triangleCount : {1e3, 3e3, 1e4, 3e4, 1e5, 3e5, 1e6, 3e6, 1e7, 3e7}) {
        if (fits(triangleCount, lightBytesPerTriangle)) {
            const std::string name = "growth/" + std::to_string(std::lround(triangleCount));
            cases.push_back({name, true, [name, triangleCount] { return compareAt(name, triangleCount); }});
        }
    }
    return cases;
}

} // namespace bench
