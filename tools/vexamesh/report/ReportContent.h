#pragma once

#include "io/Document.h"
#include "ops/Edges.h"
#include "ops/NormalAngles.h"
#include "ops/StripFile.h"
#include "report/Picture.h"

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace vexa::tool {

/// The costs of the passes of a search: indices before strips are joined.
struct PassCosts {
    std::vector<std::int64_t> totals; ///< of each pass
    std::int64_t best = 0;
    std::int64_t worst = 0;

    /// Adds a pass. Primitives are searched one by one: pass is added to pass, best to best.
    void add(const mesh::StripPass& pass);
};

/// An attribute buffer of a primitive.
struct BufferRow {
    std::string primitive;
    std::string name;
    std::string componentType;
    std::array<unsigned long, 6> numbers; ///< component size, components, element size, stride, offset, elements
};

/// A primitive of triangles.
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
    AngleStats normals;
    std::vector<std::string> graphLines;
};

/// Everything that a report shows.
struct ReportContent {
    StripOutcome outcome;
    std::string fault; ///< of the strips, read back; see `FindFault`
    std::vector<PrimitiveRow> primitives;
    std::vector<BufferRow> buffers;
    std::vector<std::size_t> stripLengths; ///< in triangles
    std::vector<std::size_t> stripSwaps;
    std::vector<float> normalAngles; ///< in degrees
    AngleStats normals;
    PassCosts passes;
    bool isSearched = false;          ///< whether the passes are those that the strips come from
    std::int64_t cost = 0;            ///< indices of all parts before they are joined
    std::uint64_t minCost = 0;        ///< no strips can have fewer before they are joined; 0 if there are no passes
    std::vector<std::size_t> efforts; ///< indices by the effort of the search, joined as those of the report
    std::size_t listBytes = 0;        ///< of a .glb file of the same model with the indices of the input
    Picture picture;
    bool hidesSteps = false; ///< the model is too large to show the passes of its search
    std::vector<std::string> warnings;
};

/// How a report is made; it always proves the minimum.
struct ReportSettings {
    StripSettings strip;
    std::size_t maxShownTriangles = PictureBuilder::maxTriangles;
    std::vector<unsigned int> comparedEfforts; ///< whose strips the picture shows beside those of the report
};

/// Cuts a document into strips and collects what a report shows of that.
///
/// \throw FileError as `stripDocument`, or normals or positions are not VEC3
ReportContent collectReport(Document document, const ReportSettings& settings, const PrimitiveProgress& progress);

/// The JSON of `strip --json`, and under "report" what only a report has.
Json reportJson(const std::string& input, const std::string& output, const ReportContent& content);

} // namespace vexa::tool
