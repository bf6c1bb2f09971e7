#include "Commands.h"
#include "Errors.h"
#include "Merging.h"
#include "Placement.h"
#include "Report.h"
#include "io/Files.h"

#include <map>
#include <memory>
#include <ostream>
#include <vexa/mesh/MeshConcatenation.h>

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh merge body.glb wheel.obj -o car.glb
  vexamesh merge wheel.obj --translate 1,0,0 wheel.obj --scale -1,1,1 --translate -1,0,0 -o axle.glb
  vexamesh merge part.glb --rotate y,90 --scale 0.001 -o part-in-metres.glb

--translate, --scale and --rotate place the input that they follow, one after the other. Meshes of the same layout and
material become one primitive; others stay apart. A placement that mirrors turns the winding, and normals are written with
unit length.)";

struct PlacedInput {
    std::string file;
    glm::dmat4 placement{1};
};

struct MergeArguments {
    std::vector<std::string> files;
    std::string translation, scale, rotation;
    std::string output;
    bool json = false;
    std::vector<PlacedInput> inputs;   ///< once readInputs has read them
    const CLI::App* command = nullptr; ///< knows the order of all arguments
};

/// Assigns each placement to the input that it follows, which only the order of all arguments tells.
void readInputs(const CLI::App& command, MergeArguments& arguments) {
    const std::map<std::string, glm::dmat4 (*)(const std::string&)> parsers = {
        {"--translate", parseTranslation}, {"--scale", parseScale}, {"--rotate", parseRotation}};
    std::map<const CLI::Option*, std::size_t> used;
    arguments.inputs.clear();
    for (const CLI::Option* option : command.parse_order()) {
        const std::string name = option->get_name();
        const auto parser = parsers.find(name);
        if (name != "IN" && parser == parsers.end()) {
            continue;
        }
        const std::string value = option->results().at(used[option]++);
        if (name == "IN") {
            arguments.inputs.push_back({value, glm::dmat4(1)});
        } else if (arguments.inputs.empty()) {
            throw UsageError(name + " stands before the first input");
        } else {
            glm::dmat4& placement = arguments.inputs.back().placement;
            placement = parser->second(value) * placement;
        }
    }
}

void printReport(const MergeArguments& arguments, const Merger& merger, std::ostream& out) {
    Json list = Json::array();
    Table table;
    for (const char* title : {"parts", "vertices", "primitives"}) {
        table.addColumn(title);
    }
    table.addColumn("bounding box", Table::Align::Left);
    table.addColumn("layout", Table::Align::Left);
    for (const MergedGroup& group : merger.groups()) {
        glm::detail::taabb<float> box{};
        mesh::computeVolume(box, group.mesh, glm::mat4(1));
        const auto corner = [](const glm::vec3& point) {
            return "(" + shortText(point.x) + ", " + shortText(point.y) + ", " + shortText(point.z) + ")";
        };
        const auto vertices = group.mesh->getAttributeBuffer(0)->getElementCount();
        table.addRow({std::to_string(group.parts), std::to_string(vertices),
                      std::to_string(group.mesh->getNumPrimitives()), corner(box.min) + " to " + corner(box.max),
                      printable(group.layout)});
        list.push_back({{"layout", group.layout},
                        {"parts", group.parts},
                        {"vertices", vertices},
                        {"primitives", group.mesh->getNumPrimitives()},
                        {"boundingBox",
                         {{"min", {box.min.x, box.min.y, box.min.z}}, {"max", {box.max.x, box.max.y, box.max.z}}}}});
    }
    if (arguments.json) {
        printJson(out, {{"output", arguments.output}, {"groups", std::move(list)}});
    } else {
        table.print(out);
    }
}

int runMerge(const MergeArguments& arguments, const Streams& streams) {
    for (const PlacedInput& input : arguments.inputs) {
        checkOutputName(arguments.output, ".glb", input.file);
    }
    Merger merger;
    for (const PlacedInput& input : arguments.inputs) {
        const Document document = loadAndWarn(input.file, streams.err);
        merger.add(document, input.placement);
    }
    Bytes file;
    try {
        file = merger.finish();
    } catch (const FormatError& error) {
        throw FileError(arguments.output, error.what());
    }
    for (const std::string& warning : merger.warnings()) {
        streams.err << "vexamesh: warning: " << printable(warning) << '\n';
    }
    writeFile(arguments.output, file);
    printReport(arguments, merger, streams.out);
    return EXIT_DONE;
}

} // namespace

void addMergeCommand(CLI::App& app, Command& chosen) {
    auto arguments = std::make_shared<MergeArguments>();
    CLI::App& command = addSubcommand(app, chosen, "merge", "Puts the meshes of files together.", examples, arguments,
                                      [](MergeArguments& given, const Streams& streams) {
                                          readInputs(*given.command, given);
                                          return runMerge(given, streams);
                                      });
    arguments->command = &command;
    command.add_option("IN", arguments->files, readableFiles)->required();
    command.add_option("-o,--output", arguments->output, "The .glb file to write")->required();
    const auto addPlacement = [&](const char* name, std::string& value, const char* help, const char* form) {
        command.add_option(name, value, help)->type_name(form)->multi_option_policy(CLI::MultiOptionPolicy::TakeLast);
    };
    addPlacement("--translate", arguments->translation, "Move the input before", "X,Y,Z");
    addPlacement("--scale", arguments->scale, "Scale the input before", "S|X,Y,Z");
    addPlacement("--rotate", arguments->rotation, "Turn the input before around x, y or z", "AXIS,DEGREES");
    command.add_flag("--json", arguments->json, "Print JSON instead of a table");
}

} // namespace vexa::tool
