#include "Commands.h"
#include "Errors.h"
#include "MeshConversion.h"
#include "Report.h"
#include "io/Files.h"
#include "io/IndexEdit.h"

#include <memory>
#include <ostream>
#include <vexa/mesh/Strips.h>

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh unstrip model-strips.glb -o model.glb
  vexamesh unstrip model-strips.glb -o model.gltf --json

Strips and fans become lists of triangles, primitive by primitive; everything else stays as it was. Triangles with two
equal corners, which only join strips, are left out. A .gltf output holds its data in itself.)";

struct UnstripArguments {
    std::string input;
    std::string output;
    bool json = false;
};

struct UnstripFigures {
    std::string name;
    std::size_t primitives = 0; ///< that were strips or fans
    std::size_t triangles = 0;
    std::size_t indicesBefore = 0;
};

/// Strips and fans that hold a triangle; glTF knows no empty primitive that the others could become.
std::vector<IndexEdit> triangleEdits(const Document& document, std::vector<UnstripFigures>& meshes) {
    std::vector<IndexEdit> edits;
    for (std::size_t m = 0; m < document.meshes.size(); ++m) {
        UnstripFigures figures;
        figures.name = document.meshes[m].name;
        for (std::size_t p = 0; p < document.meshes[m].primitives.size(); ++p) {
            const Primitive& primitive = document.meshes[m].primitives[p];
            if (primitive.type != mesh::TRIANGLE_STRIP && primitive.type != mesh::TRIANGLE_FAN) {
                continue;
            }
            std::vector<unsigned int> triangles = mesh::toTriangles(primitive.type, primitive.indices);
            if (triangles.empty()) {
                continue;
            }
            ++figures.primitives;
            figures.triangles += triangles.size() / 3;
            figures.indicesBefore += primitive.indices.size();
            edits.push_back({m, p, {{mesh::TRIANGLES, std::move(triangles)}}});
        }
        meshes.push_back(std::move(figures));
    }
    return edits;
}

void printReport(const UnstripArguments& arguments, const std::vector<UnstripFigures>& meshes, std::ostream& out) {
    Json list = Json::array();
    Table table;
    table.addColumn("mesh", Table::Align::Left);
    for (const char* title : {"strips and fans", "triangles", "indices", "-> after"}) {
        table.addColumn(title);
    }
    for (const UnstripFigures& figures : meshes) {
        const std::size_t after = 3 * figures.triangles;
        list.push_back({{"name", figures.name},
                        {"stripsAndFans", figures.primitives},
                        {"triangles", figures.triangles},
                        {"indicesBefore", figures.indicesBefore},
                        {"indicesAfter", after}});
        table.addRow({printable(figures.name), std::to_string(figures.primitives), std::to_string(figures.triangles),
                      std::to_string(figures.indicesBefore), std::to_string(after)});
    }
    if (arguments.json) {
        printJson(out, {{"input", arguments.input}, {"output", arguments.output}, {"meshes", std::move(list)}});
    } else {
        table.print(out);
    }
}

/// Reads the output back and compares the triangles that were written.
void checkOutput(const Bytes& file, const UnstripArguments& arguments, const std::vector<IndexEdit>& edits) {
    const Document output = loadDocument(file, arguments.output);
    for (const IndexEdit& edit : edits) {
        const Primitive& primitive = output.meshes.at(edit.mesh).primitives.at(edit.primitive);
        if (primitive.type != mesh::TRIANGLES || primitive.indices != edit.replacements.front().indices) {
            throw CheckError(arguments.output + ": not written, because " +
                             primitiveName(output.meshes[edit.mesh], edit.primitive) +
                             " would not have the triangles of the input");
        }
    }
}

int runUnstrip(const UnstripArguments& arguments, const Streams& streams) {
    const bool isText = hasExtension(arguments.output, ".gltf");
    if (!isText && !hasExtension(arguments.output, ".glb")) {
        throw UsageError("the output " + arguments.output + " does not end in .glb or .gltf");
    }
    checkOutputName(arguments.output, isText ? ".gltf" : ".glb", arguments.input);
    Document document = loadAndWarn(arguments.input, streams.err);
    std::vector<UnstripFigures> meshes;
    const std::vector<IndexEdit> edits = triangleEdits(document, meshes);
    Bytes file;
    try {
        replaceIndices(document.asset, edits);
        file = isText ? writeGltf(document.asset.json, document.asset.buffers)
                      : writeGlb(document.asset.json, document.asset.buffers);
    } catch (const FormatError& error) {
        throw FileError(arguments.input, error.what());
    }
    checkOutput(file, arguments, edits);
    writeFile(arguments.output, file);
    printReport(arguments, meshes, streams.out);
    return EXIT_DONE;
}

} // namespace

void addUnstripCommand(CLI::App& app, Command& chosen) {
    auto arguments = std::make_shared<UnstripArguments>();
    CLI::App& command = addSubcommand(app, chosen, "unstrip", "Turns strips and fans back into triangles.", examples,
                                      arguments, runUnstrip);
    command.add_option("IN", arguments->input, readableFile)->required();
    command.add_option("-o,--output", arguments->output, "The .glb or .gltf file to write")->required();
    command.add_flag("--json", arguments->json, "Print JSON instead of a table");
}

} // namespace vexa::tool
