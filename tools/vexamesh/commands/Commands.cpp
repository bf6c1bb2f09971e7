#include "commands/Commands.h"

namespace vexa::tool {

int runTool(int argc, const char* const* argv, Console& console) {
    const std::vector<Verb> verbs = {
        infoVerb(),   stripVerb(), unstripVerb(), validateVerb(), compareVerb(),
        mergeVerb(),  edgesVerb(), packVerb(),    dumpVerb(),     verifyVerb(),
#ifdef VEXAMESH_WITH_REPORT
        reportVerb(),
#endif
    };
    return runProgram(verbs, argc, argv, console);
}

} // namespace vexa::tool
