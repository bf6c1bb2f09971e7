#pragma once

#include <functional>
#include <vector>

namespace vexa::tool {

class Console;
class Flags;

/// A command whose arguments are known.
///
/// \return the exit code
using Command = std::function<int(Console&)>;

/// A verb of the program, such as "strip".
struct Verb {
    const char* name;
    const char* help;
    const char* footer; ///< examples, for its help text
    /// Adds the flags of the verb, and returns the command that runs once they are read.
    std::function<Command(Flags&)> addFlags;
};

/// Parses the arguments and runs the verb that they name.
///
/// \return an `ExitCode`
int runProgram(const std::vector<Verb>& verbs, int argc, const char* const* argv, Console& console);

} // namespace vexa::tool
