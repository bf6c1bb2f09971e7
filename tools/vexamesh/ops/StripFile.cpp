#include "ops/StripFile.h"

#include "base/Errors.h"
#include "base/Text.h"
#include "io/gltf/GltfExtensions.h"
#include "io/gltf/IndexEdit.h"
#include "io/gltf/PrimitiveRestart.h"
#include "ops/IndexLimit.h"
#include "ops/MeshStats.h"
#include "ops/SharedTasks.h"
#include "ops/Triangles.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <set>
#include <thread>

namespace vexa::tool {

namespace {

/// Primitives from which on readers become slow.
constexpr std::size_t maxPrimitives = 1000;
/// Bytes that a file may grow by without a warning.
constexpr std::size_t minGrowth = 1024;

void add(StripStats& sum, const StripStats& part) {
    sum.triangles += part.triangles;
    sum.degenerate += part.degenerate;
    sum.strips += part.strips;
    sum.fans += part.fans;
    sum.leftOver += part.leftOver;
    sum.primitivesBefore += part.primitivesBefore;
    sum.primitivesAfter += part.primitivesAfter;
    sum.seconds += part.seconds;
    sum.sameTriangles = sum.sameTriangles && part.sameTriangles;
}

/// Counts the indices and bytes of each accessor once.
class IndexCounter {
public:
    explicit IndexCounter(StripStats& total) : total_(total) {}

    /// The indices of a primitive.
    struct Indices {
        std::optional<std::size_t> accessor;
        std::size_t count;
        std::size_t bytes;

        explicit Indices(const Primitive& primitive)
            : accessor(primitive.indexAccessor), count(primitive.indices.size()), bytes(indexBytes(primitive)) {}
    };

    void countBefore(const Indices& indices, std::optional<std::uint64_t> minIndices, StripStats& mesh) {
        count(indices, mesh, [&](StripStats& stats) {
            stats.indicesBefore += indices.count;
            stats.bytesBefore += indices.bytes;
            stats.minIndices =
                stats.minIndices && minIndices ? std::optional(*stats.minIndices + *minIndices) : std::nullopt;
        });
    }
    void countAfter(const Indices& indices, StripStats& mesh) {
        count(indices, mesh, [&](StripStats& stats) {
            stats.indicesAfter += indices.count;
            stats.bytesAfter += indices.bytes;
        });
    }
    void beginMesh() { seenInMesh_.clear(); }

private:
    template <typename Add>
    void count(const Indices& indices, StripStats& mesh, const Add& addTo) {
        if (!indices.accessor || seenInMesh_.insert(*indices.accessor).second) {
            addTo(mesh);
        }
        if (!indices.accessor || seen_.insert(*indices.accessor).second) {
            addTo(total_);
        }
    }

    StripStats& total_;
    std::set<std::size_t> seen_;
    std::set<std::size_t> seenInMesh_;
};

class Stripper {
public:
    Stripper(Document document, const StripSettings& settings) : document_(std::move(document)), settings_(settings) {}

    StripOutcome run(const PrimitiveProgress& progress) {
        outcome_.total.name = "total";
        document_.asset.json["asset"]["generator"] = "vexamesh " VEXAMESH_VERSION;
        findUses();
        cutAll(progress);
        IndexCounter before(outcome_.total);
        auto cut = cuts_.begin();
        for (std::size_t m = 0; m < document_.meshes.size(); ++m) {
            before.beginMesh();
            StripStats stats;
            stats.name = document_.meshes[m].name;
            for (; cut != cuts_.end() && cut->mesh == m; ++cut) {
                ++stats.primitivesBefore;
                before.countBefore(cut->before, record(*cut, stats), stats);
            }
            outcome_.meshes.push_back(std::move(stats));
        }
        writeFile();
        return std::move(outcome_);
    }

private:
    /// A primitive, and what becomes of it.
    struct Cut {
        std::size_t mesh;
        std::size_t primitive;
        IndexCounter::Indices before;
        mesh::TriangleSum triangles = {};
        StripResult result = {};
        ChosenForm form = {};
    };

