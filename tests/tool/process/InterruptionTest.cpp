// SIGINT and SIGTERM, to the program or to its process group.

#include "process/Interruption.h"
#include "io/Files.h"
#include "process/Batch.h"
#include "support/Paths.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <functional>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>

namespace {

using namespace tool_test;
using testing::AnyOf;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::HasSubstr;
namespace fs = std::filesystem;

/// Waits until something happens; a minute is long enough on any machine.
void waitFor(const std::function<bool()>& happened) {
    for (int i = 0; i < 6000 && !happened(); ++i) {
        std::this_thread::sleep_for(std::chrono::milliseconds(10));
    }
    ASSERT_TRUE(happened());
}

/// The built program, running in a process group of its own.
class RunningProgram {
public:
    RunningProgram(const std::vector<std::string>& arguments, const fs::path& out) {
        std::vector<const char*> argv{programPath};
        for (const std::string& argument : arguments) {
            argv.push_back(argument.c_str());
        }
        argv.push_back(nullptr);
        pid_ = ::fork();
        if (pid_ == 0) {
            ::setpgid(0, 0);
            // Where the tests run in the background, it may be ignored.
            std::signal(SIGINT, SIG_DFL);
            const int file = ::open(out.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
            ::dup2(file, STDOUT_FILENO);
            ::dup2(file, STDERR_FILENO);
            ::execv(programPath, const_cast<char* const*>(argv.data()));
            ::_exit(127);
        }
        ::setpgid(pid_, pid_);
    }
    RunningProgram(const RunningProgram&) = delete;
    RunningProgram& operator=(const RunningProgram&) = delete;
    ~RunningProgram() {
        if (pid_ > 0) {
            ::kill(-pid_, SIGKILL);
        }
    }

    void signal(int signal) const { ::kill(pid_, signal); }
    void signalGroup(int signal) const { ::kill(-pid_, signal); }

    /// \return the signal that ended it; 0 if it ended by itself
    int wait() {
        int status = 0;
        ::waitpid(pid_, &status, 0);
        return WIFSIGNALED(status) ? WTERMSIG(status) : 0;
    }

    /// Whether a process of its group still runs.
    bool hasProcesses() const {
        return hasProcessThat([](const ProcessState&) { return true; });
    }

    /// Waits until one of its processes is deep in its work.
    void waitUntilBusy() const {
        waitFor([&] { return hasProcessThat([](const ProcessState& process) { return process.userTicks > 20; }); });
    }

private:
    struct ProcessState {
        std::string state;
        unsigned long userTicks = 0;
    };

    bool hasProcessThat(const std::function<bool(const ProcessState&)>& matches) const {
        for (const auto& entry : fs::directory_iterator("/proc")) {
            std::ifstream file(entry.path() / "stat");
            ProcessState process;
            std::string word;
            pid_t group = 0;
            file >> word >> word >> process.state >> word >> group;
            for (int skipped = 0; skipped < 8; ++skipped) {
                file >> word;
            }
            file >> process.userTicks;
            if (file && group == pid_ && process.state != "Z" && matches(process)) {
                return true;
            }
        }
        return false;
    }

    pid_t pid_ = -1;
};

class Interruption : public testing::Test {
public:
    /// A model whose search for strips takes hours.
    std::string writeEndless(const std::string& name) {
        gridModel(200, 200).writeGlb(directory / name);
        return (directory / name).string();
    }

    /// A model with nothing to search, and two endless ones.
    std::vector<std::string> endlessBatch() {
        GltfModel lines;
        lines.addMesh(lines.addPositions({0, 0, 0, 1, 0, 0}), lines.addIndices({0, 1}), 1);
        lines.writeGlb(directory / "a.glb");
        return {"strip",
                directory / "a.glb",
                writeEndless("b.glb"),
                writeEndless("c.glb"),
                "-d",
                directory / "out",
                "--jobs",
                "1",
                "--iterations",
                "4000000000"};
    }

