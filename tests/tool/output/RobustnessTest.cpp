// Damaged files: whatever is broken, the program exits by itself, with 0 or 3.

#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <gtest/gtest.h>
#include <random>

namespace {

using namespace tool_test;

/// A small model with most of the members that can be broken.
std::string seedModel() {
    GltfModel model = gridModel(2, 1);
    model.addMesh(0, model.addAccessor<std::uint8_t>({0, 1, 2, 3}, 5121, "SCALAR"), 5);
    const int picture = model.addView("\x89PNG");
    model.json["images"] = Json::array({{{"bufferView", picture}, {"mimeType", "image/png"}}});
    const int where = model.addView(std::string("\1\0", 2));
    model.json["accessors"][0]["sparse"] = {
        {"count", 1}, {"indices", {{"bufferView", where}, {"componentType", 5123}}}, {"values", {{"bufferView", 0}}}};
    model.primitive(0)["attributes"]["NORMAL"] = 0;
    return model.glb();
}

class DamagedFile : public testing::Test {
public:
    void expectOrderlyEnd(const std::string& content, const std::string& what) {
        const std::string in = (directory / "in.glb").string();
        const std::string out = (directory / "out.glb").string();
        writeText(in, content);
        const ProcessResult result = runForked({"strip", in, "-o", out});
        ASSERT_EQ(result.signal, 0) << what;
        ASSERT_TRUE(result.exitCode == 0 || result.exitCode == 3) << what << ": " << result.exitCode << result.err;
        ASSERT_EQ(std::filesystem::exists(out), result.exitCode == 0) << what;
        ASSERT_EQ(countOf(result.err, "\n"), result.exitCode == 0 ? 0u : 1u) << what << ": " << result.err;
        failures += result.exitCode == 3 ? 1 : 0;
        std::filesystem::remove(out);
    }

    TemporaryDirectory directory;
    int failures = 0;
};

TEST_F(DamagedFile, IsRefusedTruncatedAtAnyByte) {
    const std::string model = seedModel();
    for (std::size_t size = 0; size < model.size(); ++size) {
        expectOrderlyEnd(model.substr(0, size), "cut to " + std::to_string(size));
        if (HasFatalFailure()) {
            return;
        }
    }
    EXPECT_EQ(failures, static_cast<int>(model.size()));
}

TEST_F(DamagedFile, IsReadOrRefusedWithAnyByteChanged) {
    const std::string model = seedModel();
    std::mt19937 random(20240229);
    constexpr int changes = 3000;
    for (int i = 0; i < changes; ++i) {
        std::string changed = model;
        const std::size_t at = random() % changed.size();
        changed[at] = static_cast<char>(random());
        expectOrderlyEnd(changed, "change " + std::to_string(i) + " at byte " + std::to_string(at));
        if (HasFatalFailure()) {
            return;
        }
    }
    EXPECT_GT(failures, changes / 4);
    EXPECT_LT(failures, changes);
}

TEST_F(DamagedFile, IsReadOrRefusedByEverySubcommand) {
    const std::string model = seedModel();
    const std::string in = (directory / "in.glb").string();
    const std::string out = (directory / "out.glb").string();
    const std::vector<std::vector<std::string>> verbs = {{"info", in},
                                                         {"validate", in},
                                                         {"compare", in, in},
                                                         {"merge", in, "--rotate", "x,9", "-o", out},
                                                         {"edges", in, "-o", out},
                                                         {"pack", in, "--stats"},
                                                         {"dump", in, "--elements"},
                                                         {"verify", in, "--verbose"}};
    std::mt19937 random(4);
    for (int i = 0; i < 1600; ++i) {
        std::string changed = model;
        changed[random() % changed.size()] = static_cast<char>(random());
        writeText(in, changed);
        const auto& arguments = verbs[static_cast<std::size_t>(i) % verbs.size()];
        const ProcessResult result = runForked(arguments);
        const std::string what = arguments[0] + " after change " + std::to_string(i);
        ASSERT_EQ(result.signal, 0) << what;
        const bool isCheck = arguments[0] == "validate";
        ASSERT_TRUE(result.exitCode == 0 || result.exitCode == 3 || (isCheck && result.exitCode == 1))
            << what << result.err;
        ASSERT_FALSE(result.exitCode == 3 && std::filesystem::exists(out)) << what;
        std::filesystem::remove(out);
        failures += result.exitCode == 3 ? 1 : 0;
    }
    EXPECT_GT(failures, 400);
    EXPECT_LT(failures, 1600);
}

TEST_F(DamagedFile, IsReadOrRefusedWithAnyNumberChanged) {
    const std::string model = seedModel();
    const std::size_t jsonEnd = model.find("BIN");
    const char* const numbers[] = {"0", "-1", "4294967295", "4294967296", "18446744073709551615", "1e308", "0.5", "99"};
    for (std::size_t at = 20; at < jsonEnd; ++at) {
        if (model[at] < '0' || model[at] > '9') {
            continue;
        }
        const std::size_t end = model.find_first_not_of("0123456789", at);
        for (const char* number : numbers) {
            const std::string json = model.substr(20, at - 20) + number + model.substr(end, jsonEnd - 4 - end);
            expectOrderlyEnd(makeGlb(json, model.substr(jsonEnd + 4)), json);
            if (HasFatalFailure()) {
                return;
            }
        }
        at = end;
    }
    EXPECT_GT(failures, 0);
}

TEST_F(DamagedFile, IsReadOrRefusedAsObj) {
    const std::string model = "mtllib a.mtl\no a\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvt 0 0\nvn 0 0 1\ng b\nusemtl c\n"
                              "f 1/1/1 2/1/1 3/1/1 4/1/1\nl 1 2 3\np 4\nf -1//1 \\\n-2//1 -3//1\n";
    std::mt19937 random(7);
    const std::string letters = "0123456789-/. vnftlpgo\n\\#\t\r";
    for (int i = 0; i < 1500; ++i) {
        std::string changed = model;
        for (int n = 0; n < 1 + i % 3; ++n) {
            changed[random() % changed.size()] = letters[random() % letters.size()];
        }
        const std::string in = (directory / "in.obj").string();
        const std::string out = (directory / "out.glb").string();
        writeText(in, changed);
        const ProcessResult result = runForked({"strip", in, "-o", out});
        ASSERT_TRUE(result.signal == 0 && (result.exitCode == 0 || result.exitCode == 3)) << changed << result.err;
        ASSERT_EQ(std::filesystem::exists(out), result.exitCode == 0) << changed;
        std::filesystem::remove(out);
        failures += result.exitCode == 3 ? 1 : 0;
    }
    EXPECT_GT(failures, 100);
    EXPECT_LT(failures, 1400);
}

} // namespace
