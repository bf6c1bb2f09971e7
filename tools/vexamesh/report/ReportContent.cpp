#include "report/ReportFacts.h"

#include "Errors.h"
#include "MeshConversion.h"
#include "Placement.h"
#include "StripReport.h"
#include "Triangles.h"

#include <algorithm>
#include <cmath>
#include <glm/vec4.hpp>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <vexa/mesh/AttributeBufferDump.h>

namespace vexa::tool {

namespace {

/// Passes that are tried for the plot when the strips come from one: enough to see how much they differ.
constexpr std::uint32_t trialPasses = 16;
/// Triangles up to which they are.
constexpr std::size_t mostTrialTriangles = 300'000;

/// Columns before a property's value in the dump of a buffer.
constexpr std::size_t labelWidth = 29;

/// The dump of a buffer, without what would break a line in its name.
std::string dumpOf(const std::shared_ptr<mesh::AttributeBuffer>& buffer) {
    std::ostringstream out;
    mesh::detail::printAttributeBuffer(out, buffer, false);
    std::string dump = out.str();
    const auto name = dump.begin() + static_cast<std::ptrdiff_t>(dump.find('\n') + 1 + labelWidth);
    const auto isControl = [](char c) { return static_cast<unsigned char>(c) < ' '; };
    std::replace_if(name, name + static_cast<std::ptrdiff_t>(buffer->getAttributeName().size()), isControl, ' ');
    return dump;
}

using Positions = std::shared_ptr<const std::vector<float>>;

/// Positions where the scene shows them first.
class PositionReader {
public:
    explicit PositionReader(const Document& document) : document_(document), matrices_(document.meshes.size()) {
        for (const MeshInstance& instance : meshInstances(document)) {
            std::optional<glm::dmat4>& matrix = matrices_.at(instance.mesh);
            isPlaced_ = isPlaced_ && !matrix;
            matrix = matrix ? matrix : instance.matrix;
        }
    }

    /// Whether every mesh is shown no more than once.
    [[nodiscard]] bool isPlaced() const { return isPlaced_; }

    /// Three floats per vertex; what is no number becomes 0, so that it can be drawn.
    [[nodiscard]] Positions read(std::size_t mesh, const Primitive& primitive) {
        const Attribute* attribute = primitive.findAttribute("POSITION");
        if (attribute == nullptr) {
            return std::make_shared<std::vector<float>>();
        }
        Positions& known = known_[{mesh, attribute->accessor}];
        if (known == nullptr) {
            known = std::make_shared<std::vector<float>>(place(mesh, attribute->accessor));
        }
        return known;
    }

private:
    [[nodiscard]] std::vector<float> place(std::size_t mesh, std::size_t accessor) const {
        const AccessorData values = toFloats(readAccessor(document_.asset, accessor));
        const glm::dmat4 matrix = matrices_[mesh].value_or(glm::dmat4(1));
        std::vector<float> positions;
        positions.reserve(3 * values.count);
        for (std::size_t i = 0; i < values.count; ++i) {
            glm::dvec4 position(0, 0, 0, 1);
            for (std::size_t c = 0; c < std::min<std::size_t>(values.components, 3); ++c) {
                position[static_cast<int>(c)] = values.component(i, c);
            }
            position = matrix * position;
            for (int c = 0; c < 3; ++c) {
                const auto value = static_cast<float>(position[c]);
                positions.push_back(std::isfinite(value) ? value : 0);
            }
        }
        return positions;
    }

    const Document& document_;
    std::vector<std::optional<glm::dmat4>> matrices_;
    bool isPlaced_ = true;
    /// Primitives of one mesh often share their vertices.
    std::map<std::pair<std::size_t, std::size_t>, Positions> known_;
};

/// What has to be remembered of a primitive until its strips are known.
struct Pending {
    std::size_t mesh;
    std::size_t primitive;
    std::vector<unsigned int> triangles;
    std::vector<bool> isSplitOff;
    Positions positions;
};

class Collector {
public:
    Collector(Document document, const ReportSettings& settings)
        : document_(std::move(document)), settings_(settings), builder_(settings.mostShownTriangles) {
        settings_.strip.keepParts = true;
    }

