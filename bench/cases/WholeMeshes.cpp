#include "Models.h"
#include "Normals.h"
#include "cases/Cases.h"
#include "cases/Limits.h"
#include "peers/Peers.h"

#include <functional>
#include <memory>
#include <string>
#include <utility>
#include <vector>
#include <vexa/mesh.h>

// Functions on whole meshes: merging, placing, faults and statistics.
namespace bench {

namespace {

using namespace vexa::mesh;

constexpr int rounds = 7;

Contender contenderOf(const char* name, double elements, std::function<void()> run, std::function<void()> prepare,
                      std::function<Output()> inspect) {
    Contender contender;
    contender.name = name;
    contender.elements = elements;
    contender.prepare = std::move(prepare);
    contender.run = std::move(run);
    contender.inspect = std::move(inspect);
    return contender;
}

/// A thousand meshes of ten thousand vertices: position, normal, texture coordinates, 32-bit indices.
std::vector<MeshInstance> makeScene() {
    const ModelPtr grid = makeGrid("grid", 99);
    std::vector<MeshInstance> scene;
    for (int i = 0; i < 1000; ++i) {
        scene.push_back({makeMesh(TRIANGLES, grid->triangles,
                                  {makeAttribute<glm::vec3>("position", grid->vertexCount()),
                                   makeAttribute<glm::vec3>("normal", grid->vertexCount()),
                                   makeAttribute<glm::vec2>("TEXCOORD_0", grid->vertexCount())},
                                  {.indexWidth = IndexWidth::Bits32})});
    }
    return scene;
}

Comparison compareMerging() {
    const auto scene = std::make_shared<const std::vector<MeshInstance>>(makeScene());
    const auto merged = std::make_shared<MeshPtr>();
    std::size_t vertices = 0;
    std::size_t bytes = 0;
    for (const MeshInstance& instance : *scene) {
        vertices += instance.mesh->getAttributeBuffer(0)->getElementCount();
        bytes += bytesOf(*instance.mesh->getIndexBuffer()).size();
        for (const auto& attribute : attributesOf(*instance.mesh)) {
            bytes += bytesOf(*attribute).size();
        }
    }
    const auto inspect = [merged, vertices] {
        const auto count = (*merged)->getAttributeBuffer(0)->getElementCount();
        const unsigned int last = toIndices(*(*merged)->getIndexBuffer()).back();
        return Output{0, 0, count == vertices && last == vertices - 2 ? "" : "wrong vertices"};
    };
    return {"meshes/merging",
            "vertex",
            false,
            false,
            rounds,
            {contenderOf(
                 names::merge, static_cast<double>(vertices), [=] { *merged = mergeMeshes(*scene); },
                 [=] {
                     merged->reset();
                     releaseFreeMemory();
                 },
                 inspect),
             copiedToNewMemory(bytes, static_cast<double>(vertices))}};
}

Comparison comparePlacing() {
    constexpr std::size_t count = 10'000'000;
    const NormalsPtr normals = makeNormals(count);
    const auto packed =
        makeMesh(POINTS, nullptr, {makeAttribute("position", *normals), makeAttribute("normal", *normals)});
    const auto interleaved = makeMesh(POINTS, nullptr, interleave(attributesOf(*packed)));
    // A rotation, so that no number of rounds takes the values out of range.
    glm::mat4 quarter(0.0F);
    quarter[0][1] = quarter[2][2] = quarter[3][3] = 1;
    quarter[1][0] = -1;
    const auto place = [=](const MeshPtr& mesh) { return [=] { placeMesh(*mesh, quarter); }; };
    return {"meshes/placing",
            "element",
            false,
            false,
            rounds,
            {contenderOf(names::placeInterleaved, count, place(interleaved), [] {}, {}),
             contenderOf(names::placePacked, count, place(packed), [] {}, {})}};
}

Comparison compareFaults() {
    const ModelPtr grid = makeIrregularGrid("grid", 2236);
    const auto found = std::make_shared<std::vector<MeshFault>>();
    std::vector<glm::vec3> positions(grid->vertexCount());
    for (std::size_t i = 0; i < positions.size(); ++i) {
        positions[i] = {grid->positions[3 * i], grid->positions[3 * i + 1], grid->positions[3 * i + 2]};
    }
    const MeshPtr mesh = makeMesh(TRIANGLES, grid->triangles, {makeAttribute("position", positions)});
    const auto triangles = static_cast<double>(grid->triangleCount());
    return {"meshes/faults",
            "triangle",
            false,
            false,
            rounds,
            {contenderOf(
                 names::faults, triangles, [=] { *found = findFaults(*mesh); }, [found] { found->clear(); },
                 [found] {
                     return Output{0, 0, found->empty() ? "found nothing" : ""};
                 }),
             readThrough(grid->triangles.size() * sizeof(unsigned int), triangles)}};
}

Comparison compareStatistics(const ModelPtr& model) {
    const auto stats = std::make_shared<IndexStats>();
    const auto triangles = static_cast<double>(model->triangleCount());
    return {"meshes/statistics",
            "triangle",
            model->real,
            false,
            rounds,
            {contenderOf(
                 names::stats, triangles, [=] { *stats = computeStats(TRIANGLES, model->triangles); }, [] {},
                 [=] {
                     return Output{0, 0, stats->cacheMisses == meshoptimizerMisses(*model) ? "" : "other misses"};
                 }),
             meshoptimizerAnalysis(model)}};
}

} // namespace

std::vector<Case> wholeMeshCases(const std::vector<ModelPtr>& realModels) {
    const ModelPtr model = findModel(realModels, names::dragon);
    return {{"meshes/merging", false, compareMerging},
            {"meshes/placing", false, comparePlacing},
            {"meshes/faults", false, compareFaults},
            {"meshes/statistics", false, [model] { return compareStatistics(model); }}};
}

} // namespace bench
