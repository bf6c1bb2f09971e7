// Many files in one run, and in runs that other programs start.

#include "support/Paths.h"
#include "support/ReadBack.h"
#include "support/Sanitizer.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <cstdlib>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/resource.h>

namespace {

using namespace tool_test;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

class Batch : public testing::Test {
public:
    std::string writeModel(const std::string& name, int columns = 3) {
        const fs::path file = directory / name;
        fs::create_directories(file.parent_path());
        gridModel(columns, 2).writeGlb(file);
        return file.string();
    }

    ProcessResult strip(std::vector<std::string> arguments, int expectedCode = 0) {
        arguments.insert(arguments.begin(), "strip");
        arguments.insert(arguments.end(), {"-d", out.string()});
        ProcessResult result = runForked(arguments);
        EXPECT_EQ(result.exitCode, expectedCode) << result.err;
        return result;
    }

    std::vector<std::string> outputs() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(out)) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }

    TemporaryDirectory directory;
    fs::path out = directory / "made" / "here";
};

TEST_F(Batch, WritesAFileNamedAfterEachInput) {
    const std::string a = writeModel("a.glb");
    const std::string b = (directory / "b.obj").string();
    writeText(b, "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n");
    const ProcessResult result = strip({a, b, "--jobs", "2"});
    EXPECT_THAT(outputs(), ElementsAre("a.glb", "b.glb"));
    EXPECT_EQ(result.err, "");
    expectSameTriangles(a, out / "a.glb");
}

TEST_F(Batch, ListsWhatEachFileLeavesOut) {
    const std::string a = writeModel("a.glb");
    const std::string b = (directory / "b.obj").string();
    writeText(b, "v 0 0 0\nv 1 0 0\nv 0 1 0\ns 1\nf 1 2 3\nsurf 0 1 0 1 1 2 3\n");
    const auto files = nlohmann::json::parse(strip({a, b, "--json"}).out)["files"];
    EXPECT_EQ(files[0]["leftOut"].size(), 0u);
    EXPECT_GE(files[1]["leftOut"].size(), 1u);
}

TEST_F(Batch, ProvesTheMinimumOnlyOnRequest) {
    const std::string a = writeModel("a.glb");
    EXPECT_TRUE(nlohmann::json::parse(strip({a, "--json"}).out)["files"][0]["minIndices"].is_null());
    const auto file = nlohmann::json::parse(strip({a, "--json", "--bound"}).out)["files"][0];
    EXPECT_LE(file["minIndices"], file["indicesAfter"]);
    EXPECT_LE(file["minIndicesPerTriangle"], file["indicesPerTriangle"]);
}

TEST_F(Batch, WritesTheSameAsOneByOne) {
    const std::string a = writeModel("a.glb", 7);
    strip({a, writeModel("b.glb"), "--join", "none", "--iterations", "3"});
    const std::string alone = (directory / "alone.glb").string();
    ASSERT_EQ(runForked({"strip", a, "-o", alone, "--join", "none", "--iterations", "3"}).exitCode, 0);
    EXPECT_EQ(readText(out / "a.glb"), readText(alone));
}

TEST_F(Batch, PrintsOneTableForAllFiles) {
    const ProcessResult result = strip({writeModel("a.glb"), writeModel("b.glb", 5)});
    EXPECT_EQ(countOf(result.out, "\n"), 3u);
    EXPECT_THAT(result.out, HasSubstr("file"));
    EXPECT_THAT(result.out, HasSubstr("b.glb         20       60"));
    EXPECT_EQ(countOf(result.out, "done\n"), 2u);
}

TEST_F(Batch, ContinuesAfterABadFileAndExitsWithOne) {
    const std::string broken = (directory / "b.glb").string();
    writeText(broken, "no model");
    const ProcessResult result = strip({writeModel("a.glb"), broken, "missing.ply", writeModel("c.glb")}, 1);
    EXPECT_THAT(outputs(), ElementsAre("a.glb", "c.glb"));
    EXPECT_THAT(result.out, HasSubstr("  not a binary glTF file: it does not begin with \"glTF\"\n"));
    EXPECT_THAT(result.out, HasSubstr("  cannot be read: No such file or directory\n"));
    EXPECT_EQ(countOf(result.out, broken), 1u);
    EXPECT_EQ(countOf(result.out, "done\n"), 2u);
    EXPECT_EQ(result.err, "vexamesh: 2 of 4 files failed\n");
}

