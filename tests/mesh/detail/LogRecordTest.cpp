#include <vexa/mesh/detail/LogRecord.h>

#include "support/LogCapture.h"

#include <gtest/gtest.h>

#include <stdexcept>

namespace {

using vexa::test::LogCapture;
using vexa::test::LogRecord;
using vexa::test::Severity;

constexpr const char* functionText = "bool vexa::mesh::f(bool)";
constexpr const char* fileText = "vexa/mesh/Mesh";

int countedPiece(int& calls) {
    return ++calls;
}

int throwingPiece() {
    throw std::runtime_error("piece");
}

TEST(LogRecord, CarriesSeverityTextsAndTheLineOfTheCallSite) {
    const LogCapture capture;
    const int line = __LINE__ + 1;
    VEXA_MESH_LOG(error, functionText, fileText) << "a" << 4294967295U << '/' << -1 << " ";
    EXPECT_EQ(capture.records(),
              (std::vector<LogRecord>{{Severity::Error, "a4294967295/-1 ", line, functionText, fileText}}));
}

TEST(LogRecord, StreamsNothingWhenRefused) {
    const LogCapture capture(Severity::Error);
    int calls = 0;
    VEXA_MESH_LOG(info, functionText, fileText) << countedPiece(calls);
    EXPECT_EQ(calls, 0);
    VEXA_MESH_LOG(error, functionText, fileText) << countedPiece(calls);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(capture.messages(), std::vector<std::string>{"1"});
}

TEST(LogRecord, IsDroppedWhenAPieceThrows) {
    const LogCapture capture;
    EXPECT_THROW(VEXA_MESH_LOG(info, functionText, fileText) << "begun" << throwingPiece(), std::runtime_error);
    EXPECT_TRUE(capture.records().empty());
}

TEST(LogRecord, PropagatesExceptionsOfTheSink) {
    const LogCapture capture(Severity::Trace, 0);
    EXPECT_THROW(VEXA_MESH_LOG(info, functionText, fileText) << "x", std::runtime_error);
}

TEST(LogRecord, LeavesAnElseToThePrecedingIf) {
    const LogCapture capture;
    for (const bool chosen : {true, false}) {
        if (chosen)
            VEXA_MESH_LOG(info, functionText, fileText) << "then";
        else
            VEXA_MESH_LOG(warning, functionText, fileText) << "else";
    }
    EXPECT_EQ(capture.messages(), (std::vector<std::string>{"then", "else"}));
}

} // namespace
