#include "CutArguments.h"

namespace vexa::tool {

void addCutOptions(CLI::App& command, CutArguments& arguments) {
    command
        .add_option("--iterations", arguments.iterations,
                    "Passes: more of them search for fewer indices, and never end with more than one pass")
        ->check(CLI::Range(1U, 4294967295U))
        ->capture_default_str();
    command.add_option("--fans", arguments.fans, "Make fans around vertices with at least MIN triangles")
        ->type_name("MIN")
        ->check(CLI::Range(1U, 4294967295U));
    command.add_flag("--all-strips", arguments.allStrips, "Single triangles become strips too");
    command
        .add_option("--join", arguments.join,
                    "degenerate: one primitive per input primitive, its strips joined by degenerate triangles; none: a "
                    "primitive per strip; restart: the same, and KHR_mesh_primitive_restart groups them for one draw "
                    "call")
        ->check(CLI::IsMember({"degenerate", "restart", "none"}))
        ->capture_default_str();
}

StripSettings settingsOf(const CutArguments& arguments) {
    StripSettings settings;
    settings.options.iterations = arguments.iterations;
    settings.options.buildFans = arguments.fans > 0;
    settings.options.minFanTriangles = arguments.fans;
    settings.options.allStrips = arguments.allStrips;
    settings.joining = arguments.join == "none"      ? Joining::None
                       : arguments.join == "restart" ? Joining::Restart
                                                     : Joining::Degenerate;
    return settings;
}

} // namespace vexa::tool
