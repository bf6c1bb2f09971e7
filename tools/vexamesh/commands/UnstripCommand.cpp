#include "base/Errors.h"
#include "cli/Console.h"
#include "cli/Flags.h"
#include "cli/Session.h"
#include "cli/Summaries.h"
#include "commands/Commands.h"
#include "ops/Unstripping.h"

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh unstrip model-strips.glb -o model.glb
  vexamesh unstrip model-strips.glb -o model.gltf --json

Strips and fans become lists of triangles; everything else stays as it was. Neighbours that differ in nothing but their
modes and indices, as `strip` writes them, become one primitive again. Triangles with two equal corners, which only join
strips, are left out.)";

struct UnstripArguments {
    std::string input;
    std::string output;
    OptionalNumber weld;
    bool json = false;
};

int runUnstrip(const UnstripArguments& arguments, Console& console) {
    const Session session(console, arguments.weld);
    session.checkModelOutput(arguments.output, {arguments.input});
    const UnstrippedFile result = unstripDocument(session.loadToEdit(arguments.input));
    session.writeModel(arguments.output, result.file, result.findFault);
    printSummary(console, arguments.json, arguments.input, arguments.output, unstripTable(result.meshes),
                 session.notes());
    return EXIT_DONE;
}

Command addFlags(Flags& flags) {
    auto arguments = std::make_shared<UnstripArguments>();
    flags.add("IN", arguments->input, readableFile, {.isRequired = true});
    flags.add("-o,--output", arguments->output, writableFile, {.isRequired = true});
    flags.add("--weld", arguments->weld, weldHelp);
    flags.add("--json", arguments->json, "Print JSON instead of a table");
    return [arguments](Console& console) { return runUnstrip(*arguments, console); };
}

} // namespace

Verb unstripVerb() {
    return {"unstrip", "Turns strips and fans back into triangles.", examples, addFlags};
}

} // namespace vexa::tool
