#include "io/import/FaceSet.h"

#include "io/import/ImportedAttributes.h"
#include "io/import/Polygon.h"
#include "io/import/RowTable.h"

#include <algorithm>
#include <array>
#include <numeric>

namespace vexa::tool {

namespace {

/// A corner of a set by its places in the three kinds of attributes.
struct Corner {
    std::size_t vertex;
    std::size_t corner;
    std::size_t face;
};

/// Gives corners that agree in everything the same number.
class Splitter {
public:
    explicit Splitter(const FaceSet& set) : set_(set), table_(rowSize(set)), row_(rowSize(set)) {}

    unsigned int indexOf(const Corner& corner) {
        const auto vertex = static_cast<std::uint32_t>(corner.vertex);
        std::memcpy(row_.data(), &vertex, sizeof vertex);
        std::size_t at = sizeof vertex;
        for (const NewAttribute& attribute : set_.cornerAttributes) {
            at = copyElement(attribute, corner.corner, at);
        }
        for (const NewAttribute& attribute : set_.faceAttributes) {
            at = copyElement(attribute, corner.face, at);
        }
        const unsigned int index = table_.indexOf(row_.data());
        if (table_.size() > vertices_.size()) {
            vertices_.push_back(corner.vertex);
            corners_.push_back(corner.corner);
            faces_.push_back(corner.face);
        }
        return index;
    }

    [[nodiscard]] const std::vector<std::size_t>& usedVertices() const { return vertices_; }

    [[nodiscard]] std::vector<NewAttribute> attributes(const std::vector<NewAttribute>& vertexAttributes) const {
        std::vector<NewAttribute> result;
        const auto add = [&](const std::vector<NewAttribute>& from, const std::vector<std::size_t>& elements) {
            for (const NewAttribute& attribute : from) {
                result.push_back(gather(attribute, elements));
            }
        };
        add(vertexAttributes, vertices_);
        add(set_.cornerAttributes, corners_);
        add(set_.faceAttributes, faces_);
        return result;
    }

private:
    static std::size_t paddedSize(const NewAttribute& attribute) {
        return (attribute.values.elementSize() + 3) / 4 * 4;
    }

    static std::size_t rowSize(const FaceSet& set) {
        std::size_t size = sizeof(std::uint32_t);
        for (const auto* attributes : {&set.cornerAttributes, &set.faceAttributes}) {
            for (const NewAttribute& attribute : *attributes) {
                size += paddedSize(attribute);
            }
        }
        return size;
    }

    std::size_t copyElement(const NewAttribute& attribute, std::size_t element, std::size_t at) {
        const std::size_t size = attribute.values.elementSize();
        std::copy_n(attribute.values.bytes.data() + element * size, size, row_.data() + at);
        return at + paddedSize(attribute);
    }

