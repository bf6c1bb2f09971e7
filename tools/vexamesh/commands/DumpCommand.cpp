#include "base/Errors.h"
#include "cli/Console.h"
#include "cli/Flags.h"
#include "cli/Session.h"
#include "commands/Commands.h"
#include "ops/Dump.h"

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh dump model.glb
  vexamesh dump model.obj --attribute normal --elements

Positions and normals are called "position" and "normal"; POSITION and NORMAL name them, too. Where a file has more than
one primitive, each is preceded by a line with its name.)";

struct DumpArguments {
    std::string file;
    std::string attribute;
    bool elements = false;
};

int runDump(const DumpArguments& arguments, Console& console) {
    dumpAttributes(Session(console).load(arguments.file), arguments.attribute, arguments.elements,
                   [&](const std::string& text) { console.print(text); });
    return EXIT_DONE;
}

Command addFlags(Flags& flags) {
    auto arguments = std::make_shared<DumpArguments>();
    flags.add("FILE", arguments->file, readableFile, {.isRequired = true});
    flags.add("--attribute", arguments->attribute, "Only the attribute of this name", {.typeName = "NAME"});
    flags.add("--elements", arguments->elements, "All elements, too");
    return [arguments](Console& console) { return runDump(*arguments, console); };
}

} // namespace

Verb dumpVerb() {
    return {"dump", "Prints attribute buffers as text.", examples, addFlags};
}

} // namespace vexa::tool
