#include "TriangleCheck.h"
#include "peers/Peers.h"

#include <memory>
#include <meshoptimizer.h>

namespace bench {

namespace {

/// The caller's buffers: allocated within the timed part, like those of the other contenders, but not initialised.
struct StripBuffers {
    std::unique_ptr<unsigned int[]> order;
    std::unique_ptr<unsigned int[]> strip;
    std::size_t size = 0;
};

void buildStrip(const Model& model, StripBuffers& buffers) {
    const std::size_t count = model.triangles.size();
    buffers.order = std::make_unique_for_overwrite<unsigned int[]>(count);
    meshopt_optimizeVertexCacheStrip(buffers.order.get(), model.triangles.data(), count, model.vertexCount());
    buffers.strip = std::make_unique_for_overwrite<unsigned int[]>(meshopt_stripifyBound(count));
    buffers.size = meshopt_stripify(buffers.strip.get(), buffers.order.get(), count, model.vertexCount(), restartIndex);
}

/// Length of the same strips joined by degenerate triangles.
std::uint64_t countWithDegenerates(const Model& model, const StripBuffers& buffers) {
    const std::size_t count = model.triangles.size();
    const auto strip = std::make_unique_for_overwrite<unsigned int[]>(meshopt_stripifyBound(count));
    return meshopt_stripify(strip.get(), buffers.order.get(), count, model.vertexCount(), 0);
}

constexpr std::size_t packedSize = 4;
constexpr int packedBits = 8;

using PackedNormals = std::vector<signed char>;

/// Adds the fourth component that the filter expects.
std::vector<float> padNormals(const Normals& normals) {
    std::vector<float> padded;
    padded.reserve(4 * normals.size());
    for (const glm::vec3& normal : normals) {
        padded.insert(padded.end(), {normal.x, normal.y, normal.z, 0.0F});
    }
    return padded;
}

void pack(const std::vector<float>& padded, PackedNormals& packed) {
    meshopt_encodeFilterOct(packed.data(), packed.size() / packedSize, packedSize, packedBits, padded.data());
}

Output inspectUnpacked(const Normals& normals, const PackedNormals& unpacked) {
    const auto unpackedAt = [&unpacked](std::size_t i) {
        const signed char* const n = &unpacked[packedSize * i];
        return glm::vec3(n[0], n[1], n[2]);
    };
    return Output{0, 0, compareNormals(normals, unpackedAt)};
}

} // namespace

Contender meshoptimizerStrips(const ModelPtr& model) {
    const auto buffers = std::make_shared<StripBuffers>();
    Contender contender;
    contender.name = "meshoptimizer";
    contender.role = Role::Peer;
    contender.elements = static_cast<double>(model->triangleCount());
    contender.prepare = [buffers] { *buffers = {}; };
    contender.run = [model, buffers] { buildStrip(*model, *buffers); };
    contender.inspect = [model, buffers] {
        const std::span<const unsigned int> strip(buffers->strip.get(), buffers->size);
        std::vector<unsigned int> triangles;
        appendStrip(triangles, strip);
        return Output{buffers->size,
                      buffers->size * sizeof(unsigned int),
                      compareTriangles(model->triangles, triangles),
                      {buffers->size, countWithDegenerates(*model, *buffers), countCacheMisses(strip, 16),
                       countCacheMisses(strip, 32)}};
    };
    return contender;
}

std::uint64_t meshoptimizerMisses(const Model& model) {
    return meshopt_analyzeVertexCache(model.triangles.data(), model.triangles.size(), model.vertexCount(), 16, 0, 0)
        .vertices_transformed;
}

Contender meshoptimizerAnalysis(const ModelPtr& model) {
    const auto misses = std::make_shared<std::uint64_t>();
    Contender contender;
    contender.name = "meshoptimizer";
    contender.role = Role::Peer;
    contender.elements = static_cast<double>(model->triangleCount());
    contender.prepare = [] {};
    contender.run = [model, misses] { *misses = meshoptimizerMisses(*model); };
    return contender;
}

Contender meshoptimizerRemap(const ModelPtr& model) {
    const auto corners = std::make_shared<const std::vector<glm::vec3>>(looseCorners(*model));
    const auto remap = std::make_shared<std::vector<unsigned int>>();
    Contender contender;
    contender.name = "meshoptimizer";
    contender.role = Role::Part;
    contender.elements = static_cast<double>(model->triangleCount());
    contender.prepare = [remap] { std::vector<unsigned int>().swap(*remap); };
    contender.run = [corners, remap] {
        remap->resize(corners->size());
        meshopt_generateVertexRemap(remap->data(), nullptr, corners->size(), corners->data(), corners->size(),
                                    sizeof(glm::vec3));
    };
    contender.inspect = [remap] { return Output{0, remap->size() * sizeof(unsigned int), {}}; };
    return contender;
}

Contender meshoptimizerPacking(const NormalsPtr& normals) {
    const auto padded = std::make_shared<const std::vector<float>>(padNormals(*normals));
    const auto packed = std::make_shared<PackedNormals>(packedSize * normals->size());
    Contender contender;
    contender.name = "meshoptimizer";
    contender.role = Role::Peer;
    contender.elements = static_cast<double>(normals->size());
    contender.prepare = [] {};
    contender.run = [padded, packed] { pack(*padded, *packed); };
    contender.inspect = [normals, packed] {
        PackedNormals unpacked = *packed;
        meshopt_decodeFilterOct(unpacked.data(), normals->size(), packedSize);
        return inspectUnpacked(*normals, unpacked);
    };
    return contender;
}

Contender meshoptimizerUnpacking(const NormalsPtr& normals) {
    PackedNormals once(packedSize * normals->size());
    pack(padNormals(*normals), once);
    const auto packed = std::make_shared<const PackedNormals>(std::move(once));
    const auto buffer = std::make_shared<PackedNormals>();
    Contender contender;
    contender.name = "meshoptimizer";
    contender.role = Role::Peer;
    contender.elements = static_cast<double>(normals->size());
    contender.prepare = [packed, buffer] { *buffer = *packed; }; // it works in place
    contender.run = [buffer] { meshopt_decodeFilterOct(buffer->data(), buffer->size() / packedSize, packedSize); };
    contender.inspect = [normals, buffer] { return inspectUnpacked(*normals, *buffer); };
    return contender;
}

} // namespace bench
