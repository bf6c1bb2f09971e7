#include "Svg.h"

#include <cmath>
#include <fstream>
#include <iomanip>
#include <stdexcept>

namespace pictures {

namespace {

std::string listOf(std::span<const Point> points) {
    std::ostringstream list;
    list << std::fixed << std::setprecision(1);
    for (const Point& point : points) {
        list << (list.tellp() > 0 ? " " : "") << point.x << ',' << point.y;
    }
    return list.str();
}

} // namespace

Svg::Svg(double width, double height) {
    body_ << std::fixed << std::setprecision(1);
    body_ << R"(<svg xmlns="http://www.w3.org/2000/svg" viewBox="0 0 )" << width << ' ' << height << R"(" width=")"
          << width << R"(" font-family="system-ui, sans-serif" stroke-linejoin="round" stroke-linecap="round">)" << '\n'
          << R"(<rect width="100%" height="100%" fill="#fff"/>)" << '\n';
}

void Svg::triangles(std::span<const std::array<Point, 3>> triangles, const std::string& fill, const std::string& stroke,
                    double width) {
    body_ << R"(<path d=")";
    for (const auto& corners : triangles) {
        body_ << 'M' << listOf(corners) << 'Z';
    }
    body_ << R"(" fill=")" << fill << R"(" stroke=")" << stroke << R"(" stroke-width=")" << width << R"("/>)" << '\n';
}

void Svg::polygon(std::span<const Point> corners, const std::string& fill, const std::string& stroke, double width) {
    body_ << R"(<polygon points=")" << listOf(corners) << R"(" fill=")" << fill << R"(" stroke=")" << stroke
          << R"(" stroke-width=")" << width << R"("/>)" << '\n';
}

void Svg::polyline(std::span<const Point> points, const std::string& stroke, double width) {
    body_ << R"(<polyline points=")" << listOf(points) << R"(" fill="none" stroke=")" << stroke << R"(" stroke-width=")"
          << width << R"("/>)" << '\n';
}

void Svg::arrow(const Point& from, const Point& to, const std::string& stroke, double width) {
    const Point line[] = {from, to};
    polyline(line, stroke, width);
    const double length = std::hypot(to.x - from.x, to.y - from.y);
    const Point along{(to.x - from.x) / length, (to.y - from.y) / length};
    const Point middle{(from.x + to.x) / 2, (from.y + to.y) / 2};
    const double size = 2.2 * width;
    const auto at = [&](double forward, double aside) {
        return Point{middle.x + size * (forward * along.x - aside * along.y),
                     middle.y + size * (forward * along.y + aside * along.x)};
    };
    const Point head[] = {at(1, 0), at(-0.7, 0.8), at(-0.7, -0.8)};
    polygon(head, stroke, stroke, 0.5);
}

void Svg::circle(const Point& centre, double radius, const std::string& fill, const std::string& stroke) {
    body_ << R"(<circle cx=")" << centre.x << R"(" cy=")" << centre.y << R"(" r=")" << radius << R"(" fill=")" << fill
          << R"(" stroke=")" << stroke << R"("/>)" << '\n';
}

void Svg::text(const Point& at, const std::string& text, double size, const std::string& anchor,
               const std::string& fill) {
    body_ << R"(<text x=")" << at.x << R"(" y=")" << at.y << R"(" font-size=")" << size << R"(" text-anchor=")"
          << anchor << R"(" fill=")" << fill << R"(">)" << text << "</text>\n";
}

void Svg::write(const std::filesystem::path& file) const {
    std::ofstream stream(file);
    stream << body_.str() << "</svg>\n";
    if (!stream.flush()) {
        throw std::runtime_error("cannot write " + file.string());
    }
}

} // namespace pictures
