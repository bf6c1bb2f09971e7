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

Json formsJson(const std::vector<ChosenForm>& forms) {
    Json list = Json::array();
    for (const ChosenForm& chosen : forms) {
        list.push_back({{"primitive", chosen.primitive}, {"writtenAs", formText(chosen.form)}, {"why", chosen.why}});
    }
    return list;
}

Json figuresJson(const FileFigures& figures) {
    return {{"bytes", figures.bytes},
            {"indexBytes", figures.indexBytes},
            {"vertexBytes", figures.vertexBytes},
            {"primitives", figures.primitives}};
}

/// The form of all primitives of a mesh.
std::string commonForm(const StripStats& stats) {
    if (stats.forms.empty()) {
        return "";
    }
    const StripForm first = stats.forms.front().form;
    const bool isCommon = std::all_of(stats.forms.begin(), stats.forms.end(),
                                      [&](const ChosenForm& chosen) { return chosen.form == first; });
    return isCommon ? formText(first) : "various";
}

/// Prints why primitives are not just strips, as far as the lines are not too many.
void printReasons(Console& console, const StripOutcome& outcome) {
    constexpr std::size_t maxLines = 10;
    std::size_t reasons = 0;
    for (const StripStats& stats : outcome.meshes) {
        for (const ChosenForm& chosen : stats.forms) {
            if (!chosen.why.empty() && ++reasons <= maxLines) {
                console.printLine(
                    stats.name + (stats.forms.size() == 1 ? "" : ", primitive " + std::to_string(chosen.primitive)) +
                    (chosen.form == StripForm::Unchanged ? " stays as it is"
                                                         : std::string(" is written as ") + formText(chosen.form)) +
                    ": " + chosen.why + ".");
            }
        }
    }
    if (reasons > maxLines) {
        console.printLine(counted(reasons - maxLines, "further primitive") + " likewise; --json lists them.");
    }
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
                 {"file", {{"before", figuresJson(outcome.before)}, {"after", figuresJson(outcome.after)}}},
                 {"meshes", Json::array()}};
    for (const StripStats& stats : outcome.meshes) {
        json["meshes"].push_back(statsJson(stats));
        json["meshes"].back()["primitives"] = formsJson(stats.forms);
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
                 {"same triangles", true},
                 {"written as", true}});
    const auto addRow = [&](const StripStats& stats) {
        table.addRow({stats.name, stats.triangles, stats.strips, stats.fans, stats.leftOver, stats.indicesBefore,
                      stats.indicesAfter, indicesPerTriangle(stats),
                      stats.minIndices ? Json(minIndicesPerTriangle(stats)) : Json("-"), stats.bytesBefore,
                      stats.bytesAfter, stats.seconds, stats.sameTriangles ? "yes" : "NO", commonForm(stats)});
    };
    std::for_each(outcome.meshes.begin(), outcome.meshes.end(), addRow);
    addRow(outcome.total);
    console.printLine(input + " -> " + output + ": " + counted(outcome.before.bytes, "byte") + " -> " +
                      std::to_string(outcome.file.size()));
    console.print(table);
    if (outcome.total.minIndices && outcome.total.triangles > 0) {
        // Lists take three indices a triangle, single triangles in strips more.
        const bool hasFewer = outcome.total.indicesAfter < *outcome.total.minIndices;
        console.printLine(fixedText(indicesPerTriangle(outcome.total), 3) + " indices a triangle; " +
                          (hasFewer ? "strips alone cannot" : "no strips can") + " have fewer than " +
                          fixedText(minIndicesPerTriangle(outcome.total), 3) + ".");
    }
    printReasons(console, outcome);
    if (outcome.total.degenerate > 0) {
        console.printLine(counted(outcome.total.degenerate, "triangle") +
                          " with two equal corners in the input: they draw nothing and do not count.");
    }
}

} // namespace vexa::tool
