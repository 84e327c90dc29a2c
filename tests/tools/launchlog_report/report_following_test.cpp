// Following logs through rotation and truncation.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>
#include <memory>

#include "harness/wait_for.h"
#include "tests/tools/launchlog_report/report_fixture.h"

namespace launchlog_report {
namespace {

// Follows the log with the output in a file.
class LaunchlogReportFollowing : public LaunchlogReport {
  protected:
    void Follow(std::vector<std::string> arguments = {"--json"}) {
        arguments.insert(arguments.begin(),
                         {LAUNCHLOG_REPORT, "--now", "2026-11-21T12:00:00Z", "--follow"});
        arguments.push_back(log);
        std::string const path = output;
        WriteFile(output, "");
        tool = std::make_unique<Process>(arguments, [path] {
            dup2(open(path.c_str(), O_WRONLY | O_APPEND), STDOUT_FILENO);
        });
    }

    // Waits until the last report has this number of restarts of "a".
    bool WaitForRestarts(int restarts) {
        return WaitFor([&] {
            std::vector<std::string> const reports = Lines(ReadFile(output));
            return !reports.empty() && !tool->HasEnded() &&
                   Parse(reports.back())["items"][0]["restarts"] == restarts;
        });
    }

    // Rotates once: each of launcher.log.0 up to the given number gets the next number.
    void Rotate(int last) const {
        for (int i = last; i >= 0; --i) {
            std::string const number = std::to_string(i);
            std::string const next = "launcher.log." + std::to_string(i + 1);
            for (std::string const suffix : {"", ".gz"}) {
                std::string const name = "launcher.log." + number + suffix;
                if (std::filesystem::exists(directory.Path() / name)) {
                    Rename(name, next + suffix);
                }
            }
        }
        Rename("launcher.log", "launcher.log.0");
    }

    // Waits until the program has read its log to the end.
    bool WaitUntilAllIsRead() {
        std::string const process = "/proc/" + std::to_string(tool->Pid());
        std::string const position =
            "pos:\t" + std::to_string(ReadFile(log).size()) + "\n";
        return WaitFor([&] {
            for (auto const& entry :
                 std::filesystem::directory_iterator(process + "/fd")) {
                std::string const number = entry.path().filename();
                if (std::filesystem::read_symlink(entry.path()) == log &&
                    ReadFile(process + "/fdinfo/" + number).rfind(position, 0) == 0) {
                    return true;
                }
            }
            return false;
        });
    }

