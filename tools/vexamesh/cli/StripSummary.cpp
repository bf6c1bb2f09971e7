#include "cli/StripSummary.h"

#include "base/Text.h"
#include "cli/Console.h"
#include "cli/Table.h"

#include <algorithm>

namespace vexa::tool {

namespace {

double perTriangle(std::uint64_t count, const StripStats& stats) {
    return stats.triangles == 0 ? 0 : static_cast<double>(count) / static_cast<double>(stats.triangles);
}

Json statsJson(const StripStats& stats) {
    return {{"name", stats.name},
            {"triangles", stats.triangles},
            {"degenerateTriangles", stats.degenerate},
            {"strips", stats.strips},
            {"fans", stats.fans},
            {"leftOver", stats.leftOver},
            {"primitivesBefore", stats.primitivesBefore},
            {"primitivesAfter", stats.primitivesAfter},
            {"indicesBefore", stats.indicesBefore},
            {"indicesAfter", stats.indicesAfter},
            {"indicesPerTriangle", indicesPerTriangle(stats)},
            {"minIndices", stats.minIndices ? Json(*stats.minIndices) : Json()},
            {"minIndicesPerTriangle", stats.minIndices ? Json(minIndicesPerTriangle(stats)) : Json()},
            {"bytesBefore", stats.bytesBefore},
            {"bytesAfter", stats.bytesAfter},
            {"seconds", stats.seconds},
            {"sameTriangles", stats.sameTriangles}};
}

} // namespace

double indicesPerTriangle(const StripStats& stats) {
    return perTriangle(stats.indicesAfter, stats);
}

double minIndicesPerTriangle(const StripStats& stats) {
    return perTriangle(stats.minIndices.value_or(0), stats);
}

Json stripJson(const std::string& input, const std::string& output, const StripOutcome& outcome) {
    Json json = {{"input", input},
                 {"output", output},
                 {"fileBytesBefore", outcome.fileBytesBefore},
                 {"fileBytesAfter", outcome.file.size()},
                 {"meshes", Json::array()}};
    for (const StripStats& stats : outcome.meshes) {
        json["meshes"].push_back(statsJson(stats));
    }
    json["total"] = statsJson(outcome.total);
    json["total"].erase("name");
    return json;
}

void printStripTable(Console& console, const std::string& input, const std::string& output,
                     const StripOutcome& outcome) {
    Table table({{"mesh", true},
                 {"triangles"},
                 {"strips"},
                 {"fans"},
                 {"left over"},
                 {"indices"},
                 {"-> after"},
                 {"per triangle"},
                 {"proven min"},
                 {"bytes"},
                 {"-> after"},
                 {"seconds", false, "", 6},
                 {"same triangles", true}});
    const auto addRow = [&](const StripStats& stats) {
        table.addRow({stats.name, stats.triangles, stats.strips, stats.fans, stats.leftOver, stats.indicesBefore,
                      stats.indicesAfter, indicesPerTriangle(stats),
                      stats.minIndices ? Json(minIndicesPerTriangle(stats)) : Json("-"), stats.bytesBefore,
                      stats.bytesAfter, stats.seconds, stats.sameTriangles ? "yes" : "NO"});
    };
    std::for_each(outcome.meshes.begin(), outcome.meshes.end(), addRow);
    addRow(outcome.total);
    console.printLine(input + " -> " + output + ": " + counted(outcome.fileBytesBefore, "byte") + " -> " +
                      std::to_string(outcome.file.size()));
    console.print(table);
    if (outcome.total.minIndices && outcome.total.triangles > 0) {
        console.printLine(fixedText(indicesPerTriangle(outcome.total), 3) +
                          " indices a triangle; no strips can have fewer than " +
                          fixedText(minIndicesPerTriangle(outcome.total), 3) + ".");
    }
    if (outcome.total.degenerate > 0) {
        console.printLine(counted(outcome.total.degenerate, "triangle") +
                          " with two equal corners in the input: they draw nothing and do not count.");
    }
}

} // namespace vexa::tool
