#pragma once

#include "io/Bytes.h"

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

/// What became of it.
struct BatchResult {
    enum class State { Done, Skipped, Failed };

    State state = State::Failed;
    std::size_t triangles = 0;
    std::size_t indicesBefore = 0;
    std::size_t indicesAfter = 0;
    double seconds = 0;
    std::string error;                 ///< why it failed
    std::vector<std::string> warnings; ///< what a person should know, a line each
};

/// Gives each input a name in a directory: its own, with `extension`.
///
/// \throw UsageError two of them would have the same, or one is an input
std::vector<BatchItem> nameOutputs(const std::vector<std::string>& inputs, const std::filesystem::path& directory,
                                   const std::string& extension);

/// Runs `work` for each item in a process of its own, `jobs` at a time. Whatever happens to one, the others go on.
///
/// \param finished is told after each how many are
/// \return the results in the order of the items
std::vector<BatchResult> runBatch(const std::vector<BatchItem>& items, std::size_t jobs,
                                  const std::function<BatchResult(const BatchItem&)>& work,
                                  const std::function<void(std::size_t)>& finished);

} // namespace vexa::tool
