#include "cli/Program.h"

#include "base/Errors.h"
#include "cli/Completions.h"
#include "cli/Console.h"
#include "cli/Flags.h"
#include "cli/Manual.h"
#include "io/Document.h"
#include "io/Files.h"
#include "io/IsolatedReader.h"
#include "io/ModelDirectory.h"
#include "process/Memory.h"

#include <cstddef>
#include <filesystem>
#include <memory>
#include <new>
#include <optional>
#include <string>

namespace vexa::tool {

namespace {

constexpr const char* exitCodes = R"(Exit codes:
  0  done
  1  a check failed: the meshes are not as they should be; or one of many files failed
  2  wrong arguments
  3  a file is missing or broken, too large for the memory, or cannot be written

Results go to standard output and everything else to standard error, as results do where the output is a model (-o -).)";

void addParseFlags(Flags flags, ParseLimits& limits) {
    flags.add("--parse-memory", limits.memory,
              "MiB that reading one file may take (default: 4096 and eight times its size)",
              {.typeName = "MIB", .variable = "VEXAMESH_PARSE_MEMORY", .min = 1, .max = 1U << 30});
    flags.add(
        "--parse-time", limits.seconds, "Seconds that reading one file may take",
        {.showsDefault = true, .typeName = "SECONDS", .variable = "VEXAMESH_PARSE_TIME", .min = 1, .max = 1U << 30});
}

void addMemoryFlag(Flags flags, std::optional<std::size_t>& mebibytes) {
    flags.add(
        "--max-memory", mebibytes,
        "MiB that all jobs together may take: a model that needs more is refused (default: what the system leaves)",
        {.typeName = "MIB", .variable = "VEXAMESH_MAX_MEMORY", .min = 1, .max = 1U << 30});
}

void addDirectoryFlag(Flags flags, std::vector<std::string>& directories) {
    flags.add("--allow-outside", directories,
              "Let models refer to files below DIR, not only to those below their own directory; may be repeated",
              {.typeName = "DIR"});
}

constexpr const char* completionExamples = R"(Examples:
  source <(vexamesh completions bash)                                     # in ~/.bashrc
  source <(vexamesh completions zsh)                                      # in ~/.zshrc, after compinit
  vexamesh completions fish > ~/.config/fish/completions/vexamesh.fish)";

/// The verb that knows all others.
Command addCompletions(CommandLine& commandLine, std::vector<Flags>& flags) {
    auto shell = std::make_shared<std::string>();
    flags.push_back(commandLine.addVerb("completions", "Prints a script that completes command lines in a shell.",
                                        completionExamples));
    flags.back().add("SHELL", *shell, "bash, zsh or fish", {.isRequired = true, .choices = {"bash", "zsh", "fish"}});
    return [shell, &commandLine](Console& console) {
        console.print(completionScript(*shell, commandLine.verbs(), commandLine.program().flags));
        return EXIT_DONE;
    };
}

/// The verb that the build calls for the files to install.
Command addManual(CommandLine& commandLine, std::vector<Flags>& flags) {
    auto directory = std::make_shared<std::string>();
    flags.push_back(commandLine.addHiddenVerb("manual", "Writes the manual pages into a directory."));
    flags.back().add("DIR", *directory, "Where to write them", {.isRequired = true, .typeName = "DIR"});
    return [directory, &commandLine](Console&) {
        for (const auto& [name, page] : manualPages(commandLine.program(), commandLine.verbs(), VEXAMESH_VERSION)) {
            writeFile(std::filesystem::path(*directory) / name, Bytes(page.begin(), page.end()));
        }
        return EXIT_DONE;
    };
}

int parseAndRun(const std::vector<Verb>& verbs, int argc, const char* const* argv, Console& console) {
    CommandLine commandLine(
        "Looks at the meshes of glTF, OBJ, PLY, STL and OFF files, and turns their triangles into strips.", exitCodes,
        "vexamesh " VEXAMESH_VERSION);
    ParseLimits limits;
    bool isStrict = false;
    Flags common = commandLine.flags();
    addParseFlags(common, limits);
    std::optional<std::size_t> maxMemory;
    addMemoryFlag(common, maxMemory);
    std::vector<std::string> outside;
    addDirectoryFlag(common, outside);
    std::string inputFormat;
    common.add("--from", inputFormat, "Format of standard input; glTF is found out by its first bytes",
               {.typeName = "FORMAT", .choices = {"glb", "gltf", "obj", "ply", "stl", "off"}});
    common.add("--strict", isStrict, "Refuse files that hold data which glTF cannot hold, instead of warning");
    std::vector<Flags> flags;
    std::vector<Command> commands;
    flags.reserve(verbs.size() + 2);
    for (const Verb& verb : verbs) {
        flags.push_back(commandLine.addVerb(verb.name, verb.help, verb.footer));
        commands.push_back(verb.addFlags(flags.back()));
    }
    commands.push_back(addCompletions(commandLine, flags));
    commands.push_back(addManual(commandLine, flags));
    const auto chosen = commandLine.parse(argc, argv, console);
    setParseLimits(limits);
    setMaxMemory(maxMemory);
    for (const std::string& directory : outside) {
        if (!std::filesystem::is_directory(directory)) {
            throw UsageError("--allow-outside: " + directory + " is not a directory");
        }
    }
    allowDirectories({outside.begin(), outside.end()});
    refuseLosses(isStrict);
    setInputFormat(inputFormat);
    return chosen ? commands[*chosen](console) : EXIT_DONE;
}

} // namespace

int runProgram(const std::vector<Verb>& verbs, int argc, const char* const* argv, Console& console) {
    const auto fail = [&](ExitCode code, const char* what) {
        console.printError(what);
        return static_cast<int>(code);
    };
    int code = EXIT_DONE;
    try {
        code = parseAndRun(verbs, argc, argv, console);
    } catch (const UsageError& error) {
        code = fail(EXIT_WRONG_USE, error.what());
    } catch (const CheckError& error) {
        code = fail(EXIT_CHECK_FAILED, error.what());
    } catch (const std::bad_alloc&) {
        code = fail(EXIT_BAD_FILE, "not enough memory");
    } catch (const std::exception& error) {
        code = fail(EXIT_BAD_FILE, error.what());
    }
    if (!console.flush() && code == EXIT_DONE) {
        code = fail(EXIT_BAD_FILE, "standard output: cannot be written");
    }
    return code;
}

} // namespace vexa::tool
