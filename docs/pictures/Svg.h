#pragma once

#include "PatchMesh.h"

#include <array>
#include <filesystem>
#include <span>
#include <sstream>
#include <string>

namespace pictures {

/// A drawing in the making. Coordinates are pixels, y pointing down.
class Svg {
public:
    Svg(double width, double height);

    /// Triangles of one colour, as a single element.
    void triangles(std::span<const std::array<Point, 3>> triangles, const std::string& fill, const std::string& stroke,
                   double width);
    void polygon(std::span<const Point> corners, const std::string& fill, const std::string& stroke, double width);
    void polyline(std::span<const Point> points, const std::string& stroke, double width);
    /// A line with an arrow head in its middle.
    void arrow(const Point& from, const Point& to, const std::string& stroke, double width);
    void circle(const Point& centre, double radius, const std::string& fill, const std::string& stroke = "#fff");
    /// \param anchor "start", "middle" or "end"
    void text(const Point& at, const std::string& text, double size, const std::string& anchor = "middle",
              const std::string& fill = "#1f2328");

    /// \throw std::runtime_error the file cannot be written
    void write(const std::filesystem::path& file) const;

private:
    std::ostringstream body_;
};

} // namespace pictures
