#include "report/Preview.h"

#include "report/PartColours.h"
#include "report/View.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdint>
#include <glm/geometric.hpp>
#include <limits>
#include <new>
#include <png.h>
#include <vector>

namespace vexa::tool {

namespace {

constexpr unsigned int samples = 2; ///< of a pixel, in both directions
constexpr unsigned int columns = previewWidth * samples;
constexpr unsigned int rows = previewHeight * samples;
constexpr std::uint32_t background = 0xf4f5f7;
/// Half of the vertical angle of view, as a slope, and how much of the view the model fills.
constexpr double slope = 0.3153;
constexpr double filled = 0.9;
/// Groups of strips should be about this wide, in samples.
constexpr double groupWidth = 22;

using Colour = glm::dvec3;

Colour colourOf(std::uint32_t rgb) {
    return {rgb >> 16 & 255U, rgb >> 8 & 255U, rgb & 255U};
}

/// An eye that looks at the model's centre from where all of it is seen.
class Camera {
public:
    Camera(const Picture& picture, const glm::dvec3& direction) : back_(direction) {
        glm::dvec3 low(std::numeric_limits<double>::max());
        glm::dvec3 high(std::numeric_limits<double>::lowest());
        forEachDrawnTriangle(picture, [&](std::size_t, const glm::dvec3* corners) {
            for (std::size_t c = 0; c < 3; ++c) {
                low = glm::min(low, corners[c]);
                high = glm::max(high, corners[c]);
            }
        });
        centre_ = 0.5 * (low + high);
        right_ = glm::normalize(glm::cross(glm::dvec3(0, 1, 0), back_));
        up_ = glm::cross(back_, right_);
        constexpr double aspect = double{previewWidth} / previewHeight;
        forEachDrawnTriangle(picture, [&](std::size_t, const glm::dvec3* corners) {
            for (std::size_t c = 0; c < 3; ++c) {
                const glm::dvec3 seen = turn(corners[c]);
                const double needed = std::max(std::abs(seen.x) / aspect, std::abs(seen.y)) / (slope * filled);
                distance_ = std::max(distance_, seen.z + needed);
            }
        });
    }

    /// In the coordinates of the eye, with the centre as origin.
    [[nodiscard]] glm::dvec3 turn(const glm::dvec3& point) const {
        const glm::dvec3 offset = point - centre_;
        return {glm::dot(offset, right_), glm::dot(offset, up_), glm::dot(offset, back_)};
    }

    /// In samples from the upper left; z is larger for what is nearer.
    [[nodiscard]] glm::dvec3 project(const glm::dvec3& seen) const {
        const double scale = rows / (2 * slope * (distance_ - seen.z));
        return {columns / 2.0 + seen.x * scale, rows / 2.0 - seen.y * scale, 1 / (distance_ - seen.z)};
    }

private:
    glm::dvec3 back_;
    glm::dvec3 right_{};
    glm::dvec3 up_{};
    glm::dvec3 centre_{};
    double distance_ = 1e-30;
};

/// Samples with the nearest triangle's colour.
class Canvas {
public:
    Canvas() : colours_(std::size_t{columns} * rows, colourOf(background)), depths_(colours_.size(), 0) {}

    void fill(const std::array<glm::dvec3, 3>& corners, const Colour& colour) {
        const auto [a, b, c] = corners;
        const double area = (b.x - a.x) * (c.y - a.y) - (c.x - a.x) * (b.y - a.y);
        if (!(std::abs(area) > 1e-9)) {
            return;
        }
        const auto [left, right] = range(std::min({a.x, b.x, c.x}), std::max({a.x, b.x, c.x}), columns);
        const auto [top, bottom] = range(std::min({a.y, b.y, c.y}), std::max({a.y, b.y, c.y}), rows);
        for (unsigned int y = top; y < bottom; ++y) {
            for (unsigned int x = left; x < right; ++x) {
                const double v = ((x + 0.5 - a.x) * (c.y - a.y) - (c.x - a.x) * (y + 0.5 - a.y)) / area;
                const double w = ((b.x - a.x) * (y + 0.5 - a.y) - (x + 0.5 - a.x) * (b.y - a.y)) / area;
                const double depth = a.z + v * (b.z - a.z) + w * (c.z - a.z);
                const std::size_t at = std::size_t{y} * columns + x;
                if (v >= 0 && w >= 0 && v + w <= 1 && depth > depths_[at]) {
                    depths_[at] = depth;
                    colours_[at] = colour;
                }
            }
        }
    }