    std::string const output = directory.Path() / "output";
    std::unique_ptr<Process> tool;
};

TEST_F(LaunchlogReportFollowing, ReportsWhatIsAppended) {
    Append("launcher.log", Line("a", 256));
    Follow();
    EXPECT_TRUE(WaitForRestarts(1));
    Append("launcher.log", Line("a", 256));
    EXPECT_TRUE(WaitForRestarts(2));
    // A line counts as soon as it is complete.
    std::string const line = Line("a", 256) + Line("a", 512);
    Append("launcher.log", line.substr(0, line.size() - 20));
    EXPECT_TRUE(WaitForRestarts(3));
    Append("launcher.log", line.substr(line.size() - 20));
    EXPECT_TRUE(WaitForRestarts(4));
}

TEST_F(LaunchlogReportFollowing, ReportsOnlyWhatHasChanged) {
    Append("launcher.log", Line("a", 256));
    Follow();
    EXPECT_TRUE(WaitForRestarts(1));
    Append("launcher.log", "hello\n");
    EXPECT_TRUE(WaitUntilAllIsRead());
    Append("launcher.log", "hello\n");
    EXPECT_TRUE(WaitUntilAllIsRead());
    Append("launcher.log", Line("a", 256));
    EXPECT_TRUE(WaitForRestarts(2));
    EXPECT_EQ(Lines(ReadFile(output)).size(), 2U);
}

TEST_F(LaunchlogReportFollowing, GoesOnThroughRotations) {
    Append("launcher.log.0", Line("a", 256));
    Append("launcher.log", Line("a", 256));
    Follow();
    EXPECT_TRUE(WaitForRestarts(2));
    Rename("launcher.log", "launcher.log.0");
    Append("launcher.log.0", Line("a", 256));
    Append("launcher.log", Line("a", 256));
    EXPECT_TRUE(WaitForRestarts(4));
    Rename("launcher.log", "launcher.log.0");
    Append("launcher.log.0", Line("a", 256));
    EXPECT_TRUE(WaitForRestarts(5));
    Append("launcher.log", Line("a", 256));
    EXPECT_TRUE(WaitForRestarts(6));
}

TEST_F(LaunchlogReportFollowing, ARotatedFileThatIsNamedIsReadOnce) {
    Append("launcher.log.0", Line("a", 256));
    Append("launcher.log", Line("a", 256));
    Follow({"--json", log + ".0"});
    EXPECT_TRUE(WaitForRestarts(2));
    Rename("launcher.log", "launcher.log.0");
    Append("launcher.log", Line("a", 256));
    EXPECT_TRUE(WaitForRestarts(3));
}

TEST_F(LaunchlogReportFollowing, GoesOnAfterTheLogWasEmptiedInItsPlace) {
    Append("launcher.log", Line("a", 256) + Line("a", 256) + Line("a", 256));
    Follow();
    EXPECT_TRUE(WaitForRestarts(3));
    std::filesystem::resize_file(log, 0);
    Append("launcher.log", Line("a", 256));
    EXPECT_TRUE(WaitForRestarts(4));
}

TEST_F(LaunchlogReportFollowing, WaitsForALogThatIsNotThereYet) {
    Follow();
    ASSERT_TRUE(WaitFor([this] { return ReadFile(output) == kEmptyJson; }));
    Append("launcher.log", Line("a", 256));
    EXPECT_TRUE(WaitForRestarts(1));
}

TEST_F(LaunchlogReportFollowing, ASignalEndsItWithZero) {
    for (int const signal : {SIGINT, SIGTERM}) {
        Follow();
        ASSERT_TRUE(WaitFor([this] { return !ReadFile(output).empty(); }));
        tool->Signal(signal);
        EXPECT_EQ(tool->WaitForEnd(), "exit 0");
    }
}

TEST_F(LaunchlogReportFollowing, AnEmptyLineSeparatesTablesInAFile) {
    Append("launcher.log", Line("a", 256));
    Follow({});
    ASSERT_TRUE(WaitFor([this] { return Lines(ReadFile(output)).size() == 2; }));
    Append("launcher.log", Line("a", 256));
    EXPECT_TRUE(WaitFor([this] { return Lines(ReadFile(output)).size() == 5; }));
    EXPECT_EQ(Lines(ReadFile(output)).at(2), "");
}

// Everything between SIGSTOP and SIGCONT happens between two readings.
TEST_F(LaunchlogReportFollowing, ReadsAllFilesOfSeveralRotationsAtOnce) {
    Append("launcher.log.0", Line("a", 256, 1));
    Append("launcher.log", Line("a", 256, 2));
    Follow();
    ASSERT_TRUE(WaitForRestarts(2));
    tool->Signal(SIGSTOP);
    Append("launcher.log", Line("a", 256, 3));
    for (int i = 4; i < 7; ++i) {
        Rotate(2);
        Append("launcher.log", Line("a", 256 * i, i));
    }
    tool->Signal(SIGCONT);
    EXPECT_TRUE(WaitForRestarts(6));
    EXPECT_EQ(
        Parse(Lines(ReadFile(output)).back())["items"][0]["last_status"]["exit_code"], 6);
    // The next rotation makes it read nothing twice.
    Rotate(5);
    Append("launcher.log", Line("a", 256, 8));
    EXPECT_TRUE(WaitForRestarts(7));
}

TEST_F(LaunchlogReportFollowing, RecognizesARotatedFileThatWasCompressed) {
    Append("launcher.log.0", Line("a", 256, 1));
    Append("launcher.log", Line("a", 256, 2));
    Follow();
    ASSERT_TRUE(WaitForRestarts(2));
    tool->Signal(SIGSTOP);
    Rotate(1);
    Append("launcher.log", Line("a", 256, 3));
    Rotate(2);
    for (std::string const& file : {log + ".1", log + ".2"}) {
        Gzip(file);
    }
    Append("launcher.log", Line("a", 256, 4));
    tool->Signal(SIGCONT);
    EXPECT_TRUE(WaitForRestarts(4));
    Rotate(0);
    Append("launcher.log", Line("a", 256, 5));
    EXPECT_TRUE(WaitForRestarts(5));
}

TEST_F(LaunchlogReportFollowing, ReadsTheRestOfALogThatWasTruncatedFromItsCopy) {
    Append("launcher.log", Line("a", 256, 1) + Line("a", 256, 2));
    Follow();
    ASSERT_TRUE(WaitForRestarts(2));
    tool->Signal(SIGSTOP);
    Append("launcher.log", Line("a", 256, 3));
    std::filesystem::copy_file(log, log + ".1");
    std::filesystem::resize_file(log, 0);
    Append("launcher.log", Line("a", 256, 4));
    tool->Signal(SIGCONT);
    EXPECT_TRUE(WaitForRestarts(4));
    // Now a line was read before its end, and the new log is longer than the old one.
    std::string const half = Line("a", 256, 6);
    Append("launcher.log", Line("a", 256, 5) + half.substr(0, 30));
    ASSERT_TRUE(WaitForRestarts(5));
    tool->Signal(SIGSTOP);
    Append("launcher.log", half.substr(30));
    Rename("launcher.log.1", "launcher.log.2");
    std::filesystem::copy_file(log, log + ".1");
    std::filesystem::resize_file(log, 0);
    Append("launcher.log", Line("a", 256, 7) + Line("a", 256, 8) + Line("a", 256, 9) +
                               Line("a", 256, 10) + Line("a", 256, 11));
    tool->Signal(SIGCONT);
    EXPECT_TRUE(WaitForRestarts(11));
}

TEST_F(LaunchlogReportFollowing, ACopyThatLacksTheLastLinesIsKnown) {
    Append("launcher.log", Line("a", 256, 1));
    Follow();
    ASSERT_TRUE(WaitForRestarts(1));
    std::filesystem::copy_file(log, log + ".1");
    Append("launcher.log", Line("a", 256, 2));
    ASSERT_TRUE(WaitForRestarts(2));
    std::filesystem::resize_file(log, 0);
    Append("launcher.log", Line("a", 256, 3));
    EXPECT_TRUE(WaitForRestarts(3));
}

TEST_F(LaunchlogReportFollowing, AFileWithoutALogLineIsReportedAndFollowed) {
    Append("launcher.log", "hello\n");
    Follow();
    ASSERT_TRUE(WaitFor([this] { return ReadFile(output) == kEmptyJson; }));
    Append("launcher.log", Line("a", 256));
    EXPECT_TRUE(WaitForRestarts(1));
    // It was a log after all.
    tool->Signal(SIGINT);
    EXPECT_EQ(tool->WaitForEnd(), "exit 0");
}

TEST_F(LaunchlogReportFollowing, AFileThatNeverGetsALogLineIsAnErrorInTheEnd) {
    Append("launcher.log", "hello\n");
    Follow();
    ASSERT_TRUE(WaitFor([this] { return ReadFile(output) == kEmptyJson; }));
    Append("launcher.log", "hello\n");
    EXPECT_TRUE(WaitUntilAllIsRead());
    tool->Signal(SIGINT);
    EXPECT_EQ(tool->WaitForEnd(), "exit 1");
}

TEST_F(LaunchlogReportFollowing, ALogThatCannotBeReadIsAnErrorInTheEnd) {
    MakeSocket(log);
    Follow();
    ASSERT_TRUE(WaitFor([this] { return ReadFile(output) == kEmptyJson; }));
    tool->Signal(SIGINT);
    EXPECT_EQ(tool->WaitForEnd(), "exit 1");
}

TEST_F(LaunchlogReportFollowing, ALogThatBecomesReadableIsNoLongerAnError) {
    for (bool const is_directory : {true, false}) {
        std::filesystem::remove_all(log);
        if (is_directory) {
            std::filesystem::create_directory(log);
        } else {
            MakeSocket(log);
        }
        Follow();
        ASSERT_TRUE(WaitFor([this] { return ReadFile(output) == kEmptyJson; }));
        std::filesystem::remove(log);
        Append("launcher.log", Line("a", 256));
        EXPECT_TRUE(WaitForRestarts(1));
        tool->Signal(SIGINT);
        EXPECT_EQ(tool->WaitForEnd(), "exit 0");
    }
}

TEST_F(LaunchlogReportFollowing, ATableSaysThatALogIsNotThereYet) {
    Follow({});
    EXPECT_TRUE(WaitFor([this] {
        return ReadFile(output) == "no program has ended\n" + log + ": not there yet\n";
    })) << ReadFile(output);
    // The file appears together with its line.
    Append("new.log", Line("a", 256));
    Rename("new.log", "launcher.log");
    EXPECT_TRUE(WaitFor([this] { return Lines(ReadFile(output)).size() == 5; }));
    EXPECT_THAT(Lines(ReadFile(output)).back(), testing::StartsWith("  a "));
    // After a rotation the file that was open is still followed.
    Rename("launcher.log", "launcher.log.0");
    Append("launcher.log.0", Line("a", 256));
    EXPECT_TRUE(WaitFor([this] { return Lines(ReadFile(output)).size() == 8; }));
    EXPECT_THAT(Lines(ReadFile(output)).back(), testing::StartsWith("  a "));
    tool->Signal(SIGINT);
    EXPECT_EQ(tool->WaitForEnd(), "exit 0");
}

TEST_F(LaunchlogReportFollowing, ADeviceIsNotReadLater) {
    std::filesystem::create_symlink("/dev/zero", log);
    std::filesystem::create_symlink("/dev/zero", log + ".1");
    Follow({"--json", directory.Path() / "other.log"});
    ASSERT_TRUE(WaitFor([this] { return ReadFile(output) == kEmptyJson; }));
    Append("other.log", Line("a", 256));
    EXPECT_TRUE(WaitForRestarts(1));
    tool->Signal(SIGINT);
    EXPECT_EQ(tool->WaitForEnd(), "exit 1");
}

}  // namespace
}  // namespace launchlog_report
