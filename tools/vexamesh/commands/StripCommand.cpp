#include "base/Errors.h"
#include "cli/Console.h"
#include "cli/CutFlags.h"
#include "cli/Flags.h"
#include "cli/Progress.h"
#include "cli/Session.h"
#include "cli/StripBatch.h"
#include "cli/StripSummary.h"
#include "commands/Commands.h"

#include <algorithm>
#include <thread>

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh strip model.glb -o model-strips.glb
  vexamesh strip model.obj -o model.glb --effort 3
  vexamesh strip model.gltf -o model.glb --fans 8 --join none --json
  vexamesh strip model.glb -o model-strips.glb --join restart
  vexamesh strip *.glb *.obj -d strips --jobs 4 --skip-existing
  vexamesh strip scan.ply -o scan.gltf --weld 0.001
  curl -s https://example.org/a.ply | vexamesh strip - --from ply -o - > a.glb

Strips, fans and lists of triangles become strips where these take fewer bytes of indices; everything else in a glTF file
stays as it was. Before anything is written, the output is read back and compared with the input.

Several files are processed in parallel; a failure does not stop the others, but makes the exit code 1. A file is written
as a whole or not at all, so that --skip-existing can continue an earlier run. An interrupted run may leave a temporary
file, whose name has six more letters, as in model.glb.AbCdEf; it can be removed.)";

struct StripArguments {
    std::vector<std::string> inputs;
    std::string output;
    std::string directory;
    unsigned int jobs = std::max(1U, std::thread::hardware_concurrency());
    bool skipExisting = false;
    std::string format = "glb"; ///< in the directory
    CutFlags cut;
    std::string indexBits;
    OptionalNumber weld;

    [[nodiscard]] StripSettings settings() const {
        StripSettings settings = cut.settings();
        settings.sharesThreads = true;
        settings.indexBits = indexBits == "8" ? 8 : indexBits == "16" ? 16 : 0;
        return settings;
    }

    bool json = false;
};

void printOutcome(const StripArguments& arguments, const StripOutcome& outcome, const Session& session,
                  Console& console) {
    const std::string& input = arguments.inputs.front();
    if (arguments.json) {
        Json json = stripJson(input, arguments.output, outcome);
        json.update(session.notes());
        console.printJson(json);
    } else {
        printStripTable(console, input, arguments.output, outcome);
    }
}

int stripOne(const StripArguments& arguments, Console& console) {
    const std::string& input = arguments.inputs.front();
    StripSettings settings = arguments.settings();
    const Session session(console, arguments.weld);
    session.checkModelOutput(arguments.output, {input});
    Document document = session.loadToEdit(input);
    Progress progress(console);
    showProgress(settings, progress);
    StripOutcome outcome = stripDocument(std::move(document), settings, [&](std::size_t done, std::size_t all) {
        progress.show("primitives", done, all);
    });
    progress.clear();
    session.writeModel(arguments.output, outcome.file, [&](const Bytes&) {
        std::string fault = readBackStrips(outcome);
        if (!fault.empty()) {
            printOutcome(arguments, outcome, session, console);
        }
        return fault;
    });
    for (const std::string& warning : stripWarnings(outcome)) {
        session.warn(arguments.output, warning);
    }
    printOutcome(arguments, outcome, session, console);
    return EXIT_DONE;
}

int runStrip(const StripArguments& arguments, Console& console) {
    if (arguments.output.empty() == arguments.directory.empty()) {
        throw UsageError("strip needs either --output, or --directory for many files");
    }
    if (arguments.directory.empty()) {
        if (arguments.inputs.size() != 1) {
            throw UsageError("--output is for one file; --directory takes many");
        }
        return stripOne(arguments, console);
    }
    StripSettings settings = arguments.settings();
    // Over many small files, proofs that nobody asked for would add up.
    settings.provesMin = settings.provesMin.value_or(false);
    return stripMany({arguments.inputs, arguments.directory, arguments.jobs, arguments.skipExisting, arguments.json,
                      std::move(settings), arguments.weld, "." + arguments.format},
                     console);
}

Command addFlags(Flags& flags) {
    auto arguments = std::make_shared<StripArguments>();
    flags.add("IN", arguments->inputs, readableFiles, {.isRequired = true});
    flags.add("-o,--output", arguments->output, std::string(writableFile) + "; for one input");
    flags.add("-d,--directory", arguments->directory, "Where to write a file for each of many inputs",
              {.typeName = "DIR"});
    flags.add("--to", arguments->format, "Format of the files in the directory",
              {.showsDefault = true, .typeName = "FORMAT", .choices = {"glb", "gltf"}});
    flags.add("--jobs", arguments->jobs,
              "Files that are processed at the same time (default: as many as the processor runs at once)",
              {.typeName = "N", .min = 1, .max = 1024});
    flags.add("--skip-existing", arguments->skipExisting, "Skip files that the directory already has");
    arguments->cut.addTo(flags);
    flags.add("--index-bits", arguments->indexBits,
              "Split primitives of triangles until their indices fit, for hardware that has no wider ones",
              {.typeName = "BITS", .choices = {"8", "16"}});
    flags.add("--weld", arguments->weld, weldHelp);
    flags.add("--json", arguments->json, "Print JSON instead of a table");
    return [arguments](Console& console) { return runStrip(*arguments, console); };
}

} // namespace

Verb stripVerb() {
    return {"strip", "Turns the triangles of a file into strips.", examples, addFlags};
}

} // namespace vexa::tool
