#pragma once

#include <CLI/CLI.hpp>
#include <functional>
#include <iosfwd>

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
