#include "cli/Summaries.h"

#include "base/Text.h"
#include "cli/Console.h"

#include <vexa/mesh/MeshConcatenation.h>

namespace vexa::tool {

Table edgeTable(const std::vector<EdgeStats>& meshes, bool isClassified, bool isMarked) {
    if (isClassified) {
        std::vector<Table::Column> columns{{"mesh", true, "name"},
                                           {"triangles", false, "triangles"},
                                           {"edges", false, "edges"},
                                           {"border", false, "borderEdges"},
                                           {"crease", false, "creaseEdges"},
                                           {"seam", false, "seamEdges"},
                                           {"non-manifold", false, "nonManifoldEdges"}};
        if (isMarked) {
            columns.push_back({"visible", false, "visibleEdges"});
            columns.push_back({"in silhouette", false, "silhouetteEdges"});
        } else {
            columns.push_back({"lines written", false, "lines"});
        }
        Table table(std::move(columns));
        for (const EdgeStats& stats : meshes) {
            table.addRow({stats.name, stats.triangles, stats.edges, stats.border, stats.crease, stats.seam,
                          stats.nonManifold, stats.written, stats.silhouettes});
        }
        return table;
    }
    Table table({{"mesh", true, "name"},
                 {"triangles", false, "triangles"},
                 {"edges", false, "edges"},
                 {"border edges", false, "borderEdges"},
                 {"lines written", false, "lines"}});
    for (const EdgeStats& stats : meshes) {
        table.addRow({stats.name, stats.triangles, stats.edges, stats.border, stats.written});
    }
    return table;
}

Table unstripTable(const std::vector<UnstripStats>& meshes) {
    Table table({{"mesh", true, "name"},
                 {"strips and fans", false, "stripsAndFans"},
                 {"-> lists", false, "lists"},
                 {"triangles", false, "triangles"},
                 {"indices", false, "indicesBefore"},
                 {"-> after", false, "indicesAfter"}});
    for (const UnstripStats& stats : meshes) {
        table.addRow(
            {stats.name, stats.primitives, stats.lists, stats.triangles, stats.indicesBefore, 3 * stats.triangles});
    }
    return table;
}

void printSummary(Console& console, bool asJson, const std::string& input, const std::string& output,
                  const Table& meshes, const Json& notes) {
    if (asJson) {
        Json json = {{"input", input}, {"output", output}, {"meshes", meshes.json()}};
        json.update(notes);
        console.printJson(json);
    } else {
        console.print(meshes);
    }
}

void printMerging(Console& console, bool asJson, const std::string& output, const std::vector<MergedGroup>& groups,
                  const Json& notes) {
    Json list = Json::array();
    Table table({{"parts"}, {"vertices"}, {"primitives"}, {"bounding box", true}, {"layout", true}});
    for (const MergedGroup& group : groups) {
        glm::detail::taabb<float> box{};
        mesh::computeVolume(box, group.mesh, glm::mat4(1));
        const auto vertices = group.mesh->getAttributeBuffer(0)->getElementCount();
        const auto primitives = group.mesh->getNumPrimitives();
        table.addRow({group.parts, vertices, primitives,
                      pointText(box.min.x, box.min.y, box.min.z) + " to " + pointText(box.max.x, box.max.y, box.max.z),
                      group.layout});
        list.push_back({{"layout", group.layout},
                        {"parts", group.parts},
                        {"vertices", vertices},
                        {"primitives", primitives},
                        {"boundingBox",
                         {{"min", {box.min.x, box.min.y, box.min.z}}, {"max", {box.max.x, box.max.y, box.max.z}}}}});
    }
    if (asJson) {
        Json json = {{"output", output}, {"groups", std::move(list)}};
        json.update(notes);
        console.printJson(json);
    } else {
        console.print(table);
    }
}

void printPacking(Console& console, bool asJson, const std::string& input, const PackedFile& packed,
                  const Json& notes) {
    Table table({{"mesh", true, "name"},
                 {"normals", false, "normals"},
                 {"without direction", false, "withoutDirection"},
                 {"bytes", false, "bytes"},
                 {"mean angle", false, "meanAngle", 4},
                 {"largest angle", false, "largestAngle", 4}});
    const auto addRow = [&](const AngleStats& stats) {
        table.addRow({stats.name, stats.normals, stats.withoutDirection, 2 * stats.normals, stats.mean(), stats.max});
    };
    std::for_each(packed.primitives.begin(), packed.primitives.end(), addRow);
    addRow(packed.total);
    if (asJson) {
        Json list = table.json();
        Json total = list.back();
        total.erase("name");
        list.erase(list.size() - 1);
        Json json = {{"input", input}, {"primitives", std::move(list)}, {"total", std::move(total)}};
        json.update(notes);
        console.printJson(json);
    } else {
        console.print(table);
        console.print("Angles are in degrees.\n");
    }
}

} // namespace vexa::tool
