#include "Commands.h"
#include "Errors.h"
#include "MeshConversion.h"
#include "NormalAngles.h"
#include "Report.h"
#include "io/Files.h"

#include <algorithm>
#include <memory>
#include <ostream>

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh pack model.glb --stats
  vexamesh pack model.glb -o normals.bin

Every normal becomes two bytes by octahedral encoding. The file holds them primitive by primitive, in the order of the
vertices, and nothing else; the report says how many belong to which primitive, and the angles between the normals and
what the bytes decode to.)";

struct PackArguments {
    std::string input;
    std::string output;
    bool stats = false;
    bool json = false;
};

void printReport(const PackArguments& arguments, const std::vector<AngleFigures>& primitives, const AngleFigures& total,
                 std::ostream& out) {
    if (arguments.json) {
        const auto describe = [](const AngleFigures& figures) {
            return Json{{"name", figures.name},
                        {"normals", figures.normals},
                        {"withoutDirection", figures.withoutDirection},
                        {"bytes", 2 * figures.normals},
                        {"meanAngle", figures.mean()},
                        {"largestAngle", figures.largest}};
        };
        Json list = Json::array();
        std::transform(primitives.begin(), primitives.end(), std::back_inserter(list), describe);
        Json json = {{"input", arguments.input}, {"primitives", std::move(list)}, {"total", describe(total)}};
        json["total"].erase("name");
        printJson(out, json);
        return;
    }
    Table table;
    table.addColumn("mesh", Table::Align::Left);
    for (const char* title : {"normals", "without direction", "bytes", "mean angle", "largest angle"}) {
        table.addColumn(title);
    }
    const auto addRow = [&](const AngleFigures& figures) {
        table.addRow({printable(figures.name), std::to_string(figures.normals),
                      std::to_string(figures.withoutDirection), std::to_string(2 * figures.normals),
                      fixedText(figures.mean(), 4), fixedText(figures.largest, 4)});
    };
    std::for_each(primitives.begin(), primitives.end(), addRow);
    addRow(total);
    table.print(out);
    out << "Angles are in degrees.\n";
}

int runPack(const PackArguments& arguments, const Streams& streams) {
    if (arguments.output.empty() && !arguments.stats) {
        throw UsageError("pack needs an output (-o) or --stats");
    }
    if (!arguments.output.empty()) {
        checkOutputName(arguments.output, ".bin", arguments.input);
    }
    const Document document = loadAndWarn(arguments.input, streams.err);
    Bytes bytes;
    std::vector<AngleFigures> primitives;
    AngleFigures total;
    total.name = "total";
    for (const Mesh& mesh : document.meshes) {
        for (std::size_t p = 0; p < mesh.primitives.size(); ++p) {
            const Attribute* normal = mesh.primitives[p].findAttribute("NORMAL");
            if (normal == nullptr) {
                continue;
            }
            const AccessorData values = readAccessor(document.asset, normal->accessor);
            if (values.components != 3) {
                throw FileError(arguments.input, primitiveName(mesh, p) + " has normals that are no VEC3");
            }
            AngleFigures figures;
            figures.name = primitiveName(mesh, p);
            const Bytes packed = packNormals(values, figures);
            bytes.insert(bytes.end(), packed.begin(), packed.end());
            total.add(figures);
            primitives.push_back(std::move(figures));
        }
    }
    if (primitives.empty()) {
        throw FileError(arguments.input, "has no normals");
    }
    if (!arguments.output.empty()) {
        writeFile(arguments.output, bytes);
    }
    printReport(arguments, primitives, total, streams.out);
    return EXIT_DONE;
}

} // namespace

void addPackCommand(CLI::App& app, Command& chosen) {
    auto arguments = std::make_shared<PackArguments>();
    CLI::App& command =
        addSubcommand(app, chosen, "pack", "Packs normals into two bytes each.", examples, arguments, runPack);
    command.add_option("IN", arguments->input, readableFile)->required();
    command.add_option("-o,--output", arguments->output, "The .bin file to write");
    command.add_flag("--stats", arguments->stats, "Only report what packing costs");
    command.add_flag("--json", arguments->json, "Print JSON instead of a table");
}

} // namespace vexa::tool
