#pragma once

#include "Measurement.h"
#include "Models.h"
#include "Normals.h"

#include <cstdint>
#include <optional>
#include <span>
#include <string>
#include <utility>
#include <vector>
#include <vexa/mesh/Strips.h>

/// Contenders that use other libraries. Anything that one needs beyond the index list (a mesh of its own kind, for
/// example) is prepared outside the timed part unless the description says otherwise.
namespace bench {

/// Lengths of a peer's strips when `joinStrips` joins them in their order.
JoinedStrips joinPlainly(std::span<const vexa::mesh::IndexedPrimitive> strips);

/// Two calls: order the triangles for strips, then join them into one list with restart indices.
Contender meshoptimizerStrips(const ModelPtr& model);

/// Numbers the distinct corners of the model's triangles, each of which has corners of its own: without making a mesh.
Contender meshoptimizerRemap(const ModelPtr& model);

/// Simulates a first-in first-out cache of 16 vertices over the model's triangles.
Contender meshoptimizerAnalysis(const ModelPtr& model);
/// The misses that it counts.
std::uint64_t meshoptimizerMisses(const Model& model);

/// The 8-bit octahedral filter, from and to the layouts that it expects: four floats, four signed bytes.
Contender meshoptimizerPacking(const NormalsPtr& normals);
Contender meshoptimizerUnpacking(const NormalsPtr& normals);

/// Builds the connectivity: all vertices, then triangle by triangle, with all memory reserved.
Contender openMeshAdjacency(const ModelPtr& model);
/// The same, then strips.
Contender openMeshStrips(const ModelPtr& model);
/// Strips only, on a mesh built beforehand.
Contender openMeshStripsOfMesh(const ModelPtr& model);
/// Builds the connectivity and writes both ends of every edge.
Contender openMeshAdjacencyAndEdges(const ModelPtr& model);
/// Edges only, of a mesh built beforehand.
Contender openMeshEdges(const ModelPtr& model);

/// Builds the connectivity of a Surface_mesh: all vertices, then triangle by triangle, with all memory reserved.
Contender cgalAdjacency(const ModelPtr& model);
/// The same with the function that takes all triangles at once; the mesh must be manifold.
Contender cgalBatchAdjacency(const ModelPtr& model);

/// Empty if VTK was not found at build time.
std::optional<Contender> vtkStrips(const ModelPtr& model);

/// Name and version of each peer.
std::vector<std::pair<std::string, std::string>> peerVersions();

} // namespace bench
