// Turns the triangles of several models into strips, in the threads of a pool that the program has anyway.
// usage: stripMany MODEL.obj...

#include "ObjFile.h"

#include <vexa/mesh.h>

#include <atomic>
#include <cstddef>
#include <exception>
#include <functional>
#include <future>
#include <iostream>
#include <span>
#include <string>
#include <vector>

using namespace vexa::mesh;

namespace {

/// Stands for the thread pool of a program: the tasks are shared between the calling thread and two others.
void runInPool(std::size_t count, const std::function<void(std::size_t)>& task) {
    std::atomic<std::size_t> next = 0;
    const auto runSome = [&] {
        for (std::size_t i = next++; i < count; i = next++) {
            task(i);
        }
    };
    const auto second = std::async(std::launch::async, runSome);
    const auto third = std::async(std::launch::async, runSome);
    runSome();
} // waits for both

} // namespace

int main(int argc, char** argv) try {
    if (argc < 2) {
        std::cerr << "usage: stripMany MODEL.obj...\n";
        return 2;
    }
    const std::vector<std::string> names(argv + 1, argv + argc);
    const std::vector<ObjFile> files(names.begin(), names.end());
    std::vector<std::span<const unsigned int>> meshes;
    meshes.reserve(files.size());
    for (const ObjFile& file : files) {
        meshes.emplace_back(file.triangles);
    }
    const auto strips = buildStripBuffer(meshes, {.effort = 2}, runInPool);
    for (std::size_t i = 0; i < meshes.size(); ++i) {
        std::cout << meshes[i].size() << " indices as triangles, " << strips[i].size() << " as strips, "
                  << (sameTriangles(toTriangles(TRIANGLE_STRIP, strips[i]), meshes[i]) ? "the same" : "other")
                  << " triangles\n";
    }
} catch (const std::exception& error) {
    std::cerr << error.what() << '\n';
    return 1;
}
