#include "base/Errors.h"
#include "cli/Console.h"
#include "cli/Flags.h"
#include "cli/Session.h"
#include "commands/Commands.h"
#include "ops/Layout.h"

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh compare before.glb after.glb
  vexamesh compare --json a.obj b.obj

Compares layouts, not contents: primitive types, and the names, component types and component counts of the
attributes. If they differ, the first difference is printed and the exit code is 1.)";

struct CompareArguments {
    std::string first;
    std::string second;
    bool json = false;
};

int runCompare(const CompareArguments& arguments, Console& console) {
    const Session session(console);
    const Document first = session.load(arguments.first);
    const Document second = session.load(arguments.second);
    const std::string difference = findLayoutDifference(first, second);
    if (arguments.json) {
        Json json = {{"first", arguments.first}, {"second", arguments.second}, {"sameLayout", difference.empty()}};
        if (!difference.empty()) {
            json["difference"] = difference;
        }
        console.printJson(json);
    } else {
        console.printLine(difference.empty() ? "The layouts are the same." : difference);
    }
    return difference.empty() ? EXIT_DONE : EXIT_CHECK_FAILED;
}

Command addFlags(Flags& flags) {
    auto arguments = std::make_shared<CompareArguments>();
    flags.add("A", arguments->first, readableFile, {.isRequired = true});
    flags.add("B", arguments->second, "Another one", {.isRequired = true});
    flags.add("--json", arguments->json, "Print JSON instead of text");
    return [arguments](Console& console) { return runCompare(*arguments, console); };
}

} // namespace

Verb compareVerb() {
    return {"compare", "Compares the layouts of the meshes of two files.", examples, addFlags};
}

} // namespace vexa::tool
