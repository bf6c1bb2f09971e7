#pragma once

#include "Measurement.h"
#include "Models.h"

#include <string>
#include <vexa/mesh/StripBuffer.h>
#include <vexa/mesh/Strips.h>

/// This library's contenders: through the graph and in one call.
namespace bench {

Contender buildPrimitivesContender(const std::string& name, const ModelPtr& model,
                                   const vexa::mesh::StripOptions& options);
/// Builds strips only and joins them into one list with restart indices.
Contender joinedStripsContender(const std::string& name, const ModelPtr& model);
/// Builds one index list in a single call.
Contender stripBufferContender(const std::string& name, const ModelPtr& model,
                               const vexa::mesh::StripBufferOptions& options);
/// Fills the graph, optimises it, takes all its primitives.
Contender graphContender(const std::string& name, const ModelPtr& model, std::uint32_t iterations);
/// Fills the graph.
Contender addTrianglesContender(const std::string& name, const ModelPtr& model);
/// Fills the graph triangle by triangle.
Contender addSinglyContender(const std::string& name, const ModelPtr& model);
/// Fills the graph and writes its edge list.
Contender fillAndEdgesContender(const std::string& name, const ModelPtr& model);
/// Lists the edges of the index list, without a graph.
Contender buildEdgesContender(const std::string& name, const ModelPtr& model);
/// Joins the vertices of the model's triangles, each of which has corners of its own.
Contender weldContender(const std::string& name, const ModelPtr& model);
/// Writes the edge list of a filled graph.
Contender edgeLinesContender(const std::string& name, const ModelPtr& model);

} // namespace bench
