#pragma once

#include "Measurement.h"
#include "Models.h"

#include <functional>
#include <string>
#include <vector>

namespace bench {

/// A comparison that is set up when its turn comes, so that only one is in memory at a time.
struct Case {
    std::string name;
    bool heavy = false; ///< left out of a quick run
    std::function<Comparison()> make;
};

/// The index lists: primitives from a triangle list, on real and on made models.
std::vector<Case> stripCases(const std::vector<ModelPtr>& realModels);
/// What more passes cost.
std::vector<Case> passCases(const std::vector<ModelPtr>& realModels);
/// Connectivity from a triangle list.
std::vector<Case> adjacencyCases(const std::vector<ModelPtr>& realModels);
/// Edge lists from connectivity.
std::vector<Case> edgeCases(const std::vector<ModelPtr>& realModels);

/// The mesh operations, on ten million elements.
std::vector<Case> operationCases();

/// What the goals compare, by name.
namespace names {

inline constexpr const char* build = "buildPrimitives";
inline constexpr const char* buildTen = "buildPrimitives, 10 passes";
inline constexpr const char* joined = "buildPrimitives, joinStrips";
inline constexpr const char* graph = "graph";
inline constexpr const char* graphTen = "graph, 10 passes";
inline constexpr const char* add = "addTriangles";
inline constexpr const char* addHub = "addTriangles, hub";
inline constexpr const char* edges = "calcEgdeLines";
inline constexpr const char* tenSmall = "10 passes, grid of 70 k";
inline constexpr const char* tenLarge = "10 passes, grid of 2 M";

inline constexpr const char* positions = "transformMesh, positions";
inline constexpr const char* normals = "transformMesh, normals";
inline constexpr const char* volume = "computeVolume";
inline constexpr const char* validate = "isValid";
inline constexpr const char* pack = "transformAttributes, packing";
inline constexpr const char* unpack = "transformAttributes, unpacking";
inline constexpr const char* append = "concatMeshes";
inline constexpr const char* ownBuffer = "library's buffer";
inline constexpr const char* derivedBuffer = "class derived from it";
inline constexpr const char* foreignBuffer = "class of the program's";

inline constexpr const char* scaled = "limit: scaled in place";
inline constexpr const char* read = "limit: read";
inline constexpr const char* copied = "limit: copied";

inline constexpr const char* meshoptimizer = "meshoptimizer";
inline constexpr const char* openMesh = "OpenMesh";
inline constexpr const char* cgal = "CGAL Surface_mesh";
inline constexpr const char* cgalBatch = "CGAL Surface_mesh, all at once";
inline constexpr const char* vtk = "VTK vtkStripper";

inline constexpr const char* dragon = "dragon";
inline constexpr const char* shuffled = "dragon shuffled";

} // namespace names

/// Rounds of a comparison whose contenders take about this many triangles.
int roundsFor(const Model& model);

/// The kernel counts a process's memory in steps of some hundred kB, so that small models show those.
bool measuresMemoryOf(const Model& model);

/// The first of a list that begins with the largest.
std::vector<ModelPtr> largest(const std::vector<ModelPtr>& models, std::size_t count);

/// The model of that name.
///
/// \throw std::runtime_error there is none
ModelPtr findModel(const std::vector<ModelPtr>& models, const std::string& name);

} // namespace bench
