#include "StripReport.h"

#include "Report.h"

namespace vexa::tool {

namespace {

Json figuresJson(const StripFigures& figures) {
    return {{"name", figures.name},
            {"triangles", figures.triangles},
            {"degenerateTriangles", figures.degenerate},
            {"strips", figures.strips},
            {"fans", figures.fans},
            {"leftOver", figures.leftOver},
            {"primitivesBefore", figures.primitivesBefore},
            {"primitivesAfter", figures.primitivesAfter},
            {"indicesBefore", figures.indicesBefore},
            {"indicesAfter", figures.indicesAfter},
            {"indicesPerTriangle", indicesPerTriangle(figures)},
            {"bytesBefore", figures.bytesBefore},
            {"bytesAfter", figures.bytesAfter},
            {"seconds", figures.seconds},
            {"sameTriangles", figures.sameTriangles}};
}

} // namespace

double indicesPerTriangle(const StripFigures& figures) {
    return figures.triangles == 0 ? 0
                                  : static_cast<double>(figures.indicesAfter) / static_cast<double>(figures.triangles);
}

Json stripJson(const std::string& input, const std::string& output, const StripOutcome& outcome) {
    Json json = {{"input", input},
                 {"output", output},
                 {"fileBytesBefore", outcome.fileBytesBefore},
                 {"fileBytesAfter", outcome.file.size()},
                 {"meshes", Json::array()}};
    for (const StripFigures& figures : outcome.meshes) {
        json["meshes"].push_back(figuresJson(figures));
    }
    json["total"] = figuresJson(outcome.total);
    json["total"].erase("name");
    return json;
}

void printStripTable(std::ostream& out, const std::string& input, const std::string& output,
                     const StripOutcome& outcome) {
    Table table;
    table.addColumn("mesh", Table::Align::Left);
    for (const char* title : {"triangles", "strips", "fans", "left over", "indices", "-> after", "per triangle",
                              "bytes", "-> after", "seconds"}) {
        table.addColumn(title);
    }
    table.addColumn("same triangles", Table::Align::Left);
    const auto addRow = [&](const StripFigures& figures) {
        table.addRow({printable(figures.name), std::to_string(figures.triangles), std::to_string(figures.strips),
                      std::to_string(figures.fans), std::to_string(figures.leftOver),
                      std::to_string(figures.indicesBefore), std::to_string(figures.indicesAfter),
                      fixedText(indicesPerTriangle(figures), 3), std::to_string(figures.bytesBefore),
                      std::to_string(figures.bytesAfter), fixedText(figures.seconds, 6),
                      figures.sameTriangles ? "yes" : "NO"});
    };
    for (const StripFigures& figures : outcome.meshes) {
        addRow(figures);
    }
    addRow(outcome.total);
    out << printable(input) << " -> " << printable(output) << ": " << counted(outcome.fileBytesBefore, "byte") << " -> "
        << outcome.file.size() << '\n';
    table.print(out);
    if (outcome.total.degenerate > 0) {
        out << counted(outcome.total.degenerate, "triangle")
            << " with two equal corners in the input: they draw nothing and do not count.\n";
    }
}

} // namespace vexa::tool
