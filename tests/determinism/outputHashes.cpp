// Prints a hash of every output of the library for a fixed set of meshes, one line for each operation and family. The
// lines are the same for every compiler, optimisation level, set of vector instructions and number of threads.
// usage: outputHashes [THREADS]

#include "support/Buffers.h"
#include "support/Floats.h"
#include "support/LogCapture.h"
#include "support/Meshes.h"

#include <vexa/mesh/AttributeBufferDump.h>
#include <vexa/mesh/AttributeTransformation.h>
#include <vexa/mesh/HalfEdgeGraph.h>
#include <vexa/mesh/MeshConcatenation.h>
#include <vexa/mesh/NormalQuantization.h>
#include <vexa/mesh/StripBound.h>
#include <vexa/mesh/StripBuffer.h>

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <iterator>
#include <span>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace vexa::mesh;
using vexa::test::vec3f;

/// FNV-1a over numbers of 64 bits.
class Hash {
public:
    void add(std::uint64_t number) { value_ = (value_ ^ number) * 1099511628211ULL; }
    /// All NaNs are the same: compilers may swap the operands of a sum.
    void add(float number) {
        add(std::uint64_t{std::isnan(number) ? 0x7fc00000U : std::bit_cast<std::uint32_t>(number)});
    }
    template <typename Number>
    void add(const std::vector<Number>& numbers) {
        add(std::uint64_t{numbers.size()});
        for (const Number number : numbers) {
            add(number);
        }
    }
    void add(const std::vector<unsigned int>& numbers) {
        add(std::uint64_t{numbers.size()});
        for (const unsigned int number : numbers) {
            add(std::uint64_t{number});
        }
    }
    void add(const std::string& text) {
        for (const char letter : text) {
            add(static_cast<std::uint64_t>(static_cast<unsigned char>(letter)));
        }
    }
    void add(const std::vector<IndexedPrimitive>& primitives) {
        for (const IndexedPrimitive& primitive : primitives) {
            add(static_cast<std::uint64_t>(primitive.type));
            add(primitive.indices);
        }
    }
    void add(AttributeBuffer& buffer) {
        std::vector<std::array<float, 3>> elements = vexa::test::elementsOf<std::array<float, 3>>(buffer);
        for (const std::array<float, 3>& element : elements) {
            for (const float component : element) {
                add(component);
            }
        }
    }
    [[nodiscard]] std::uint64_t value() const { return value_; }

private:
    std::uint64_t value_ = 14695981039346656037ULL;
};

using MeshHash = std::function<void(Hash&, const meshes::Indices&)>;

struct MeshOperation {
    std::string name;
    std::size_t maxTriangles; ///< of the meshes that it is run on, because some take long
    MeshHash run;
};

void hashGraph(Hash& hash, const meshes::Indices& mesh, std::uint32_t iterations) {
    HalfEdgeGraph graph;
    const std::size_t half = mesh.size() / 6 * 3;
    graph.addTriangles(mesh.data(), half);
    for (std::size_t i = half; i < mesh.size(); i += 3) {
        graph.addTriangle(mesh[i], mesh[i + 1], mesh[i + 2]);
    }
    hash.add(std::uint64_t{graph.verify(false)});
    std::vector<unsigned int> lines;
    hash.add(std::uint64_t{graph.calcEgdeLines(lines, true)});
    hash.add(lines);
    hash.add(std::uint64_t{graph.calcOptPrim(iterations, true, true, 5, false)});
    std::vector<unsigned int> indices;
    for (int type = graph.getPrimitive(indices, 0); type != 0; type = graph.getPrimitive(indices, 0)) {
        hash.add(static_cast<std::uint64_t>(type));
        hash.add(indices);
        indices.clear();
    }
}

/// In the calling thread, and again in several.
MeshHash strips(const StripBufferOptions& options) {
    return [options](Hash& hash, const meshes::Indices& mesh) {
        hash.add(buildStripBuffer(mesh, options));
        StripBufferOptions threaded = options;
        threaded.threads = 3;
        hash.add(buildStrips(mesh, threaded));
    };
}

MeshHash bound(StripJoin join) {
    return [join](Hash& hash, const meshes::Indices& mesh) {
        BoundOptions options;
        options.sweeps = 4;
        hash.add(std::uint64_t{minIndexCount(mesh, join, options)});
    };
}

void hashTriangles(Hash& hash, const meshes::Indices& mesh) {
    const auto primitives = buildPrimitives(mesh, {.iterations = 3, .buildFans = true});
    hash.add(primitives);
    for (const IndexedPrimitive& primitive : primitives) {
        hash.add(toTriangles(primitive.type, primitive.indices));
        const TriangleSum sum = sumTriangles(primitive.type, primitive.indices);
        hash.add(sum.hashes[0]);
        hash.add(sum.hashes[1]);
    }
}

std::vector<MeshOperation> meshOperations() {
    constexpr std::size_t all = 1U << 20U;
    return {
        {"graph", all, [](Hash& hash, const meshes::Indices& mesh) { hashGraph(hash, mesh, 1); }},
        {"primitives", all, hashTriangles},
        {"strips, effort 0", all, strips({.effort = 0})},
        {"strips, effort 1", all, strips({.effort = 1, .join = StripJoin::Degenerate})},
        {"strips, effort 2", all, strips({})},
        {"strips, effort 2, degenerate", all, strips({.join = StripJoin::Degenerate})},
        {"strips, effort 3", 200, strips({.effort = 3, .seed = 7})},
        {"strips, effort 3, 10 passes", 200, strips({.effort = 3, .annealingPasses = 10})},
        {"strips of at most 7", all, strips({.maxTriangles = 7})},
        {"strips for vertex caches", all, strips({.forVertexCache = true})},
        {"bound, restart", 600, bound(StripJoin::Restart)},
        {"bound, degenerate", 600, bound(StripJoin::Degenerate)},
    };
}

