#pragma once

#include <string_view>

namespace vexa::tool {

/// The script and the style sheet of a report, as they were built with the program.
std::string_view reportScript();
std::string_view reportStyle();

} // namespace vexa::tool
