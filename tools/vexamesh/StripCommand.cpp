#include "Commands.h"
#include "CutArguments.h"
#include "Errors.h"
#include "Report.h"
#include "StripFile.h"
#include "StripReport.h"
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
  vexamesh strip model.glb -o model-strips.glb --join restart

Strips, fans and lists of triangles become strips; everything else in a glTF file stays as it was. Before anything is
written the output is read back and its triangles are compared with those of the input.)";

struct StripArguments {
    std::string input;
    std::string output;
    CutArguments cut;
    bool json = false;
};

void printReport(const StripArguments& arguments, const StripOutcome& outcome, std::ostream& out) {
    if (arguments.json) {
        printJson(out, stripJson(arguments.input, arguments.output, outcome));
    } else {
        printStripTable(out, arguments.input, arguments.output, outcome);
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
    const StripOutcome outcome = stripDocument(std::move(document), settingsOf(arguments.cut), progressOn(streams.err));
    if (!outcome.total.sameTriangles) {
        printReport(arguments, outcome, streams.out);
        throw CheckError(arguments.output + ": not written, because its triangles would not be those of the input");
    }
    writeFile(arguments.output, outcome.file);
    if (outcome.groups > 0) {
        streams.err << "vexamesh: warning: " << printable(arguments.output)
                    << ": few readers know KHR_mesh_primitive_restart; the others draw each strip by itself\n";
    }
    printReport(arguments, outcome, streams.out);
    return EXIT_DONE;
}

} // namespace

void addStripCommand(CLI::App& app, Command& chosen) {
    auto arguments = std::make_shared<StripArguments>();
    CLI::App* command = app.add_subcommand("strip", "Turns the triangles of a file into strips.");
    command->add_option("IN", arguments->input, readableFile)->required();
    command->add_option("-o,--output", arguments->output, "The .glb file to write")->required();
    addCutOptions(*command, arguments->cut);
    command->add_flag("--json", arguments->json, "Print JSON instead of a table");
    command->footer(EXAMPLES);
    command->callback([arguments, &chosen] {
        chosen = [arguments](const Streams& streams) { return runStrip(*arguments, streams); };
    });
}

} // namespace vexa::tool