std::vector<std::array<float, 3>> vectors() {
    std::vector<std::array<float, 3>> all;
    meshes::Random random(5);
    const auto next = [&] { return static_cast<float>(static_cast<int>(random.below(2001)) - 1000) / 64.0F; };
    for (int i = 0; i < 1003; ++i) {
        all.push_back({next(), next(), next()});
    }
    const std::vector<float> special = vexa::test::specialFloats();
    for (std::size_t i = 0; i < special.size(); ++i) {
        all.push_back({special[i], special[(i + 7) % special.size()], special[(i + 3) % special.size()]});
    }
    return all;
}

glm::mat4 placement(int kind) {
    glm::mat4 m(1.0F);
    for (int column = 0; column < 4; ++column) {
        for (int row = 0; row < (kind == 2 ? 4 : 3); ++row) {
            m[column][row] += static_cast<float>((5 * column + 3 * row + kind) % 7) / (kind == 0 ? 8.0F : 3.0F);
        }
    }
    return m;
}

/// Transformation, packing, bounds and concatenation of attributes under one matrix.
void hashAttributes(Hash& hash, int kind) {
    const glm::mat4 matrix = placement(kind);
    AttributeTransformationMap map;
    createClassicTransformation(map, matrix);
    const auto build = [] {
        std::vector<unsigned long> corners;
        for (unsigned long i = 0; i < 300; ++i) {
            corners.push_back(i * 7 % 900);
        }
        return vexa::test::meshOf({vec3f("position", vectors()), vec3f("normal", vectors())}, corners);
    };
    MeshPtr mesh = build();
    glm::detail::taabb<float> box{};
    computeVolume(box, mesh, matrix);
    for (int i = 0; i < 3; ++i) {
        hash.add(box.min[i]);
        hash.add(box.max[i]);
    }
    transformMesh(mesh, map);
    concatMeshes(mesh, build(), map);
    for (unsigned long i = 0; i < mesh->getNumAttributeBuffers(); ++i) {
        hash.add(*mesh->getAttributeBuffer(i));
    }
    for (const unsigned long index : vexa::test::indicesOf(*mesh->getIndexBuffer())) {
        hash.add(std::uint64_t{index});
    }
    const auto packed = AttributeBuffer::createDefault(UNSIGNED_BYTE, 2, "normal");
    packed->resize(mesh->getAttributeBuffer(1)->getElementCount());
    transformAttributes(mesh->getAttributeBuffer(1), packed, quantizeNormals());
    for (const auto& bytes : vexa::test::elementsOf<std::array<unsigned char, 2>>(*packed)) {
        hash.add(std::uint64_t{bytes[0]} << 8U | bytes[1]);
    }
    const auto unpacked = AttributeBuffer::createDefaultVec3f("normal");
    unpacked->resize(packed->getElementCount());
    transformAttributes(packed, unpacked, dequantizeNormals());
    hash.add(*unpacked);
    std::ostringstream text;
    vexa::mesh::detail::printAttributeBuffer(text, packed, true);
    hash.add(text.str());
}

/// All lines but those of the graph with several passes, which draws from `rand`, one sequence for all threads.
std::string lines() {
    std::string text;
    const auto print = [&](const std::string& name, const Hash& hash) {
        std::array<char, 40> line{};
        std::snprintf(line.data(), line.size(), "%016llx  ", static_cast<unsigned long long>(hash.value()));
        text += line.data() + name + "\n";
    };
    for (const meshes::Family& family : meshes::families()) {
        for (const MeshOperation& operation : meshOperations()) {
            Hash hash;
            for (const meshes::NamedMesh& mesh : family.meshes) {
                if (mesh.indices.size() / 3 <= operation.maxTriangles) {
                    operation.run(hash, mesh.indices);
                }
            }
            print(family.name + ": " + operation.name, hash);
        }
    }
    for (int kind = 0; kind < 3; ++kind) {
        Hash hash;
        hashAttributes(hash, kind);
        print("attributes under matrix " + std::to_string(kind), hash);
    }
    return text;
}

} // namespace

int main(int argc, char** argv) {
    const vexa::test::LogCapture quiet(vexa::test::Severity::Fatal);
    const std::size_t count = argc > 1 ? std::strtoul(argv[1], nullptr, 10) : 1;
    std::vector<std::string> texts(std::max<std::size_t>(count, 1));
    std::vector<std::thread> threads;
    for (std::string& text : texts) {
        threads.emplace_back([&text] { text = lines(); });
    }
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (const std::string& text : texts) {
        if (text != texts.front()) {
            std::fputs("the threads have different outputs\n", stderr);
            return 1;
        }
    }
    std::fputs(texts.front().c_str(), stdout);
    for (const meshes::Family& family : meshes::families()) {
        Hash hash;
        std::srand(1);
        for (const meshes::NamedMesh& mesh : family.meshes) {
            hashGraph(hash, mesh.indices, 4);
        }
        std::printf("%016llx  %s: graph, 4 passes\n", static_cast<unsigned long long>(hash.value()),
                    family.name.c_str());
    }
    return 0;
}
