// A reader that crashes, takes too much or never ends only ends its own process.

#include "io/IsolatedReader.h"
#include "base/Errors.h"
#include "support/Sanitizer.h"
#include "support/SmallModels.h"
#include "support/ToolProcess.h"

#include <atomic>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <iostream>
#include <random>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

using namespace tool_test;
using testing::HasSubstr;
using testing::Not;
using vexa::tool::Document;
using vexa::tool::ParseLimits;

class IsolatedReader : public testing::Test {
public:
    ~IsolatedReader() override { vexa::tool::setParseLimits({}); }

    /// The error reported for a file whose reader does this.
    static std::string faultOf(const std::function<Document()>& parse, const ParseLimits& limits = {}) {
        vexa::tool::setParseLimits(limits);
        try {
            vexa::tool::readIsolated("model.ply", 0, parse);
        } catch (const vexa::tool::FileError& error) {
            return error.what();
        }
        return "nothing";
    }

    TemporaryDirectory directory;
};

TEST_F(IsolatedReader, ReportsAReaderThatCrashed) {
    EXPECT_EQ(faultOf([]() -> Document {
                  std::raise(SIGSEGV);
                  return {};
              }),
              "model.ply: reading it crashed (Segmentation fault); it is probably damaged, export it again or convert "
              "it with another program");
    EXPECT_THAT(faultOf([]() -> Document { std::abort(); }), HasSubstr("model.ply: reading it crashed (Aborted)"));
}

TEST_F(IsolatedReader, ReportsAReaderThatExited) {
    EXPECT_THAT(faultOf([]() -> Document { ::_exit(0); }), HasSubstr("reading it ended before it was done"));
}

TEST_F(IsolatedReader, StopsAReaderThatTakesTooMuchMemory) {
    if (isSanitized) {
        GTEST_SKIP() << needsOfSanitizers;
    }
    const auto bomb = []() -> Document {
        std::vector<Document> documents;
        for (;;) {
            documents.emplace_back().asset.buffers.emplace_back(1 << 24, 1);
        }
    };
    EXPECT_EQ(faultOf(bomb, {256, 100}), "model.ply: reading it needed more than 256 MiB of memory; if it is really "
                                         "that large, --parse-memory gives it more");
}

TEST_F(IsolatedReader, NamesALowerLimitOfTheSystem) {
    if (isSanitized) {
        GTEST_SKIP() << needsOfSanitizers;
    }
    const auto bomb = []() -> Document {
        for (std::vector<Document> documents;;) {
            documents.emplace_back().asset.buffers.emplace_back(1 << 24, 1);
        }
    };
    rlimit before{};
    ::getrlimit(RLIMIT_AS, &before);
    const rlimit lower{std::size_t{2} << 30, before.rlim_max};
    ::setrlimit(RLIMIT_AS, &lower);
    const std::string fault = faultOf(bomb);
    ::setrlimit(RLIMIT_AS, &before);
    EXPECT_EQ(fault, "model.ply: reading it needed more memory than the 2048 MiB that the program was started with; "
                     "raise that limit (ulimit -v)");
}

TEST_F(IsolatedReader, DoesNotBlameTheFileForAnInterruption) {
    for (const int signal : {SIGTERM, SIGKILL}) {
        const std::string fault = faultOf([signal]() -> Document {
            std::raise(signal);
            return {};
        });
        EXPECT_THAT(fault, HasSubstr("model.ply: reading it was interrupted ("));
        EXPECT_THAT(fault, Not(HasSubstr("damaged")));
    }
}

TEST_F(IsolatedReader, LibrariesCannotMistakeMissingMemoryForADamagedFile) {
    if (isSanitized) {
        GTEST_SKIP() << needsOfSanitizers;
    }
    const auto swallow = []() -> Document {
        try {
            Document document;
            document.asset.buffers.emplace_back(std::size_t{1} << 30, 1);
            return document;
        } catch (const std::bad_alloc&) {
            throw vexa::tool::FileError("model.ply", "is damaged");
        }
    };
    EXPECT_THAT(faultOf(swallow, {256, 100}), HasSubstr("needed more than 256 MiB of memory"));
}

