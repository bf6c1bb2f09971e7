#include "report/Page.h"

#include "base/Text.h"
#include "cli/StripSummary.h"
#include "report/Assets.h"
#include "report/Html.h"
#include "report/PagePicture.h"
#include "report/PageTables.h"
#include "report/Plots.h"
#include "report/Preview.h"

#include <sstream>

namespace vexa::tool {

namespace {

std::string percentChange(std::size_t before, std::size_t after) {
    if (before == 0 || before == after) {
        return "";
    }
    const double share = static_cast<double>(after) / static_cast<double>(before) - 1;
    const std::string text = (share < 0 ? "\u2212" : "+") + fixedText(std::abs(share) * 100, 1) + "\u202f%";
    return "<span class=\"change " + std::string(share < 0 ? "less" : "more") + "\">" + text + "</span>";
}

void beforeAfter(std::ostream& out, const char* title, std::size_t before, std::size_t after) {
    out << "<div class=\"metric\"><dt>" << title << "</dt><dd><span class=\"before\">" << numberHtml(before)
        << "</span> <span class=\"arrow\" aria-label=\"becomes\">\u2192</span> <strong>" << numberHtml(after)
        << "</strong> " << percentChange(before, after) << "</dd></div>\n";
}

void writeVerdict(std::ostream& out, const StripStats& total) {
    out << "<div class=\"verdict " << (total.sameTriangles ? "good" : "bad") << "\" id=\"verdict\">\n"
        << "<span class=\"sign\" aria-hidden=\"true\">" << (total.sameTriangles ? "\u2713" : "\u2717") << "</span>\n"
        << "<p><strong>Same triangles: " << (total.sameTriangles ? "yes" : "no") << "</strong><br>";
    if (total.sameTriangles) {
        out << "Read back, the strips draw the " << numberHtml(total.triangles)
            << " oriented triangles of the input, each the same number of times.";
    } else {
        out << "Read back, the strips do not draw the triangles of the input: nothing should be written from them.";
    }
    if (total.degenerate > 0) {
        out << " " << numberHtml(total.degenerate)
            << " with two equal corners draw nothing and do not count, but their "
            << "indices in the input do, so it may have more than three per triangle.";
    }
    out << "</p>\n</div>\n";
}

void writeMetrics(std::ostream& out, const ReportContent& content) {
    const StripStats& total = content.outcome.total;
    out << "<dl class=\"metrics\">\n";
    beforeAfter(out, "Indices", total.indicesBefore, total.indicesAfter);
    const double before =
        total.triangles == 0 ? 0 : static_cast<double>(total.indicesBefore) / static_cast<double>(total.triangles);
    out << "<div class=\"metric\"><dt>Indices per triangle</dt><dd><span class=\"before\">" << fixedText(before, 3)
        << "</span> <span class=\"arrow\" aria-label=\"becomes\">\u2192</span> <strong>"
        << fixedText(indicesPerTriangle(total), 3) << "</strong></dd></div>\n";
    beforeAfter(out, "Primitives", total.primitivesBefore, total.primitivesAfter);
    beforeAfter(out, "Bytes of indices", total.bytesBefore, total.bytesAfter);
    beforeAfter(out, "Bytes of a .glb file", content.listBytes, content.outcome.file.size());
    out << "<div class=\"metric\"><dt>Cut into</dt><dd><strong>" << numberHtml(total.strips) << "</strong> "
        << (total.strips == 1 ? "strip" : "strips") << ", <strong>" << numberHtml(total.fans) << "</strong> "
        << (total.fans == 1 ? "fan" : "fans") << ", <strong>" << numberHtml(total.leftOver)
        << "</strong> left over</dd></div>\n</dl>\n";
}

void writeCommands(std::ostream& out, const PageTexts& texts) {
    out << "<dl class=\"commands\">\n<dt>This report</dt><dd><code id=\"command\">" << escapeHtml(texts.command)
        << "</code></dd>\n<dt>The same strips as a file</dt><dd><code>" << escapeHtml(texts.stripCommand)
        << "</code></dd>\n</dl>\n";
}

/// For the previews of this page on others.
void writeSharing(std::ostream& out, const PageTexts& texts, const std::string& title, const ReportContent& content) {
    const StripStats& total = content.outcome.total;
    const auto meta = [&](const char* property, const std::string& value) {
        out << "<meta property=\"og:" << property << "\" content=\"" << escapeHtml(value) << "\">\n";
    };
    meta("type", "website");
    meta("title", title + " \u2013 vexamesh report");
    meta("description", groupedText(total.triangles) + " triangles: " + groupedText(total.indicesBefore) +
                            " indices before, " + groupedText(total.indicesAfter) + " as strips");
    if (!texts.previewAddress.empty()) {
        meta("image", texts.previewAddress);
        meta("image:width", std::to_string(previewWidth));
        meta("image:height", std::to_string(previewHeight));
        meta("image:alt", "The model, its strips in different colours");
        if (!texts.address.empty()) {
            meta("url", texts.address);
            out << "<meta name=\"twitter:card\" content=\"summary_large_image\">\n";
        }
    }
}

void writeHead(std::ostream& out, const PageTexts& texts, const std::string& title, const ReportContent& content) {
    // Nothing may be loaded from anywhere, whatever a model's names try.
    out << "<!DOCTYPE html>\n<html lang=\"en\">\n<head>\n<meta charset=\"utf-8\">\n"
           "<meta name=\"viewport\" content=\"width=device-width, initial-scale=1\">\n"
           "<meta name=\"color-scheme\" content=\"light dark\">\n"
           "<meta http-equiv=\"Content-Security-Policy\" content=\"default-src 'none'; script-src 'unsafe-inline'; "
           "style-src 'unsafe-inline'; img-src data: blob:\">\n"
           "<meta name=\"generator\" content=\"vexamesh " VEXAMESH_VERSION "\">\n"
           "<link rel=\"icon\" href=\"data:,\">\n";
    writeSharing(out, texts, title, content);
    out << "<title>" << escapeHtml(title) << " \u2013 vexamesh report</title>\n<style>\n"
        << reportStyle() << "</style>\n</head>\n";
}

void writeTop(std::ostream& out, const PageTexts& texts, const std::string& title, const ReportContent& content) {
    out << "<header>\n<p class=\"brand\">vexamesh report</p>\n<h1><bdi>" << escapeHtml(title)
        << "</bdi></h1>\n</header>\n";
    writeVerdict(out, content.outcome.total);
    for (const std::string& warning : texts.warnings) {
        out << "<p class=\"warning\">" << escapeHtml(warning) << "</p>\n";
    }
    writeMetrics(out, content);
    writeCommands(out, texts);
}

void writePlots(std::ostream& out, const ReportContent& content) {
    out << "<section aria-labelledby=\"plots-title\">\n<h2 id=\"plots-title\">Plots</h2>\n<div class=\"plots\">\n"
        << stripLengthPlot(content.stripLengths) << swapPlot(content.stripSwaps) << effortPlot(content)
        << passPlot(content) << anglePlot(content.normalAngles, content.normals) << "</div>\n</section>\n";
}

} // namespace

Bytes writePage(const PageTexts& texts, const ReportContent& content) {
    const std::string& title = texts.input;
    std::ostringstream out;
    writeHead(out, texts, title, content);
    out << "<body>\n<main>\n";
    writeTop(out, texts, title, content);
    writePicture(out, content.picture, content.hidesSteps);
    writePlots(out, content);
    writeTables(out, content);
    out << "<section>\n<details>\n<summary>JSON</summary>\n<p class=\"note\">The output of <code>--json</code>.</p>\n"
           "<pre id=\"json\" tabindex=\"0\">"
        << escapeHtml(texts.json) << "</pre>\n</details>\n</section>\n</main>\n";
    writePictureData(out, content.picture);
    out << "<script>\n" << reportScript() << "</script>\n</body>\n</html>\n";
    const std::string page = std::move(out).str();
    return {page.begin(), page.end()};
}

} // namespace vexa::tool