    /// Three bytes for each pixel, row by row.
    [[nodiscard]] std::vector<png_byte> pixels() const {
        std::vector<png_byte> result;
        result.reserve(std::size_t{3} * previewWidth * previewHeight);
        for (unsigned int y = 0; y < rows; y += samples) {
            for (unsigned int x = 0; x < columns; x += samples) {
                Colour sum{};
                for (unsigned int i = 0; i < samples * samples; ++i) {
                    sum += colours_[std::size_t{y + i / samples} * columns + x + i % samples];
                }
                for (int c = 0; c < 3; ++c) {
                    result.push_back(static_cast<png_byte>(std::clamp(sum[c] / (samples * samples), 0.0, 255.0)));
                }
            }
        }
        return result;
    }

private:
    static std::pair<unsigned int, unsigned int> range(double low, double high, unsigned int size) {
        const auto clamped = [size](double value) {
            return static_cast<unsigned int>(std::clamp(value, 0.0, static_cast<double>(size)));
        };
        return {clamped(std::floor(low)), clamped(std::ceil(high))};
    }

    std::vector<Colour> colours_;
    std::vector<double> depths_;
};

/// The level whose groups of strips are wide enough to be told apart, if half of the triangles cover half of the view.
std::size_t levelFor(std::size_t triangles) {
    const double perTriangle =
        std::sqrt(0.5 * columns * rows / static_cast<double>(std::max<std::size_t>(triangles, 1)));
    std::size_t level = 0;
    for (double size = 16; level + 1 < PictureBuilder::levels && perTriangle * std::sqrt(size) < groupWidth;
         size *= 4) {
        ++level;
    }
    return level;
}

/// The colour of each triangle's part.
std::vector<Colour> triangleColours(const Picture& picture) {
    const Drawing& drawing = picture.drawings.front();
    const std::vector<std::uint8_t>& level = drawing.colours[levelFor(picture.shownTriangles())];
    std::vector<Colour> colours;
    colours.reserve(picture.shownTriangles());
    for (std::size_t i = 0; i < drawing.parts.size(); ++i) {
        const Part& part = drawing.parts[i];
        colours.insert(colours.end(), part.shown,
                       colourOf(part.kind == PartKind::LeftOver ? leftOverColour : partPalette[level[i]]));
    }
    return colours;
}

Bytes encodePng(const std::vector<png_byte>& pixels) {
    png_image image{};
    image.version = PNG_IMAGE_VERSION;
    image.width = previewWidth;
    image.height = previewHeight;
    image.format = PNG_FORMAT_RGB;
    png_alloc_size_t size = PNG_IMAGE_PNG_SIZE_MAX(image);
    Bytes file(size);
    if (png_image_write_to_memory(&image, file.data(), &size, 0, pixels.data(), 0, nullptr) == 0) {
        throw std::bad_alloc();
    }
    file.resize(size);
    return file;
}

} // namespace

Bytes drawPreview(const Picture& picture, const glm::dvec3& direction) {
    Canvas canvas;
    const Camera camera(picture, direction);
    const std::vector<Colour> colours = triangleColours(picture);
    forEachDrawnTriangle(picture, [&](std::size_t triangle, const glm::dvec3* corners) {
        std::array<glm::dvec3, 3> seen{camera.turn(corners[0]), camera.turn(corners[1]), camera.turn(corners[2])};
        const glm::dvec3 normal = glm::cross(seen[1] - seen[0], seen[2] - seen[0]);
        const double length = glm::length(normal);
        const double light = 0.66 + (length > 0 ? 0.34 * std::abs(normal.z) / length : 0);
        for (glm::dvec3& corner : seen) {
            corner = camera.project(corner);
        }
        canvas.fill(seen, colours[triangle] * light);
    });
    return encodePng(canvas.pixels());
}

} // namespace vexa::tool
