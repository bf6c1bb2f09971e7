#include "support/Executors.h"
#include "support/Meshes.h"
#include "support/Messages.h"

#include <vexa/mesh/Executor.h>
#include <vexa/mesh/Interleave.h>
#include <vexa/mesh/MakeMesh.h>
#include <vexa/mesh/Merge.h>
#include <vexa/mesh/StripBound.h>
#include <vexa/mesh/StripBuffer.h>
#include <vexa/mesh/Strips.h>
#include <vexa/mesh/Transformation.h>
#include <vexa/mesh/Views.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <cstdint>
#include <glm/gtc/matrix_transform.hpp>
#include <glm/vec3.hpp>
#include <span>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

namespace {

using namespace vexa::mesh;
using executors::NamedExecutor;
using executors::Task;
using meshes::Indices;

TEST(StartThreads, MakesEveryCallOnce) {
    for (const unsigned threads : {0U, 1U, 3U}) {
        for (const std::size_t count : {std::size_t{0}, std::size_t{1}, std::size_t{1000}}) {
            std::vector<std::atomic<int>> calls(count);
            startThreads(threads)(count, [&](std::size_t i) { ++calls[i]; });
            for (const std::atomic<int>& number : calls) {
                EXPECT_EQ(number, 1) << threads << " threads, " << count << " calls";
            }
        }
    }
}

TEST(StartThreads, SharesTheTasks) {
    std::atomic<unsigned> waiting = 0;
    startThreads(3)(3, [&](std::size_t) {
        // Returns only when all three threads are here.
        for (++waiting; waiting < 3;) {
            std::this_thread::yield();
        }
    });
    EXPECT_EQ(waiting, 3U);
}

/// Meshes of very different sizes, and spans of them.
class Lists {
public:
    explicit Lists(std::vector<Indices> lists) : lists_(std::move(lists)) {
        for (const Indices& list : lists_) {
            spans_.emplace_back(list);
        }
    }
    [[nodiscard]] std::span<const std::span<const unsigned int>> spans() const { return spans_; }
    [[nodiscard]] const std::vector<Indices>& operator*() const { return lists_; }

private:
    std::vector<Indices> lists_;
    std::vector<std::span<const unsigned int>> spans_;
};

Lists variousLists() {
    std::vector<Indices> lists{
        {}, meshes::grid(90, 80), meshes::singleTriangle(), meshes::shuffled(meshes::sphere(70, 50), 1)};
    for (std::uint32_t seed = 0; seed < 30; ++seed) {
        lists.push_back(meshes::soup(40, 20 * seed, seed));
    }
    return Lists(lists);
}

bool isSame(const std::vector<IndexedPrimitive>& a, const std::vector<IndexedPrimitive>& b) {
    return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](const auto& one, const auto& other) {
        return one.type == other.type && one.indices == other.indices;
    });
}

TEST(BuildPrimitivesOfMany, GivesWhatEachMeshGivesWithEveryExecutor) {
    const Lists lists = variousLists();
    const StripOptions options{.iterations = 2, .buildFans = true};
    for (const NamedExecutor& executor : executors::all()) {
        const auto primitives = buildPrimitives(lists.spans(), options, executor.run);
        ASSERT_EQ(primitives.size(), (*lists).size());
        for (std::size_t i = 0; i < primitives.size(); ++i) {
            EXPECT_TRUE(isSame(primitives[i], buildPrimitives((*lists)[i], options)))
                << executor.name << ", mesh " << i;
        }
    }
}

TEST(BuildPrimitivesOfMany, TakesNoMeshes) {
    EXPECT_TRUE(buildPrimitives(std::span<const std::span<const unsigned int>>(), {}, startThreads(2)).empty());
}

TEST(BuildPrimitivesOfMany, NamesTheFirstWrongMeshBeforeAnyWork) {
    const Lists lists({meshes::tetrahedron(), {0, 1}, {0, 1, 2, 3}});
    StripOptions options;
    options.onPass = [](const StripPass&) {
        ADD_FAILURE();
        return true;
    };
    for (const NamedExecutor& executor : executors::all()) {
        EXPECT_EQ(messageOf([&] { buildPrimitives(lists.spans(), options, executor.run); }),
                  "buildPrimitives: mesh 1: 2 indices are not a whole number of triangles");
    }
}

