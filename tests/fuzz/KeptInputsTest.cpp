// Runs each fuzz target on its seeds and on the inputs of its corpus, without a fuzzer. A target aborts if one breaks it.

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <ostream>
#include <string>
#include <utility>
#include <vector>

#define TARGET(name) extern "C" int name##Input(const std::uint8_t* data, std::size_t size);
VEXA_FUZZ_TARGETS
#undef TARGET

namespace {

struct Target {
    const char* name;
    int (*run)(const std::uint8_t*, std::size_t);
};

std::ostream& operator<<(std::ostream& out, const Target& target) {
    return out << target.name;
}

#define TARGET(name) {#name, name##Input},
const std::vector<Target> targets{VEXA_FUZZ_TARGETS};
#undef TARGET

using Input = std::vector<std::uint8_t>;

std::vector<Input> seeds(const std::filesystem::path& directory) {
    std::vector<Input> inputs;
    if (std::filesystem::exists(directory)) {
        for (const auto& entry : std::filesystem::directory_iterator(directory)) {
            std::ifstream file(entry.path(), std::ios::binary);
            inputs.emplace_back(std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>());
        }
    }
    return inputs;
}

/// The inputs of a file that has a line of hexadecimal digits for each.
std::vector<Input> corpus(const std::filesystem::path& path) {
    std::vector<Input> inputs;
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);) {
        Input input;
        for (std::size_t i = 0; i < line.size(); i += 2) {
            input.push_back(static_cast<std::uint8_t>(std::stoul(line.substr(i, 2), nullptr, 16)));
        }
        inputs.push_back(std::move(input));
    }
    return inputs;
}

class KeptInputs : public testing::TestWithParam<Target> {};

TEST_P(KeptInputs, BreakNothing) {
    const std::filesystem::path folder = VEXA_FUZZ_FOLDER;
    const std::string name = GetParam().name;
    std::vector<Input> inputs = corpus(folder / "corpora" / (name + ".txt"));
    for (Input& seed : seeds(folder / "seeds" / name)) {
        inputs.push_back(std::move(seed));
    }
    EXPECT_FALSE(inputs.empty());
    for (std::size_t i = 0; i < inputs.size(); ++i) {
        std::clog << name << ", input " << i + 1 << '\n'; // the last one is that which broke the target
        EXPECT_EQ(GetParam().run(inputs[i].data(), inputs[i].size()), 0);
    }
}

INSTANTIATE_TEST_SUITE_P(OfTarget, KeptInputs, testing::ValuesIn(targets),
                         [](const auto& test) { return std::string(test.param.name); });

} // namespace
