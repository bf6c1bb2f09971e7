#pragma once

#include "report/ReportContent.h"

#include <string>
#include <vector>

namespace vexa::tool {

/// Drawings for a page as inline SVG; their colours are the page's custom properties. Each is a `<figure>` with a
/// caption that says the same in words.

/// How long strips are, in classes that double: both axes are logarithmic.
std::string stripLengthPlot(const std::vector<std::size_t>& lengths);

/// How many swaps strips have.
std::string swapPlot(const std::vector<std::size_t>& swaps);

/// Indices per triangle: of the input, of each effort and of the strips that are shown, with the proven minimum.
std::string effortPlot(const ReportContent& content);

/// The cost of each pass of a search, with the best, the worst and the proven minimum.
std::string passPlot(const ReportContent& content);

/// The angles between normals and what two bytes keep of them.
std::string anglePlot(const std::vector<float>& angles, const AngleStats& stats);

} // namespace vexa::tool