TEST_F(Batch, ContinuesAfterAMissingFile) {
    const fs::path loop = directory / "loop.glb";
    fs::create_symlink("loop.glb", loop);
    const ProcessResult result =
        strip({loop.string(), (directory / (std::string(300, 'n') + ".glb")).string(), writeModel("a.glb")}, 1);
    EXPECT_THAT(outputs(), ElementsAre("a.glb"));
    EXPECT_THAT(result.out, HasSubstr("Too many levels of symbolic links\n"));
    EXPECT_THAT(result.out, HasSubstr("File name too long\n"));
    EXPECT_EQ(result.err, "vexamesh: 2 of 3 files failed\n");
}

TEST_F(Batch, SkipExistingWritesOnlyMissingFiles) {
    const std::string a = writeModel("a.glb");
    const std::string b = writeModel("b.glb");
    fs::create_directories(out);
    writeText(out / "a.glb", "made before");
    const ProcessResult result = strip({a, b, "--skip-existing"});
    EXPECT_EQ(readText(out / "a.glb"), "made before");
    EXPECT_THAT(outputs(), ElementsAre("a.glb", "b.glb"));
    EXPECT_EQ(countOf(result.out, "there already\n"), 1u);
    strip({a, b});
    expectSameTriangles(a, out / "a.glb");
}

TEST_F(Batch, SkipExistingDoesNotTakeADirectoryForAnOutput) {
    fs::create_directories(out / "a.glb");
    const ProcessResult result = strip({writeModel("a.glb"), "--skip-existing"}, 1);
    EXPECT_THAT(result.out, HasSubstr("made/here/a.glb: is a directory\n"));
}

TEST_F(Batch, RefusesOutputsOfTheSameNameBeforeAnyWork) {
    const ProcessResult result = strip({writeModel("x/a.glb"), writeModel("b.glb"), writeModel("y/a.glb")}, 2);
    EXPECT_THAT(result.err, HasSubstr("x/a.glb and "));
    EXPECT_THAT(result.err, HasSubstr("y/a.glb would both become "));
    EXPECT_FALSE(fs::exists(out));
}

TEST_F(Batch, NeverOverwritesAnInput) {
    const std::string a = writeModel("made/here/a.glb");
    const std::string before = readText(a);
    EXPECT_THAT(strip({a}, 2).err, HasSubstr("is the input"));
    EXPECT_THAT(strip({(directory / "a.obj").string(), a}, 2).err, HasSubstr("is the input"));
    EXPECT_EQ(readText(a), before);
}

TEST_F(Batch, PrintsJson) {
    const ProcessResult result = strip({writeModel("a.glb"), "missing.off", "--json"}, 1);
    const Json files = Json::parse(result.out)["files"];
    ASSERT_EQ(files.size(), 2u);
    EXPECT_EQ(files[0]["triangles"], 12);
    EXPECT_EQ(files[0]["indicesBefore"], 36);
    EXPECT_THAT(files[1]["error"].get<std::string>(), HasSubstr("missing.off: cannot be read"));
}

TEST_F(Batch, NeedsEitherOneOutputOrADirectory) {
    const std::string a = writeModel("a.glb");
    EXPECT_EQ(strip({a, "-o", (directory / "b.glb").string()}, 2).out, "");
    const ProcessResult two = runForked({"strip", a, a, "-o", (directory / "b.glb").string()});
    EXPECT_EQ(two.exitCode, 2);
    EXPECT_THAT(two.err, HasSubstr("--directory takes many"));
    EXPECT_EQ(strip({a, "--jobs", "0"}, 2).out, "");
}

TEST_F(Batch, ReportsADirectoryThatCannotBeCreated) {
    writeText(directory / "made", "a file");
    EXPECT_THAT(strip({writeModel("a.glb")}, 3).err, HasSubstr("made/here: cannot be created"));
}

TEST_F(Batch, ContinuesAKilledRun) {
    std::vector<std::string> inputs;
    std::string names;
    for (int i = 0; i < 30; ++i) {
        inputs.push_back(writeModel("model" + std::to_string(i) + ".glb", 100));
        names += " " + inputs.back();
    }
    const std::string directories = " -d " + out.string();
    const std::string killed = std::string(programPath) + " strip" + names + directories +
                               " --jobs 2 >/dev/null & while [ ! -e " + (out / "model0.glb").string() +
                               " ] && kill -0 $!; do :; done; kill -9 $!; wait $! 2>/dev/null";
    EXPECT_NE(std::system(killed.c_str()), -1);
    for (const std::string& name : outputs()) {
        if (fs::path(name).extension() == ".glb") {
            expectSameTriangles(directory / name, out / name);
        }
    }
    inputs.emplace_back("--skip-existing");
    EXPECT_THAT(strip(inputs).out, HasSubstr("there already\n"));
    EXPECT_TRUE(fs::exists(out / "model29.glb"));
}

