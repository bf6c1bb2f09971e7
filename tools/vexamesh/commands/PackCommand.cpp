#include "base/Errors.h"
#include "cli/Console.h"
#include "cli/Flags.h"
#include "cli/Session.h"
#include "cli/Summaries.h"
#include "commands/Commands.h"
#include "io/Files.h"
#include "ops/Packing.h"

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh pack model.glb --stats
  vexamesh pack model.glb -o normals.bin

Every normal becomes two bytes by octahedral encoding. The file holds them primitive by primitive, in the order of the
vertices, and nothing else; the report lists how many belong to which primitive, and the angles between the normals and
those that the bytes decode to.)";

struct PackArguments {
    std::string input;
    std::string output;
    bool stats = false;
    bool json = false;
};

int runPack(const PackArguments& arguments, Console& console) {
    if (arguments.output.empty() && !arguments.stats) {
        throw UsageError("pack needs an output (-o) or --stats");
    }
    if (!arguments.output.empty()) {
        checkOutputName(arguments.output, {".bin"}, arguments.input);
    }
    const Session session(console);
    const Document document = session.load(arguments.input);
    const PackedFile packed = packDocument(document);
    if (!arguments.output.empty()) {
        session.write(arguments.output, packed.file, packed.findFault);
    }
    printPacking(console, arguments.json, arguments.input, packed, session.notes());
    return EXIT_DONE;
}

Command addFlags(Flags& flags) {
    auto arguments = std::make_shared<PackArguments>();
    flags.add("IN", arguments->input, readableFile, {.isRequired = true});
    flags.add("-o,--output", arguments->output, "The .bin file to write");
    flags.add("--stats", arguments->stats, "Only report what packing costs");
    flags.add("--json", arguments->json, "Print JSON instead of a table");
    return [arguments](Console& console) { return runPack(*arguments, console); };
}

} // namespace

Verb packVerb() {
    return {"pack", "Packs normals into two bytes each.", examples, addFlags};
}

} // namespace vexa::tool
