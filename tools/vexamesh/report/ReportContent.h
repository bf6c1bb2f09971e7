#pragma once

#include "Edges.h"
#include "NormalAngles.h"
#include "StripFile.h"
#include "io/Document.h"
#include "report/GraphFacts.h"
#include "report/Picture.h"

#include <optional>
#include <string>
#include <vector>

namespace vexa::tool {

/// A row of the table of buffers: what `dump` prints of an attribute, property by property.
struct BufferRow {
    std::string primitive;
    std::vector<std::string> values;
};

/// What a report says of a primitive of triangles.
struct PrimitiveRow {
    std::string name;
    std::size_t triangles = 0;
    std::size_t strips = 0;
    std::size_t fans = 0;
    std::size_t leftOver = 0;
    std::size_t splitOff = 0;
    std::size_t longestStrip = 0; ///< in triangles
    std::size_t swaps = 0;
    EdgeCounts edges;
    AngleFigures normals;
    std::vector<std::string> graphLines;
};

/// Everything that a report says.
struct ReportFacts {
    StripOutcome outcome;
    std::vector<PrimitiveRow> primitives;
    std::vector<std::string> bufferProperties; ///< titles of the columns
    std::vector<BufferRow> buffers;
    std::vector<std::size_t> stripLengths; ///< in triangles
    std::vector<std::size_t> stripSwaps;
    std::vector<float> normalAngles; ///< in degrees
    AngleFigures normals;
    PassCosts passes;
    bool isSearched = false; ///< whether the passes are those that the strips come from
    std::int64_t cost = 0;   ///< indices of all parts before they are joined
    Picture picture;
    std::vector<std::string> warnings;
};

/// How a report is made.
struct ReportSettings {
    StripSettings strip;
    std::size_t mostShownTriangles = PictureBuilder::mostTriangles;
};

/// \throw FileError as `stripDocument`, or normals or positions are no VEC3
ReportFacts collectFacts(Document document, const ReportSettings& settings, const StripProgress& progress);

/// The figures of `strip --json`, and under "report" what only a report says.
Json reportJson(const std::string& input, const std::string& output, const ReportFacts& facts);

} // namespace vexa::tool
