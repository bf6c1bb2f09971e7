#include "StarPicture.h"

#include <array>
#include <cmath>
#include <numbers>
#include <vector>

namespace pictures {

namespace {

const char* const ink = "#24292f";
const char* const costColour = "#cf222e";

Point between(const Point& a, const Point& b, double part) {
    return {a.x + part * (b.x - a.x), a.y + part * (b.y - a.y)};
}

class Star {
public:
    Star(const Point& centre, double radius, unsigned int count, unsigned int firstLabel)
        : centre_(centre), count_(count), firstLabel_(firstLabel) {
        for (unsigned int i = 0; i <= count; ++i) {
            // The edge with the cost points down.
            const double angle = 2 * std::numbers::pi * i / count - std::numbers::pi / 2;
            rim_.push_back({centre.x + radius * std::cos(angle), centre.y - radius * std::sin(angle)});
        }
    }

    void draw(Svg& svg) const {
        for (unsigned int i = 0; i < count_; ++i) {
            const std::array<Point, 3> corners{centre_, rim_[i], rim_[i + 1]};
            svg.polygon(corners, "#f6f8fa", "#8a939c", 1);
        }
        for (unsigned int i = 0; i < count_; ++i) {
            drawClosed(svg, i);
        }
        for (unsigned int i = 0; i < count_; ++i) {
            drawPath(svg, i);
        }
        drawCost(svg);
    }

private:
    [[nodiscard]] unsigned int label(unsigned int triangle) const { return (firstLabel_ + triangle) % 3; }
    /// The ends of an edge of a triangle, numbered as labels are.
    [[nodiscard]] std::array<Point, 2> edge(unsigned int triangle, unsigned int number) const {
        return number == 1 ? std::array{rim_[triangle], rim_[triangle + 1]}
                           : std::array{centre_, rim_[number == 0 ? triangle : triangle + 1]};
    }
    /// Whether the neighbour leaves this edge closed.
    [[nodiscard]] bool isClosedBeyond(unsigned int triangle, unsigned int number) const {
        return (number == 0 && label((triangle + count_ - 1) % count_) == 2) ||
               (number == 2 && label((triangle + 1) % count_) == 0);
    }
    [[nodiscard]] Point gate(unsigned int triangle, unsigned int number) const {
        const auto [a, b] = edge(triangle, number);
        return between(a, b, 0.5);
    }
    [[nodiscard]] Point middle(unsigned int triangle) const {
        return between(centre_, between(rim_[triangle], rim_[triangle + 1], 0.5), 2.0 / 3);
    }

    void drawClosed(Svg& svg, unsigned int triangle) const {
        const auto [a, b] = edge(triangle, label(triangle));
        // Just inside the triangle, so that both sides of an edge show.
        const Point inner = middle(triangle);
        const std::array<Point, 2> bar{between(between(a, b, 0.1), inner, 0.07),
                                       between(between(a, b, 0.9), inner, 0.07)};
        svg.polyline(bar, ink, 4);
    }

    void drawPath(Svg& svg, unsigned int triangle) const {
        std::vector<Point> path;
        for (unsigned int number = 0; number < 3; ++number) {
            if (number == label(triangle)) {
                continue;
            }
            Point end = gate(triangle, number);
            if (number == 1) {
                end = between(middle(triangle), end, 2.2);
            } else if (isClosedBeyond(triangle, number)) {
                end = between(middle(triangle), end, 0.6);
                svg.circle(end, 5, costColour);
            }
            path.push_back(end);
            if (path.size() == 1) {
                path.push_back(middle(triangle));
            }
        }
        svg.polyline(path, "#0969da", 3);
    }

    void drawCost(Svg& svg) const {
        const unsigned int last = count_ - 1;
        const bool isFree = label(0) == (label(last) + 1) % 3;
        const bool isEnd = (label(last) == 2) != (label(0) == 0);
        if (!isFree && !isEnd) {
            svg.circle(gate(0, 0), 6, "#fff", costColour);
        }
    }

    Point centre_;
    unsigned int count_;
    unsigned int firstLabel_;
    std::vector<Point> rim_;
};

} // namespace

void drawStar(Svg& svg, const Point& centre, double radius, unsigned int count, unsigned int firstLabel) {
    Star(centre, radius, count, firstLabel).draw(svg);
}

} // namespace pictures
