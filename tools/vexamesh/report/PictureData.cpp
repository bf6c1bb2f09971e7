#include "report/PictureData.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <limits>
#include <string>
#include <zlib.h>

namespace vexa::tool {

namespace {

/// Writes integers, small ones in one byte.
class Stream {
public:
    void byte(unsigned char value) { bytes_.push_back(value); }
    void number(std::uint64_t value) {
        for (; value > 0x7f; value >>= 7) {
            byte(static_cast<unsigned char>(value | 0x80));
        }
        byte(static_cast<unsigned char>(value));
    }
    void signedNumber(std::int64_t value) {
        number(static_cast<std::uint64_t>(value < 0 ? ~value : value) << 1 | (value < 0 ? 1U : 0U));
    }
    void real(double value) {
        const auto bits = std::bit_cast<std::uint64_t>(value);
        for (unsigned int shift = 0; shift < 64; shift += 8) {
            byte(static_cast<unsigned char>(bits >> shift));
        }
    }

    [[nodiscard]] const Bytes& bytes() const { return bytes_; }

private:
    Bytes bytes_;
};

/// Streams with their names.
class Streams {
public:
    void add(const std::string& name, const Stream& stream) {
        sizes_.push_back({name, stream.bytes().size()});
        bytes_.insert(bytes_.end(), stream.bytes().begin(), stream.bytes().end());
    }

    [[nodiscard]] const Json& sizes() const { return sizes_; }
    [[nodiscard]] Bytes& bytes() { return bytes_; }

private:
    Json sizes_ = Json::array();
    Bytes bytes_;
};

using Point = std::array<std::int64_t, 3>;

/// The grid of a primitive's positions.
struct Grid {
    std::array<double, 3> origin{};
    std::array<double, 3> size{}; ///< in steps
    double step = 0;

    [[nodiscard]] Point round(const float* position) const {
        Point point{};
        for (std::size_t c = 0; c < 3; ++c) {
            const double coordinate = position[c];
            point[c] = step == 0 ? 0 : std::llround((coordinate - origin[c]) / step);
        }
        return point;
    }
};

Grid gridOf(const float* begin, std::size_t vertices) {
    constexpr double steps = std::numeric_limits<std::uint16_t>::max();
    Grid grid;
    std::array<double, 3> high{};
    double extent = 0;
    for (std::size_t c = 0; c < 3 && vertices > 0; ++c) {
        grid.origin[c] = high[c] = begin[c];
        for (std::size_t i = 1; i < vertices; ++i) {
            const double value = begin[3 * i + c];
            grid.origin[c] = std::min(grid.origin[c], value);
            high[c] = std::max(high[c], value);
        }
        extent = std::max(extent, high[c] - grid.origin[c]);
    }
    grid.step = extent / steps;
    for (std::size_t c = 0; c < 3 && extent > 0; ++c) {
        grid.size[c] = (high[c] - grid.origin[c]) / grid.step;
    }
    return grid;
}

/// The triangles, and the positions of their vertices in the order of first use.
class TriangleWriter {
public:
    explicit TriangleWriter(const Picture& picture) : picture_(picture) {}

    void write(Streams& streams, Json& primitives) {
        std::size_t triangle = 0;
        for (std::size_t i = 0; i < picture_.primitives.size(); ++i) {
            const PicturePrimitive& primitive = picture_.primitives[i];
            grid_ = gridOf(picture_.positions.data() + 3 * points_.size(), primitive.vertices);
            primitives[i]["origin"] = grid_.origin;
            primitives[i]["step"] = grid_.step;
            primitives[i]["size"] = grid_.size;
            isFirst_ = true;
            for (const std::size_t end = triangle + primitive.triangles; triangle < end; ++triangle) {
                addTriangle(picture_.corners.data() + 3 * triangle);
            }
        }
        streams.add("links", links_);
        streams.add("vertices", vertices_);
        streams.add("positions", positions_);
    }

private:
    using Corners = std::array<std::uint32_t, 3>;

    void addTriangle(const std::uint32_t* corners) {
        Corners next{corners[0], corners[1], corners[2]};
        for (unsigned char side = 0; side < 3 && !isFirst_; ++side) {
            for (int turn = 0; turn < 3; ++turn) {
                if (next[0] == last_[(side + 1U) % 3] && next[1] == last_[side]) {
                    links_.byte(side);
                    addVertex(next[2], parallelogram(side));
                    last_ = next;
                    return;
                }
                std::rotate(next.begin(), next.begin() + 1, next.end());
            }
        }
        links_.byte(3);
        for (const std::uint32_t corner : next) {
            addVertex(corner, points_.empty() || isFirst_ ? Point{} : points_.back());
            isFirst_ = false;
        }
        last_ = next;
    }

