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
#include "report/Preview.h"
#include "report/View.h"

#include <cctype>
#include <filesystem>
#include <string_view>

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
    std::string compare;
    std::string url;
    bool json = false;
};

std::vector<unsigned int> parseEfforts(const std::string& text) {
    std::vector<unsigned int> efforts;
    for (std::size_t i = 0; i < text.size(); i += 2) {
        if (text[i] < '0' || text[i] > '3' || (i + 1 < text.size() && text[i + 1] != ',') || i + 2 == text.size()) {
            throw UsageError("--compare " + text +
                             ": expected efforts from 0 to 3 with commas between them, as in 0,3");
        }
        efforts.push_back(static_cast<unsigned int>(text[i] - '0'));
    }
    return efforts;
}

std::string baseName(const std::string& file) {
    return std::filesystem::path(file).filename().string();
}

/// A text of a page, which is made to be shared, without the directory of the input file, and with the names of files in
/// place of absolute paths.
std::string withoutDirectories(const std::string& text, const std::filesystem::path& input) {
    constexpr std::string_view beforePaths = " \"'(:=";
    const std::string directory = input.has_parent_path() ? input.parent_path().string() + "/" : "";
    std::string result;
    for (std::size_t at = 0; at < text.size();) {
        const bool isStart = at == 0 || beforePaths.find(text[at - 1]) != std::string_view::npos;
        if (isStart && !directory.empty() && text.compare(at, directory.size(), directory) == 0) {
            at += directory.size();
        } else if (isStart && text[at] == '/') {
            const std::size_t end = std::min(text.find_first_of(" \"',;:()", at + 1), text.size());
            const std::size_t name = text.rfind('/', end - 1) + 1;
            result += text.substr(name, end - name);
            at = end;
        } else {
            result += text[at++];
        }
    }
    return result;
}

/// The address of a file in the directory of a page.
std::string addressNextTo(const std::string& url, const std::string& name) {
    constexpr std::string_view digits = "0123456789ABCDEF";
    const std::string page = url.substr(0, url.find_first_of("?#"));
    std::string address = page.substr(0, page.rfind('/') + 1);
    for (const char c : name) {
        const auto byte = static_cast<unsigned char>(c);
        if (std::isalnum(byte) != 0 || std::string_view("-_.~").find(c) != std::string_view::npos) {
            address += c;
        } else {
            address += '%';
            address += digits[byte >> 4];
            address += digits[byte & 15U];
        }
    }
    return address;
}

void checkUrl(const std::string& url) {
    const bool isWeb = url.rfind("https://", 0) == 0 || url.rfind("http://", 0) == 0;
    if (!url.empty() && (!isWeb || url.find('/', url.find("//") + 2) == std::string::npos)) {
        throw UsageError("--url " + url +
                         ": expected the address of a page, as in https://example.org/reports/model.html");
    }
}

std::string commandLine(const char* verb, const ReportArguments& arguments, const std::string& output) {
    const OptionalNumber& weld = arguments.weld;
    return std::string("vexamesh ") + verb + " " + shellWord(baseName(arguments.input)) + " -o " + shellWord(output) +
           arguments.cut.text() + (weld.isGiven ? " --weld" : "") +
           (weld.number ? " " + Json(*weld.number).dump() : "");
}

PageTexts textsFor(const ReportArguments& arguments, const ReportContent& content, Json json) {
    const std::filesystem::path input = arguments.input;
    const std::string strips = input.stem().string() + "-strips.glb";
    PageTexts texts;
    texts.input = baseName(arguments.input);
    texts.command = commandLine("report", arguments, baseName(arguments.output));
    if (arguments.maxShown != PictureBuilder::maxTriangles) {
        texts.command += " --show " + std::to_string(arguments.maxShown);
    }
    if (!arguments.compare.empty()) {
        texts.command += " --compare " + arguments.compare;
    }
    if (!arguments.url.empty()) {
        texts.command += " --url " + shellWord(arguments.url);
    }
    texts.stripCommand = commandLine("strip", arguments, strips);
    json["input"] = texts.input;
    json["output"] = baseName(arguments.output);
    for (Json& line : json["leftOut"]) {
        line = withoutDirectories(line.get<std::string>(), input);
    }
    texts.json = jsonText(json);
    texts.address = arguments.url;
    for (const std::string& warning : content.warnings) {
        texts.warnings.push_back(withoutDirectories(warning, input));
    }
    return texts;
}

std::filesystem::path previewNextTo(const std::filesystem::path& page) {
    return page.parent_path() / (page.stem().string() + "-preview.png");
}

/// Without its page, the file may belong to something else.
void checkPreview(const ReportArguments& arguments) {
    const std::filesystem::path preview = previewNextTo(arguments.output);
    std::error_code error;
    if (!arguments.url.empty() && std::filesystem::exists(preview, error) &&
        !std::filesystem::exists(arguments.output, error)) {
        throw UsageError(preview.string() + " already exists, and the preview picture of " + arguments.output +
                         " would overwrite it; choose another name, or remove it if nothing else needs it");
    }
}

/// Writes the page with its preview picture: within it, or, if its address is known, in a file next to it.
void writeReport(const ReportArguments& arguments, const ReportContent& content, PageTexts& texts) {
    const Picture& picture = content.picture;
    const Bytes png = picture.shownTriangles() == 0 ? Bytes() : drawPreview(picture, homeDirection(picture));
    if (png.empty() || arguments.url.empty()) {
        texts.previewAddress = png.empty() ? "" : "data:image/png;base64," + base64(png.data(), png.size());
        writeFile(arguments.output, writePage(texts, content));
    } else {
        const std::filesystem::path page = arguments.output;
        const std::filesystem::path preview = previewNextTo(page);
        texts.previewAddress = addressNextTo(arguments.url, preview.filename().string());
        writeFiles(page, writePage(texts, content), preview, png);
    }
}

int runReport(const ReportArguments& arguments, Console& console) {
    checkOutputName(arguments.output, {".html"}, arguments.input);
    checkUrl(arguments.url);
    checkPreview(arguments);
    ReportSettings settings{arguments.cut.settings(), arguments.maxShown, parseEfforts(arguments.compare)};
    const Session session(console, arguments.weld);
    Document document = session.loadToEdit(arguments.input);
    const std::size_t warned = document.asset.warnings.size();
    Progress progress(console);
    showProgress(settings.strip, progress);
    const ReportContent content = collectReport(std::move(document), settings, [&](std::size_t done, std::size_t all) {
        progress.show("primitives", done, all);
    });
    progress.clear();
    for (std::size_t i = warned; i < content.warnings.size(); ++i) {
        session.warn(arguments.input, content.warnings[i]);
    }
    Json json = reportJson(arguments.input, arguments.output, content);
    json.update(session.notes());
    PageTexts texts = textsFor(arguments, content, json);
    writeReport(arguments, content, texts);
    if (arguments.json) {
        console.print(jsonText(json));
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
    flags.add("--compare", arguments->compare, "Efforts whose strips the 3D view can show beside these, as in 0,3",
              {.typeName = "EFFORTS"});
    flags.add("--url", arguments->url,
              "Where the page will be published; its preview picture becomes a file next to it, NAME-preview.png",
              {.typeName = "URL"});
    flags.add("--weld", arguments->weld, weldHelp);
    flags.add("--json", arguments->json, "Print JSON instead of a table");
    return [arguments](Console& console) { return runReport(*arguments, console); };
}

} // namespace

Verb reportVerb() {
    return {"report", "Shows the strips of a file in a page for the browser.", examples, addFlags};
}

} // namespace vexa::tool
