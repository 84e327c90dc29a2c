#include "tools/launchlog_report/log_files.h"

#include <gmock/gmock.h>

#include <filesystem>

#include "harness/files.h"

namespace launchlog_report {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

class LogFiles : public testing::Test {
  protected:
    // Makes these files, and returns the names of those that belong to launcher.log.
    std::vector<std::string> Rotated(std::vector<std::string> const& names) const {
        for (std::string const& name : names) {
            directory.Write(name, "");
        }
        std::vector<std::string> found;
        for (std::filesystem::path const path :
             RotatedFiles(directory.Path() / "launcher.log")) {
            EXPECT_EQ(path.parent_path(), directory.Path());
            found.push_back(path.filename());
        }
        return found;
    }

    TempDirectory const directory;
};

TEST_F(LogFiles, NumbersCountDownToTheNewest) {
    EXPECT_THAT(
        Rotated({"launcher.log.0", "launcher.log.1", "launcher.log.2.gz",
                 "launcher.log.10.bz2", "launcher.log.9.xz", "launcher.log.11.zst",
                 "launcher.log"}),
        ElementsAre("launcher.log.11.zst", "launcher.log.10.bz2", "launcher.log.9.xz",
                    "launcher.log.2.gz", "launcher.log.1", "launcher.log.0"));
}

TEST_F(LogFiles, DatesCountUpToTheNewest) {
    EXPECT_THAT(Rotated({"launcher.log-20261121", "launcher.log-20261119.gz",
                         "launcher.log-20261120"}),
                ElementsAre("launcher.log-20261119.gz", "launcher.log-20261120",
                            "launcher.log-20261121"));
    EXPECT_THAT(Rotated({"launcher.log.20261122T000000.bz2", "launcher.log-2026-11-23",
                         "launcher.log-20261124-1795262018"}),
                testing::IsSupersetOf({"launcher.log.20261122T000000.bz2",
                                       "launcher.log-2026-11-23",
                                       "launcher.log-20261124-1795262018"}));
}

TEST_F(LogFiles, OtherNamesDoNotBelong) {
    EXPECT_THAT(
        Rotated({"launcher.log", "launcher.log.", "launcher.log-", "launcher.log.gz",
                 "launcher.log.old", "launcher.log.1.tmp", "launcher.log1",
                 "launcher.log.1x", "my-launcher.log.1", "launcher.logs.1",
                 "launcher.lo.1", "launcher.log.-1", "other.log.1", "launcher.log.1.2"}),
        IsEmpty());
}

TEST_F(LogFiles, ACompressedFileIsLeftOutIfItIsThereUncompressed) {
    EXPECT_THAT(Rotated({"launcher.log.1", "launcher.log.1.gz", "launcher.log.2.gz"}),
                ElementsAre("launcher.log.2.gz", "launcher.log.1"));
}

TEST_F(LogFiles, ALogWithoutAFolderIsInTheWorkingDirectory) {
    directory.Write("launcher.log.1", "");
    std::filesystem::path const before = std::filesystem::current_path();
    std::filesystem::current_path(directory.Path());
    EXPECT_THAT(RotatedFiles("launcher.log"), ElementsAre("launcher.log.1"));
    std::filesystem::current_path(before);
    EXPECT_THAT(RotatedFiles("/nonexistent/launcher.log"), IsEmpty());
}

TEST_F(LogFiles, NamesThatRotationMakesAreKnown) {
    for (char const* const name :
         {"launcher.log.0", "launcher.log.12.gz", "/a/launcher.log-20261121",
          "launcher.log-20261121-1795262018.gz", "launcher.log.20261122T000000", "a.1"}) {
        EXPECT_NE(ParseLogName(name).mark, "") << name;
    }
    for (char const* const name : {"launcher.log", "launcher.log.gz", "", "a",
                                   "/a.1/launcher.log", ".1", "launcher-2.log", "-"}) {
        EXPECT_EQ(ParseLogName(name).mark, "") << name;
    }
}

TEST_F(LogFiles, FindsTheLogsOfEveryProduct) {
    directory.Write("Library/Logs/Tamlin/voplog/launcher.log", "");
    directory.Write("Library/Logs/Other/voplog/launcher.log.0", "");
    directory.Write("Library/Logs/Empty/voplog/agent.log", "");
    directory.Write("Library/Logs/launcher.log", "");
    std::vector<std::string> expected;
    for (std::string const product : {"Other", "Tamlin"}) {
        expected.push_back(directory.Path() / "Library/Logs" / product /
                           "voplog/launcher.log");
    }
    EXPECT_THAT(FindLogs(directory.Path()), testing::ElementsAreArray(expected));
    EXPECT_THAT(FindLogs("/nonexistent"), IsEmpty());
}

TEST_F(LogFiles, ANameHasParts) {
    LogName const name = ParseLogName("./a/launcher.log-20261121.gz");
    EXPECT_EQ(name.path, "./a/launcher.log-20261121.gz");
    EXPECT_EQ(name.original, "a/launcher.log");
    EXPECT_EQ(name.mark, "20261121");
    EXPECT_EQ(name.compression, CompressionOfName(".gz"));
    EXPECT_FALSE(name.IsOriginal());
    EXPECT_FALSE(ParseLogName("launcher.log.1").IsOriginal());
    EXPECT_FALSE(ParseLogName("launcher.log.gz").IsOriginal());
    EXPECT_TRUE(ParseLogName("launcher.log").IsOriginal());
}

// Returns the command that decompresses a file; "-" if it is not compressed.
std::string CommandOf(Compression const* compression) {
    return compression == nullptr ? "-" : compression->command;
}

TEST(Compression, IsKnownByTheEndOfAName) {
    EXPECT_EQ(CommandOf(CompressionOfName("a.log.1.gz")), "gzip -dc");
    EXPECT_EQ(CommandOf(CompressionOfName("a.log.1.bz2")), "bzip2 -dc");
    EXPECT_EQ(CommandOf(CompressionOfName("a.log.1.xz")), "xz -dc");
    EXPECT_EQ(CommandOf(CompressionOfName("a.log.1.zst")), "zstd -dc");
    EXPECT_EQ(CommandOf(CompressionOfName("a.log.1")), "-");
    EXPECT_EQ(CommandOf(CompressionOfName("gz")), "-");
}

TEST(Compression, IsKnownByTheFirstBytes) {
    EXPECT_EQ(CommandOf(CompressionOfContent("\x1F\x8B\x08")), "gzip -dc");
    EXPECT_EQ(CommandOf(CompressionOfContent("BZh9")), "bzip2 -dc");
    EXPECT_EQ(CommandOf(CompressionOfContent("\xFD\x37zXZ")), "xz -dc");
    EXPECT_EQ(CommandOf(CompressionOfContent("\x28\xB5\x2F\xFD ")), "zstd -dc");
    EXPECT_EQ(CommandOf(CompressionOfContent("\x1F")), "-");
    EXPECT_EQ(CommandOf(CompressionOfContent("")), "-");
}

}  // namespace
}  // namespace launchlog_report
