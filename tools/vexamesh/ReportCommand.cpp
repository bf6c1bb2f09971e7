#include "Commands.h"
#include "CutArguments.h"
#include "Errors.h"
#include "Progress.h"
#include "Report.h"
#include "StripReport.h"
#include "io/Files.h"
#include "report/Html.h"
#include "report/Page.h"

#include <memory>
#include <ostream>
#include <sstream>

namespace vexa::tool {

namespace {

constexpr const char* examples = R"(Examples:
  vexamesh report model.glb -o report.html
  vexamesh report model.obj -o report.html --iterations 50

The page shows what `strip` with the same options makes of the file: whether the triangles are the same, what they
cost, and every strip in a 3D view. It is one file that loads nothing; open it in a browser.)";

struct ReportArguments {
    std::string input;
    std::string output;
    CutArguments cut;
    std::size_t mostShown = PictureBuilder::mostTriangles;
    bool json = false;
};

/// The options of a cut that are not as they are anyway, as on a command line.
std::string cutOptions(const CutArguments& cut) {
    const CutArguments usual;
    std::string text;
    text += cut.iterations == usual.iterations ? "" : " --iterations " + std::to_string(cut.iterations);
    text += cut.fans == usual.fans ? "" : " --fans " + std::to_string(cut.fans);
    text += cut.allStrips ? " --all-strips" : "";
    text += cut.join == usual.join ? "" : " --join " + cut.join;
    return text;
}

std::string commandLine(const char* verb, const std::string& input, const std::string& output,
                        const CutArguments& cut) {
    return std::string("vexamesh ") + verb + " " + shellWord(input) + " -o " + shellWord(output) + cutOptions(cut);
}

PageTexts textsFor(const ReportArguments& arguments, const ReportFacts& facts) {
    const std::filesystem::path input = arguments.input;
    const std::string strips = input.stem().string() + "-strips.glb";
    PageTexts texts;
    texts.input = arguments.input;
    texts.command = commandLine("report", arguments.input, arguments.output, arguments.cut);
    if (arguments.mostShown != PictureBuilder::mostTriangles) {
        texts.command += " --show " + std::to_string(arguments.mostShown);
    }
    texts.stripCommand = commandLine("strip", arguments.input, strips, arguments.cut);
    std::ostringstream json;
    printJson(json, reportJson(arguments.input, arguments.output, facts));
    texts.json = json.str();
    return texts;
}

int runReport(const ReportArguments& arguments, const Streams& streams) {
    checkOutputName(arguments.output, ".html", arguments.input);
    Document document = loadAndWarn(arguments.input, streams.err);
    Progress progress(streams.err);
    ReportSettings settings{settingsOf(arguments.cut), arguments.mostShown};
    settings.strip.onPass = [&](std::size_t done, std::size_t all) { progress.show("passes", done, all); };
    const ReportFacts facts = collectFacts(
        std::move(document), settings, [&](std::size_t done, std::size_t all) { progress.show("meshes", done, all); });
    progress.clear();
    const PageTexts texts = textsFor(arguments, facts);
    writeFile(arguments.output, writePage(texts, facts));
    if (arguments.json) {
        streams.out << texts.json;
    } else {
        printStripTable(streams.out, arguments.input, arguments.output, facts.outcome);
        streams.out << "Open " << printable(arguments.output) << " in a browser.\n";
    }
    if (!facts.outcome.total.sameTriangles) {
        throw CheckError(arguments.input + ": its strips would not have the same triangles");
    }
    return EXIT_DONE;
}

} // namespace

void addReportCommand(CLI::App& app, Command& chosen) {
    auto arguments = std::make_shared<ReportArguments>();
    CLI::App& command = addSubcommand(app, chosen, "report", "Shows the strips of a file in a page for the browser.",
                                      examples, arguments, runReport);
    command.add_option("IN", arguments->input, readableFile)->required();
    command.add_option("-o,--output", arguments->output, "The .html file to write")->required();
    addCutOptions(command, arguments->cut);
    command
        .add_option("--show", arguments->mostShown,
                    "The picture holds this many triangles at most; the figures are those of all")
        ->type_name("COUNT")
        ->check(CLI::Range(std::size_t{1}, PictureBuilder::mostTriangles))
        ->capture_default_str();
    command.add_flag("--json", arguments->json, "Print JSON instead of a table");
}

} // namespace vexa::tool
