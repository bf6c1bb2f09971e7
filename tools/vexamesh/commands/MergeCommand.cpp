#include "base/Errors.h"
#include "cli/Console.h"
#include "cli/Flags.h"
#include "cli/Session.h"
#include "cli/Summaries.h"
#include "commands/Commands.h"
#include "ops/Merging.h"
#include "ops/Placement.h"

#include <map>

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh merge body.glb wheel.obj -o car.glb
  vexamesh merge wheel.obj --translate 1,0,0 wheel.obj --scale -1,1,1 --translate -1,0,0 -o axle.glb
  vexamesh merge part.glb --rotate y,90 --scale 0.001 -o part-in-metres.glb

--translate, --scale and --rotate place the input that they follow, in the order in which they are given. Meshes of the
same layout, material and variants become one primitive of one mesh; others stay apart. A placement that mirrors reverses
the winding, and normals are written with unit length. Cameras and lights keep their names and are placed too; material
variants of one name become one. Skins, morph targets and animations are left out, with a warning.)";

struct MergeArguments {
    std::vector<std::string> files;
    std::string translation, scale, rotation;
    std::string output;
    OptionalNumber weld;
    bool json = false;
};

struct PlacedInput {
    std::string file;
    glm::dmat4 placement{1};
};

/// Assigns each placement to the input that it follows.
std::vector<PlacedInput> placeInputs(const Flags& flags) {
    const std::map<std::string, glm::dmat4 (*)(const std::string&)> parsers = {
        {"--translate", parseTranslation}, {"--scale", parseScale}, {"--rotate", parseRotation}};
    std::vector<PlacedInput> inputs;
    for (const auto& [name, value] : flags.inOrder()) {
        const auto parser = parsers.find(name);
        if (name == "IN") {
            inputs.push_back({value, glm::dmat4(1)});
        } else if (parser != parsers.end() && inputs.empty()) {
            throw UsageError(name + " stands before the first input");
        } else if (parser != parsers.end()) {
            inputs.back().placement = parser->second(value) * inputs.back().placement;
        }
    }
    return inputs;
}

int runMerge(const MergeArguments& arguments, const std::vector<PlacedInput>& inputs, Console& console) {
    const Session session(console, arguments.weld);
    session.checkModelOutput(arguments.output, arguments.files);
    Merger merger;
    for (const PlacedInput& input : inputs) {
        session.leaveOut(input.file, merger.add(session.loadToEdit(input.file), input.placement));
    }
    if (merger.groups().empty()) {
        std::string names;
        for (const PlacedInput& input : inputs) {
            names += (names.empty() ? "" : ", ") + input.file;
        }
        throw FileError(names, inputs.size() == 1 ? "has nothing to merge" : "have nothing to merge");
    }
    Bytes file;
    try {
        file = merger.finish();
    } catch (const FormatError& error) {
        throw FileError(arguments.output, error.what());
    }
    session.writeModel(arguments.output, file, [&](const Bytes& content) { return merger.findFault(content); });
    printMerging(console, arguments.json, arguments.output, merger.groups(), session.notes(true));
    return EXIT_DONE;
}

Command addFlags(Flags& flags) {
    auto arguments = std::make_shared<MergeArguments>();
    flags.add("IN", arguments->files, readableFiles, {.isRequired = true});
    flags.add("-o,--output", arguments->output, writableFile, {.isRequired = true});
    flags.add("--translate", arguments->translation, "Move the preceding input",
              {.takesLast = true, .typeName = "X,Y,Z"});
    flags.add("--scale", arguments->scale, "Scale the preceding input", {.takesLast = true, .typeName = "S|X,Y,Z"});
    flags.add("--rotate", arguments->rotation, "Rotate the preceding input around x, y or z",
              {.takesLast = true, .typeName = "AXIS,DEGREES"});
    flags.add("--weld", arguments->weld, weldHelp);
    flags.add("--json", arguments->json, "Print JSON instead of a table");
    return [arguments, flags](Console& console) { return runMerge(*arguments, placeInputs(flags), console); };
}

} // namespace

Verb mergeVerb() {
    return {"merge", "Merges the meshes of files.", examples, addFlags};
}

} // namespace vexa::tool
