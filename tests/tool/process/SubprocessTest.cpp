#include "process/Subprocess.h"

#include <csignal>
#include <fcntl.h>
#include <gtest/gtest.h>
#include <unistd.h>

namespace {

using vexa::tool::ChildProcess;
using vexa::tool::PipeWriter;
using vexa::tool::ProcessError;

TEST(ChildProcess, InheritsNoPipesOfOthers) {
    const ChildProcess first([](PipeWriter&) { ::pause(); });
    ChildProcess second([&](PipeWriter& pipe) { pipe.writeValue(::fcntl(first.descriptor(), F_GETFD)); });
    EXPECT_EQ(second.readValue<int>(), -1);
}

TEST(ChildProcess, FailsWhenItsPipeCannotBeRead) {
    ChildProcess child([](PipeWriter& pipe) { pipe.writeValue(1); });
    const int unreadable = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    ASSERT_GE(::dup2(unreadable, child.descriptor()), 0);
    ::close(unreadable);
    EXPECT_THROW(child.readValue<int>(), ProcessError);
    EXPECT_THROW(child.wait(), ProcessError);
}

TEST(ChildProcess, IsInterruptedByASignalThatComesAfterItsResult) {
    ChildProcess child([](PipeWriter& pipe) {
        pipe.writeValue(1);
        std::raise(SIGKILL);
    });
    EXPECT_EQ(child.readValue<int>(), 1);
    try {
        child.wait();
        ADD_FAILURE() << "no exception";
    } catch (const ProcessError& error) {
        EXPECT_EQ(error.cause(), ProcessError::Cause::Interruption);
    }
}

} // namespace