    ReportFacts run(const StripProgress& progress) {
        facts_.warnings = document_.asset.warnings;
        chooseTrial();
        PositionReader reader(document_);
        for (std::size_t m = 0; m < document_.meshes.size(); ++m) {
            for (std::size_t p = 0; p < document_.meshes[m].primitives.size(); ++p) {
                describeBuffers(m, p);
                if (hasTriangles(document_.meshes[m].primitives[p])) {
                    describeTriangles(m, p, reader);
                }
            }
        }
        // The passes were told of already.
        settings_.strip.onPass = {};
        facts_.outcome = stripDocument(std::move(document_), settings_.strip, progress);
        describeCuts();
        facts_.picture = std::move(builder_.picture());
        facts_.picture.isPlaced = reader.isPlaced();
        return std::move(facts_);
    }

private:
    void chooseTrial() {
        iterations_ = settings_.strip.options.iterations;
        facts_.isSearched = iterations_ > 1;
        std::size_t indices = 0;
        for (const Mesh& mesh : document_.meshes) {
            for (const Primitive& primitive : mesh.primitives) {
                indices += hasTriangles(primitive) ? primitive.indices.size() : 0;
            }
        }
        if (iterations_ == 1 && indices / 3 <= mostTrialTriangles) {
            iterations_ = trialPasses;
        }
    }

    void describeBuffers(std::size_t mesh, std::size_t index) {
        const mesh::MeshPtr primitive = toMesh(document_, document_.meshes[mesh].primitives[index]);
        for (unsigned long i = 0; i < primitive->getNumAttributeBuffers(); ++i) {
            std::istringstream lines(dumpOf(primitive->getAttributeBuffer(i)));
            BufferRow row{primitiveName(document_.meshes[mesh], index), {}};
            std::vector<std::string> properties;
            std::string line;
            std::getline(lines, line);
            constexpr std::size_t markWidth = 4;
            while (std::getline(lines, line)) {
                const std::string label = line.substr(markWidth, labelWidth - markWidth);
                properties.push_back(label.substr(0, label.find_last_not_of(' ') + 1));
                row.values.push_back(line.substr(labelWidth));
            }
            facts_.bufferProperties = std::move(properties);
            facts_.buffers.push_back(std::move(row));
        }
    }

    void describeTriangles(std::size_t m, std::size_t p, PositionReader& reader) {
        const Mesh& mesh = document_.meshes[m];
        const Primitive& primitive = mesh.primitives[p];
        PrimitiveRow row;
        row.name = primitiveName(mesh, p);
        Pending pending{m, p, mesh::toTriangles(primitive.type, primitive.indices), {}, reader.read(m, primitive)};
        GraphFacts graph = describeGraph(primitive, settings_.strip.options, iterations_, settings_.strip.onPass);
        row.triangles = pending.triangles.size() / 3;
        row.edges = countEdges(pending.triangles);
        row.splitOff = static_cast<std::size_t>(std::count(graph.isSplitOff.begin(), graph.isSplitOff.end(), true));
        row.graphLines = std::move(graph.lines);
        facts_.passes.add(graph.passes);
        describeNormals(primitive, row);
        pending.isSplitOff = std::move(graph.isSplitOff);
        facts_.primitives.push_back(std::move(row));
        pending_.push_back(std::move(pending));
    }

    void describeNormals(const Primitive& primitive, PrimitiveRow& row) {
        const Attribute* normal = primitive.findAttribute("NORMAL");
        if (normal == nullptr) {
            return;
        }
        const AccessorData values = readAccessor(document_.asset, normal->accessor);
        if (values.components != 3) {
            throw FileError(document_.file.string(), row.name + " has normals that are no VEC3");
        }
        packNormals(values, row.normals,
                    [&](double angle) { facts_.normalAngles.push_back(static_cast<float>(angle)); });
        facts_.normals.add(row.normals);
    }