TEST_F(Batch, ManyJobsNeedFewDescriptors) {
    if (isSanitized) {
        GTEST_SKIP() << needsOfSanitizers;
    }
    std::vector<std::string> arguments{"--jobs", "12"};
    for (int i = 0; i < 20; ++i) {
        arguments.push_back(writeModel(std::to_string(i) + ".glb"));
    }
    rlimit before{};
    ::getrlimit(RLIMIT_NOFILE, &before);
    const rlimit few{16, before.rlim_max};
    ::setrlimit(RLIMIT_NOFILE, &few);
    const ProcessResult result = strip(arguments);
    ::setrlimit(RLIMIT_NOFILE, &before);
    EXPECT_EQ(countOf(result.out, " done\n"), 20u) << result.out;
}

std::string readRecipes() {
    return readText(fs::path(sourcePath) / "docs" / "tool.md");
}

/// The documented command that starts with a word, to be run exactly as it is written there.
std::string documentedLine(const std::string& word) {
    const std::string recipes = readRecipes();
    const std::size_t begin = recipes.find("\n" + word + " ");
    EXPECT_NE(begin, std::string::npos) << word;
    return recipes.substr(begin + 1, recipes.find('\n', begin + 1) - begin - 1);
}

class Spreading : public Batch {
public:
    /// Runs a shell command in a directory where models/ holds three models.
    int runThere(const std::string& command) {
        for (const char* name : {"models/a.glb", "models/b.glb", "models/c d.glb"}) {
            writeModel(name);
        }
        writeText(directory / "models" / "notes.txt", "no model");
        const std::string tools = fs::path(programPath).parent_path().string();
        const std::string line = "cd '" + directory.path().string() + "' && export HOME=\"$PWD\" PATH='" + tools +
                                 "':\"$PATH\" && { " + command + "; } >log 2>&1";
        const int status = std::system(line.c_str());
        return WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    }

    std::vector<std::string> made() const {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(directory / "strips")) {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
};

TEST_F(Spreading, GnuParallelRecipeStripsEveryModel) {
    fs::create_directory(directory / "strips");
    writeText(directory / "strips" / "b.glb", "made before");
    EXPECT_EQ(runThere(documentedLine("parallel")), 0) << readText(directory / "log");
    EXPECT_THAT(made(), ElementsAre("a.glb", "b.glb", "c d.glb"));
    EXPECT_EQ(readText(directory / "strips" / "b.glb"), "made before");
    expectSameTriangles(directory / "models" / "a.glb", directory / "strips" / "a.glb");
}

TEST_F(Spreading, SlurmRecipeGivesEachTaskItsShare) {
    std::string task = documentedLine("sbatch");
    task = task.substr(task.find('\'') + 1);
    task.resize(task.rfind('\''));
    ASSERT_THAT(task, HasSubstr("SLURM_ARRAY_TASK_ID"));
    const auto run = [&](const std::string& id) {
        return runThere("ls models/*.glb >models.txt; export SLURM_ARRAY_TASK_COUNT=5 SLURM_ARRAY_TASK_ID=" + id +
                        "; " + task);
    };
    EXPECT_EQ(run("1"), 0) << readText(directory / "log");
    EXPECT_THAT(made(), ElementsAre("a.glb"));
    EXPECT_EQ(run("3"), 0) << readText(directory / "log");
    EXPECT_EQ(run("4"), 0) << "there is nothing for it: " << readText(directory / "log");
    EXPECT_THAT(made(), ElementsAre("a.glb", "c d.glb"));
}

TEST_F(Spreading, MakeRecipeBuildsEachTarget) {
    const std::string recipes = readRecipes();
    const std::size_t begin = recipes.find("```make\n");
    ASSERT_NE(begin, std::string::npos);
    writeText(directory / "Makefile", recipes.substr(begin + 8, recipes.find("```", begin + 8) - begin - 8));
    EXPECT_EQ(runThere("make strips/a.glb strips/b.glb"), 0) << readText(directory / "log");
    EXPECT_THAT(made(), ElementsAre("a.glb", "b.glb"));
}

} // namespace
