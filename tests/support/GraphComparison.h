#pragma once

#include "reference/ReferenceGraph.h"

#include <vexa/mesh/HalfEdgeGraph.h>

#include <string>
#include <unordered_map>
#include <vector>

namespace vexa::test {

/// Compares the library's graph with the reference, filled with the same triangles in the same order.
///
/// A difference is a text that names the first thing that differs; it is empty when nothing does.
class GraphComparison {
public:
    /// Both must be filled, and outlive this object. The library's triangles are numbered by their places in the
    /// lists around the vertices, so it does not matter by which operation they were added.
    GraphComparison(const mesh::HalfEdgeGraph& library, const reference::Graph& reference);

    /// Of the records of triangles and half-edges, the vertex lists, states and lists after filling.
    std::string differenceInFilling() const;
    /// Of states, lists and stored primitives, after calcOptPrim or later.
    std::string differenceInResult() const;

private:
    using Triangle = mesh::HalfEdgeGraph::Triangle;
    using TriangleList = mesh::HalfEdgeGraph::TriangleList;
    using Entries = std::vector<std::pair<std::uint32_t, TriangleList*>>;

    std::string number();
    std::string numberAround(std::size_t vertex);
    std::string differenceInTriangle(std::uint32_t number) const;
    std::string differenceInStates() const;
    std::string differenceInList(const TriangleList& list, const reference::Indices& expected) const;
    std::string differenceInEntries(const Entries& entries, const std::vector<reference::Entry>& expected) const;
    std::uint32_t numberOf(const mesh::HalfEdgeGraph::HalfEdge* halfEdge) const;

    const mesh::HalfEdgeGraph& library_;
    const reference::Graph& reference_;
    std::vector<const Triangle*> triangles_;
    std::unordered_map<const Triangle*, std::uint32_t> numbers_;
    std::string differenceInVertexLists_;
};

/// Of types and index lists, drained from both with getPrimitive(indices, 0).
std::string differenceInPrimitives(mesh::HalfEdgeGraph& library, reference::Graph& reference);

/// Of two index lists; the text starts with the name.
std::string differenceInIndices(const std::string& name, const std::vector<unsigned int>& actual,
                                const reference::Indices& expected);

} // namespace vexa::test