    void describeCuts() {
        std::size_t next = 0;
        for (const CutPrimitive& cut : facts_.outcome.cuts) {
            // Primitives without a single triangle were not cut.
            while (pending_[next].mesh != cut.mesh || pending_[next].primitive != cut.primitive) {
                ++next;
            }
            Pending& pending = pending_[next];
            PrimitiveRow& row = facts_.primitives[next];
            for (const mesh::IndexedPrimitive& part : cut.parts) {
                describePart(part, row);
            }
            if (facts_.outcome.total.sameTriangles) {
                builder_.add({row.name, pending.triangles, cut.parts, pending.isSplitOff,
                              sortedEdges(pending.triangles), *pending.positions});
            }
            pending = {};
            ++next;
        }
        facts_.outcome.cuts = {};
    }

    void describePart(const mesh::IndexedPrimitive& part, PrimitiveRow& row) {
        facts_.cost += static_cast<std::int64_t>(part.indices.size());
        if (part.type == mesh::TRIANGLE_FAN) {
            ++row.fans;
        } else if (part.type == mesh::TRIANGLES) {
            row.leftOver += part.indices.size() / 3;
        } else {
            const std::size_t triangles = mesh::toTriangles(part.type, part.indices).size() / 3;
            const std::size_t swaps = part.indices.size() - 2 - triangles;
            ++row.strips;
            row.longestStrip = std::max(row.longestStrip, triangles);
            row.swaps += swaps;
            facts_.stripLengths.push_back(triangles);
            facts_.stripSwaps.push_back(swaps);
        }
    }

    Document document_;
    ReportSettings settings_;
    std::uint32_t iterations_ = 1;
    std::vector<Pending> pending_; ///< one for each row of primitives
    PictureBuilder builder_;
    ReportFacts facts_;
};

Json edgesJson(const EdgeCounts& edges) {
    return {{"edges", edges.edges}, {"border", edges.border}, {"nonManifold", edges.nonManifold}};
}

Json primitiveJson(const PrimitiveRow& row) {
    return {{"name", row.name},
            {"triangles", row.triangles},
            {"strips", row.strips},
            {"fans", row.fans},
            {"leftOver", row.leftOver},
            {"splitOff", row.splitOff},
            {"longestStrip", row.longestStrip},
            {"swaps", row.swaps},
            {"edges", edgesJson(row.edges)}};
}

} // namespace

ReportFacts collectFacts(Document document, const ReportSettings& settings, const StripProgress& progress) {
    const std::string file = document.file.string();
    try {
        return Collector(std::move(document), settings).run(progress);
    } catch (const FormatError& error) {
        throw FileError(file, error.what());
    }
}

Json reportJson(const std::string& input, const std::string& output, const ReportFacts& facts) {
    Json json = stripJson(input, output, facts.outcome);
    Json primitives = Json::array();
    std::transform(facts.primitives.begin(), facts.primitives.end(), std::back_inserter(primitives), primitiveJson);
    json["report"] = {{"indicesBeforeJoining", facts.cost},
                      {"primitives", std::move(primitives)},
                      {"passes",
                       {{"ofTheseStrips", facts.isSearched},
                        {"costs", facts.passes.totals},
                        {"best", facts.passes.best},
                        {"worst", facts.passes.worst}}},
                      {"packedNormals",
                       {{"normals", facts.normals.normals},
                        {"withoutDirection", facts.normals.withoutDirection},
                        {"meanAngle", facts.normals.mean()},
                        {"largestAngle", facts.normals.largest}}},
                      {"shownTriangles", facts.picture.shownTriangles()}};
    return json;
}

} // namespace vexa::tool
