#include "Commands.h"
#include "Errors.h"
#include "Report.h"
#include "io/IsolatedReader.h"

#include <algorithm>
#include <new>
#include <ostream>
#include <string>

namespace vexa::tool {

namespace {

constexpr const char* exitCodes = R"(Exit codes:
  0  done
  1  a check failed: the meshes are not what they should be; or one of many files failed
  2  wrong arguments
  3  a file is missing or broken, or cannot be written

Results go to standard output, everything else to standard error.)";

void addParseOptions(CLI::App& app, ParseLimits& limits) {
    app.add_option("--parse-memory", limits.memory,
                   "MiB that reading one file may take (default: 4096 and eight times its size)")
        ->type_name("MIB")
        ->check(CLI::Range(1U, 1U << 30))
        ->envname("VEXAMESH_PARSE_MEMORY");
    app.add_option("--parse-time", limits.seconds, "Seconds that reading one file may take")
        ->type_name("SECONDS")
        ->check(CLI::Range(1U, 1U << 30))
        ->capture_default_str()
        ->envname("VEXAMESH_PARSE_TIME");
}

int parse(CLI::App& app, int argc, const char* const* argv, const Streams& streams) {
    try {
        app.parse(argc, argv);
        return EXIT_DONE;
    } catch (const CLI::Success& success) {
        app.exit(success, streams.out, streams.err);
        return -1;
    } catch (const CLI::ParseError& error) {
        printError(streams.err, std::string(error.what()) + " (vexamesh --help tells more)");
        return EXIT_WRONG_USE;
    }
}

int runCommand(const Command& command, const Streams& streams) {
    try {
        return command(streams);
    } catch (const UsageError& error) {
        printError(streams.err, error.what());
        return EXIT_WRONG_USE;
    } catch (const CheckError& error) {
        printError(streams.err, error.what());
        return EXIT_CHECK_FAILED;
    } catch (const std::bad_alloc&) {
        printError(streams.err, "not enough memory");
        return EXIT_BAD_FILE;
    } catch (const std::exception& error) {
        printError(streams.err, error.what());
        return EXIT_BAD_FILE;
    }
}

} // namespace

int forEachFile(const std::vector<std::string>& files, Json& report, std::ostream& err,
                const std::function<int(const std::string&)>& work) {
    int code = EXIT_DONE;
    for (const std::string& file : files) {
        try {
            code = std::max(code, work(file));
        } catch (const FileError& error) {
            printError(err, error.what());
            report.push_back({{"file", file}, {"error", error.what()}});
            code = EXIT_BAD_FILE;
        }
    }
    return code;
}

int runTool(int argc, const char* const* argv, const Streams& streams) {
    CLI::App app("Looks at the meshes of glTF, OBJ, PLY, STL and OFF files, and turns their triangles into strips.",
                 "vexamesh");
    app.footer(exitCodes);
    app.set_version_flag("--version", "vexamesh " VEXAMESH_VERSION);
    app.require_subcommand(1);
    // The options for every subcommand may stand behind its name, too.
    app.fallthrough();
    ParseLimits limits;
    addParseOptions(app, limits);
    Command chosen;
    addInfoCommand(app, chosen);
    addStripCommand(app, chosen);
    addUnstripCommand(app, chosen);
    addValidateCommand(app, chosen);
    addCompareCommand(app, chosen);
    addMergeCommand(app, chosen);
    addEdgesCommand(app, chosen);
    addPackCommand(app, chosen);
    addDumpCommand(app, chosen);
    addVerifyCommand(app, chosen);
#ifdef VEXAMESH_WITH_REPORT
    addReportCommand(app, chosen);
#endif

    const int parsed = parse(app, argc, argv, streams);
    setParseLimits(limits);
    int code = parsed == EXIT_DONE ? runCommand(chosen, streams) : parsed < 0 ? EXIT_DONE : parsed;
    streams.out.flush();
    if (!streams.out && code == EXIT_DONE) {
        printError(streams.err, "standard output: cannot be written");
        code = EXIT_BAD_FILE;
    }
    return code;
}

} // namespace vexa::tool