    TemporaryDirectory directory;
    fs::path printed = directory / "printed";
};

/// \return the wait status of a forked process that does this
int statusOf(const std::function<void()>& work) {
    const pid_t pid = ::fork();
    if (pid == 0) {
        ::setpgid(0, 0);
        for (const int signal : {SIGINT, SIGHUP}) {
            std::signal(signal, SIG_DFL);
        }
        vexa::tool::endCleanlyWhenInterrupted();
        work();
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    return status;
}

TEST(DeferredInterruption, LeavesAReportedSignalToTheCaller) {
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
        const int status = statusOf([signal] {
            int reported = 0;
            {
                vexa::tool::DeferredInterruption interruption;
                std::raise(signal);
                reported = interruption.signal();
                std::raise(SIGINT);
                std::raise(SIGTERM);
                reported = interruption.signal() == reported ? reported : 0;
            }
            ::_exit(reported);
        });
        EXPECT_TRUE(WIFEXITED(status));
        EXPECT_EQ(WEXITSTATUS(status), signal);
    }
}

TEST(DeferredInterruption, EndsTheProcessByAnUnreportedSignal) {
    const int status = statusOf([] {
        const vexa::tool::DeferredInterruption interruption;
        std::raise(SIGTERM);
    });
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

TEST(DeferredInterruption, LeavesIgnoredSignalsIgnored) {
    const int status = statusOf([] {
        std::signal(SIGHUP, SIG_IGN);
        int reported = 0;
        {
            vexa::tool::DeferredInterruption interruption;
            std::raise(SIGHUP);
            reported = interruption.signal();
        }
        ::_exit(reported);
    });
    EXPECT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(RunBatch, IsInterruptedWhetherTheSignalOrTheEndOfAProcessComesFirst) {
    for (int i = 0; i < 50; ++i) {
        const int status = statusOf([] {
            const vexa::tool::BatchRun run = vexa::tool::runBatch(
                {{"a", ""}, {"b", ""}}, 1,
                [](const vexa::tool::BatchItem&) {
                    ::kill(0, SIGINT);
                    return vexa::tool::BatchResult();
                },
                [](std::size_t) {});
            const bool isRight = run.signal == SIGINT &&
                                 run.results[0].state == vexa::tool::BatchResult::State::Interrupted &&
                                 run.results[1].state == vexa::tool::BatchResult::State::NotStarted;
            ::_exit(isRight ? 0 : 1);
        });
        ASSERT_TRUE(WIFEXITED(status));
        ASSERT_EQ(WEXITSTATUS(status), 0);
    }
}

TEST(RunBatch, ACrashBeforeTheSignalIsAFailure) {
    const int status = statusOf([] {
        const vexa::tool::BatchRun run = vexa::tool::runBatch(
            {{"a", ""}}, 1, [](const vexa::tool::BatchItem&) -> vexa::tool::BatchResult { std::abort(); },
            [](std::size_t) {
                siginfo_t crashed{};
                ::waitid(P_ALL, 0, &crashed, WEXITED | WNOWAIT);
                std::raise(SIGINT);
            });
        const bool isRight = run.signal == SIGINT && run.results[0].state == vexa::tool::BatchResult::State::Failed;
        ::_exit(isRight ? 0 : 1);
    });
    ASSERT_TRUE(WIFEXITED(status));
    EXPECT_EQ(WEXITSTATUS(status), 0);
}

TEST(RemoveWhenInterrupted, RemovesEveryFileThatIsNamed) {
    const TemporaryDirectory directory;
    const std::string first = (directory / "first").string();
    const std::string second = (directory / "second").string();
    writeText(first, "");
    writeText(second, "");
    const pid_t pid = ::fork();
    if (pid == 0) {
        vexa::tool::endCleanlyWhenInterrupted();
        vexa::tool::removeWhenInterrupted(first.c_str(), 0);
        vexa::tool::removeWhenInterrupted(second.c_str(), 1);
        ::raise(SIGTERM);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    EXPECT_TRUE(WIFSIGNALED(status));
    EXPECT_THAT(directory.files(), ElementsAre());
}

TEST_F(Interruption, EndsAVerbByItsSignal) {
    const std::string in = writeEndless("in.glb");
    for (const int signal : {SIGINT, SIGTERM}) {
        RunningProgram program({"strip", in, "-o", directory / "out.glb", "--iterations", "4000000000"}, printed);
        program.waitUntilBusy();
        program.signal(signal);
        EXPECT_EQ(program.wait(), signal);
        EXPECT_THAT(directory.files(), ElementsAre("in.glb", "printed"));
    }
}

TEST_F(Interruption, BatchPrintsItsTableAndEndsByTheSignal) {
    for (const bool group : {false, true}) {
        RunningProgram program(endlessBatch(), printed);
        program.waitUntilBusy();
        if (group) {
            program.signalGroup(SIGINT);
        } else {
            program.signal(SIGINT);
        }
        EXPECT_EQ(program.wait(), SIGINT);
        EXPECT_FALSE(program.hasProcesses());
        const std::string table = readText(printed);
        EXPECT_THAT(table, ContainsRegex("a.glb .* done\n.*b.glb .* interrupted\n.*c.glb .* not started\n"));
        EXPECT_THAT(table, HasSubstr("vexamesh: interrupted; "));
    }
}

TEST_F(Interruption, BatchReportsInterruptionAsJson) {
    std::vector<std::string> arguments = endlessBatch();
    arguments.emplace_back("--json");
    RunningProgram program(arguments, printed);
    program.waitUntilBusy();
    program.signal(SIGTERM);
    EXPECT_EQ(program.wait(), SIGTERM);
    const std::string text = readText(printed);
    const Json files = Json::parse(text.substr(0, text.find("vexamesh: "))).at("files");
    EXPECT_TRUE(files[0].contains("triangles"));
    EXPECT_EQ(files[1].at("interrupted"), true);
    EXPECT_EQ(files[2].at("notStarted"), true);
}

TEST_F(Interruption, ProcessesOfABatchEndWithAKilledParent) {
    RunningProgram program(endlessBatch(), printed);
    program.waitUntilBusy();
    program.signal(SIGKILL);
    EXPECT_EQ(program.wait(), SIGKILL);
    waitFor([&] { return !program.hasProcesses(); });
}

TEST_F(Interruption, LeavesNoTemporaryFile) {
    for (int i = 0; i < 4; ++i) {
        const pid_t writer = ::fork();
        if (writer == 0) {
            vexa::tool::endCleanlyWhenInterrupted();
            for (;;) {
                vexa::tool::writeFile(directory / "out", vexa::tool::Bytes(std::size_t{1} << 25));
            }
        }
        waitFor([&] { return directory.files().size() > (fs::exists(directory / "out") ? 1U : 0U); });
        ::kill(writer, SIGTERM);
        int status = 0;
        ::waitpid(writer, &status, 0);
        EXPECT_EQ(WTERMSIG(status), SIGTERM);
        EXPECT_THAT(directory.files(), AnyOf(ElementsAre(), ElementsAre("out")));
    }
}

TEST_F(Interruption, StaysIgnoredWhereTheProgramWasStartedSo) {
    const pid_t child = ::fork();
    if (child == 0) {
        std::signal(SIGINT, SIG_IGN);
        vexa::tool::endCleanlyWhenInterrupted();
        std::raise(SIGINT);
        std::raise(SIGTERM);
        ::_exit(0);
    }
    int status = 0;
    ::waitpid(child, &status, 0);
    EXPECT_EQ(WTERMSIG(status), SIGTERM);
}

} // namespace
