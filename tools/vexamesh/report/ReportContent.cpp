#include "report/ReportContent.h"

#include "base/Errors.h"
#include "cli/StripSummary.h"
#include "ops/GraphReport.h"
#include "ops/MeshConversion.h"
#include "ops/Packing.h"
#include "ops/Triangles.h"
#include "report/ScenePositions.h"
#include "report/SearchSteps.h"

#include <algorithm>
#include <glm/mat4x4.hpp>
#include <iterator>
#include <set>
#include <string>

namespace vexa::tool {

namespace {

/// Passes that are tried for the plot when the strips come from one: enough to see how much they differ.
constexpr std::uint32_t trialPasses = 16;
/// Triangles up to which they are.
constexpr std::size_t maxTrialTriangles = 300'000;
/// The effort that is tried up to there, because it takes as long as many passes; lower ones always are.
constexpr std::size_t longEffort = 3;
/// The effort whose search depends on time, so that it cannot be repeated.
constexpr unsigned int timedEffort = 4;

/// A primitive whose strips are not known yet.
struct Pending {
    std::size_t mesh;
    std::size_t primitive;
    std::vector<unsigned int> triangles;
    std::vector<bool> isSplitOff;
    ScenePositions::Values positions;
    std::vector<glm::dmat4> placements;
    bool isCounted; ///< no other before it has the same indices
};

class Collector {
public:
    Collector(Document document, const ReportSettings& settings)
        : document_(std::move(document)), settings_(settings), builder_(settings.maxShownTriangles) {
        settings_.strip.keepParts = true;
        settings_.strip.provesMin = true;
        if (auto& passes = settings_.strip.passes) {
            passes->onPass = [this, observe = passes->onPass](const mesh::StripPass& pass) {
                // One pass starts without drawing at random, and is not the first of several.
                if (pass.wanted > 1) {
                    content_.passes.add(pass);
                }
                return !observe || observe(pass);
            };
        }
    }

    ReportContent run(const PrimitiveProgress& progress) {
        content_.warnings = document_.asset.warnings;
        content_.isSearched = settings_.strip.passes && settings_.strip.passes->iterations > 1;
        const std::size_t triangles = countTriangles();
        const bool isSmall = triangles <= maxTrialTriangles;
        const bool hasSteps = !settings_.strip.passes && settings_.strip.search.effort < timedEffort;
        content_.hidesSteps = hasSteps && triangles > std::min(settings_.maxShownTriangles, SearchSteps::maxTriangles);
        showsSteps_ = hasSteps && !content_.hidesSteps;
        isTried_ = !content_.isSearched && isSmall;
        content_.efforts.resize(isSmall ? longEffort + 1 : longEffort);
        ScenePositions reader(document_);
        content_.warnings.insert(content_.warnings.end(), reader.warnings().begin(), reader.warnings().end());
        for (std::size_t m = 0; m < document_.meshes.size(); ++m) {
            for (std::size_t p = 0; p < document_.meshes[m].primitives.size(); ++p) {
                describeBuffers(m, p);
                if (hasTriangles(document_.meshes[m].primitives[p])) {
                    describeTriangles(m, p, reader);
                }
            }
        }
        content_.listBytes = writeGlb(document_.asset.json, document_.asset.buffers).size();
        content_.outcome = stripDocument(std::move(document_), settings_.strip, progress);
        content_.fault = readBackStrips(content_.outcome);
        if (!hasStrips()) {
            showsSteps_ = content_.hidesSteps = false;
        }
        describeCuts();
        content_.picture = builder_.finish();
        if (content_.picture.shownTriangles() > 0) {
            content_.picture.steps = std::move(steps_);
        }
        if (!settings_.comparedEfforts.empty() && !content_.picture.isWhole()) {
            content_.warnings.push_back("the picture shows a part of the triangles, so efforts are not compared in it");
        }
        return std::move(content_);
    }

private:
    [[nodiscard]] std::size_t countTriangles() const {
        std::size_t indices = 0;
        for (const Mesh& mesh : document_.meshes) {
            for (const Primitive& primitive : mesh.primitives) {
                indices += hasTriangles(primitive) ? primitive.indices.size() : 0;
            }
        }
        return indices / 3;
    }

