// Which files the program reads, and what it says of those that it cannot read.

#include <gmock/gmock.h>

#include <filesystem>
#include <random>

#include "tests/tools/launchlog_report/report_fixture.h"

namespace launchlog_report {
namespace {

using testing::HasSubstr;

TEST_F(LaunchlogReport, AFileWithoutALogLineIsAnError) {
    Append("wrong.txt", "hello\n");
    std::string const wrong = directory.Path() / "wrong.txt";
    ProgramRun const run = Run({wrong});
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "launchlog-report: " + wrong +
                              ": no line of it is a line of a launcher's log\n");
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_EQ(Run({"-"}, "hello").errors,
              "launchlog-report: the standard input: no line of it is a line of a "
              "launcher's log\n");
    // Other files are reported all the same.
    Append("launcher.log", "hello\n" + Line("a", 256));
    EXPECT_EQ(Run({log}).errors, "");
    EXPECT_EQ(Run({log}).end, "exit 0");
    ProgramRun const both = Run({log, wrong});
    EXPECT_EQ(both.end, "exit 1");
    EXPECT_EQ(both.errors, run.errors);
    EXPECT_THAT(both.output, HasSubstr("\n  a "));
    // A new file of newsyslog begins with this line.
    Append("new.log", "Nov 21 12:00:00 host newsyslog[77]: logfile turned over\n");
    EXPECT_EQ(Run({directory.Path() / "new.log"}).end, "exit 0");
}

TEST_F(LaunchlogReport, ACompressedStandardInputIsAnErrorThatSaysSo) {
    Append("launcher.log", Line("a", 256));
    Gzip(log);
    ProgramRun const run = Run({"-"}, ReadFile(log + ".gz"));
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors,
              "launchlog-report: the standard input: no line of it is a line of a "
              "launcher's log; it is compressed: use gzip -dc\n");
}

TEST_F(LaunchlogReport, RotatedFilesAreReadInTheOrderOfTheirTimes) {
    // Given in the order of a shell, which is the newest first, and one with a date.
    Append("launcher.log.0", Line("a", 768, 30) + Line("a", 1024, 31));
    Append("launcher.log.1", Line("a", 512, 20));
    Append("launcher.log-20261121", Line("a", 1280, 40));
    Append("launcher.log.2", "no time\n" + Line("a", 256, 10));
    Json::Value const row =
        Items({log + ".0", log + ".1", log + ".2", log + "-20261121"})[0];
    EXPECT_EQ(row["last_status"]["exit_code"], 5);
    EXPECT_EQ(row["last_end"], "2026-11-21T11:59:40Z");
    EXPECT_EQ(row["first_end"], "2026-11-21T11:59:10Z");
    EXPECT_EQ(row["ends"], 5);
    // The log itself is the newest, whatever the clock says.
    Append("launcher.log", Line("a", 1536, 5));
    EXPECT_EQ(Items({log})[0]["last_status"]["exit_code"], 6);
    EXPECT_EQ(Items({log})[0]["last_end"], "2026-11-21T11:59:05Z");
    EXPECT_EQ(Items({log})[0]["ends"], 6);
}

TEST_F(LaunchlogReport, LinesThatAreTooLongAreCountedAndLeftOut) {
    Append("launcher.log",
           Line(std::string(1'000'000, 'x'), 256) + Line("a", 256) +
               Message("1", 0, "Failed to fork " + std::string(2'000'000, 'y')));
    ProgramRun const run = Run({log});
    EXPECT_EQ(run.end, "exit 0");
    EXPECT_EQ(Lines(run.output).size(), 3U);
    EXPECT_EQ(Lines(run.output).at(2), "2 lines longer than 1,000,000 bytes left out");
    EXPECT_EQ(Parse(Run({"--json", log}).output)["cut_lines"], 2);
    // A line of exactly a million bytes is read.
    std::string const line = Line("", 256);
    directory.Write("launcher.log",
                    Line(std::string(1'000'000 - line.size() + 1, 'x'), 256));
    EXPECT_EQ(Parse(Run({"--json", log}).output)["cut_lines"], 0);
    EXPECT_EQ(Items({log})[0]["ends"], 1);
}

TEST_F(LaunchlogReport, ReadsRotatedAndCompressedFilesFromTheOldestOn) {
    Append("launcher.log.2", Line("a", 256, 1));
    Append("launcher.log.1", Line("a", 512, 2));
    Append("launcher.log.0", Line("a", 768, 3));
    Append("launcher.log", Line("a", 1024, 4));
    Gzip(log + ".2");
    Gzip(log + ".1");
    ASSERT_FALSE(std::filesystem::exists(log + ".1"));
    Json::Value const items = Items({log});
    EXPECT_EQ(items[0]["restarts"], 4);
    EXPECT_EQ(items[0]["first_end"], "2026-11-21T11:59:01Z");
    EXPECT_EQ(items[0]["last_status"]["exit_code"], 4);
}

