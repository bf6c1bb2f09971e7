#pragma once

#include "Measurement.h"
#include "Models.h"

#include <string>
#include <vexa/mesh/Strips.h>

/// This library's ways through the graph and through the one call.
namespace bench {

Contender buildPrimitivesContender(const std::string& name, const ModelPtr& model,
                                   const vexa::mesh::StripOptions& options);
/// Everything in strips, and those joined into one list by restart indices.
Contender joinedStripsContender(const std::string& name, const ModelPtr& model);
/// Fill the graph, cut it, drain it.
Contender graphContender(const std::string& name, const ModelPtr& model, std::uint32_t iterations);
/// Fill the graph.
Contender addTrianglesContender(const std::string& name, const ModelPtr& model);
/// The edge list of a filled graph.
Contender edgeLinesContender(const std::string& name, const ModelPtr& model);

} // namespace bench