    /// Whether a primitive is written as strips; there is something to step through only then.
    [[nodiscard]] bool hasStrips() const {
        const std::vector<StripStats>& meshes = content_.outcome.meshes;
        return std::any_of(meshes.begin(), meshes.end(), [](const StripStats& mesh) {
            return std::any_of(mesh.forms.begin(), mesh.forms.end(), [](const ChosenForm& chosen) {
                return chosen.form == StripForm::Strips || chosen.form == StripForm::StripsAndList;
            });
        });
    }

    void describeBuffers(std::size_t mesh, std::size_t index) {
        const mesh::MeshPtr primitive = toMesh(document_, document_.meshes[mesh].primitives[index]);
        for (unsigned long i = 0; i < primitive->getNumAttributeBuffers(); ++i) {
            const mesh::AttributeBuffer& buffer = *primitive->getAttributeBuffer(i);
            content_.buffers.push_back({primitiveName(document_.meshes[mesh], index),
                                        buffer.getAttributeName(),
                                        mesh::getStringForComponentType(buffer.getComponentType()),
                                        {buffer.getComponentSizeInBytes(), buffer.getComponentCountPerElement(),
                                         buffer.getElementSizeInBytes(), buffer.getElementStrideInBytes(),
                                         buffer.getElementOffsetInBytes(), buffer.getElementCount()}});
        }
    }

    void describeTriangles(std::size_t m, std::size_t p, ScenePositions& reader) {
        const Mesh& mesh = document_.meshes[m];
        const Primitive& primitive = mesh.primitives[p];
        PrimitiveRow row;
        row.name = primitiveName(mesh, p);
        Pending pending{m,
                        p,
                        mesh::toTriangles(primitive.type, primitive.indices),
                        {},
                        reader.read(m, primitive),
                        reader.placements(m),
                        !primitive.indexAccessor || counted_.insert(*primitive.indexAccessor).second};
        pending.isSplitOff =
            reportGraph(primitive, false, [&](const std::string& line) { row.graphLines.push_back(line); });
        if (isTried_) {
            mesh::StripOptions trial = settings_.strip.passes.value_or(mesh::StripOptions());
            trial.iterations = trialPasses;
            trial.onPass = [this](const mesh::StripPass& pass) {
                content_.passes.add(pass);
                return true;
            };
            mesh::buildPrimitives(pending.triangles, trial);
        }
        if (isTried_ || content_.isSearched) {
            content_.minCost += minStripIndices(pending.triangles, Joining::None);
        }
        if (pending.isCounted) {
            tryEfforts(pending.triangles);
        }
        row.triangles = pending.triangles.size() / 3;
        row.edges = countEdges(pending.triangles);
        row.splitOff = static_cast<std::size_t>(std::count(pending.isSplitOff.begin(), pending.isSplitOff.end(), true));
        describeNormals(mesh, p, row);
        content_.primitives.push_back(std::move(row));
        pending_.push_back(std::move(pending));
    }

    /// How strips are searched for with another effort than that of the report.
    [[nodiscard]] mesh::StripBufferOptions optionsOf(unsigned int effort) const {
        mesh::StripBufferOptions options;
        options.effort = effort;
        options.join = joinOfSearch();
        return options;
    }
    [[nodiscard]] mesh::StripJoin joinOfSearch() const {
        return settings_.strip.joining == Joining::Degenerate ? mesh::StripJoin::Degenerate : mesh::StripJoin::Restart;
    }

    void tryEfforts(const std::vector<unsigned int>& triangles) {
        const Joining joining = settings_.strip.joining;
        for (std::size_t effort = 0; effort < content_.efforts.size(); ++effort) {
            const std::vector<unsigned int> indices =
                mesh::buildStripBuffer(triangles, optionsOf(static_cast<unsigned int>(effort)));
            const auto separators = std::count(indices.begin(), indices.end(), mesh::restartIndex);
            content_.efforts[effort] +=
                indices.size() - (joining == Joining::None ? static_cast<std::size_t>(separators) : 0);
        }
    }

    void describeNormals(const Mesh& mesh, std::size_t index, PrimitiveRow& row) {
        if (const auto values = readNormals(document_, mesh, index)) {
            row.normals = measurePackedNormals(*values, packNormals(*values).data(), [&](double angle) {
                content_.normalAngles.push_back(static_cast<float>(angle));
            });
            content_.normals.add(row.normals);
        }
    }

