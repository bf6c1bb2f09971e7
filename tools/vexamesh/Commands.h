#pragma once

#include "io/Json.h"

#include <CLI/CLI.hpp>
#include <functional>
#include <iosfwd>
#include <memory>
#include <string>
#include <vector>

namespace vexa::tool {

/// What every subcommand reads, for the help texts.
constexpr const char* readableFile = "A .glb, .gltf, .obj, .ply, .stl or .off file";
constexpr const char* readableFiles = ".glb, .gltf, .obj, .ply, .stl or .off files";

/// What a command runs with.
struct Streams {
    std::ostream& out; ///< results
    std::ostream& err; ///< warnings and progress
};

/// A command, once its arguments are known.
///
/// \return the exit code
using Command = std::function<int(const Streams&)>;

/// Adds a subcommand that runs with the arguments that its options, which the caller adds, are read into.
///
/// \param run is called as `run(arguments, streams)` and returns the exit code
template <typename Arguments, typename Run>
CLI::App& addSubcommand(CLI::App& app, Command& chosen, const std::string& name, const std::string& help,
                        const std::string& footer, const std::shared_ptr<Arguments>& arguments, Run run) {
    CLI::App* command = app.add_subcommand(name, help);
    command->footer(footer);
    command->callback([arguments, run, &chosen] {
        chosen = [arguments, run](const Streams& streams) { return run(*arguments, streams); };
    });
    return *command;
}

/// Calls `work` with each file. One that cannot be read is told of, also in `report`, and the others are done all the same.
///
/// \param work returns the exit code for its file
/// \return the highest exit code
int forEachFile(const std::vector<std::string>& files, Json& report, std::ostream& err,
                const std::function<int(const std::string&)>& work);

/// Each adds a subcommand to the program; when it is given, `chosen` is set to what it does.
void addInfoCommand(CLI::App& app, Command& chosen);
void addStripCommand(CLI::App& app, Command& chosen);
void addUnstripCommand(CLI::App& app, Command& chosen);
void addValidateCommand(CLI::App& app, Command& chosen);
void addCompareCommand(CLI::App& app, Command& chosen);
void addMergeCommand(CLI::App& app, Command& chosen);
void addEdgesCommand(CLI::App& app, Command& chosen);
void addPackCommand(CLI::App& app, Command& chosen);
void addDumpCommand(CLI::App& app, Command& chosen);
void addVerifyCommand(CLI::App& app, Command& chosen);
void addReportCommand(CLI::App& app, Command& chosen);

/// The program: parses the arguments and runs the command that they name.
///
/// \return an `ExitCode`
int runTool(int argc, const char* const* argv, const Streams& streams);

} // namespace vexa::tool