    const FaceSet& set_;
    RowTable table_;
    Bytes row_;
    std::vector<std::size_t> vertices_, corners_, faces_;
};

Point positionOf(const NewAttribute& positions, std::size_t vertex) {
    const unsigned char* at = positions.values.bytes.data() + vertex * 3 * sizeof(float);
    return {loadValue<float>(at), loadValue<float>(at + sizeof(float)), loadValue<float>(at + 2 * sizeof(float))};
}

/// The corners of the faces of one kind, as places in `corners`, with the faces that they belong to.
struct Part {
    mesh::PrimitiveType type;
    std::vector<std::pair<std::size_t, std::size_t>> places;
};

void addFace(std::span<const unsigned int> face, std::size_t begin, std::size_t number, const NewAttribute& positions,
             std::array<Part, 3>& parts) {
    if (face.size() <= 3) {
        for (std::size_t i = 0; i < face.size(); ++i) {
            parts[3 - face.size()].places.emplace_back(begin + i, number);
        }
        return;
    }
    std::vector<Point> points;
    for (const unsigned int vertex : face) {
        points.push_back(positionOf(positions, vertex));
    }
    for (const auto& triangle : triangulatePolygon(points)) {
        for (const std::size_t corner : triangle) {
            parts[0].places.emplace_back(begin + corner, number);
        }
    }
}

std::array<Part, 3> partsOf(const FaceSet& set, const NewAttribute& positions) {
    std::array<Part, 3> parts{{{mesh::TRIANGLES, {}}, {mesh::LINES, {}}, {mesh::POINTS, {}}}};
    parts[0].places.reserve(set.corners.size());
    std::size_t begin = 0;
    for (std::size_t f = 0; f < set.sizes.size(); ++f) {
        addFace(std::span(set.corners).subspan(begin, set.sizes[f]), begin, f, positions, parts);
        begin += set.sizes[f];
    }
    return parts;
}

/// A primitive with all vertices as they are.
NewPrimitive sharePart(const FaceSet& set, const Part& part, const std::vector<NewAttribute>& vertexAttributes,
                       std::vector<bool>& isUsed) {
    NewPrimitive primitive{part.type, {}, vertexAttributes, set.material};
    primitive.indices.reserve(part.places.size());
    for (const auto& [corner, face] : part.places) {
        primitive.indices.push_back(set.corners[corner]);
    }
    isUsed.assign(isUsed.size(), true);
    return primitive;
}

/// A primitive with the vertices that it uses, split where its values differ.
NewPrimitive splitPart(const FaceSet& set, const Part& part, const std::vector<NewAttribute>& vertexAttributes,
                       std::vector<bool>& isUsed) {
    NewPrimitive primitive{part.type, {}, {}, set.material};
    primitive.indices.reserve(part.places.size());
    Splitter splitter(set);
    for (const auto& [corner, face] : part.places) {
        primitive.indices.push_back(splitter.indexOf({set.corners[corner], corner, face}));
    }
    primitive.attributes = splitter.attributes(vertexAttributes);
    for (const std::size_t vertex : splitter.usedVertices()) {
        isUsed[vertex] = true;
    }
    return primitive;
}

} // namespace

NewAttribute gather(const NewAttribute& attribute, std::span<const std::size_t> elements) {
    NewAttribute result = attribute;
    const std::size_t size = attribute.values.elementSize();
    result.values.count = elements.size();
    result.values.bytes.resize(elements.size() * size);
    for (std::size_t i = 0; i < elements.size(); ++i) {
        std::copy_n(attribute.values.bytes.data() + elements[i] * size, size, result.values.bytes.data() + i * size);
    }
    return result;
}

std::vector<NewPrimitive> makePrimitives(const std::vector<NewAttribute>& vertexAttributes,
                                         std::span<const FaceSet> sets, std::vector<std::string>& leftOut) {
    std::vector<NewPrimitive> primitives;
    std::vector<bool> isUsed(vertexAttributes.front().values.count);
    for (const FaceSet& set : sets) {
        const bool isPlain = sets.size() == 1 && set.cornerAttributes.empty() && set.faceAttributes.empty();
        for (const Part& part : partsOf(set, vertexAttributes.front())) {
            if (!part.places.empty()) {
                primitives.push_back(isPlain ? sharePart(set, part, vertexAttributes, isUsed)
                                             : splitPart(set, part, vertexAttributes, isUsed));
            }
        }
    }
    const auto unused = std::count(isUsed.begin(), isUsed.end(), false);
    if (unused > 0 && !primitives.empty()) {
        leftOut.push_back("vertices that no face uses: " + std::to_string(unused));
    }
    return primitives;
}

NewPrimitive makePoints(std::vector<NewAttribute> vertexAttributes) {
    NewPrimitive primitive;
    primitive.type = mesh::POINTS;
    primitive.indices.resize(vertexAttributes.front().values.count);
    std::iota(primitive.indices.begin(), primitive.indices.end(), 0U);
    primitive.attributes = std::move(vertexAttributes);
    return primitive;
}

} // namespace vexa::tool
