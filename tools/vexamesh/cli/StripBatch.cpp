#include "cli/StripBatch.h"

#include "base/Errors.h"
#include "base/Text.h"
#include "cli/Console.h"
#include "cli/Progress.h"
#include "cli/Session.h"
#include "cli/Table.h"
#include "ops/StripFile.h"
#include "process/Batch.h"
#include "process/Interruption.h"

#include <chrono>

namespace vexa::tool {

namespace fs = std::filesystem;

namespace {

Json summaryOf(const StripOutcome& outcome, double seconds, const Json& notes) {
    const auto& total = outcome.total;
    const auto perTriangle = [&](std::uint64_t indices) {
        return total.triangles == 0 ? 0 : static_cast<double>(indices) / static_cast<double>(total.triangles);
    };
    Json summary = {{"triangles", total.triangles},
                    {"indicesBefore", total.indicesBefore},
                    {"indicesAfter", total.indicesAfter},
                    {"indicesPerTriangle", perTriangle(total.indicesAfter)},
                    {"minIndices", total.minIndices ? Json(*total.minIndices) : Json()},
                    {"minIndicesPerTriangle", total.minIndices ? Json(perTriangle(*total.minIndices)) : Json()},
                    {"seconds", seconds}};
    summary.update(notes);
    return summary;
}

BatchResult stripItem(const BatchItem& item, const StripBatch& batch) {
    BatchResult result;
    const auto begin = std::chrono::steady_clock::now();
    try {
        const Session session([&](const std::string& warning) { result.warnings.push_back(warning); }, batch.weld);
        StripOutcome outcome = stripDocument(session.loadToEdit(item.input), batch.settings, {});
        session.checkModelOutput(item.output.string(), {item.input});
        session.writeModel(item.output.string(), outcome.file, [&](const Bytes&) { return readBackStrips(outcome); });
        const std::chrono::duration<double> seconds = std::chrono::steady_clock::now() - begin;
        result.summary = summaryOf(outcome, seconds.count(), session.notes());
        for (const std::string& warning : stripWarnings(outcome)) {
            session.warn(item.input, warning);
        }
        result.state = BatchResult::State::Done;
    } catch (const std::bad_alloc&) {
        result.error = "not enough memory";
    } catch (const std::exception& error) {
        result.error = error.what();
    }
    return result;
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
    case BatchResult::State::Interrupted:
        json["interrupted"] = true;
        break;
    case BatchResult::State::NotStarted:
        json["notStarted"] = true;
        break;
    case BatchResult::State::Done:
        json.update(result.summary);
        break;
    }
    return json;
}

/// Without the name of the file, which begins the row.
std::string shortError(const BatchItem& item, const BatchResult& result) {
    const std::string beginning = item.input + ": ";
    return result.error.substr(result.error.starts_with(beginning) ? beginning.size() : 0);
}

std::vector<Json> tableRow(const BatchItem& item, const BatchResult& result) {
    const auto without = [&](const std::string& state) {
        return std::vector<Json>{item.input, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, state};
    };
    switch (result.state) {
    case BatchResult::State::Skipped:
        return without("there already");
    case BatchResult::State::Failed:
        return without(shortError(item, result));
    case BatchResult::State::Interrupted:
        return without("interrupted");
    case BatchResult::State::NotStarted:
        return without("not started");
    default:
        return {item.input,
                result.summary["triangles"],
                result.summary["indicesBefore"],
                result.summary["indicesAfter"],
                result.summary["indicesPerTriangle"],
                result.summary["minIndicesPerTriangle"],
                result.summary["seconds"],
                "done"};
    }
}

void printResults(const std::vector<BatchItem>& items, const std::vector<BatchResult>& results, bool asJson,
                  Console& console) {
    Json files = Json::array();
    Table table({{"file", true},
                 {"triangles"},
                 {"indices"},
                 {"-> after"},
                 {"per triangle"},
                 {"proven min"},
                 {"seconds"},
                 {"result", true}});
    for (std::size_t i = 0; i < items.size(); ++i) {
        files.push_back(resultJson(items[i], results[i]));
        table.addRow(tableRow(items[i], results[i]));
    }
    if (asJson) {
        console.printJson({{"files", std::move(files)}});
    } else {
        console.print(table);
    }
}

BatchRun runAll(const StripBatch& batch, const std::vector<BatchItem>& items, Console& console) {
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
    Progress progress(console);
    BatchRun run = runBatch(
        wanted, batch.jobs, [&](const BatchItem& item) { return stripItem(item, batch); },
        [&](std::size_t done) { progress.show("files", done, wanted.size()); });
    progress.clear();
    for (std::size_t i = 0; i < run.results.size(); ++i) {
        results[places[i]] = std::move(run.results[i]);
    }
    return {std::move(results), run.signal};
}

} // namespace

int stripMany(const StripBatch& batch, Console& console) {
    if (std::find(batch.inputs.begin(), batch.inputs.end(), "-") != batch.inputs.end()) {
        throw UsageError("- (standard input) does not name its output in a directory; use --output");
    }
    const std::vector<BatchItem> items = nameOutputs(batch.inputs, batch.directory, batch.extension);
    std::error_code error;
    fs::create_directories(batch.directory, error);
    if (error) {
        throw FileError(batch.directory.string(), "cannot be created: " + error.message());
    }
    const BatchRun run = runAll(batch, items, console);
    const std::vector<BatchResult>& results = run.results;
    std::size_t failed = 0;
    for (std::size_t i = 0; i < items.size(); ++i) {
        failed += results[i].state == BatchResult::State::Failed ? 1 : 0;
        for (const std::string& warning : results[i].warnings) {
            console.printWarning(warning);
        }
    }
    printResults(items, results, batch.json, console);
    if (failed > 0) {
        console.printError(std::to_string(failed) + " of " + counted(items.size(), "file") + " failed");
    }
    if (run.signal != 0) {
        console.printError("interrupted; --skip-existing continues where this run ended");
        static_cast<void>(console.flush());
        endBySignal(run.signal);
    }
    return failed == 0 ? EXIT_DONE : EXIT_CHECK_FAILED;
}

} // namespace vexa::tool
