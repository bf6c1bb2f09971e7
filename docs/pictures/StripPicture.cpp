#include "StripPicture.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <map>
#include <set>

namespace pictures {

namespace {

using vexa::mesh::IndexedPrimitive;
using Strips = std::vector<IndexedPrimitive>;

constexpr std::array palette{"#a6cee3", "#fdd49e", "#b2df8a", "#fbb4c4", "#cab2d6", "#ffed8f",
                             "#8dd3c7", "#d9c6a5", "#bebada", "#e0e0e0", "#9fd0ff", "#f4a582"};

bool isCollapsed(const Corners& c) {
    return c[0] == c[1] || c[1] == c[2] || c[2] == c[0];
}

/// A colour for each strip that none of its neighbours has.
std::vector<std::size_t> chooseColours(const std::vector<DecodedStrip>& strips) {
    std::map<unsigned int, std::set<std::size_t>> stripsOfVertex;
    for (std::size_t i = 0; i < strips.size(); ++i) {
        for (const Corners& corners : strips[i].triangles) {
            for (const unsigned int corner : corners) {
                stripsOfVertex[corner].insert(i);
            }
        }
    }
    std::vector<std::size_t> colours(strips.size(), palette.size());
    for (std::size_t i = 0; i < strips.size(); ++i) {
        std::set<std::size_t> taken;
        for (const auto& [vertex, around] : stripsOfVertex) {
            if (around.contains(i)) {
                for (const std::size_t neighbour : around) {
                    taken.insert(colours[neighbour]);
                }
            }
        }
        // Starting elsewhere each time uses the whole palette.
        std::size_t colour = i % palette.size();
        for (std::size_t tries = 0; taken.contains(colour) && tries < palette.size(); ++tries) {
            colour = (colour + 1) % palette.size();
        }
        colours[i] = colour;
    }
    return colours;
}

void drawTriangles(Svg& svg, const Patch& patch, const Frame& frame, const std::vector<Corners>& triangles,
                   const std::string& fill) {
    std::vector<std::array<Point, 3>> shapes(triangles.size());
    for (std::size_t i = 0; i < triangles.size(); ++i) {
        std::transform(triangles[i].begin(), triangles[i].end(), shapes[i].begin(),
                       [&](unsigned int corner) { return frame(patch.points[corner]); });
    }
    svg.triangles(shapes, fill, "#8a939c", 0.8);
}

void drawPath(Svg& svg, const Patch& patch, const Frame& frame, const DecodedStrip& strip) {
    std::vector<Point> path;
    for (std::size_t i = 0; i < strip.triangles.size(); ++i) {
        if (i > 0) {
            path.push_back(frame(gateOf(patch, strip.triangles[i - 1], strip.triangles[i])));
        }
        if (i == 0 || i + 1 == strip.triangles.size()) {
            path.push_back(frame(middleOf(patch, strip.triangles[i])));
        }
    }
    const double unit = frame.scale();
    svg.polyline(path, "#24292f", 0.06 * unit);
    svg.circle(path.front(), 0.11 * unit, "#24292f");
    svg.circle(path.back(), 0.11 * unit, "#24292f");
    for (const std::size_t swap : strip.swaps) {
        svg.circle(frame(gateOf(patch, strip.triangles[swap], strip.triangles[swap + 1])), 0.1 * unit, "#fff",
                   "#cf222e");
    }
}

} // namespace

DecodedStrip decodeStrip(const std::vector<unsigned int>& indices) {
    DecodedStrip strip;
    for (std::size_t i = 2; i < indices.size(); ++i) {
        const Corners corners{indices[i - 2], indices[i - 1], indices[i]};
        if (!isCollapsed(corners)) {
            strip.triangles.push_back(corners);
        } else if (!strip.triangles.empty()) {
            strip.swaps.push_back(strip.triangles.size() - 1);
        }
    }
    return strip;
}

Point middleOf(const Patch& patch, const Corners& corners) {
    Point middle;
    for (const unsigned int corner : corners) {
        middle.x += patch.points[corner].x / 3;
        middle.y += patch.points[corner].y / 3;
    }
    return middle;
}

Point gateOf(const Patch& patch, const Corners& a, const Corners& b) {
    Point middle;
    for (const unsigned int corner : a) {
        if (std::find(b.begin(), b.end(), corner) != b.end()) {
            middle.x += patch.points[corner].x / 2;
            middle.y += patch.points[corner].y / 2;
        }
    }
    return middle;
}

Frame::Frame(const Patch& patch, const Point& centre, double size) : centre_(centre) {
    const auto byX = [](const Point& a, const Point& b) { return a.x < b.x; };
    const auto byY = [](const Point& a, const Point& b) { return a.y < b.y; };
    const auto [left, right] = std::minmax_element(patch.points.begin(), patch.points.end(), byX);
    const auto [bottom, top] = std::minmax_element(patch.points.begin(), patch.points.end(), byY);
    middle_ = {(left->x + right->x) / 2, (bottom->y + top->y) / 2};
    scale_ = size / std::max(right->x - left->x, top->y - bottom->y);
}

void drawMesh(Svg& svg, const Patch& patch, const Frame& frame) {
    std::vector<Corners> triangles;
    for (std::size_t i = 0; i < patch.triangles.size(); i += 3) {
        triangles.push_back({patch.triangles[i], patch.triangles[i + 1], patch.triangles[i + 2]});
    }
    drawTriangles(svg, patch, frame, triangles, "#f6f8fa");
}

void drawStrips(Svg& svg, const Patch& patch, const Frame& frame, const Strips& strips) {
    std::vector<DecodedStrip> decoded(strips.size());
    std::transform(strips.begin(), strips.end(), decoded.begin(),
                   [](const IndexedPrimitive& strip) { return decodeStrip(strip.indices); });
    const std::vector<std::size_t> colours = chooseColours(decoded);
    for (std::size_t i = 0; i < decoded.size(); ++i) {
        drawTriangles(svg, patch, frame, decoded[i].triangles, palette[colours[i]]);
    }
    for (const DecodedStrip& strip : decoded) {
        drawPath(svg, patch, frame, strip);
    }
}

std::string countsOf(const Patch& patch, const Strips& strips) {
    const std::size_t indices = vexa::mesh::joinStrips(strips, vexa::mesh::StripJoin::Restart).size();
    char text[96];
    std::snprintf(text, sizeof(text), "%zu strips, %zu indices, %.3f a triangle", strips.size(), indices,
                  static_cast<double>(indices) / static_cast<double>(patch.triangleCount()));
    return text;
}

} // namespace pictures
