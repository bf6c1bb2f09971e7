#pragma once

#include "report/ReportContent.h"

#include <ostream>

namespace vexa::tool {

/// Meshes, primitives with their edges, buffers, and the reports of the graphs.
void writeTables(std::ostream& out, const ReportContent& content);

} // namespace vexa::tool
