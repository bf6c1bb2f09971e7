#pragma once

#include "reference/ReferenceGraph.h"

namespace reference {

/// The ways to join two strips of a list.
enum class Joins {
    Restart,    ///< a restart index; two degenerate triangles never follow one another
    Degenerate, ///< any number of degenerate triangles, no restart index
    Any         ///< both
};

/// A shortest TRIANGLE_STRIP list that draws exactly the given oriented triangles, each as often, in any order.
/// Collapsed triangles need not be drawn.
///
/// It is found by trying all lists, the shorter ones first: the search knows the rules by which a list is decoded, and
/// nothing of neighbours, strips or swaps. At most 16 triangles; 12 take up to a second.
///
/// \throw std::invalid_argument more than 16 triangles that are not collapsed
Indices findShortestStrip(const Indices& triangles, Joins joins);

/// The length of that list.
std::uint64_t minIndexCount(const Indices& triangles, Joins joins);

} // namespace reference
