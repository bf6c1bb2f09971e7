#include "TriangleCheck.h"
#include "peers/Peers.h"

#include <memory>
#include <meshoptimizer.h>

namespace bench {

namespace {

/// The caller's buffers. They are taken within the timed part, as the other contenders take theirs, but not filled.
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
        std::vector<unsigned int> triangles;
        appendStrip(triangles, {buffers->strip.get(), buffers->size});
        return Output{buffers->size, buffers->size * sizeof(unsigned int),
                      compareTriangles(model->triangles, triangles)};
    };
    return contender;
}

} // namespace bench