    /// Where the vertex across a side would be, if two triangles were a parallelogram.
    [[nodiscard]] Point parallelogram(unsigned char side) const {
        Point point{};
        for (std::size_t c = 0; c < 3; ++c) {
            point[c] =
                points_[last_[side]][c] + points_[last_[(side + 1U) % 3]][c] - points_[last_[(side + 2U) % 3]][c];
        }
        return point;
    }

    void addVertex(std::uint32_t vertex, const Point& expected) {
        vertices_.number(points_.size() - vertex);
        if (vertex == points_.size()) {
            const Point point = grid_.round(picture_.positions.data() + 3 * std::size_t{vertex});
            for (std::size_t c = 0; c < 3; ++c) {
                positions_.signedNumber(point[c] - expected[c]);
            }
            points_.push_back(point);
        }
    }

    const Picture& picture_;
    Grid grid_;
    Corners last_{};
    bool isFirst_ = true; ///< of its primitive
    std::vector<Point> points_;
    Stream links_;
    Stream vertices_;
    Stream positions_;
};

/// Each number as the difference from the preceding one.
Stream differences(const std::vector<std::uint32_t>& numbers) {
    Stream stream;
    std::int64_t last = 0;
    for (const std::uint32_t number : numbers) {
        stream.signedNumber(std::int64_t{number} - last);
        last = number;
    }
    return stream;
}

Stream partTable(const std::vector<Part>& parts) {
    Stream stream;
    for (const Part& part : parts) {
        for (const std::uint32_t number : {part.shown, part.triangles, part.indices, part.swaps, part.primitive,
                                           static_cast<std::uint32_t>(part.kind)}) {
            stream.number(number);
        }
    }
    return stream;
}

Stream colourTable(const Drawing& drawing) {
    Stream stream;
    for (const std::vector<std::uint8_t>& level : drawing.colours) {
        for (const std::uint8_t colour : level) {
            stream.byte(colour);
        }
    }
    return stream;
}

Stream placementTable(const Picture& picture) {
    Stream stream;
    for (const PicturePrimitive& primitive : picture.primitives) {
        for (const glm::dmat4& placement : primitive.placements) {
            for (int column = 0; column < 4; ++column) {
                for (int row = 0; row < 3; ++row) {
                    const double value = placement[column][row];
                    stream.real(std::isfinite(value) ? value : 0);
                }
            }
        }
    }
    return stream;
}

} // namespace

PictureData encodePicture(const Picture& picture) {
    PictureData data;
    Json primitives = Json::array();
    for (const PicturePrimitive& primitive : picture.primitives) {
        primitives.push_back({{"name", primitive.name},
                              {"triangles", primitive.triangles},
                              {"vertices", primitive.vertices},
                              {"border", primitive.borderEdges},
                              {"nonManifold", primitive.nonManifoldEdges},
                              {"placements", primitive.placements.size()}});
    }
    Streams streams;
    TriangleWriter(picture).write(streams, primitives);
    streams.add("placements", placementTable(picture));
    streams.add("split-off", differences(picture.splitOff));
    streams.add("border", differences(picture.borderEdges));
    streams.add("non-manifold", differences(picture.nonManifoldEdges));
    Json drawings = Json::array();
    for (const Drawing& drawing : picture.drawings) {
        const std::string number = std::to_string(drawings.size());
        streams.add("parts-" + number, partTable(drawing.parts));
        streams.add("colours-" + number, colourTable(drawing));
        streams.add("order-" + number, differences(drawing.order));
        drawings.push_back({{"name", drawing.name}, {"parts", drawing.parts.size()}});
    }
    Json steps = Json::array();
    for (const PictureStep& step : picture.steps) {
        steps.push_back({{"name", step.name}, {"indices", step.indices}, {"drawing", step.drawing}});
    }
    data.facts = {{"steps", std::move(steps)},       {"primitives", std::move(primitives)},
                  {"drawings", std::move(drawings)}, {"levels", PictureBuilder::levels},
                  {"triangles", picture.triangles},  {"shown", picture.shownTriangles()},
                  {"streams", streams.sizes()}};
    data.bytes = std::move(streams.bytes());
    return data;
}

Bytes deflate(const Bytes& bytes) {
    Bytes packed(compressBound(bytes.size()));
    uLongf size = packed.size();
    if (compress2(packed.data(), &size, bytes.data(), bytes.size(), Z_BEST_COMPRESSION) != Z_OK) {
        throw std::bad_alloc();
    }
    packed.resize(size);
    return packed;
}

} // namespace vexa::tool
