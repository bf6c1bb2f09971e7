#pragma once

#include "support/Meshes.h"

#include <vexa/mesh/HalfEdgeGraph.h>

#include <string>
#include <vector>

/// Helpers shared by the suites of the half-edge graph. Triangles are identified by their order of insertion.
namespace graphs {

using vexa::mesh::HalfEdgeGraph;
using HalfEdge = HalfEdgeGraph::HalfEdge;
using Triangle = HalfEdgeGraph::Triangle;
using TriangleList = HalfEdgeGraph::TriangleList;
using Primitives = std::vector<HalfEdgeGraph::Primitive>;

/// A graph that holds a mesh.
class FilledGraph : public HalfEdgeGraph {
public:
    explicit FilledGraph(const meshes::Indices& mesh);
};

/// Every triangle of the pool, in order of insertion.
std::vector<Triangle*> triangles(const HalfEdgeGraph& graph);

/// The states of all triangles, in order of insertion.
std::vector<int> states(const HalfEdgeGraph& graph);

/// The numbers of the triangles of a list, for example "0 2 5"; also reports a broken `last` or `prev`.
std::string numbers(const HalfEdgeGraph& graph, const TriangleList& list);

/// Stored primitives, for example "(0: 0 1 2) (1: 5 4)".
std::string numbers(const HalfEdgeGraph& graph, const Primitives& primitives);

/// Everything in a graph but the capacities of its vectors, as text: equal texts are equal graphs, down to the order of
/// every list. Half-edge 1 of triangle 7 reads 7.1.
std::string describe(const HalfEdgeGraph& graph);

/// Takes a triangle out of the list that holds it and appends it to another.
void move(Triangle& triangle, TriangleList& from, TriangleList& to);

/// Makes two half-edges twins.
void link(HalfEdge& a, HalfEdge& b);

/// All primitives in the order of `getPrimitive(indices, 0)`, for example "6: 0 1 2 3 1".
std::vector<std::string> takePrimitives(HalfEdgeGraph& graph);

/// The numbers of a list, separated by spaces.
std::string text(const meshes::Indices& indices);

} // namespace graphs
