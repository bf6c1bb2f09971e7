// Readers that crash, take too much or never end: they end nothing but their own process.

#include "io/IsolatedReader.h"
#include "Errors.h"
#include "SmallModels.h"
#include "Subprocess.h"
#include "ToolProcess.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;
using vexa::tool::Document;
using vexa::tool::ParseLimits;

class IsolatedReader : public testing::Test {
public:
    ~IsolatedReader() override { vexa::tool::setParseLimits({}); }

    /// What is said of a file whose reader does this.
    static std::string faultOf(const std::function<Document()>& parse, const ParseLimits& limits = {}) {
        vexa::tool::setParseLimits(limits);
        try {
            vexa::tool::readIsolated("model.ply", parse);
        } catch (const vexa::tool::FileError& error) {
            return error.what();
        }
        return "nothing";
    }

    TemporaryDirectory directory;
};

TEST_F(IsolatedReader, TellsThatAReaderCrashed) {
    EXPECT_EQ(faultOf([]() -> Document {
                  std::raise(SIGSEGV);
                  return {};
              }),
              "model.ply: reading it crashed (Segmentation fault); it is probably damaged, export it again or convert "
              "it with another program");
    EXPECT_THAT(faultOf([]() -> Document { std::abort(); }), HasSubstr("model.ply: reading it crashed (Aborted)"));
}

TEST_F(IsolatedReader, TellsThatAReaderLeft) {
    EXPECT_THAT(faultOf([]() -> Document { ::_exit(0); }), HasSubstr("reading it ended before it was done"));
}

TEST_F(IsolatedReader, EndsAReaderThatTakesTooMuchMemory) {
    const auto bomb = []() -> Document {
        std::vector<Document> documents;
        for (;;) {
            documents.emplace_back().asset.buffers.emplace_back(1 << 24, 1);
        }
    };
    EXPECT_EQ(faultOf(bomb, {256, 100}), "model.ply: reading it needed more than 256 MiB of memory; if it is really "
                                         "that large, --parse-memory gives it more");
}

TEST_F(IsolatedReader, EndsAReaderThatWaitsForEver) {
    const auto wait = []() -> Document {
        for (;;) {
            ::pause();
        }
    };
    EXPECT_EQ(faultOf(wait, {{}, 1}), "model.ply: reading it took more than 1 second; if it is really that large, "
                                      "--parse-time gives it more");
}

TEST_F(IsolatedReader, EndsAReaderThatWorksForEver) {
    const auto work = []() -> Document {
        for (std::atomic<unsigned int> i = 0;; ++i) {
        }
    };
    EXPECT_THAT(faultOf(work, {{}, 1}), HasSubstr("took more than 1 second"));
}

TEST(ChildProcess, FailsWhenItsPipeCannotBeRead) {
    vexa::tool::ChildProcess child([](vexa::tool::PipeWriter& pipe) { pipe.writeValue(1); });
    const int unreadable = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(::dup2(unreadable, child.descriptor()), 0);
    ::close(unreadable);
    EXPECT_THROW(child.readValue<int>(), vexa::tool::ProcessError);
    EXPECT_THROW(child.wait(), vexa::tool::ProcessError);
}

TEST_F(IsolatedReader, LetsNoReaderPrint) {
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    const std::string fault = faultOf([]() -> Document {
        std::cout << "parsing" << std::endl;
        std::cerr << "parsing" << std::endl;
        throw vexa::tool::FileError("model.ply", "is broken");
    });
    EXPECT_EQ(testing::internal::GetCapturedStdout() + testing::internal::GetCapturedStderr(), "");
    EXPECT_EQ(fault, "model.ply: is broken");
}

TEST_F(IsolatedReader, LeavesNoProcessBehind) {
    faultOf([]() -> Document { std::abort(); });
    faultOf([]() -> Document { ::_exit(0); });
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(IsolatedReader, HandsOverWhatWasRead) {
    Document sent;
    sent.format = "PLY";
    sent.fileSize = 77;
    sent.asset.json = Json::parse(R"({"z":1,"a":[-0.0,1e300,18446744073709551615,0.1],"text":"\u00e4"})");
    sent.asset.buffers = {{1, 2, 3}, {}, vexa::tool::Bytes(3000000, 7)};
    sent.asset.warnings = {"one", ""};
    sent.asset.model.accessors.resize(3);
    sent.asset.model.accessors[2].count = 9;
    const Document received = vexa::tool::readIsolated("model.ply", [&] { return sent; });
    EXPECT_EQ(received.file, "model.ply");
    EXPECT_EQ(received.format, "PLY");
    EXPECT_EQ(received.fileSize, 77u);
    EXPECT_EQ(received.asset.json.dump(), sent.asset.json.dump());
    EXPECT_EQ(received.asset.buffers, sent.asset.buffers);
    EXPECT_EQ(received.asset.warnings, sent.asset.warnings);
    EXPECT_EQ(received.asset.model.accessors.at(2).count, 9u);
}

TEST_F(IsolatedReader, LimitsAreOptionsOfEveryVerb) {
    const std::string in = (directory / "in.obj").string();
    writeText(in, "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 1 2 3\n" + std::string(40 << 20, '\n'));
    const std::string out = (directory / "out.glb").string();
    for (const std::vector<std::string>& arguments : std::vector<std::vector<std::string>>{
             {"info", in, "--parse-memory", "20"}, {"--parse-memory", "20", "strip", in, "-o", out}}) {
        const ProcessResult result = runForked(arguments);
        EXPECT_EQ(result.exitCode, 3);
        EXPECT_EQ(result.err, "vexamesh: " + in +
                                  ": reading it needed more than 20 MiB of memory; if it is really "
                                  "that large, --parse-memory gives it more\n");
    }
    EXPECT_EQ(runForked({"info", in, "--parse-memory", "2000"}).exitCode, 0);
    EXPECT_EQ(runForked({"info", in, "--parse-time", "0"}).exitCode, 2);
}

TEST_F(IsolatedReader, APolygonThatWouldTakeHoursEndsWithItsTime) {
    const std::string in = (directory / "in.obj").string();
    std::ofstream file(in);
    constexpr int corners = 300000;
    for (int i = 0; i < corners; ++i) {
        // A comb: no two neighbours of it can be cut off early.
        file << "v " << i << ' ' << (i % 2 == 0 ? 0 : 1 + i % 7) << " 0\n";
    }
    file << "v 0 -9 0\nf";
    for (int i = corners + 1; i > 0; --i) {
        file << ' ' << i;
    }
    file << '\n';
    file.close();
    const ProcessResult result = runForked({"info", in, "--parse-time", "1"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.err, HasSubstr(in + ": reading it took more than 1 second"));
    EXPECT_EQ(countOf(result.err, "\n"), 1u);
}

TEST_F(IsolatedReader, APipeThatNeverEndsIsNoFile) {
    const std::string in = (directory / "in.glb").string();
    ASSERT_EQ(::mkfifo(in.c_str(), 0600), 0);
    const ProcessResult result = runForked({"info", in});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.err, HasSubstr(in + ": is no regular file"));
}

} // namespace