TEST(BuildPrimitivesOfMany, PassesOnWhatATaskThrows) {
    const Lists lists = variousLists();
    StripOptions options;
    options.onPass = [](const StripPass&) -> bool { throw std::runtime_error("pass"); };
    for (const NamedExecutor& executor : executors::all()) {
        EXPECT_EQ(messageOf<std::runtime_error>([&] { buildPrimitives(lists.spans(), options, executor.run); }), "pass")
            << executor.name;
    }
}

TEST(BuildPrimitivesOfMany, PassesOnWhatTheExecutorThrows) {
    const auto refuse = [](std::size_t, const Task&) { throw std::runtime_error("no threads"); };
    EXPECT_EQ(messageOf<std::runtime_error>([&] { buildPrimitives(variousLists().spans(), {}, refuse); }),
              "no threads");
}

TEST(BuildPrimitivesOfMany, BeginsWithLargeMeshes) {
    const Lists lists({meshes::grid(10, 10), meshes::grid(100, 80), meshes::grid(70, 70)});
    std::vector<std::uint32_t> costs;
    StripOptions options;
    options.onPass = [&](const StripPass& pass) {
        costs.push_back(pass.cost);
        return true;
    };
    buildPrimitives(lists.spans(), options, {});
    ASSERT_EQ(costs.size(), 3U);
    EXPECT_TRUE(std::is_sorted(costs.rbegin(), costs.rend()));
}

TEST(BuildStripBufferOfMany, GivesWhatEachMeshGivesWithEveryExecutor) {
    const Lists lists = variousLists();
    for (const NamedExecutor& executor : executors::all()) {
        const auto buffers = buildStripBuffer(lists.spans(), {}, executor.run);
        ASSERT_EQ(buffers.size(), (*lists).size());
        for (std::size_t i = 0; i < buffers.size(); ++i) {
            EXPECT_EQ(buffers[i], buildStripBuffer((*lists)[i])) << executor.name << ", mesh " << i;
        }
    }
}

TEST(BuildStripBufferOfMany, NamesTheFirstWrongMesh) {
    const Lists lists({meshes::tetrahedron(), {0, 1, 0xffffffff}});
    EXPECT_EQ(messageOf([&] { buildStripBuffer(lists.spans(), {}, startThreads(2)); }),
              "buildStripBuffer: mesh 1: index 2 is 4294967295, which is reserved for primitive restart");
}

TEST(BuildStripBufferByExecutor, GivesTheSameWithEveryExecutor) {
    const Indices mesh = meshes::shuffled(meshes::sphere(60, 45), 4);
    const Indices alone = buildStripBuffer(mesh, {.effort = 3});
    for (const NamedExecutor& executor : executors::all()) {
        EXPECT_EQ(buildStripBuffer(mesh, {.effort = 3, .threads = 4}, executor.run), alone) << executor.name;
    }
}

TEST(BuildStripBufferByExecutor, ReportsProgressInTheCallingThreadOnly) {
    const Indices mesh = meshes::shuffled(meshes::sphere(60, 45), 4);
    for (const NamedExecutor& executor : executors::all()) {
        unsigned calls = 0;
        StripBufferOptions options{.effort = 3, .threads = 4};
        options.onProgress = [&, caller = std::this_thread::get_id()](const StripProgress&) {
            EXPECT_EQ(std::this_thread::get_id(), caller) << executor.name;
            ++calls;
            return true;
        };
        buildStripBuffer(mesh, options, executor.run);
        EXPECT_GT(calls, 3U) << executor.name;
    }
}

TEST(BuildStripBufferByExecutor, PassesOnWhatProgressThrows) {
    const Indices mesh = meshes::shuffled(meshes::sphere(60, 45), 4);
    StripBufferOptions options{.effort = 3, .threads = 4};
    options.onProgress = [](const StripProgress& progress) -> bool {
        return progress.phase != StripPhase::Annealing ? true : throw std::runtime_error("enough");
    };
    for (const NamedExecutor& executor : executors::all()) {
        EXPECT_EQ(messageOf<std::runtime_error>([&] { buildStripBuffer(mesh, options, executor.run); }), "enough")
            << executor.name;
    }
}

TEST(BuildStripBufferByExecutor, GivesNoMoreTasksThanThreads) {
    const Indices mesh = meshes::shuffled(meshes::sphere(60, 45), 4);
    std::size_t most = 0;
    const auto count = [&](std::size_t tasks, const Task& task) {
        most = std::max(most, tasks);
        executors::inAThreadEach(tasks, task);
    };
    buildStripBuffer(mesh, {.effort = 3, .threads = 2}, count);
    EXPECT_EQ(most, 2U);
}

