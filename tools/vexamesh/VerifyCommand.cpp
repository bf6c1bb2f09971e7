#include "Commands.h"
#include "Errors.h"
#include "Logging.h"
#include "MeshConversion.h"
#include "Report.h"
#include "Triangles.h"

#include <memory>
#include <ostream>
#include <vexa/mesh/HalfEdgeGraph.h>

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh verify model.glb
  vexamesh verify model.obj --verbose

The report is that of the half-edge graph of each primitive of triangles: how many triangles are linked, invalid or
split off at edges of more than two, how many neighbours they have, and how many half-edges the vertices.)";

struct VerifyArguments {
    std::string file;
    bool verbose = false;
    bool json = false;
};

/// Builds the graph of a primitive and hands its report to `receive`, line by line.
void report(const Primitive& primitive, bool verbose, const std::function<void(const std::string&)>& receive) {
    const std::vector<unsigned int> triangles = graphTriangles(primitive);
    mesh::HalfEdgeGraph graph;
    graph.addTriangles(triangles.data(), triangles.size());
    const LogCapture capture(receive);
    graph.verify(verbose);
}

int runVerify(const VerifyArguments& arguments, const Streams& streams) {
    const Document document = loadAndWarn(arguments.file, streams.err);
    Json reports = Json::array();
    for (const Mesh& mesh : document.meshes) {
        for (std::size_t p = 0; p < mesh.primitives.size(); ++p) {
            if (!hasTriangles(mesh.primitives[p])) {
                continue;
            }
            if (arguments.json) {
                Json lines = Json::array();
                report(mesh.primitives[p], arguments.verbose, [&](const std::string& line) { lines.push_back(line); });
                reports.push_back({{"mesh", mesh.name}, {"primitive", p}, {"report", std::move(lines)}});
            } else {
                streams.out << printable(primitiveName(mesh, p)) << ":\n";
                report(mesh.primitives[p], arguments.verbose,
                       [&](const std::string& line) { streams.out << line << '\n'; });
            }
        }
    }
    if (arguments.json) {
        printJson(streams.out, {{"file", arguments.file}, {"primitives", std::move(reports)}});
    }
    return EXIT_DONE;
}

} // namespace

void addVerifyCommand(CLI::App& app, Command& chosen) {
    auto arguments = std::make_shared<VerifyArguments>();
    CLI::App& command =
        addSubcommand(app, chosen, "verify", "Reports on the adjacency of triangles.", examples, arguments, runVerify);
    command.add_option("FILE", arguments->file, readableFile)->required();
    command.add_flag("--verbose", arguments->verbose, "A line for each triangle and each half-edge, too");
    command.add_flag("--json", arguments->json, "Print JSON instead of text");
}

} // namespace vexa::tool
