// Strips an index list as the package does, and prints the best time of several rounds in seconds.
// usage: stripOnce INDICES EFFORT ROUNDS   (INDICES: a file of 32-bit indices)

#include <vexa/mesh/StripBuffer.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <limits>

int main(int argc, char** argv) {
    if (argc != 4) {
        std::cerr << "usage: stripOnce INDICES EFFORT ROUNDS\n";
        return 2;
    }
    std::vector<unsigned int> triangles(std::filesystem::file_size(argv[1]) / sizeof(unsigned int));
    std::ifstream file(argv[1], std::ios::binary);
    file.read(reinterpret_cast<char*>(triangles.data()),
              static_cast<std::streamsize>(triangles.size() * sizeof(unsigned int)));
    vexa::mesh::StripBufferOptions options;
    options.effort = static_cast<unsigned>(std::atoi(argv[2]));
    double best = std::numeric_limits<double>::max();
    for (int round = std::atoi(argv[3]); round > 0; --round) {
        const auto begin = std::chrono::steady_clock::now();
        const auto strip = vexa::mesh::buildStripBuffer(triangles, options);
        const std::chrono::duration<double> time = std::chrono::steady_clock::now() - begin;
        best = strip.empty() ? best : std::min(best, time.count());
    }
    std::cout << best << '\n';
}
