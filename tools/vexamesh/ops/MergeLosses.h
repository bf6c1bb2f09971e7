#pragma once

#include "io/Document.h"

#include <string>
#include <vector>

namespace vexa::tool {

/// The data of a document that merging its meshes leaves out, a line for each kind: one mesh cannot have it, or only the
/// nodes could that the merged vertices no longer need. Their names do not count.
std::vector<std::string> mergeLosses(const Document& document);

} // namespace vexa::tool
