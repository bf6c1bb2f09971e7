#pragma once

#include "Measurement.h"
#include "Models.h"
#include "Normals.h"

#include <optional>
#include <string>
#include <utility>
#include <vector>

/// The other libraries, each behind the contenders that it can be. What a contender needs beyond the index list (a mesh
/// of its own kind, say) is made before the timed part.
namespace bench {

/// Its two calls: order the triangles for strips, then join them into one with restart indices.
Contender meshoptimizerStrips(const ModelPtr& model);

/// Its 8-bit octahedral filter, from and to its own layouts: four floats, four signed bytes.
Contender meshoptimizerPacking(const NormalsPtr& normals);
Contender meshoptimizerUnpacking(const NormalsPtr& normals);

/// Builds the connectivity: all vertices, then triangle by triangle, with everything reserved.
Contender openMeshAdjacency(const ModelPtr& model);
/// The same and then its strips.
Contender openMeshStrips(const ModelPtr& model);
/// Only its strips.
Contender openMeshStripsOfMesh(const ModelPtr& model);
/// Writes the two ends of every edge.
Contender openMeshEdges(const ModelPtr& model);

/// Builds the connectivity of a Surface_mesh: all vertices, then triangle by triangle, with everything reserved.
Contender cgalAdjacency(const ModelPtr& model);
/// The same with the function that takes all triangles at once, which may only be given a manifold mesh.
Contender cgalBatchAdjacency(const ModelPtr& model);

/// Empty in a build without VTK.
std::optional<Contender> vtkStrips(const ModelPtr& model);

/// Name and version of each.
std::vector<std::pair<std::string, std::string>> peerVersions();

} // namespace bench
