#include "cases/ToolContender.h"

#include <algorithm>
#include <array>
#include <chrono>
#include <cstdint>
#include <cstdlib>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <limits>
#include <memory>
#include <nlohmann/json.hpp>
#include <spawn.h>
#include <stdexcept>
#include <string>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <utility>
#include <vector>

namespace bench {

namespace {

/// A directory that exists as long as the object.
class TemporaryDirectory {
public:
    TemporaryDirectory() : path_((std::filesystem::temp_directory_path() / "vexaMeshBenchXXXXXX").string()) {
        if (mkdtemp(path_.data()) == nullptr) {
            throw std::runtime_error("cannot create a directory like " + path_);
        }
    }
    ~TemporaryDirectory() {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    TemporaryDirectory(const TemporaryDirectory&) = delete;
    TemporaryDirectory& operator=(const TemporaryDirectory&) = delete;

    [[nodiscard]] std::filesystem::path operator/(const char* name) const {
        return std::filesystem::path(path_) / name;
    }

private:
    std::string path_;
};

template <class T>
std::uint32_t sizeInBytes(const std::vector<T>& values) {
    return static_cast<std::uint32_t>(values.size() * sizeof(T));
}

nlohmann::json describe(const Model& model) {
    std::array<float, 3> least;
    std::array<float, 3> most;
    least.fill(std::numeric_limits<float>::max());
    most.fill(std::numeric_limits<float>::lowest());
    for (std::size_t i = 0; i < model.positions.size(); ++i) {
        least[i % 3] = std::min(least[i % 3], model.positions[i]);
        most[i % 3] = std::max(most[i % 3], model.positions[i]);
    }
    const std::uint32_t indexBytes = sizeInBytes(model.triangles);
    const std::uint32_t positionBytes = sizeInBytes(model.positions);
    return {{"asset", {{"version", "2.0"}}},
            {"scene", 0},
            {"scenes", {{{"nodes", {0}}}}},
            {"nodes", {{{"mesh", 0}}}},
            {"meshes", {{{"primitives", {{{"attributes", {{"POSITION", 1}}}, {"indices", 0}}}}}}},
            {"accessors",
             {{{"bufferView", 0}, {"componentType", 5125}, {"count", model.triangles.size()}, {"type", "SCALAR"}},
              {{"bufferView", 1},
               {"componentType", 5126},
               {"count", model.vertexCount()},
               {"type", "VEC3"},
               {"min", least},
               {"max", most}}}},
            {"bufferViews",
             {{{"buffer", 0}, {"byteLength", indexBytes}},
              {{"buffer", 0}, {"byteOffset", indexBytes}, {"byteLength", positionBytes}}}},
            {"buffers", {{{"byteLength", indexBytes + positionBytes}}}}};
}

/// Writes a mesh of positions as binary glTF; fewer than 4 GiB.
void writeGlb(const std::filesystem::path& file, const Model& model) {
    std::string json = describe(model).dump();
    json.resize((json.size() + 3) / 4 * 4, ' ');
    const auto jsonBytes = static_cast<std::uint32_t>(json.size());
    const std::uint32_t binaryBytes = sizeInBytes(model.triangles) + sizeInBytes(model.positions);
    std::ofstream out(file, std::ios::binary);
    const auto write = [&out](const void* data, std::size_t size) {
        out.write(static_cast<const char*>(data), static_cast<std::streamsize>(size));
    };
    const std::array<std::uint32_t, 5> head = {0x46546c67, 2, 12 + 8 + jsonBytes + 8 + binaryBytes, jsonBytes,
                                               0x4e4f534a};
    const std::array<std::uint32_t, 2> binaryHead = {binaryBytes, 0x004e4942};
    write(head.data(), sizeof head);
    write(json.data(), json.size());
    write(binaryHead.data(), sizeof binaryHead);
    write(model.triangles.data(), sizeInBytes(model.triangles));
    write(model.positions.data(), sizeInBytes(model.positions));
    if (!out.flush()) {
        throw std::runtime_error("cannot write " + file.string());
    }
}

/// The largest resident set of a process so far; 0 once it has ended. The figure of `wait4` would include the memory of
/// this process, from which the other is started.
double residentPeak(pid_t process) {
    std::ifstream status("/proc/" + std::to_string(process) + "/status");
    for (std::string line; std::getline(status, line);) {
        if (line.starts_with("VmHWM:")) {
            return std::stod(line.substr(6)) * 1024;
        }
    }
    return 0;
}

struct Ended {
    int status = -1;
    double peakBytes = 0;
};

/// Runs a program, without its standard output, until it ends.
Ended runProgram(std::vector<std::string> arguments) {
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    posix_spawn_file_actions_t actions;
    posix_spawn_file_actions_init(&actions);
    posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
    pid_t process = 0;
    const int failure = posix_spawn(&process, pointers.front(), &actions, nullptr, pointers.data(), environ);
    posix_spawn_file_actions_destroy(&actions);
    if (failure != 0) {
        throw std::runtime_error("cannot run " + arguments.front());
    }
    Ended ended;
    while (waitpid(process, &ended.status, WNOHANG) == 0) {
        ended.peakBytes = std::max(ended.peakBytes, residentPeak(process));
        std::this_thread::sleep_for(std::chrono::milliseconds(3));
    }
    return ended;
}

} // namespace

Contender toolContender(const ModelPtr& model) {
    const auto directory = std::make_shared<TemporaryDirectory>();
    const auto ended = std::make_shared<Ended>();
    Contender contender;
    contender.name = "vexamesh strip, whole process";
    contender.elements = static_cast<double>(model->triangleCount());
    contender.isSlow = true;
    contender.prepare = [model, directory] { writeGlb(*directory / "in.glb", *model); };
    contender.run = [directory, ended] {
        *ended = runProgram(
            {BENCH_TOOL, "strip", (*directory / "in.glb").string(), "-o", (*directory / "out.glb").string()});
    };
    contender.inspect = [directory, ended] {
        Output output;
        if (ended->status != 0) {
            output.error = "the tool failed";
        }
        output.processBytes = ended->peakBytes;
        std::filesystem::remove(*directory / "in.glb");
        std::filesystem::remove(*directory / "out.glb");
        return output;
    };
    return contender;
}

} // namespace bench
