#pragma once

#include "report/ReportFacts.h"

#include <ostream>

namespace vexa::tool {

/// Meshes, primitives with their edges, buffers, and the reports of the graphs.
void writeTables(std::ostream& out, const ReportFacts& facts);

} // namespace vexa::tool
