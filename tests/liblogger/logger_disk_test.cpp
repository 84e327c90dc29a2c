// The log on a disk that is full or read-only.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cerrno>
#include <filesystem>
#include <fstream>
#include <string>
#include <vector>

#include "common/config/log.h"
#include "tests/liblogger/log_directory.h"
#include "tests/support/disk.h"

namespace {

std::string const kPadding(150, 'p');

TEST(LogDisk, AFullDiskLosesLinesAndTheNextOneThatFitsStandsAlone) {
    LogDirectory const directory;
    Disk const disk(directory.Path() / "disk", "size=64k");
    ASSERT_EQ(InitLogger(disk.Path().c_str()), 0);
    ILog* const log = GetLog("test", LOGLEVEL_ERROR);
    std::filesystem::path const file = disk.Path() / "test.log";

    std::filesystem::path const ballast = disk.Path() / "ballast";
    std::ofstream(ballast) << std::string(16384, 'b');
    for (int i = 0; i < 1000; ++i) {
        errno = 4711;
        __LOG__A(log, LOGLEVEL_ERROR, "line %d %s", i, kPadding.c_str());
        ASSERT_EQ(errno, 4711);
    }
    std::string const when_full = ReadFile(file);
    ASSERT_GT(when_full.size(), 8192U);
    ASSERT_NE(when_full.back(), '\n') << "this disk cut no line short";

    std::filesystem::remove(ballast);
    __LOG__A(log, LOGLEVEL_ERROR, "there is room again");
    __LOG__A(log, LOGLEVEL_ERROR, "and still");

    std::string const text = ReadFile(file);
    ASSERT_EQ(text.compare(0, when_full.size(), when_full), 0);
    std::vector<std::string> const lines = SplitLines(text);
    std::size_t const cut = lines.size() - 3;
    for (std::size_t i = 0; i < cut; ++i) {
        EXPECT_EQ(ParseLine(lines[i]).message,
                  "line " + std::to_string(i) + " " + kPadding);
    }
    EXPECT_EQ(ParseLine(lines.at(cut + 1)).message, "there is room again");
    EXPECT_EQ(ParseLine(lines.at(cut + 2)).message, "and still");
}

TEST(LogDisk, ADiskThatIsFullFromTheStartLosesTheLinesAlone) {
    LogDirectory const directory;
    Disk const disk(directory.Path() / "disk", "size=16k");
    ASSERT_EQ(InitLogger(disk.Path().c_str()), 0);
    std::filesystem::path const ballast = disk.Path() / "ballast";
    std::ofstream(ballast) << std::string(65536, 'b');
    ILog* const log = GetLog("test", LOGLEVEL_ERROR);
    __LOG__A(log, LOGLEVEL_ERROR, "lost");
    EXPECT_EQ(ReadFile(disk.Path() / "test.log"), "");
    std::filesystem::remove(ballast);
    __LOG__A(log, LOGLEVEL_ERROR, "kept");
    EXPECT_THAT(ReadMessages(disk.Path() / "test.log"), testing::ElementsAre("kept"));
}

TEST(LogDisk, InitLoggerFailsOnADirectoryThatCannotBeWritten) {
    LogDirectory const directory;
    Disk const disk(directory.Path() / "disk", "");
    ASSERT_TRUE(disk.SetReadOnly(true));
    EXPECT_NE(InitLogger(disk.Path().c_str()), 0);
    EXPECT_NE(InitLogger((disk.Path() / "log").c_str()), 0);
}

TEST(LogDisk, LinesAreLostOnADiskThatBecameReadOnlyAndComeAgain) {
    LogDirectory const directory;
    Disk const disk(directory.Path() / "disk", "");
    ASSERT_EQ(InitLogger(disk.Path().c_str()), 0);
    ILog* const log = GetLog("test", LOGLEVEL_ERROR);
    ASSERT_TRUE(disk.SetReadOnly(true));
    __LOG__A(log, LOGLEVEL_ERROR, "lost");
    ASSERT_TRUE(disk.SetReadOnly(false));
    __LOG__A(log, LOGLEVEL_ERROR, "kept");
    EXPECT_THAT(ReadMessages(disk.Path() / "test.log"), testing::ElementsAre("kept"));
}

}  // namespace