TEST_F(IsolatedReader, StopsAReaderThatWaitsForever) {
    const auto wait = []() -> Document {
        for (;;) {
            ::pause();
        }
    };
    EXPECT_EQ(faultOf(wait, {{}, 1}), "model.ply: reading it took more than 1 second; if it is really that large, "
                                      "--parse-time gives it more");
}

TEST_F(IsolatedReader, StopsAReaderThatRunsForever) {
    const auto work = []() -> Document {
        for (std::atomic<unsigned int> i = 0;; ++i) {
        }
    };
    EXPECT_THAT(faultOf(work, {{}, 1}), HasSubstr("took more than 1 second"));
}

TEST_F(IsolatedReader, SuppressesTheOutputOfReaders) {
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

TEST_F(IsolatedReader, LeavesNoProcessRunning) {
    faultOf([]() -> Document { std::abort(); });
    faultOf([]() -> Document { ::_exit(0); });
    EXPECT_EQ(::waitpid(-1, nullptr, WNOHANG), -1);
    EXPECT_EQ(errno, ECHILD);
}

TEST_F(IsolatedReader, ReturnsTheWholeDocument) {
    Document sent;
    sent.format = "PLY";
    sent.fileSize = 77;
    sent.asset.json = Json::parse(R"({"z":1,"a":[-0.0,1e300,18446744073709551615,0.1],"text":"\u00e4"})");
    sent.asset.buffers = {{1, 2, 3}, {}, vexa::tool::Bytes(3000000, 7)};
    sent.asset.warnings = {"one", ""};
    sent.asset.leftOut = {"two"};
    sent.asset.model.accessors.resize(3);
    sent.asset.model.accessors[2].count = 9;
    const Document received = vexa::tool::readIsolated("model.ply", 0, [&] { return sent; });
    EXPECT_EQ(received.file, "model.ply");
    EXPECT_EQ(received.format, "PLY");
    EXPECT_EQ(received.fileSize, 77u);
    EXPECT_EQ(received.asset.json.dump(), sent.asset.json.dump());
    EXPECT_EQ(received.asset.buffers, sent.asset.buffers);
    EXPECT_EQ(received.asset.warnings, sent.asset.warnings);
    EXPECT_EQ(received.asset.leftOut, sent.asset.leftOut);
    EXPECT_EQ(received.asset.model.accessors.at(2).count, 9u);
}

TEST_F(IsolatedReader, LimitsAreOptionsOfEverySubcommand) {
    if (isSanitized) {
        GTEST_SKIP() << needsOfSanitizers;
    }
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

TEST_F(IsolatedReader, TimeLimitStopsPolygonsThatWouldTakeLong) {
    const std::string in = (directory / "in.obj").string();
    std::ofstream file(in);
    constexpr int corners = 20000;
    std::minstd_rand random;
    std::string tangle = "f";
    for (int i = 1; i <= corners; ++i) {
        file << "v " << random() % 10007 << ' ' << random() % 10007 << " 0\n";
        tangle += ' ' + std::to_string(i);
    }
    // Half a minute of work, most of it in vain: nearly no corner of a tangle can be cut off.
    for (int i = 0; i < 50; ++i) {
        file << tangle << '\n';
    }
    file.close();
    const ProcessResult result = runForked({"info", in, "--parse-time", "1"});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.err, HasSubstr(in + ": reading it took more than 1 second"));
    EXPECT_EQ(countOf(result.err, "\n"), 1u);
}

TEST_F(IsolatedReader, RefusesAPipe) {
    const std::string in = (directory / "in.glb").string();
    ASSERT_EQ(::mkfifo(in.c_str(), 0600), 0);
    const ProcessResult result = runForked({"info", in});
    EXPECT_EQ(result.exitCode, 3);
    EXPECT_THAT(result.err, HasSubstr(in + ": is not a regular file"));
}

} // namespace