    /// Cuts all primitives of triangles.
    void cutAll(const PrimitiveProgress& progress) {
        std::vector<std::size_t> sizes;
        for (std::size_t m = 0; m < document_.meshes.size(); ++m) {
            const std::vector<Primitive>& primitives = document_.meshes[m].primitives;
            for (std::size_t p = 0; p < primitives.size(); ++p) {
                if (hasTriangles(primitives[p])) {
                    cuts_.push_back({m, p, IndexCounter::Indices(primitives[p])});
                    sizes.push_back(primitives[p].indices.size());
                }
            }
        }
        const unsigned threads = settings_.search.threads != 0 ? settings_.search.threads
                                                               : std::max(1U, std::thread::hardware_concurrency());
        const bool isDivisible = !settings_.passes && settings_.search.effort >= 2;
        std::mutex mutex;
        std::size_t done = 0;
        shareTasks(sizes, settings_.sharesThreads ? threads : 1, isDivisible, [&](std::size_t i, unsigned allowed) {
            StripSettings settings = settingsFor(cuts_[i].mesh, cuts_[i].primitive);
            if (settings_.sharesThreads) {
                settings.search.threads = allowed;
            }
            if (allowed < threads) {
                // Others are cut at the same time.
                settings.silence();
            }
            cut(cuts_[i], settings);
            const std::lock_guard lock(mutex);
            ++done;
            if (progress) {
                progress(done, cuts_.size());
            }
        });
    }

    /// Finds out which primitives share their indices.
    void findUses() {
        for (std::size_t m = 0; m < document_.meshes.size(); ++m) {
            for (std::size_t p = 0; p < document_.meshes[m].primitives.size(); ++p) {
                const Primitive& primitive = document_.meshes[m].primitives[p];
                if (primitive.indexAccessor) {
                    uses_[*primitive.indexAccessor].insert({primitive.type, settingsFor(m, p).joining});
                }
            }
        }
    }

    /// Primitives with morph targets cannot be members of a group.
    [[nodiscard]] StripSettings settingsFor(std::size_t mesh, std::size_t index) const {
        StripSettings settings = settings_;
        const Json& primitive = document_.asset.json["meshes"][mesh]["primitives"][index];
        if (settings.joining == Joining::RestartFallback && primitive.contains("targets")) {
            settings.joining = Joining::Degenerate;
        }
        return settings;
    }

    /// Changes nothing of the document but the primitive: others may be cut at the same time.
    void cut(Cut& cut, const StripSettings& settings) {
        Primitive& primitive = document_.meshes[cut.mesh].primitives[cut.primitive];
        cut.result = stripTriangles(primitive.type, primitive.indices, settings);
        const auto uses = primitive.indexAccessor ? uses_.find(*primitive.indexAccessor) : uses_.end();
        cut.form =
            chooseForm(document_, primitive, uses != uses_.end() && uses->second.size() > 1, settings, cut.result);
        cut.form.primitive = cut.primitive;
        cut.result.withList = {};
        cut.triangles = mesh::sumTriangles(primitive.type, primitive.indices);
        // Its triangles are kept; twice would be a lot for a large file.
        primitive.indices = {};
    }

    /// \return the bound on its indices, if it is known
    std::optional<std::uint64_t> record(Cut& cut, StripStats& stats) {
        StripResult& result = cut.result;
        stats.triangles += result.triangles;
        stats.degenerate += result.degenerate;
        stats.strips += result.strips;
        stats.fans += result.fans;
        stats.leftOver += result.leftOver;
        stats.seconds += result.seconds;
        if (result.triangles == 0) {
            // There is nothing to write, and a glTF primitive cannot be empty: it stays as it is.
            return 0;
        }
        if (settings_.keepParts) {
            outcome_.cuts.push_back({cut.mesh, cut.primitive, std::move(result.parts)});
        }
        stats.forms.push_back(std::move(cut.form));
        if (!result.primitives.empty()) {
            const bool isGroup = settingsFor(cut.mesh, cut.primitive).joining == Joining::RestartFallback;
            edited_.push_back({cut.mesh, cut.primitive, 1});
            outcome_.expected.primitives.push_back({{}, {}, cut.triangles});
            edits_.push_back({cut.mesh, cut.primitive, std::move(result.primitives), isGroup});
        }
        return result.minIndices;
    }

