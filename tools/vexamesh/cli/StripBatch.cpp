#include "StripBatch.h"

#include "Batch.h"
#include "Errors.h"
#include "Progress.h"
#include "Report.h"
#include "StripFile.h"

#include <chrono>
#include <ostream>

namespace vexa::tool {

namespace fs = std::filesystem;

namespace {

BatchResult stripItem(const BatchItem& item, const StripSettings& settings) {
    BatchResult result;
    const auto begin = std::chrono::steady_clock::now();
    try {
        Document document = loadDocument(fs::path(item.input));
        result.warnings = document.asset.warnings;
        const StripOutcome outcome = stripDocument(std::move(document), settings, {});
        result.triangles = outcome.total.triangles;
        result.indicesBefore = outcome.total.indicesBefore;
        result.indicesAfter = outcome.total.indicesAfter;
        const std::vector<std::string> warnings = writeStrips(item.output, outcome);
        result.warnings.insert(result.warnings.end(), warnings.begin(), warnings.end());
        result.state = BatchResult::State::Done;
    } catch (const std::bad_alloc&) {
        result.error = "not enough memory";
    } catch (const std::exception& error) {
        result.error = error.what();
    }
    result.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    return result;
}

double perTriangle(const BatchResult& result) {
    return result.triangles == 0 ? 0 : static_cast<double>(result.indicesAfter) / static_cast<double>(result.triangles);
}

Json resultJson(const BatchItem& item, const BatchResult& result) {
    Json json = {{"input", item.input}, {"output", item.output.string()}};
    switch (result.state) {
    case BatchResult::State::Skipped:
        json["skipped"] = true;
        break;
    case BatchResult::State::Failed:
        json["error"] = result.error;
        break;
    case BatchResult::State::Done:
        json["triangles"] = result.triangles;
        json["indicesBefore"] = result.indicesBefore;
        json["indicesAfter"] = result.indicesAfter;
        json["indicesPerTriangle"] = perTriangle(result);
        json["seconds"] = result.seconds;
        break;
    }
    return json;
}

/// Without the name of the file, which begins the row.
std::string shortError(const BatchItem& item, const BatchResult& result) {
    const std::string beginning = item.input + ": ";
    return printable(result.error.substr(result.error.starts_with(beginning) ? beginning.size() : 0));
}

std::vector<std::string> tableRow(const BatchItem& item, const BatchResult& result) {
    const std::string name = printable(item.input);
    switch (result.state) {
    case BatchResult::State::Skipped:
        return {name, "", "", "", "", "", "there already"};
    case BatchResult::State::Failed:
        return {name, "", "", "", "", "", shortError(item, result)};
    default:
        return {name,
                std::to_string(result.triangles),
                std::to_string(result.indicesBefore),
                std::to_string(result.indicesAfter),
                fixedText(perTriangle(result), 3),
                fixedText(result.seconds, 3),
                "done"};
    }
}

void printResults(const std::vector<BatchItem>& items, const std::vector<BatchResult>& results, bool asJson,
                  std::ostream& out) {
    Json files = Json::array();
    Table table;
    table.addColumn("file", Table::Align::Left);
    for (const char* title : {"triangles", "indices", "-> after", "per triangle", "seconds"}) {
        table.addColumn(title);
    }
    table.addColumn("result", Table::Align::Left);
    for (std::size_t i = 0; i < items.size(); ++i) {
        files.push_back(resultJson(items[i], results[i]));
        table.addRow(tableRow(items[i], results[i]));
    }
    if (asJson) {
        printJson(out, {{"files", std::move(files)}});
    } else {
        table.print(out);
    }
}

std::vector<BatchResult> runAll(const StripBatch& batch, const std::vector<BatchItem>& items, std::ostream& err) {
    std::vector<BatchItem> wanted;
    std::vector<std::size_t> places;
    std::vector<BatchResult> results(items.size());
    for (std::size_t i = 0; i < items.size(); ++i) {
        std::error_code error;
        if (batch.skipExisting && fs::is_regular_file(items[i].output, error)) {
            results[i].state = BatchResult::State::Skipped;
        } else {
            wanted.push_back(items[i]);
            places.push_back(i);
        }
    }
    Progress progress(err);
    std::vector<BatchResult> made = runBatch(
        wanted, batch.jobs, [&](const BatchItem& item) { return stripItem(item, batch.settings); },
        [&](std::size_t done) { progress.show("files", done, wanted.size()); });
    for (std::size_t i = 0; i < made.size(); ++i) {
        results[places[i]] = std::move(made[i]);
    }
    return results;
}

} // namespace

int stripMany(const StripBatch& batch, const Streams& streams) {
    const std::vector<BatchItem> items = nameOutputs(batch.inputs, batch.directory, ".glb");
    std::error_code error;
    fs::create_directories(batch.directory, error);
    if (error) {
        throw FileError(batch.directory.string(), "cannot be made: " + error.message());
    }
    const std::vector<BatchResult> results = runAll(batch, items, streams.err);
    std::size_t failed = 0;
    for (std::size_t i = 0; i < items.size(); ++i) {
        failed += results[i].state == BatchResult::State::Failed ? 1 : 0;
        for (const std::string& warning : results[i].warnings) {
            streams.err << "vexamesh: warning: " << printable(items[i].input + ": " + warning) << '\n';
        }
    }
    printResults(items, results, batch.json, streams.out);
    if (failed > 0) {
        printError(streams.err, std::to_string(failed) + " of " + counted(items.size(), "file") + " failed");
    }
    return failed == 0 ? EXIT_DONE : EXIT_CHECK_FAILED;
}

} // namespace vexa::tool
