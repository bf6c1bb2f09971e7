#pragma once

#include "Measurement.h"
#include "Models.h"

#include <functional>
#include <string>
#include <vector>

namespace bench {

/// A comparison that is set up only when it runs, so that one at a time is in memory.
struct Case {
    std::string name;
    bool heavy = false; ///< skipped in a quick run
    std::function<Comparison()> make;
};

/// Index lists: primitives from a triangle list, on real and on synthetic models.
std::vector<Case> stripCases(const std::vector<ModelPtr>& realModels);
/// The same on a quiet machine and while another process streams memory.
std::vector<Case> busyCases(const std::vector<ModelPtr>& realModels);
/// The cost of additional passes.
std::vector<Case> passCases(const std::vector<ModelPtr>& realModels);
/// A lower bound on indices, its time, and how near the searches come to it.
std::vector<Case> boundCases(const std::vector<ModelPtr>& realModels);
/// Connectivity from a triangle list, in a process that has not freed any memory yet. They come first in a run.
std::vector<Case> aloneCases(const std::vector<ModelPtr>& realModels);
/// Connectivity from a triangle list.
std::vector<Case> adjacencyCases(const std::vector<ModelPtr>& realModels);
/// Edge lists from connectivity.
std::vector<Case> edgeCases(const std::vector<ModelPtr>& realModels);

/// The same work on meshes from a thousand triangles to tens of millions, as far as memory reaches.
std::vector<Case> growthCases();

/// Loose triangles joined at their corners.
std::vector<Case> weldCases(const std::vector<ModelPtr>& realModels);

/// The mesh operations, on ten million elements.
std::vector<Case> operationCases();
/// Views, the codec and interleaved storage, on ten million elements.
std::vector<Case> bulkCases();

/// Merging, placing, faults and statistics of whole meshes.
std::vector<Case> wholeMeshCases(const std::vector<ModelPtr>& realModels);

/// Names of contenders and models that the goals refer to.
namespace names {

inline constexpr const char* build = "buildPrimitives";
inline constexpr const char* buildTen = "buildPrimitives, 10 passes";
inline constexpr const char* joined = "buildPrimitives, joinStrips";
inline constexpr const char* effort0 = "buildStripBuffer, effort 0";
inline constexpr const char* effort1 = "buildStripBuffer, effort 1";
inline constexpr const char* effort2 = "buildStripBuffer, effort 2";
inline constexpr const char* annealingTen = "effort 3, 10 annealing passes";
inline constexpr const char* effort3 = "buildStripBuffer, effort 3";
inline constexpr const char* effort4 = "buildStripBuffer, effort 4, 60 us";
inline constexpr const char* degenerate2 = "buildStripBuffer, effort 2, degen.";
inline constexpr const char* cacheOrder = "buildStripBuffer, vertex cache";
inline constexpr const char* flowSmall = "effort 2, mesh of 70 k";
inline constexpr const char* flowLarge = "effort 2, mesh of 8 M";
inline constexpr const char* hubsSmall = "effort 2, two hubs of 20 k";
inline constexpr const char* hubsLarge = "effort 2, two hubs of 1 M";
inline constexpr const char* graph = "graph";
inline constexpr const char* graphTen = "graph, 10 passes";
inline constexpr const char* add = "addTriangles";
inline constexpr const char* addHub = "addTriangles, hub";
inline constexpr const char* addGrid = "addTriangles, grid";
inline constexpr const char* addCrowded = "addTriangles, full edge";
inline constexpr const char* addCollapsed = "addTriangles, collapsed";
inline constexpr const char* singleGrid = "addTriangle, grid";
inline constexpr const char* singleCrowded = "addTriangle, full edge";
inline constexpr const char* singleCollapsed = "addTriangle, collapsed";
inline constexpr const char* edges = "calcEgdeLines";
inline constexpr const char* fillEdges = "addTriangles, calcEgdeLines";
inline constexpr const char* buildEdges = "buildEdges";
inline constexpr const char* weld = "weld";
inline constexpr const char* merge = "mergeMeshes";
inline constexpr const char* placeInterleaved = "placeMesh, interleaved";
inline constexpr const char* placePacked = "placeMesh, packed";
inline constexpr const char* faults = "findFaults";
inline constexpr const char* stats = "computeStats";
inline constexpr const char* bound = "minIndexCount";
inline constexpr const char* tenSmall = "10 passes, grid of 70 k";
inline constexpr const char* tenLarge = "10 passes, grid of 2 M";

inline constexpr const char* positions = "transformMesh, positions";
inline constexpr const char* normals = "transformMesh, normals";
inline constexpr const char* volume = "computeVolume";
inline constexpr const char* validate = "isValid";
inline constexpr const char* pack = "transformAttributes, packing";
inline constexpr const char* unpack = "transformAttributes, unpacking";
inline constexpr const char* append = "concatMeshes";
inline constexpr const char* ownBuffer = "library's own buffer";
inline constexpr const char* derivedBuffer = "class derived from the library's";
inline constexpr const char* foreignBuffer = "class of the caller's own";

inline constexpr const char* assignVectors = "assign, vectors";
inline constexpr const char* walk = "trianglesOf";
inline constexpr const char* walkByHand = "loop by hand";
inline constexpr const char* encode8 = "OctahedralCodec<8>::encode";
inline constexpr const char* encode16 = "OctahedralCodec<16>::encode";
inline constexpr const char* decode8 = "OctahedralCodec<8>::decode";
inline constexpr const char* decode16 = "OctahedralCodec<16>::decode";
inline constexpr const char* interleavedMesh = "transformMesh, interleaved";
inline constexpr const char* packedMesh = "transformMesh, packed";

inline constexpr const char* scaled = "limit: scale in place";
inline constexpr const char* read = "limit: read";
inline constexpr const char* copied = "limit: copy";

inline constexpr const char* meshoptimizer = "meshoptimizer";
inline constexpr const char* openMesh = "OpenMesh";
inline constexpr const char* cgal = "CGAL Surface_mesh";
inline constexpr const char* cgalBatch = "CGAL Surface_mesh, one call";
inline constexpr const char* vtk = "VTK vtkStripper";

inline constexpr const char* dragon = "dragon";
inline constexpr const char* shuffled = "dragon shuffled";

} // namespace names

/// Number of rounds for a comparison on a model of this size.
int roundsFor(const Model& model);

/// Only for large models: the kernel counts resident memory in steps of some hundred kB.
bool measuresMemoryOf(const Model& model);

/// The first `count` models of a list that is sorted from large to small.
std::vector<ModelPtr> takeLargest(const std::vector<ModelPtr>& models, std::size_t count);

/// Finds a model by name.
///
/// \throw std::runtime_error there is none
ModelPtr findModel(const std::vector<ModelPtr>& models, const std::string& name);

} // namespace bench