    void writeFile() {
        outcome_.expected.content = uneditedContent(document_, edited_);
        const std::size_t unedited = sizeOf(document_.asset.json);
        const std::vector<EditedIndices> results = replaceIndices(document_.asset, edits_);
        for (std::size_t i = 0; i < results.size(); ++i) {
            ExpectedStrips::Replaced& replaced = outcome_.expected.primitives[i];
            replaced.place = {edits_[i].mesh, results[i].firstPrimitive, results[i].count};
            replaced.group = results[i].group;
        }
        outcome_.file = writeGlb(document_.asset.json, document_.asset.buffers);
        outcome_.growth = outcome_.file.size() - std::min(outcome_.file.size(), unedited);
    }

    /// About as many bytes as the document takes in a file.
    static std::size_t sizeOf(const Json& json) {
        std::size_t size = json.dump(-1, ' ', false, Json::error_handler_t::replace).size();
        for (const Json& view : arrayMember(json, "bufferViews", "")) {
            size += view["byteLength"].get<std::size_t>();
        }
        return size;
    }

    Document document_;
    const StripSettings& settings_;
    /// Per accessor the ways in which primitives use it as indices.
    std::map<std::size_t, std::set<std::pair<mesh::PrimitiveType, Joining>>> uses_;
    std::vector<Cut> cuts_; ///< of all primitives of triangles, in their order
    std::vector<IndexEdit> edits_;
    std::vector<EditedPrimitive> edited_; ///< one per edit
    StripOutcome outcome_;
};

/// Triangles of a list that draw nothing.
std::size_t countDegenerate(const Primitive& primitive) {
    return primitive.type == mesh::TRIANGLES
               ? primitive.indices.size() / 3 - mesh::toTriangles(primitive.type, primitive.indices).size() / 3
               : 0;
}

/// Counts the primitives of triangles of a document, and their indices.
void countInput(const Document& document, StripOutcome& outcome) {
    IndexCounter counter(outcome.total);
    for (const Mesh& mesh : document.meshes) {
        counter.beginMesh();
        StripStats& stats = outcome.meshes.emplace_back();
        for (const Primitive& primitive : mesh.primitives) {
            if (hasTriangles(primitive)) {
                ++stats.primitivesBefore;
                counter.countBefore(IndexCounter::Indices(primitive), {}, stats);
                stats.degenerate += countDegenerate(primitive);
            }
        }
    }
}

/// Takes the stats of a document that was split before it was stripped.
void takeInput(const StripOutcome& input, StripOutcome& outcome) {
    const auto take = [](const StripStats& from, StripStats& to) {
        to.primitivesBefore = from.primitivesBefore;
        to.indicesBefore = from.indicesBefore;
        to.bytesBefore = from.bytesBefore;
        to.degenerate = from.degenerate;
    };
    take(input.total, outcome.total);
    for (std::size_t m = 0; m < outcome.meshes.size(); ++m) {
        take(input.meshes[m], outcome.meshes[m]);
    }
}

bool hasSameTriangles(const Mesh& mesh, const ExpectedStrips::Replaced& expected) {
    mesh::TriangleSum triangles;
    for (std::size_t i = 0; i < expected.place.count; ++i) {
        const Primitive& primitive = mesh.primitives.at(expected.place.first + i);
        triangles += mesh::sumTriangles(primitive.type, primitive.indices);
    }
    return triangles == expected.triangles;
}

/// Whether the indices of a group are those of its strips, with restart indices between them; counts these.
bool groupIsItsStrips(const Document& output, const ExpectedStrips::Replaced& expected, StripStats& stats,
                      IndexCounter& counter) {
    std::vector<unsigned int> joined;
    Primitive separators;
    for (std::size_t i = 0; i < expected.place.count; ++i) {
        const Primitive& primitive = output.meshes[expected.place.mesh].primitives.at(expected.place.first + i);
        if (primitive.type == mesh::TRIANGLE_STRIP) {
            if (!joined.empty()) {
                joined.push_back(restartIndexOf(primitive.indexType));
                separators.indices.push_back(joined.back());
            }
            separators.indexType = primitive.indexType;
            joined.insert(joined.end(), primitive.indices.begin(), primitive.indices.end());
        }
    }
    separators.indexAccessor = expected.group;
    counter.countAfter(IndexCounter::Indices(separators), stats);
    return readIndices(output.asset, *expected.group) == joined;
}

} // namespace

StripOutcome stripDocument(Document document, const StripSettings& settings, const PrimitiveProgress& progress) {
    const std::string file = document.file.string();
    const FileFigures before = measureFile(document.asset, document.fileSize);
    StripOutcome input;
    if (settings.indexBits != 0) {
        countInput(document, input);
        limitIndices(document, settings.indexBits);
    }
    try {
        Stripper stripper(std::move(document), settings);
        StripOutcome outcome = stripper.run(progress);
        outcome.before = before;
        if (settings.indexBits != 0) {
            takeInput(input, outcome);
        }
        return outcome;
    } catch (const FormatError& error) {
        throw FileError(file, error.what());
    }
}

std::string readBackStrips(StripOutcome& outcome) {
    const Document output = loadDocument(outcome.file, "output.glb");
    outcome.after = measureFile(output.asset, outcome.file.size());
    outcome.requiresRestart = isListed(output.asset.json, "extensionsRequired", restartExtension);
    IndexCounter after(outcome.total);
    std::vector<EditedPrimitive> places;
    auto next = outcome.expected.primitives.begin();
    for (std::size_t m = 0; m < outcome.meshes.size(); ++m) {
        after.beginMesh();
        StripStats& stats = outcome.meshes[m];
        for (const Primitive& primitive : output.meshes.at(m).primitives) {
            if (hasTriangles(primitive)) {
                ++stats.primitivesAfter;
                after.countAfter(IndexCounter::Indices(primitive), stats);
            }
        }
        for (; next != outcome.expected.primitives.end() && next->place.mesh == m; ++next) {
            const bool isGroup = !next->group || groupIsItsStrips(output, *next, stats, after);
            stats.sameTriangles = stats.sameTriangles && isGroup && hasSameTriangles(output.meshes[m], *next);
            outcome.groups += next->group ? 1 : 0;
            places.push_back(next->place);
        }
        add(outcome.total, stats);
    }
    if (!outcome.total.sameTriangles) {
        return "its triangles would not be those of the input";
    }
    return isSameContent(uneditedContent(output, places), outcome.expected.content) ? "" : contentFault;
}

std::vector<std::string> stripWarnings(const StripOutcome& outcome) {
    std::vector<std::string> warnings;
    if (outcome.requiresRestart) {
        warnings.push_back("only readers that know " + std::string(restartExtension) + " can open it");
    }
    if (outcome.groups > 0) {
        warnings.push_back("readers that do not know " + std::string(restartGroupExtension) +
                           " draw each strip by itself");
    }
    if (outcome.total.primitivesAfter > std::max(maxPrimitives, outcome.total.primitivesBefore)) {
        warnings.push_back("its " + std::to_string(outcome.total.primitivesAfter) +
                           " primitives of triangles are a draw call each, and slow to read in most programs; `--join "
                           "degenerate` writes one per primitive of the input");
    }
    if (outcome.growth > minGrowth) {
        warnings.push_back("the strips make the file " + counted(outcome.growth, "byte") +
                           " larger: the description of their primitives takes more than their indices save; `--join "
                           "degenerate` and `--join restart` make it smaller");
    }
    return warnings;
}

} // namespace vexa::tool
