#include "base/Errors.h"
#include "cli/Console.h"
#include "cli/Flags.h"
#include "cli/InfoSummary.h"
#include "cli/Session.h"
#include "commands/Commands.h"

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh info model.glb
  vexamesh info --json scene.gltf part.obj

Edges are identified by vertex index: where a model repeats vertices, for example along a texture seam, both sides of
the seam count as border. The bounding box is that of the numbers as they are stored.)";

struct InfoArguments {
    std::vector<std::string> files;
    bool json = false;
};

int runInfo(const InfoArguments& arguments, Console& console) {
    const Session session(console);
    Json files = Json::array();
    bool isFirst = true;
    const int code = session.forEachFile(arguments.files, files, [&](const std::string& file) {
        const Document document = session.load(file);
        if (arguments.json) {
            files.push_back(infoJson(document));
        } else {
            console.print(isFirst ? "" : "\n");
            printInfo(console, document);
        }
        isFirst = false;
        return EXIT_DONE;
    });
    if (arguments.json) {
        console.printJson({{"files", std::move(files)}});
    }
    return code;
}

Command addFlags(Flags& flags) {
    auto arguments = std::make_shared<InfoArguments>();
    flags.add("FILE", arguments->files, readableFiles, {.isRequired = true});
    flags.add("--json", arguments->json, "Print JSON instead of tables");
    return [arguments](Console& console) { return runInfo(*arguments, console); };
}

} // namespace

Verb infoVerb() {
    return {"info", "Describes the meshes of files.", examples, addFlags};
}

} // namespace vexa::tool
