#pragma once

// IWYU pragma: begin_exports
#include "vexa/mesh/AttributeBuffer.h"
#include "vexa/mesh/AttributeBufferDump.h"
#include "vexa/mesh/AttributeTransformation.h"
#include "vexa/mesh/BoundingBox.h"
#include "vexa/mesh/Buffer.h"
#include "vexa/mesh/Edges.h"
#include "vexa/mesh/GlmLayout.h"
#include "vexa/mesh/HalfEdgeGraph.h"
#include "vexa/mesh/IndexBuffer.h"
#include "vexa/mesh/MakeMesh.h"
#include "vexa/mesh/Mesh.h"
#include "vexa/mesh/MeshConcatenation.h"
#include "vexa/mesh/NormalQuantization.h"
#include "vexa/mesh/StripBound.h"
#include "vexa/mesh/StripBuffer.h"
#include "vexa/mesh/Strips.h"
#include "vexa/mesh/Transformation.h"
#include "vexa/mesh/Triangles.h"
#include "vexa/mesh/Types.h"
#include "vexa/mesh/Views.h"
// IWYU pragma: end_exports
