#include <logging/Logger.h>

#include "support/LogCapture.h"

#include <boost/log/sources/record_ostream.hpp>
#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using vexa::test::LogCapture;
using vexa::test::LogRecord;
using vexa::test::Severity;

TEST(DefaultLogger, RecordsCarryTheThreeArgumentsAsAttributes) {
    const LogCapture capture;
    const auto logger = logging::Logger::getBoostLogger(42, "void f(int)", "vexa/mesh/Mesh");
    ASSERT_NE(logger, nullptr);
    BOOST_LOG_SEV(*logger, boost::log::trivial::warning) << "text " << 7;
    EXPECT_EQ(capture.records(),
              (std::vector<LogRecord>{{Severity::Warning, "text 7", 42, "void f(int)", "vexa/mesh/Mesh"}}));
}

TEST(DefaultLogger, IsNewForEveryCall) {
    const LogCapture capture;
    const auto first = logging::Logger::getBoostLogger(1, "f", "a");
    const auto second = logging::Logger::getBoostLogger(2, "g", "b");
    BOOST_LOG_SEV(*second, boost::log::trivial::info) << "second";
    BOOST_LOG_SEV(*first, boost::log::trivial::fatal) << "first";
    EXPECT_EQ(capture.records(), (std::vector<LogRecord>{{Severity::Info, "second", 2, "g", "b"},
                                                         {Severity::Fatal, "first", 1, "f", "a"}}));
}

// The core prints records in its own format only while it has no sink.
TEST(DefaultLogger, InstallsNoSink) {
    const auto logger = logging::Logger::getBoostLogger(1, "f", "a");
    testing::internal::CaptureStdout();
    BOOST_LOG_SEV(*logger, boost::log::trivial::error) << "to the core's own sink";
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(printed.front(), '[');
    EXPECT_NE(printed.find("[error]   to the core's own sink\n"), std::string::npos) << printed;
    EXPECT_EQ(printed.find('\n'), printed.size() - 1) << printed;
}

TEST(DefaultLogger, InstallsNoFilter) {
    const LogCapture capture;
    const auto logger = logging::Logger::getBoostLogger(1, "f", "a");
    for (int level = boost::log::trivial::trace; level <= boost::log::trivial::fatal; ++level) {
        BOOST_LOG_SEV(*logger, static_cast<boost::log::trivial::severity_level>(level)) << level;
    }
    EXPECT_EQ(capture.messages(), (std::vector<std::string>{"0", "1", "2", "3", "4", "5"}));
}

TEST(LogCapture, RefusesRecordsBelowItsMinimum) {
    const LogCapture capture(Severity::Warning);
    const auto logger = logging::Logger::getBoostLogger(1, "f", "a");
    BOOST_LOG_SEV(*logger, boost::log::trivial::info) << "refused";
    BOOST_LOG_SEV(*logger, boost::log::trivial::warning) << "kept";
    EXPECT_EQ(capture.messages(), std::vector<std::string>{"kept"});
}

TEST(LogCapture, ThrowsAtTheChosenRecordOnly) {
    LogCapture capture(Severity::Trace, 1);
    const auto write = [] {
        BOOST_LOG_SEV(*logging::Logger::getBoostLogger(1, "f", "a"), boost::log::trivial::info) << "x";
    };
    write();
    EXPECT_THROW(write(), std::runtime_error);
    write();
    EXPECT_EQ(capture.records().size(), 2u);
    capture.clear();
    EXPECT_TRUE(capture.records().empty());
}

TEST(LogCapture, CollectsNothingAfterItsDestruction) {
    LogCapture outer;
    { const LogCapture inner; }
    BOOST_LOG_SEV(*logging::Logger::getBoostLogger(1, "f", "a"), boost::log::trivial::info) << "x";
    EXPECT_EQ(outer.messages(), std::vector<std::string>{"x"});
}

} // namespace
