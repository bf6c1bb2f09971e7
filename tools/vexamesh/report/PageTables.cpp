#include "report/PageTables.h"

#include "base/Text.h"
#include "cli/StripSummary.h"
#include "report/Html.h"

#include <functional>

namespace vexa::tool {

namespace {

/// Rows up to which a table is open from the start.
constexpr std::size_t maxOpenRows = 30;

/// A column: its title, and whether it holds text.
struct Column {
    std::string title;
    bool isText = false;
};

using Cells = std::vector<std::string>;

void writeRow(std::ostream& out, const std::vector<Column>& columns, const Cells& cells, const char* kind = "") {
    out << "<tr" << kind << ">";
    for (std::size_t i = 0; i < columns.size(); ++i) {
        if (i == 0) {
            out << "<th scope=\"row\">" << cells[i] << "</th>";
        } else {
            out << (columns[i].isText ? "<td class=\"text\">" : "<td>") << cells[i] << "</td>";
        }
    }
    out << "</tr>\n";
}

void writeHeadRow(std::ostream& out, const std::vector<Column>& columns) {
    out << "<thead><tr>";
    for (const Column& column : columns) {
        out << (column.isText ? "<th scope=\"col\" class=\"text\">" : "<th scope=\"col\">") << escapeHtml(column.title)
            << "</th>";
    }
    out << "</tr></thead>\n";
}

/// A table that opens and closes.
void writeTable(std::ostream& out, const std::string& title, const std::string& note,
                const std::vector<Column>& columns, const std::vector<Cells>& rows, const Cells& total = {}) {
    out << "<section>\n<details" << (rows.size() <= maxOpenRows ? " open" : "") << ">\n<summary>" << title
        << "</summary>\n<p class=\"note\">" << note << "</p>\n<div class=\"scroll\" tabindex=\"0\" role=\"region\" "
        << "aria-label=\"" << title << "\">\n<table>\n";
    writeHeadRow(out, columns);
    out << "<tbody>\n";
    for (const Cells& row : rows) {
        writeRow(out, columns, row);
    }
    if (!total.empty()) {
        writeRow(out, columns, total, " class=\"total\"");
    }
    out << "</tbody>\n</table>\n</div>\n</details>\n</section>\n";
}

std::string name(const std::string& text) {
    return "<bdi>" + escapeHtml(text) + "</bdi>";
}

Cells meshCells(const StripStats& stats) {
    return {name(stats.name),
            numberHtml(stats.triangles),
            numberHtml(stats.strips),
            numberHtml(stats.fans),
            numberHtml(stats.leftOver),
            numberHtml(stats.primitivesBefore),
            numberHtml(stats.primitivesAfter),
            numberHtml(stats.indicesBefore),
            numberHtml(stats.indicesAfter),
            fixedText(indicesPerTriangle(stats), 3),
            numberHtml(stats.bytesBefore),
            numberHtml(stats.bytesAfter),
            stats.sameTriangles ? "yes" : "<strong>no</strong>"};
}

void writeMeshes(std::ostream& out, const StripOutcome& outcome) {
    std::vector<Cells> rows;
    for (const StripStats& stats : outcome.meshes) {
        rows.push_back(meshCells(stats));
    }
    writeTable(out, "Meshes", "What indices share is counted once, in each mesh and in the total.",
               {{"mesh", true},
                {"triangles"},
                {"strips"},
                {"fans"},
                {"left over"},
                {"primitives"},
                {"\u2192 after"},
                {"indices"},
                {"\u2192 after"},
                {"per triangle"},
                {"bytes"},
                {"\u2192 after"},
                {"same triangles", true}},
               rows, meshCells(outcome.total));
}

void writePrimitives(std::ostream& out, const std::vector<PrimitiveRow>& primitives) {
    std::vector<Cells> rows;
    for (const PrimitiveRow& row : primitives) {
        const bool hasNormals = row.normals.normals > 0;
        rows.push_back({name(row.name), numberHtml(row.triangles), numberHtml(row.strips), numberHtml(row.longestStrip),
                        numberHtml(row.swaps), numberHtml(row.edges.edges), numberHtml(row.edges.border),
                        numberHtml(row.edges.nonManifold), numberHtml(row.splitOff),
                        hasNormals ? fixedText(row.normals.mean(), 4) + "\u00b0" : "\u2013",
                        hasNormals ? fixedText(row.normals.max, 4) + "\u00b0" : "\u2013"});
    }
    writeTable(out, "Primitives",
               "Edges are identified by vertex index: where a model repeats vertices, both sides of the seam are "
               "border. Split off are the triangles that the half-edge graph keeps out at edges of more than two. The "
               "angles are those between normals and what two bytes keep of them.",
               {{"primitive", true},
                {"triangles"},
                {"strips"},
                {"longest"},
                {"swaps"},
                {"edges"},
                {"border"},
                {"non-manifold"},
                {"split off"},
                {"mean angle"},
                {"largest angle"}},
               rows);
}

void writeBuffers(std::ostream& out, const std::vector<BufferRow>& buffers) {
    std::vector<Cells> rows;
    for (const BufferRow& row : buffers) {
        Cells cells{name(row.primitive), escapeHtml(row.name), row.componentType};
        for (const unsigned long value : row.numbers) {
            cells.push_back(groupedText(value));
        }
        rows.push_back(std::move(cells));
    }
    writeTable(out, "Buffers", "The attribute buffers; sizes, stride and offset are in bytes.",
               {{"primitive", true},
                {"attribute", true},
                {"component type", true},
                {"component size"},
                {"components per element"},
                {"element size"},
                {"stride"},
                {"offset"},
                {"elements"}},
               rows);
}

void writeGraphReports(std::ostream& out, const std::vector<PrimitiveRow>& primitives) {
    out << "<section>\n<details>\n<summary>Half-edge graph</summary>\n<p class=\"note\">The graph\u2019s report on "
           "each "
           "primitive, as <code>vexamesh verify</code> prints it.</p>\n<div class=\"graphs\">\n";
    for (const PrimitiveRow& row : primitives) {
        out << "<div>\n<h3>" << name(row.name) << "</h3>\n<pre>";
        for (const std::string& line : row.graphLines) {
            out << escapeHtml(line) << '\n';
        }
        out << "</pre>\n</div>\n";
    }
    out << "</div>\n</details>\n</section>\n";
}

} // namespace

void writeTables(std::ostream& out, const ReportContent& content) {
    writeMeshes(out, content.outcome);
    writePrimitives(out, content.primitives);
    writeBuffers(out, content.buffers);
    writeGraphReports(out, content.primitives);
}

} // namespace vexa::tool
