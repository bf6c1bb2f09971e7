#pragma once

#include "vexa/mesh/AttributeBuffer.h" // IWYU pragma: export
#include "vexa/mesh/Buffer.h"          // IWYU pragma: export
#include "vexa/mesh/HalfEdgeGraph.h"   // IWYU pragma: export
#include "vexa/mesh/IndexBuffer.h"     // IWYU pragma: export
#include "vexa/mesh/Mesh.h"            // IWYU pragma: export
#include "vexa/mesh/Strips.h"          // IWYU pragma: export
#include "vexa/mesh/Types.h"           // IWYU pragma: export
