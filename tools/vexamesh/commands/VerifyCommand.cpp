#include "base/Errors.h"
#include "base/Text.h"
#include "cli/Console.h"
#include "cli/Flags.h"
#include "cli/Session.h"
#include "commands/Commands.h"
#include "ops/GraphReport.h"
#include "ops/MeshConversion.h"
#include "ops/Triangles.h"

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh verify model.glb
  vexamesh verify model.obj --verbose

Prints the report of the half-edge graph of each primitive of triangles: how many triangles are linked, invalid or split
off at edges of more than two, how many neighbours they have, and how many half-edges the vertices.)";

struct VerifyArguments {
    std::string file;
    bool verbose = false;
    bool json = false;
};

int runVerify(const VerifyArguments& arguments, Console& console) {
    const Document document = Session(console).load(arguments.file);
    Json reports = Json::array();
    for (const Mesh& mesh : document.meshes) {
        for (std::size_t p = 0; p < mesh.primitives.size(); ++p) {
            if (!hasTriangles(mesh.primitives[p])) {
                continue;
            }
            if (arguments.json) {
                Json lines = Json::array();
                reportGraph(mesh.primitives[p], arguments.verbose,
                            [&](const std::string& line) { lines.push_back(line); });
                reports.push_back({{"mesh", mesh.name}, {"primitive", p}, {"report", std::move(lines)}});
            } else {
                console.printLine(primitiveName(mesh, p) + ":");
                reportGraph(mesh.primitives[p], arguments.verbose,
                            [&](const std::string& line) { console.print(line + '\n'); });
            }
        }
    }
    if (arguments.json) {
        console.printJson({{"file", arguments.file}, {"primitives", std::move(reports)}});
    }
    return EXIT_DONE;
}

Command addFlags(Flags& flags) {
    auto arguments = std::make_shared<VerifyArguments>();
    flags.add("FILE", arguments->file, readableFile, {.isRequired = true});
    flags.add("--verbose", arguments->verbose, "A line for each triangle and each half-edge, too");
    flags.add("--json", arguments->json, "Print JSON instead of text");
    return [arguments](Console& console) { return runVerify(*arguments, console); };
}

} // namespace

Verb verifyVerb() {
    return {"verify", "Reports on the adjacency of triangles.", examples, addFlags};
}

} // namespace vexa::tool
