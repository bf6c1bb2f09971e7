#pragma once

#include "cli/Table.h"
#include "ops/EdgeLines.h"
#include "ops/Merging.h"
#include "ops/Packing.h"
#include "ops/Unstripping.h"

#include <string>
#include <vector>

namespace vexa::tool {

class Console;

/// \param isClassified whether there are columns for creases, seams and non-manifold edges
/// \param isMarked     whether edges are marked as visible instead of written as lines
Table edgeTable(const std::vector<EdgeStats>& meshes, bool isClassified, bool isMarked);
Table unstripTable(const std::vector<UnstripStats>& meshes);

/// Prints the names of the files, the rows of a table of meshes and the notes of the session as JSON, or the table alone.
void printSummary(Console& console, bool asJson, const std::string& input, const std::string& output,
                  const Table& meshes, const Json& notes);

/// Prints the groups that a merged file consists of.
void printMerging(Console& console, bool asJson, const std::string& output, const std::vector<MergedGroup>& groups,
                  const Json& notes);

/// Prints how far packed normals are from the originals.
void printPacking(Console& console, bool asJson, const std::string& input, const PackedFile& packed, const Json& notes);

} // namespace vexa::tool
