#include "Commands.h"
#include "Errors.h"
#include "MeshFacts.h"
#include "Report.h"
#include "StripFile.h"
#include "io/Files.h"

#include <memory>
#include <ostream>
#include <unistd.h>

namespace vexa::tool {

namespace {

constexpr const char* EXAMPLES = R"(Examples:
  vexamesh strip model.glb -o model-strips.glb
  vexamesh strip model.obj -o model.glb --iterations 50
  vexamesh strip model.gltf -o model.glb --fans 8 --join none --json

Strips, fans and lists of triangles become strips; everything else in a glTF file stays as it was. Before anything is
written the output is read back and its triangles are compared with those of the input.)";

struct StripArguments {
    std::string input;
    std::string output;
    std::uint32_t iterations = 1;
    std::uint32_t fans = 0;
    bool allStrips = false;
    std::string join = "degenerate";
    bool json = false;
};

StripSettings settingsOf(const StripArguments& arguments) {
    StripSettings settings;
    settings.options.iterations = arguments.iterations;
    settings.options.buildFans = arguments.fans > 0;
    settings.options.minFanTriangles = arguments.fans;
    settings.options.allStrips = arguments.allStrips;
    settings.join = arguments.join == "degenerate";
    return settings;
}

double perTriangle(const StripFigures& figures) {
    return figures.triangles == 0 ? 0
                                  : static_cast<double>(figures.indicesAfter) / static_cast<double>(figures.triangles);
}

Json figuresJson(const StripFigures& figures) {
    return {{"name", figures.name},
            {"triangles", figures.triangles},
            {"degenerateTriangles", figures.degenerate},
            {"strips", figures.strips},
            {"fans", figures.fans},
            {"leftOver", figures.leftOver},
            {"indicesBefore", figures.indicesBefore},
            {"indicesAfter", figures.indicesAfter},
            {"indicesPerTriangle", perTriangle(figures)},
            {"bytesBefore", figures.bytesBefore},
            {"bytesAfter", figures.bytesAfter},
            {"seconds", figures.seconds},
            {"sameTriangles", figures.sameTriangles}};
}

void printReport(const StripArguments& arguments, const StripOutcome& outcome, std::ostream& out) {
    if (arguments.json) {
        Json json = {{"input", arguments.input},
                     {"output", arguments.output},
                     {"fileBytesBefore", outcome.fileBytesBefore},
                     {"fileBytesAfter", outcome.file.size()},
                     {"meshes", Json::array()}};
        for (const StripFigures& figures : outcome.meshes) {
            json["meshes"].push_back(figuresJson(figures));
        }
        json["total"] = figuresJson(outcome.total);
        json["total"].erase("name");
        printJson(out, json);
        return;
    }
    Table table;
    table.addColumn("mesh", Table::Align::Left);
    for (const char* title : {"triangles", "strips", "fans", "left over", "indices", "-> after", "per triangle",
                              "bytes", "-> after", "seconds"}) {
        table.addColumn(title);
    }
    table.addColumn("same triangles", Table::Align::Left);
    const auto addRow = [&](const StripFigures& figures) {
        table.addRow({printable(figures.name), std::to_string(figures.triangles), std::to_string(figures.strips),
                      std::to_string(figures.fans), std::to_string(figures.leftOver),
                      std::to_string(figures.indicesBefore), std::to_string(figures.indicesAfter),
                      fixedText(perTriangle(figures), 3), std::to_string(figures.bytesBefore),
                      std::to_string(figures.bytesAfter), fixedText(figures.seconds, 6),
                      figures.sameTriangles ? "yes" : "NO"});
    };
    for (const StripFigures& figures : outcome.meshes) {
        addRow(figures);
    }
    addRow(outcome.total);
    out << printable(arguments.input) << " -> " << printable(arguments.output) << ": "
        << counted(outcome.fileBytesBefore, "byte") << " -> " << outcome.file.size() << '\n';
    table.print(out);
    if (outcome.total.degenerate > 0) {
        out << counted(outcome.total.degenerate, "triangle")
            << " with two equal corners in the input: they draw nothing and do not count.\n";
    }
}

/// A line that tells how far it is, while a person is watching.
StripProgress progressOn(std::ostream& err) {
    if (isatty(STDERR_FILENO) == 0) {
        return [](std::size_t, std::size_t) {};
    }
    return [&err](std::size_t done, std::size_t all) {
        err << "\rmesh " << done << " of " << all << (done == all ? "\r\x1b[K" : "") << std::flush;
    };
}

int runStrip(const StripArguments& arguments, const Streams& streams) {
    checkOutputName(arguments.output, ".glb", arguments.input);
    Document document = loadDocument(std::filesystem::path(arguments.input));
    printWarnings(streams.err, document);
    const StripOutcome outcome = stripDocument(std::move(document), settingsOf(arguments), progressOn(streams.err));
    if (!outcome.total.sameTriangles) {
        printReport(arguments, outcome, streams.out);
        throw CheckError(arguments.output + ": not written, because its triangles would not be those of the input");
    }
    writeFile(arguments.output, outcome.file);
    printReport(arguments, outcome, streams.out);
    return EXIT_DONE;
}

} // namespace

void addStripCommand(CLI::App& app, Command& chosen) {
    auto arguments = std::make_shared<StripArguments>();
    CLI::App* command = app.add_subcommand("strip", "Turns the triangles of a file into strips.");
    command->add_option("IN", arguments->input, "A .glb, .gltf or .obj file")->required();
    command->add_option("-o,--output", arguments->output, "The .glb file to write")->required();
    command
        ->add_option("--iterations", arguments->iterations,
                     "Passes: more of them search for fewer indices, and never end with more")
        ->check(CLI::Range(1U, 4294967295U))
        ->capture_default_str();
    command->add_option("--fans", arguments->fans, "Make fans around vertices with at least MIN triangles")
        ->type_name("MIN")
        ->check(CLI::Range(1U, 4294967295U));
    command->add_flag("--all-strips", arguments->allStrips, "Single triangles become strips too");
    command
        ->add_option(
            "--join", arguments->join,
            "degenerate: one primitive per input primitive, its strips joined by degenerate triangles; none: a "
            "primitive per strip")
        ->check(CLI::IsMember({"degenerate", "none"}))
        ->capture_default_str();
    command->add_flag("--json", arguments->json, "Print JSON instead of a table");
    command->footer(EXAMPLES);
    command->callback([arguments, &chosen] {
        chosen = [arguments](const Streams& streams) { return runStrip(*arguments, streams); };
    });
}

} // namespace vexa::tool
