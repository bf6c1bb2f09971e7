#include "base/Errors.h"
#include "cli/Console.h"
#include "cli/CutFlags.h"
#include "cli/Flags.h"
#include "cli/Progress.h"
#include "cli/Session.h"
#include "cli/StripSummary.h"
#include "commands/Commands.h"
#include "io/Files.h"
#include "report/Html.h"
#include "report/Page.h"

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh report model.glb -o report.html
  vexamesh report model.obj -o report.html --effort 3

The page shows the result of `strip` with the same flags: whether the triangles are the same, what they cost, and every
strip in a 3D view. It is one file that loads nothing; open it in a browser.)";

struct ReportArguments {
    std::string input;
    std::string output;
    CutFlags cut;
    OptionalNumber weld;
    std::size_t maxShown = PictureBuilder::maxTriangles;
    bool json = false;
};

std::string commandLine(const char* verb, const ReportArguments& arguments, const std::string& output) {
    const OptionalNumber& weld = arguments.weld;
    return std::string("vexamesh ") + verb + " " + shellWord(arguments.input) + " -o " + shellWord(output) +
           arguments.cut.text() + (weld.isGiven ? " --weld" : "") +
           (weld.number ? " " + Json(*weld.number).dump() : "");
}

PageTexts textsFor(const ReportArguments& arguments, const ReportContent& content, const Json& notes) {
    const std::filesystem::path input = arguments.input;
    const std::string strips = input.stem().string() + "-strips.glb";
    PageTexts texts;
    texts.input = arguments.input;
    texts.command = commandLine("report", arguments, arguments.output);
    if (arguments.maxShown != PictureBuilder::maxTriangles) {
        texts.command += " --show " + std::to_string(arguments.maxShown);
    }
    texts.stripCommand = commandLine("strip", arguments, strips);
    Json json = reportJson(arguments.input, arguments.output, content);
    json.update(notes);
    texts.json = jsonText(json);
    return texts;
}

int runReport(const ReportArguments& arguments, Console& console) {
    checkOutputName(arguments.output, {".html"}, arguments.input);
    ReportSettings settings{arguments.cut.settings(), arguments.maxShown};
    const Session session(console, arguments.weld);
    Document document = session.loadToEdit(arguments.input);
    Progress progress(console);
    showProgress(settings.strip, progress);
    const ReportContent content = collectReport(
        std::move(document), settings, [&](std::size_t done, std::size_t all) { progress.show("meshes", done, all); });
    progress.clear();
    const PageTexts texts = textsFor(arguments, content, session.notes());
    session.write(arguments.output, writePage(texts, content));
    if (arguments.json) {
        console.print(texts.json);
    } else {
        printStripTable(console, arguments.input, arguments.output, content.outcome);
        console.printLine("Open " + arguments.output + " in a browser.");
    }
    if (!content.fault.empty()) {
        throw CheckError(arguments.input + ": if its strips were written, " + content.fault);
    }
    return EXIT_DONE;
}

Command addFlags(Flags& flags) {
    auto arguments = std::make_shared<ReportArguments>();
    flags.add("IN", arguments->input, readableFile, {.isRequired = true});
    flags.add("-o,--output", arguments->output, "The .html file to write", {.isRequired = true});
    arguments->cut.addTo(flags);
    flags.add("--show", arguments->maxShown, "Triangles that the 3D view shows at most; the numbers are those of all",
              {.showsDefault = true, .typeName = "COUNT", .min = 1, .max = PictureBuilder::maxTriangles});
    flags.add("--weld", arguments->weld, weldHelp);
    flags.add("--json", arguments->json, "Print JSON instead of a table");
    return [arguments](Console& console) { return runReport(*arguments, console); };
}

} // namespace

Verb reportVerb() {
    return {"report", "Shows the strips of a file in a page for the browser.", examples, addFlags};
}

} // namespace vexa::tool
