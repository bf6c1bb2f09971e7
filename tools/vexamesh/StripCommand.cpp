#include "Commands.h"
#include "CutArguments.h"
#include "Errors.h"
#include "Progress.h"
#include "Report.h"
#include "StripBatch.h"
#include "StripFile.h"
#include "StripReport.h"
#include "io/Files.h"

#include <algorithm>
#include <memory>
#include <ostream>
#include <thread>

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh strip model.glb -o model-strips.glb
  vexamesh strip model.obj -o model.glb --iterations 50
  vexamesh strip model.gltf -o model.glb --fans 8 --join none --json
  vexamesh strip model.glb -o model-strips.glb --join restart
  vexamesh strip *.glb *.obj -d strips --jobs 4 --skip-existing

Strips, fans and lists of triangles become strips; everything else in a glTF file stays as it was. Before anything is
written the output is read back and its triangles are compared with those of the input.

Of many files one that fails does not keep the others from being done; the program ends with 1 then. A file is written
as a whole or not at all, so that --skip-existing can go on where an earlier run was ended. What a killed run may leave
beside it has six more letters, as model.glb.AbCdEf, and can be removed.)";

struct StripArguments {
    std::vector<std::string> inputs;
    std::string output;
    std::string directory;
    unsigned int jobs = std::max(1U, std::thread::hardware_concurrency());
    bool skipExisting = false;
    CutArguments cut;
    bool json = false;
};

void printReport(const StripArguments& arguments, const StripOutcome& outcome, std::ostream& out) {
    if (arguments.json) {
        printJson(out, stripJson(arguments.inputs.front(), arguments.output, outcome));
    } else {
        printStripTable(out, arguments.inputs.front(), arguments.output, outcome);
    }
}

int stripOne(const StripArguments& arguments, const Streams& streams) {
    const std::string& input = arguments.inputs.front();
    checkOutputName(arguments.output, ".glb", input);
    Document document = loadAndWarn(input, streams.err);
    Progress progress(streams.err);
    StripSettings settings = settingsOf(arguments.cut);
    if (progress.isShown()) {
        settings.onPass = [&](std::size_t done, std::size_t all) { progress.show("passes", done, all); };
    }
    const StripOutcome outcome = stripDocument(
        std::move(document), settings, [&](std::size_t done, std::size_t all) { progress.show("meshes", done, all); });
    progress.clear();
    if (!outcome.total.sameTriangles) {
        printReport(arguments, outcome, streams.out);
    }
    for (const std::string& warning : writeStrips(arguments.output, outcome)) {
        streams.err << "vexamesh: warning: " << printable(arguments.output) << ": " << warning << '\n';
    }
    printReport(arguments, outcome, streams.out);
    return EXIT_DONE;
}

int runStrip(const StripArguments& arguments, const Streams& streams) {
    if (arguments.output.empty() == arguments.directory.empty()) {
        throw UsageError("strip needs either --output, or --directory for many files");
    }
    if (arguments.directory.empty()) {
        if (arguments.inputs.size() != 1) {
            throw UsageError("--output is for one file; --directory takes many");
        }
        return stripOne(arguments, streams);
    }
    return stripMany({arguments.inputs, arguments.directory, arguments.jobs, arguments.skipExisting, arguments.json,
                      settingsOf(arguments.cut)},
                     streams);
}

} // namespace

void addStripCommand(CLI::App& app, Command& chosen) {
    auto arguments = std::make_shared<StripArguments>();
    CLI::App& command = addSubcommand(app, chosen, "strip", "Turns the triangles of a file into strips.", examples,
                                      arguments, runStrip);
    command.add_option("IN", arguments->inputs, readableFiles)->required();
    command.add_option("-o,--output", arguments->output, "The .glb file to write, for one input");
    command.add_option("-d,--directory", arguments->directory, "Where to write a .glb file for each of many inputs");
    command.add_option("--jobs", arguments->jobs, "Files that are worked on side by side")
        ->check(CLI::Range(1U, 1024U))
        ->capture_default_str();
    command.add_flag("--skip-existing", arguments->skipExisting, "Leave files that are in the directory already");
    addCutOptions(command, arguments->cut);
    command.add_flag("--json", arguments->json, "Print JSON instead of a table");
}

} // namespace vexa::tool
