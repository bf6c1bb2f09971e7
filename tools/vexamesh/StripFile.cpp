#include "StripFile.h"

#include "Errors.h"
#include "MeshFacts.h"
#include "io/Files.h"
#include "io/IndexEdit.h"
#include "io/PrimitiveRestart.h"

#include <set>

namespace vexa::tool {

namespace {

/// A primitive that is edited, and what is needed to compare its triangles later.
struct StrippedPrimitive {
    std::size_t mesh;
    std::vector<unsigned int> triangles;
};

void add(StripFigures& sum, const StripFigures& part) {
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

/// Indices and bytes of an accessor, counted where it is met first.
class IndexCounter {
public:
    explicit IndexCounter(StripFigures& total) : total_(total) {}

    void countBefore(const Primitive& primitive, StripFigures& mesh) { count(primitive, mesh, true); }
    void countAfter(const Primitive& primitive, StripFigures& mesh) { count(primitive, mesh, false); }
    void beginMesh() { seenInMesh_.clear(); }

private:
    void count(const Primitive& primitive, StripFigures& mesh, bool before) {
        const auto addTo = [&](StripFigures& figures) {
            (before ? figures.indicesBefore : figures.indicesAfter) += primitive.indices.size();
            (before ? figures.bytesBefore : figures.bytesAfter) += indexBytes(primitive);
        };
        if (!primitive.indexAccessor || seenInMesh_.insert(*primitive.indexAccessor).second) {
            addTo(mesh);
        }
        if (!primitive.indexAccessor || seen_.insert(*primitive.indexAccessor).second) {
            addTo(total_);
        }
    }

    StripFigures& total_;
    std::set<std::size_t> seen_;
    std::set<std::size_t> seenInMesh_;
};

class Stripper {
public:
    Stripper(Document document, const StripSettings& settings) : document_(std::move(document)), settings_(settings) {}

    StripOutcome run(const StripProgress& progress) {
        outcome_.fileBytesBefore = document_.fileSize;
        outcome_.total.name = "total";
        IndexCounter before(outcome_.total);
        for (std::size_t m = 0; m < document_.meshes.size(); ++m) {
            before.beginMesh();
            stripMesh(m, before);
            if (progress) {
                progress(m + 1, document_.meshes.size());
            }
        }
        const std::vector<EditedIndices> edited = replaceIndices(document_.asset, edits_);
        outcome_.file = writeGlb(document_.asset.json, document_.asset.buffers);
        check(edited);
        for (const StripFigures& figures : outcome_.meshes) {
            add(outcome_.total, figures);
        }
        return std::move(outcome_);
    }

private:
    void stripMesh(std::size_t index, IndexCounter& counter) {
        Mesh& mesh = document_.meshes[index];
        StripFigures figures;
        figures.name = mesh.name;
        for (std::size_t p = 0; p < mesh.primitives.size(); ++p) {
            Primitive& primitive = mesh.primitives[p];
            if (primitive.type < mesh::TRIANGLES) {
                continue;
            }
            ++figures.primitivesBefore;
            counter.countBefore(primitive, figures);
            stripPrimitive(index, p, figures);
            // Its triangles are kept; twice would be a lot for a large file.
            primitive.indices = {};
        }
        outcome_.meshes.push_back(std::move(figures));
    }

    void stripPrimitive(std::size_t mesh, std::size_t index, StripFigures& figures) {
        const Primitive& primitive = document_.meshes[mesh].primitives[index];
        StripResult result = stripTriangles(primitive.type, primitive.indices, settings_);
        figures.triangles += result.triangles;
        figures.degenerate += result.degenerate;
        figures.strips += result.strips;
        figures.fans += result.fans;
        figures.leftOver += result.leftOver;
        figures.seconds += result.seconds;
        if (result.triangles == 0) {
            // There is nothing to write, and a glTF primitive cannot be empty: it stays as it is.
            return;
        }
        if (settings_.keepParts) {
            outcome_.cuts.push_back({mesh, index, std::move(result.parts)});
        }
        stripped_.push_back({mesh, mesh::toTriangles(primitive.type, primitive.indices)});
        edits_.push_back({mesh, index, std::move(result.primitives), settings_.joining == Joining::Restart});
    }

    /// Reads the finished file back and compares, primitive by primitive.
    void check(const std::vector<EditedIndices>& edited) {
        const Document output = loadDocument(outcome_.file, "output.glb");
        IndexCounter after(outcome_.total);
        std::size_t e = 0;
        for (std::size_t m = 0; m < output.meshes.size(); ++m) {
            after.beginMesh();
            for (const Primitive& primitive : output.meshes[m].primitives) {
                if (primitive.type >= mesh::TRIANGLES) {
                    ++outcome_.meshes[m].primitivesAfter;
                    after.countAfter(primitive, outcome_.meshes[m]);
                }
            }
            for (; e < edits_.size() && edits_[e].mesh == m; ++e) {
                const bool isSame = hasSameTriangles(output, edited[e], stripped_[e]);
                const bool isSameAsGroup = !edited[e].group || groupIsItsStrips(output, edited[e], m, after);
                outcome_.meshes[m].sameTriangles = outcome_.meshes[m].sameTriangles && isSame && isSameAsGroup;
            }
        }
    }

    static bool hasSameTriangles(const Document& output, const EditedIndices& edited, const StrippedPrimitive& input) {
        std::vector<unsigned int> triangles;
        for (std::size_t i = 0; i < edited.count; ++i) {
            const Primitive& primitive = output.meshes[input.mesh].primitives.at(edited.firstPrimitive + i);
            const auto part = mesh::toTriangles(primitive.type, primitive.indices);
            triangles.insert(triangles.end(), part.begin(), part.end());
        }
        return mesh::sameTriangles(input.triangles, triangles);
    }

    /// Whether the indices of a group are those of its strips, with restart indices between them; counts these.
    bool groupIsItsStrips(const Document& output, const EditedIndices& edited, std::size_t mesh,
                          IndexCounter& counter) {
        std::vector<unsigned int> joined;
        Primitive separators;
        for (std::size_t i = 0; i < edited.count; ++i) {
            const Primitive& primitive = output.meshes[mesh].primitives.at(edited.firstPrimitive + i);
            if (primitive.type == mesh::TRIANGLE_STRIP) {
                if (!joined.empty()) {
                    joined.push_back(restartIndexOf(primitive.indexType));
                    separators.indices.push_back(joined.back());
                }
                separators.indexType = primitive.indexType;
                joined.insert(joined.end(), primitive.indices.begin(), primitive.indices.end());
            }
        }
        separators.indexAccessor = edited.group;
        counter.countAfter(separators, outcome_.meshes[mesh]);
        ++outcome_.groups;
        return readIndices(output.asset, *edited.group) == joined;
    }

    Document document_;
    const StripSettings& settings_;
    std::vector<IndexEdit> edits_;
    std::vector<StrippedPrimitive> stripped_; ///< one per edit
    StripOutcome outcome_;
};

} // namespace

StripOutcome stripDocument(Document document, const StripSettings& settings, const StripProgress& progress) {
    const std::string file = document.file.string();
    try {
        return Stripper(std::move(document), settings).run(progress);
    } catch (const FormatError& error) {
        throw FileError(file, error.what());
    }
}

std::vector<std::string> writeStrips(const std::filesystem::path& output, const StripOutcome& outcome) {
    if (!outcome.total.sameTriangles) {
        throw CheckError(output.string() + ": not written, because its triangles would not be those of the input");
    }
    writeFile(output, outcome.file);
    if (outcome.groups == 0) {
        return {};
    }
    return {"few readers know KHR_mesh_primitive_restart; the others draw each strip by itself"};
}

} // namespace vexa::tool