TEST_F(LaunchlogReport, ReadsNoFileTwice) {
    Append("launcher.log", Line("a", 256, 2));
    Append("launcher.log.0", Line("a", 256, 1));
    std::string const link = directory.Path() / "link";
    std::filesystem::create_symlink(log, link);
    for (std::vector<std::string> const& logs :
         {std::vector<std::string>{log, log + ".0"},
          {log + ".0", log},
          {log, log, link}}) {
        EXPECT_EQ(Items(logs)[0]["restarts"], 2);
    }
    EXPECT_EQ(Items({log + ".0"})[0]["restarts"], 1);
}

TEST_F(LaunchlogReport, ReadsAPathWithEveryCharacterOfTheShell) {
    std::string const name = "a 'b\" $(touch x) `y`; & *\\.log";
    Append(name, "");
    Append(name + ".1", Line("a", 256));
    std::string const path = directory.Path() / name;
    Gzip(path + ".1");
    EXPECT_EQ(Items({path})[0]["restarts"], 1);
}

TEST_F(LaunchlogReport, SeveralLogsMakeOneReport) {
    Append("launcher.log", Line("a", 256) + Line("b", 256));
    Append("other.log", Line("a", 256));
    Json::Value const items = Items({log, directory.Path() / "other.log"});
    EXPECT_EQ(items[0]["restarts"], 2);
    EXPECT_EQ(items[1]["restarts"], 1);
}

TEST_F(LaunchlogReport, ADashIsTheStandardInput) {
    EXPECT_EQ(Items({"-"}, Line("a", 256) + "no line feed " + Line("b", 0))[1]["name"],
              "b");
}

TEST_F(LaunchlogReport, ALastLineWithoutALineFeedCounts) {
    std::string const line = Line("a", 256);
    Append("launcher.log", line.substr(0, line.size() - 1));
    EXPECT_EQ(Items({log})[0]["restarts"], 1);
}

TEST_F(LaunchlogReport, ALogMayBeMissingJustAfterItsRotation) {
    Append("launcher.log.0", Line("a", 256));
    ProgramRun const run = Run({log});
    EXPECT_EQ(run.end, "exit 0");
    EXPECT_EQ(run.errors, "");
    EXPECT_THAT(run.output, HasSubstr("  a "));
}

TEST_F(LaunchlogReport, ReportsWhatItCanReadAndNamesTheRest) {
    Append("launcher.log", Line("a", 256));
    Append("launcher.log.1.gz", "this is not compressed");
    ProgramRun const run = Run({directory.Path() / "missing.log", log, directory.Path()});
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_THAT(
        run.errors,
        testing::AllOf(
            HasSubstr("launchlog-report: " + directory.Path().string() +
                      "/missing.log: No such file or directory\n"),
            HasSubstr("launchlog-report: " + log + ".1.gz: \"gzip -dc\" failed\n"),
            HasSubstr("launchlog-report: " + directory.Path().string() +
                      ": Is a directory\n")));
    EXPECT_THAT(run.output, HasSubstr("  a "));
}

TEST_F(LaunchlogReport, AFileThatCannotBeOpenedIsAnError) {
    MakeSocket(log);
    ProgramRun const run = Run({log});
    EXPECT_THAT(run.errors, testing::StartsWith("launchlog-report: " + log + ": "));
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.end, "exit 1");
}

TEST_F(LaunchlogReport, ADeviceIsNoLog) {
    std::filesystem::create_symlink("/dev/zero", log);
    for (std::string const& path : {std::string("/dev/zero"), log}) {
        ProgramRun const run = Run({path});
        EXPECT_EQ(run.errors,
                  "launchlog-report: " + path + ": this is a device, not a log\n");
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(run.end, "exit 1");
    }
    EXPECT_EQ(Run({"/dev/null"}).output, "no program has ended\n");
    EXPECT_EQ(Run({"/dev/null"}).end, "exit 0");
}

TEST_F(LaunchlogReport, ArbitraryLogsAreReadToTheirEnd) {
    std::mt19937 random(1);
    std::string bytes;
    for (int i = 0; i < 3000; ++i) {
        std::string line = Line("agent " + std::to_string(i % 7), i, i % 60);
        for (int n = i % 5; n > 0; --n) {
            line[random() % line.size()] = static_cast<char>(random() % 256);
        }
        bytes += line;
    }
    bytes += std::string(3'000'000, '[') + Line("last", 0);
    Append("launcher.log", bytes);
    ProgramRun const run = Run({log});
    EXPECT_EQ(run.end, "exit 0");
    EXPECT_EQ(Run({"--json", log}).end, "exit 0");
    EXPECT_GT(Items({log}).size(), 7U);
}

}  // namespace
}  // namespace launchlog_report