    /// The search of the report, repeated for each primitive that is cut.
    [[nodiscard]] SearchSteps searchInSteps() const {
        mesh::StripBufferOptions options = settings_.strip.search;
        options.join = joinOfSearch();
        SearchSteps steps(options, settings_.strip.joining);
        for (const Pending& pending : pending_) {
            if (showsSteps_ && !pending.triangles.empty()) {
                steps.add(pending.triangles, pending.isCounted);
            }
        }
        return steps;
    }

    void describeCuts() {
        SearchSteps steps = searchInSteps();
        steps_ = steps.finish(1 + settings_.comparedEfforts.size());
        std::size_t cuts = 0;
        std::size_t next = 0;
        for (const CutPrimitive& cut : content_.outcome.cuts) {
            // Primitives without a single triangle were not cut.
            while (pending_[next].mesh != cut.mesh || pending_[next].primitive != cut.primitive) {
                ++next;
            }
            Pending& pending = pending_[next];
            PrimitiveRow& row = content_.primitives[next];
            for (const mesh::IndexedPrimitive& part : cut.parts) {
                describePart(part, row);
            }
            if (content_.outcome.total.sameTriangles) {
                addToPicture(pending, row.name, cut.parts, steps.drawingsOf(cuts));
            }
            pending = {};
            ++next;
            ++cuts;
        }
        content_.outcome.cuts = {};
    }

    void addToPicture(const Pending& pending, const std::string& name, const std::vector<mesh::IndexedPrimitive>& parts,
                      const std::vector<PictureCut>& steps) {
        std::vector<std::vector<mesh::IndexedPrimitive>> compared;
        for (const unsigned int effort : settings_.comparedEfforts) {
            compared.push_back(mesh::buildStrips(pending.triangles, optionsOf(effort)));
        }
        std::vector<PictureCut> cuts{{"Strips", parts}};
        for (std::size_t i = 0; i < compared.size(); ++i) {
            cuts.push_back({"Effort " + std::to_string(settings_.comparedEfforts[i]), compared[i]});
        }
        std::copy(steps.begin(), steps.end(), std::back_inserter(cuts));
        builder_.add({name, pending.triangles, std::move(cuts), pending.isSplitOff, sortedEdges(pending.triangles),
                      *pending.positions, pending.placements});
    }

    void describePart(const mesh::IndexedPrimitive& part, PrimitiveRow& row) {
        content_.cost += static_cast<std::int64_t>(part.indices.size());
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
            content_.stripLengths.push_back(triangles);
            content_.stripSwaps.push_back(swaps);
        }
    }

    Document document_;
    ReportSettings settings_;
    std::set<std::size_t> counted_; ///< index accessors whose efforts were tried
    bool isTried_ = false;          ///< whether several passes are searched only to see what they cost
    std::vector<Pending> pending_;  ///< one for each row of primitives
    PictureBuilder builder_;
    bool showsSteps_ = false; ///< of the search
    std::vector<PictureStep> steps_;
    ReportContent content_;
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

void PassCosts::add(const mesh::StripPass& pass) {
    totals.resize(std::max<std::size_t>(totals.size(), pass.number));
    totals[pass.number - 1] += pass.cost;
    if (pass.number == pass.wanted) {
        best += pass.best;
        worst += pass.worst;
    }
}

ReportContent collectReport(Document document, const ReportSettings& settings, const PrimitiveProgress& progress) {
    const std::string file = document.file.string();
    try {
        return Collector(std::move(document), settings).run(progress);
    } catch (const FormatError& error) {
        throw FileError(file, error.what());
    }
}

Json reportJson(const std::string& input, const std::string& output, const ReportContent& content) {
    Json json = stripJson(input, output, content.outcome);
    Json primitives = Json::array();
    std::transform(content.primitives.begin(), content.primitives.end(), std::back_inserter(primitives), primitiveJson);
    json["report"] = {{"indicesBeforeJoining", content.cost},
                      {"efforts", content.efforts},
                      {"listBytes", content.listBytes},
                      {"primitives", std::move(primitives)},
                      {"passes",
                       {{"ofTheseStrips", content.isSearched},
                        {"costs", content.passes.totals},
                        {"best", content.passes.best},
                        {"worst", content.passes.worst},
                        {"minimum", content.minCost}}},
                      {"packedNormals",
                       {{"normals", content.normals.normals},
                        {"withoutDirection", content.normals.withoutDirection},
                        {"meanAngle", content.normals.mean()},
                        {"largestAngle", content.normals.max}}},
                      {"shownTriangles", content.picture.shownTriangles()}};
    return json;
}

} // namespace vexa::tool
