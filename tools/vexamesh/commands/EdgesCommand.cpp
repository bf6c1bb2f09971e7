#include "base/Errors.h"
#include "cli/Console.h"
#include "cli/Flags.h"
#include "cli/Session.h"
#include "cli/Summaries.h"
#include "commands/Commands.h"
#include "ops/EdgeLines.h"
#include "ops/EdgeVisibility.h"

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh edges model.glb -o wireframe.glb
  vexamesh edges model.obj -o outline.glb --border
  vexamesh edges model.glb -o drawing.glb --classes border,crease,seam --crease-angle 20
  vexamesh edges part.glb -o part-with-edges.glb --visibility

Each primitive of triangles becomes one of lines, every edge once; with --border only the edges that two triangles do not
share (including those of triangles split off at an edge of more than two). Primitives without such edges are left out.
With --classes, vertices at the same place count as one, and only edges of these classes are written: border (one
triangle), crease (two at more than the crease angle), seam (two with different vertices at the same places), smooth (any
other two) and non-manifold (more).
With --visibility the triangles stay, and EXT_mesh_primitive_edge_visibility marks their edges for readers that know it: those
of the classes (border, crease and non-manifold unless given) are always visible, others in silhouette.
Everything else stays as it was. Before anything is written, the output is read back and compared with the input.)";

struct EdgesArguments {
    std::string input;
    std::string output;
    bool border = false;
    std::string classes;
    std::uint32_t creaseAngle = 30;
    bool visibility = false;
    OptionalNumber weld;
    bool json = false;
};

int runEdges(const EdgesArguments& arguments, Console& console) {
    const Session session(console, arguments.weld);
    session.checkModelOutput(arguments.output, {arguments.input});
    EdgeChoice choice{arguments.border, {}, static_cast<double>(arguments.creaseAngle)};
    if (!arguments.classes.empty()) {
        choice.classes = parseEdgeClasses(arguments.classes);
        if (arguments.border) {
            throw UsageError("--border and --classes exclude one another; use --classes border");
        }
    }
    if (arguments.visibility && arguments.border) {
        throw UsageError("--border and --visibility exclude one another; use --classes border --visibility");
    }
    if (arguments.visibility && !choice.classes) {
        choice.classes = mesh::EdgeClass::Border | mesh::EdgeClass::Crease | mesh::EdgeClass::NonManifold;
    }
    const auto draw = arguments.visibility ? markEdges : replaceByEdges;
    const EdgeFile edges = draw(session.loadToEdit(arguments.input), choice);
    session.writeModel(arguments.output, edges.file, edges.findFault);
    printSummary(console, arguments.json, arguments.input, arguments.output,
                 edgeTable(edges.meshes, choice.classes.has_value(), arguments.visibility), session.notes());
    return EXIT_DONE;
}

Command addFlags(Flags& flags) {
    auto arguments = std::make_shared<EdgesArguments>();
    flags.add("IN", arguments->input, readableFile, {.isRequired = true});
    flags.add("-o,--output", arguments->output, writableFile, {.isRequired = true});
    flags.add("--border", arguments->border, "Only the border edges");
    flags.add("--classes", arguments->classes, "Only edges of these classes, as border,crease,seam");
    flags.add("--crease-angle", arguments->creaseAngle,
              "Degrees between the normals of two triangles above which their edge is a crease",
              {.showsDefault = true});
    flags.add("--visibility", arguments->visibility,
              "Keep the triangles, and mark their edges for readers that draw them");
    flags.add("--weld", arguments->weld, weldHelp);
    flags.add("--json", arguments->json, "Print JSON instead of a table");
    return [arguments](Console& console) { return runEdges(*arguments, console); };
}

} // namespace

Verb edgesVerb() {
    return {"edges", "Turns triangles into the lines of their edges.", examples, addFlags};
}

} // namespace vexa::tool
