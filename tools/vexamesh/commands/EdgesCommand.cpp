#include "base/Errors.h"
#include "cli/Console.h"
#include "cli/Flags.h"
#include "cli/Session.h"
#include "cli/Summaries.h"
#include "commands/Commands.h"
#include "ops/EdgeLines.h"

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh edges model.glb -o wireframe.glb
  vexamesh edges model.obj -o outline.glb --border

Each primitive of triangles becomes one of lines, every edge once; with --border only the edges that two triangles do not
share (including those of triangles split off at an edge of more than two). Primitives without such edges are left out.
Everything else stays as it was. Before anything is written, the output is read back and compared with the input.)";

struct EdgesArguments {
    std::string input;
    std::string output;
    bool border = false;
    OptionalNumber weld;
    bool json = false;
};

int runEdges(const EdgesArguments& arguments, Console& console) {
    const Session session(console, arguments.weld);
    session.checkModelOutput(arguments.output, {arguments.input});
    const EdgeLines edges = replaceByEdges(session.load(arguments.input), arguments.border);
    session.writeModel(arguments.output, edges.file, edges.findFault);
    printSummary(console, arguments.json, arguments.input, arguments.output, edgeTable(edges.meshes), session.notes());
    return EXIT_DONE;
}

Command addFlags(Flags& flags) {
    auto arguments = std::make_shared<EdgesArguments>();
    flags.add("IN", arguments->input, readableFile, {.isRequired = true});
    flags.add("-o,--output", arguments->output, writableFile, {.isRequired = true});
    flags.add("--border", arguments->border, "Only the border edges");
    flags.add("--weld", arguments->weld, weldHelp);
    flags.add("--json", arguments->json, "Print JSON instead of a table");
    return [arguments](Console& console) { return runEdges(*arguments, console); };
}

} // namespace

Verb edgesVerb() {
    return {"edges", "Turns triangles into the lines of their edges.", examples, addFlags};
}

} // namespace vexa::tool