TEST(MinIndexCountByExecutor, GivesTheSameWithEveryExecutor) {
    const Indices mesh = meshes::shuffled(meshes::damaged(meshes::sphere(60, 45), 3), 4);
    const std::uint64_t alone = minIndexCount(mesh, StripJoin::Restart);
    for (const NamedExecutor& executor : executors::all()) {
        EXPECT_EQ(minIndexCount(mesh, StripJoin::Restart, {.threads = 3}, executor.run), alone) << executor.name;
    }
}

/// Positions and normals, as two buffers or in one storage.
MeshPtr manyVertices(std::size_t count, bool isInterleaved) {
    std::vector<glm::vec3> positions(count);
    for (std::size_t i = 0; i < count; ++i) {
        positions[i] = glm::vec3(static_cast<float>(i % 1000), static_cast<float>(i % 77), 1);
    }
    const MeshPtr mesh = makeMesh(TRIANGLES, Indices{0, 1, 2},
                                  {makeAttribute("position", positions),
                                   makeAttribute("normal", std::vector<glm::vec3>(count, glm::vec3(0.6F, 0, 0.8F)))});
    return isInterleaved ? makeMesh(TRIANGLES, Indices{0, 1, 2}, interleave(attributesOf(*mesh))) : mesh;
}

bool isEqual(const Mesh& a, const Mesh& b) {
    for (unsigned long i = 0; i < a.getNumAttributeBuffers(); ++i) {
        if (toElements<glm::vec3>(*a.getAttributeBuffer(i)) != toElements<glm::vec3>(*b.getAttributeBuffer(i))) {
            return false;
        }
    }
    return a.getNumAttributeBuffers() == b.getNumAttributeBuffers() &&
           toIndices(*a.getIndexBuffer()) == toIndices(*b.getIndexBuffer());
}

const glm::mat4 placement =
    glm::rotate(glm::scale(glm::mat4(1.0F), glm::vec3(2, -3, 0.5F)), 0.3F, glm::vec3(0.6F, 0, 0.8F));

TEST(MergeMeshesByExecutor, GivesTheSameWithEveryExecutor) {
    const std::vector<MeshInstance> instances{{manyVertices(9000, false)}, {manyVertices(12000, true), placement}};
    const MeshPtr alone = mergeMeshes(instances);
    for (const NamedExecutor& executor : executors::all()) {
        EXPECT_TRUE(isEqual(*mergeMeshes(instances, {.threads = 3}, executor.run), *alone)) << executor.name;
    }
}

TEST(PlaceMeshByExecutor, GivesTheSameInSeveralThreads) {
    for (const bool isInterleaved : {false, true}) {
        // One more than any number of whole tasks.
        const MeshPtr before = manyVertices((std::size_t{1} << 20) + 1, isInterleaved);
        const auto copy = [&] {
            return isInterleaved ? makeMesh(TRIANGLES, Indices{0, 1, 2}, interleave(attributesOf(*before)))
                                 : copyMesh(*before);
        };
        const MeshPtr alone = copy();
        placeMesh(*alone, placement);
        const MeshPtr shared = copy();
        placeMesh(*shared, placement, {}, [](std::size_t count, const Task& task) {
            EXPECT_GT(count, 0U);
            executors::inAThreadEach(count, task);
        });
        EXPECT_TRUE(isEqual(*shared, *alone)) << isInterleaved;
    }
}

TEST(ApplyTransformationsByExecutor, CallsTheCallersFunctionsInOrderInTheCallingThread) {
    const MeshPtr mesh = manyVertices(1000000, false);
    std::size_t calls = 0;
    AttributeTransformationMap map;
    createTransformation(map, placement);
    map["position"] = [&, caller = std::this_thread::get_id()](void*) {
        calls += std::this_thread::get_id() == caller ? 1 : 0;
    };
    std::size_t uses = 0;
    applyTransformations(*mesh, map, [&](std::size_t count, const Task& task) {
        ++uses;
        executors::inAnotherThread(count, task);
    });
    EXPECT_EQ(calls, 1000000U);
    EXPECT_EQ(uses, 1U);
}

TEST(PlaceMeshByExecutor, LeavesSmallMeshesToTheCallingThread) {
    const MeshPtr mesh = manyVertices(5000, false);
    placeMesh(*mesh, placement, {}, [](std::size_t, const Task&) { ADD_FAILURE(); });
}

} // namespace
