#pragma once

#include "cli/Flags.h"

#include <string>
#include <vector>

namespace vexa::tool {

/// A script that completes the command lines of the program.
///
/// \param shell  "bash", "zsh" or "fish"
/// \param common flags of every verb
std::string completionScript(const std::string& shell, const std::vector<VerbInfo>& verbs,
                             const std::vector<FlagInfo>& common);

} // namespace vexa::tool
