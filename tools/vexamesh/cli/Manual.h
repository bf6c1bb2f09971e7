#pragma once

#include "cli/Flags.h"

#include <string>
#include <utility>
#include <vector>

namespace vexa::tool {

/// The manual pages of the program and of each verb, made of the same words as the help texts: names such as
/// "vexamesh-strip.1" with their contents in the language of man.
///
/// \param program with the flags of every verb
std::vector<std::pair<std::string, std::string>>
manualPages(const VerbInfo& program, const std::vector<VerbInfo>& verbs, const std::string& version);

} // namespace vexa::tool
