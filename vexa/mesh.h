#pragma once

#include "vexa/mesh/HalfEdgeGraph.h" // IWYU pragma: export
#include "vexa/mesh/Strips.h" // IWYU pragma: export
#include "vexa/mesh/Types.h" // IWYU pragma: export
