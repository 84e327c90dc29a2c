// What GetLogLevel does where the reader of configuration files, which this program
// stands in for, returns nothing at all. The real one always returns the default at
// least.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstddef>
#include <string>

#include "common/config/log_location.h"
#include "common/config/profile_reader.h"
#include "tests/support/recording_log.h"

namespace {

RecordingLog recording_log;

}  // namespace

ILog* logger = &recording_log;

std::size_t GetPrivateProfileString(std::string /*section*/, std::string /*key*/,
                                    std::string /*fallback*/, char* /*buffer*/,
                                    int /*size*/, std::string /*path*/) {
    return 0;
}

namespace {

TEST(LogLevel, ThatCannotBeReadIsErrorAndIsLogged) {
    EXPECT_EQ(GetLogLevel(), LOGLEVEL_ERROR);
    EXPECT_THAT(recording_log.Lines(), testing::ElementsAre(RecordingLog::Line(
                                           8, "[SERVICE   ] Failed to get log level")));
}

}  // namespace
