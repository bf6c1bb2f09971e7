#include "Commands.h"
#include "Errors.h"
#include "MeshConversion.h"
#include "Report.h"
#include "Triangles.h"
#include "io/Files.h"
#include "io/IndexEdit.h"
#include "io/UnusedData.h"

#include <memory>
#include <ostream>
#include <vexa/mesh/HalfEdgeGraph.h>
#include <vexa/mesh/Strips.h>

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh edges model.glb -o wireframe.glb
  vexamesh edges model.obj -o outline.glb --border

Each primitive of triangles becomes one of lines, every edge once; with --border only the edges that two triangles do not
share (those of triangles split off at an edge of more than two count as such). Primitives without such edges are left
out. Everything else stays as it was.)";

struct EdgesArguments {
    std::string input;
    std::string output;
    bool border = false;
    bool json = false;
};

struct EdgeFigures {
    std::string name;
    std::size_t triangles = 0;
    std::size_t edges = 0;
    std::size_t border = 0;
    std::size_t written = 0;
};

/// The lines of a primitive's edges.
std::vector<unsigned int> edgeLines(const Primitive& primitive, bool borderOnly, EdgeFigures& figures) {
    const std::vector<unsigned int> triangles = mesh::toTriangles(primitive.type, primitive.indices);
    mesh::HalfEdgeGraph graph;
    graph.addTriangles(triangles.data(), triangles.size());
    std::vector<unsigned int> flagged;
    figures.triangles += triangles.size() / 3;
    figures.edges += graph.calcEgdeLines(flagged, true);
    std::vector<unsigned int> lines;
    for (std::size_t i = 0; i + 2 < flagged.size(); i += 3) {
        const bool isBorder = flagged[i + 2] == 0;
        figures.border += isBorder ? 1 : 0;
        if (isBorder || !borderOnly) {
            lines.insert(lines.end(), {flagged[i], flagged[i + 1]});
        }
    }
    figures.written += lines.size() / 2;
    return lines;
}

/// Removes what became empty: glTF knows no primitive without elements and no mesh without primitives.
void removePrimitives(Json& json, const std::vector<std::vector<bool>>& isEmpty) {
    Json& meshes = json["meshes"];
    Json kept = Json::array();
    std::vector<std::optional<std::size_t>> newIndex(meshes.size());
    for (std::size_t m = 0; m < meshes.size(); ++m) {
        Json primitives = Json::array();
        for (std::size_t p = 0; p < meshes[m]["primitives"].size(); ++p) {
            if (!isEmpty[m][p]) {
                primitives.push_back(meshes[m]["primitives"][p]);
            }
        }
        if (!primitives.empty()) {
            meshes[m]["primitives"] = std::move(primitives);
            newIndex[m] = kept.size();
            kept.push_back(meshes[m]);
        }
    }
    if (json.contains("nodes")) {
        for (Json& node : json["nodes"]) {
            const auto mesh = node.find("mesh");
            if (mesh == node.end()) {
                continue;
            }
            if (const auto index = newIndex[mesh->get<std::size_t>()]) {
                *mesh = *index;
            } else {
                for (const char* key : {"mesh", "skin", "weights"}) {
                    node.erase(key);
                }
            }
        }
    }
    if (kept.empty()) {
        json.erase("meshes");
    } else {
        meshes = std::move(kept);
    }
}

std::vector<EdgeFigures> replaceByEdges(Document& document, bool borderOnly) {
    std::vector<EdgeFigures> result;
    std::vector<IndexEdit> edits;
    std::vector<std::vector<bool>> isEmpty;
    for (std::size_t m = 0; m < document.meshes.size(); ++m) {
        const Mesh& mesh = document.meshes[m];
        EdgeFigures figures;
        figures.name = mesh.name;
        isEmpty.emplace_back(mesh.primitives.size());
        for (std::size_t p = 0; p < mesh.primitives.size(); ++p) {
            if (!hasTriangles(mesh.primitives[p])) {
                continue;
            }
            std::vector<unsigned int> lines = edgeLines(mesh.primitives[p], borderOnly, figures);
            if (lines.empty()) {
                isEmpty[m][p] = true;
            } else {
                edits.push_back({m, p, {{mesh::LINES, std::move(lines)}}});
            }
        }
        result.push_back(std::move(figures));
    }
    replaceIndices(document.asset, edits);
    const UsedData usedBefore(document.asset.json);
    removePrimitives(document.asset.json, isEmpty);
    usedBefore.removeUnused(document.asset.json);
    return result;
}

void printReport(const EdgesArguments& arguments, const std::vector<EdgeFigures>& meshes, std::ostream& out) {
    if (arguments.json) {
        Json list = Json::array();
        for (const EdgeFigures& figures : meshes) {
            list.push_back({{"name", figures.name},
                            {"triangles", figures.triangles},
                            {"edges", figures.edges},
                            {"borderEdges", figures.border},
                            {"lines", figures.written}});
        }
        printJson(out, {{"input", arguments.input}, {"output", arguments.output}, {"meshes", std::move(list)}});
        return;
    }
    Table table;
    table.addColumn("mesh", Table::Align::Left);
    for (const char* title : {"triangles", "edges", "border edges", "lines written"}) {
        table.addColumn(title);
    }
    for (const EdgeFigures& figures : meshes) {
        table.addRow({printable(figures.name), std::to_string(figures.triangles), std::to_string(figures.edges),
                      std::to_string(figures.border), std::to_string(figures.written)});
    }
    table.print(out);
}

int runEdges(const EdgesArguments& arguments, const Streams& streams) {
    checkOutputName(arguments.output, ".glb", arguments.input);
    Document document = loadAndWarn(arguments.input, streams.err);
    Bytes file;
    std::vector<EdgeFigures> figures;
    try {
        figures = replaceByEdges(document, arguments.border);
        file = writeGlb(document.asset.json, document.asset.buffers);
    } catch (const FormatError& error) {
        throw FileError(arguments.input, error.what());
    }
    writeFile(arguments.output, file);
    printReport(arguments, figures, streams.out);
    return EXIT_DONE;
}

} // namespace

void addEdgesCommand(CLI::App& app, Command& chosen) {
    auto arguments = std::make_shared<EdgesArguments>();
    CLI::App& command = addSubcommand(app, chosen, "edges", "Turns triangles into the lines of their edges.", examples,
                                      arguments, runEdges);
    command.add_option("IN", arguments->input, readableFile)->required();
    command.add_option("-o,--output", arguments->output, "The .glb file to write")->required();
    command.add_flag("--border", arguments->border, "Border edges alone");
    command.add_flag("--json", arguments->json, "Print JSON instead of a table");
}

} // namespace vexa::tool
