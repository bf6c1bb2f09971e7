#include "cli/CutFlags.h"

#include "cli/Flags.h"
#include "cli/Progress.h"

#include <limits>

namespace vexa::tool {

void CutFlags::addTo(Flags& flags) {
    constexpr std::uint64_t max = std::numeric_limits<std::uint32_t>::max();
    flags.add("--iterations", iterations,
              "Passes of the search for fewer indices; the result is never worse than with one pass",
              {.showsDefault = true, .min = 1, .max = max});
    flags.add("--fans", fans, "Make fans around vertices with at least MIN triangles",
              {.typeName = "MIN", .min = 1, .max = max});
    flags.add("--all-strips", allStrips, "Single triangles become strips too");
    flags.add(
        "--join", join,
        "degenerate: one primitive per input primitive, its strips joined by degenerate triangles, for any reader; "
        "restart: the same with restart indices, the smallest file, only for readers that know "
        "KHR_mesh_primitive_restart; restart-fallback: a primitive per strip, which EXT_mesh_primitive_restart "
        "groups for one draw call; none: a primitive per strip",
        {.showsDefault = true, .choices = {"degenerate", "restart", "restart-fallback", "none"}});
}

StripSettings CutFlags::settings(Progress* progress) const {
    StripSettings settings;
    if (progress != nullptr) {
        settings.options.onPass = [progress](const mesh::StripPass& pass) {
            if (pass.wanted > 1) {
                progress->show("passes", pass.number, pass.wanted);
            }
            return true;
        };
    }
    settings.options.iterations = iterations;
    settings.options.buildFans = fans > 0;
    settings.options.minFanTriangles = fans;
    settings.options.allStrips = allStrips;
    settings.joining = join == "none"               ? Joining::None
                       : join == "restart"          ? Joining::Restart
                       : join == "restart-fallback" ? Joining::RestartFallback
                                                    : Joining::Degenerate;
    return settings;
}

} // namespace vexa::tool
