#pragma once

#include "cli/Program.h"

namespace vexa::tool {

Verb infoVerb();
Verb stripVerb();
Verb unstripVerb();
Verb validateVerb();
Verb compareVerb();
Verb mergeVerb();
Verb edgesVerb();
Verb packVerb();
Verb dumpVerb();
Verb verifyVerb();
Verb reportVerb();

/// The program with all of its verbs.
///
/// \return an `ExitCode`
int runTool(int argc, const char* const* argv, Console& console);

} // namespace vexa::tool
