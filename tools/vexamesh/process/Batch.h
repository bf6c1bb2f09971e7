#pragma once

#include "base/Json.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace vexa::tool {

/// One of many files.
struct BatchItem {
    std::string input;
    std::filesystem::path output;
};

/// The result of one item.
struct BatchResult {
    enum class State {
        Done,
        Skipped,
        Failed,
        Interrupted, ///< a signal ended the batch before it was done
        NotStarted   ///< a signal ended the batch before its turn
    };

    State state = State::Failed;
    Json summary;                      ///< of an item that is done, in the caller's own form
    std::string error;                 ///< why it failed
    std::vector<std::string> warnings; ///< one line each
};

/// The results of a batch.
struct BatchRun {
    std::vector<BatchResult> results; ///< in the order of the items
    int signal = 0;                   ///< ended the batch early: end the program with `endBySignal` after reporting
};

/// Gives each input a name in a directory: its own, with `extension`.
///
/// \throw UsageError two of them would have the same, or one is an input
std::vector<BatchItem> nameOutputs(const std::vector<std::string>& inputs, const std::filesystem::path& directory,
                                   const std::string& extension);

/// Runs `work` for each item in a process of its own, `jobs` at a time, with more than one the large inputs first. A failure
/// does not stop the others. An item that is refused memory while others run is run again when these have ended, by
/// itself. SIGINT, SIGTERM and SIGHUP do: the processes are ended, and what is done so far is returned.
///
/// \param finished is called after each item with the number of finished items
BatchRun runBatch(const std::vector<BatchItem>& items, std::size_t jobs,
                  const std::function<BatchResult(const BatchItem&)>& work,
                  const std::function<void(std::size_t)>& finished);

} // namespace vexa::tool
