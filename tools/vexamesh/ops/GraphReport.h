#pragma once

#include "io/Document.h"

#include <functional>
#include <string>
#include <vector>

namespace vexa::tool {

/// Builds the half-edge graph of a primitive of triangles and has it verify itself.
///
/// \param verbose a line for each triangle and each half-edge, too
/// \param print   receives the lines of the report
/// \return of each triangle that is not degenerate, in their order, whether the graph split it off
std::vector<bool> reportGraph(const Primitive& primitive, bool verbose,
                              const std::function<void(const std::string&)>& print);

} // namespace vexa::tool
