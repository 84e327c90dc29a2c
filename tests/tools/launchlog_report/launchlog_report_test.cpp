// The program as a user runs it: logs, rotation, the table, following, exit codes.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <json/reader.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <random>

#include "tests/support/files.h"
#include "tests/support/process.h"
#include "tests/support/wait_for.h"
#include "tests/tools/run_tool.h"

namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

// Returns a line of a log, at a second of the minute before noon.
std::string Line(std::string const& name, int status, int second = 0,
                 std::string const& launcher = "181") {
    return "2026-11-21T11:59:" + std::string(second < 10 ? "0" : "") +
           std::to_string(second) + ".000Z ERROR " + launcher + " [LAUNCHER  ] " + name +
           " 187 is killed. ret = 187, status = " + std::to_string(status) + "\n";
}

// Returns a line of any message, at milliseconds of the minute before noon.
std::string Message(std::string const& process, int milliseconds,
                    std::string const& message) {
    char time[16];
    std::snprintf(time, sizeof time, "%02d.%03d", milliseconds / 1000,
                  milliseconds % 1000);
    return "2026-11-21T11:59:" + std::string(time) + "Z ERROR " + process +
           " [LAUNCHER  ] " + message + "\n";
}

std::string const kEmptyJson = "{\"cut_lines\":0,\"items\":[],\"launchers\":[]}\n";

class LaunchlogReport : public testing::Test {
  protected:
    static ToolRun Run(std::vector<std::string> arguments,
                       std::string const& input = "") {
        arguments.insert(arguments.begin(), LAUNCHLOG_REPORT);
        return RunTool(arguments, input);
    }

    // Returns the report at noon as JSON.
    static Json::Value Items(std::vector<std::string> arguments,
                             std::string const& input = "") {
        arguments.insert(arguments.begin(), {"--json", "--now", "2026-11-21T12:00:00Z"});
        return Parse(Run(arguments, input).output)["items"];
    }

    static Json::Value Parse(std::string const& text) {
        Json::Value value;
        std::string errors;
        std::unique_ptr<Json::CharReader> const reader(
            Json::CharReaderBuilder().newCharReader());
        EXPECT_TRUE(
            reader->parse(text.data(), text.data() + text.size(), &value, &errors))
            << errors << text;
        return value;
    }

    // Writes `text` to the end of a file of the directory.
    void Append(std::string const& name, std::string const& text) const {
        std::string const path = directory.Path() / name;
        int const file = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT, 0644);
        EXPECT_EQ(write(file, text.data(), text.size()),
                  static_cast<ssize_t>(text.size()));
        close(file);
    }

    void Rename(std::string const& from, std::string const& to) const {
        std::filesystem::rename(directory.Path() / from, directory.Path() / to);
    }

    TempDirectory const directory;
    std::string const log = directory.Path() / "launcher.log";
};

TEST_F(LaunchlogReport, PrintsATable) {
    Append("launcher.log",
           Line("ticker", 768, 1) + Line("steady", 9, 30) +
               "2026-11-21T11:59:40.000Z ERROR 181 [LAUNCHER  ] Failed to "
               "fork caf\xC3\xA9\n" +
               Line("ticker", 139, 50));
    ToolRun const run = Run({"--now=2026-11-21T12:00:00Z", log});
    EXPECT_EQ(
        run.output,
        "  NAME    RESTARTS  PER MINUTE  FIRST END             LAST END              "
        "LAST "
        "STATUS\n"
        "! caf\xC3\xA9           0           0  -                     -                  "
        "   given up: fork failed\n"
        "  steady         0           0  2026-11-21T11:59:30Z  2026-11-21T11:59:30Z  "
        "killed by SIGKILL\n"
        "  ticker         2           2  2026-11-21T11:59:01Z  2026-11-21T11:59:50Z  "
        "killed by SIGSEGV, core dumped\n"
        "! a state that needs you\n");
    EXPECT_EQ(run.errors, "");
    EXPECT_EQ(run.end, "exit 0");
}

// The table of the help is made by this program.
TEST_F(LaunchlogReport, MarksWhatRestartsOftenAsTheHelpShows) {
    std::string lines;
    for (int i = 0; i < 25; ++i) {
        std::string line = Line("ticker", 768, i < 24 ? 48 : 38);
        line.replace(11, 5, i < 24 ? "11:52" : "11:53");
        lines += line;
    }
    std::string steady = Line("steady", 9, 39);
    lines += steady.replace(11, 5, "11:53");
    Append("launcher.log", lines);
    std::string const table = Run({"--now", "2026-11-21T11:53:40Z", log}).output;
    EXPECT_THAT(Run({"--help"}).output, HasSubstr("A table looks like this:\n\n"));
    std::string indented;
    for (std::string const& line : Lines(table)) {
        indented += "  " + line + "\n";
    }
    EXPECT_THAT(Run({"--help"}).output, testing::EndsWith("\n\n" + indented));
    EXPECT_EQ(Lines(table).back(), "! more than ten restarts in the last minute");
}

TEST_F(LaunchlogReport, ALogWithoutEndsSaysSo) {
    for (std::string const text : {"", "\n\n", "181 [LAUNCHER  ] Start to fork a\n"}) {
        directory.Write("launcher.log", text);
        EXPECT_EQ(Run({log}).output, "no program has ended\n");
        EXPECT_EQ(Run({log}).errors, "");
        EXPECT_EQ(Run({log}).end, "exit 0");
        EXPECT_EQ(Run({"--json", log}).output, kEmptyJson);
        EXPECT_EQ(Run({"-"}, text).end, "exit 0");
    }
}

TEST_F(LaunchlogReport, AFileWithoutALogLineIsAnError) {
    Append("wrong.txt", "hello\n");
    std::string const wrong = directory.Path() / "wrong.txt";
    ToolRun const run = Run({wrong});
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "launchlog-report: " + wrong +
                              ": no line of it is a line of a launcher's log\n");
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_EQ(Run({"-"}, "hello").errors,
              "launchlog-report: the standard input: no line of it is a line of a "
              "launcher's log\n");
    // The rest is reported.
    Append("launcher.log", "hello\n" + Line("a", 256));
    EXPECT_EQ(Run({log}).errors, "");
    EXPECT_EQ(Run({log}).end, "exit 0");
    ToolRun const both = Run({log, wrong});
    EXPECT_EQ(both.end, "exit 1");
    EXPECT_EQ(both.errors, run.errors);
    EXPECT_THAT(both.output, HasSubstr("\n  a "));
    // newsyslog begins a file so.
    Append("new.log", "Nov 21 12:00:00 host newsyslog[77]: logfile turned over\n");
    EXPECT_EQ(Run({directory.Path() / "new.log"}).end, "exit 0");
}

TEST_F(LaunchlogReport, APackedStandardInputIsAnErrorThatSaysSo) {
    Append("launcher.log", Line("a", 256));
    Process gzip({"/usr/bin/env", "gzip", log});
    ASSERT_EQ(gzip.WaitForEnd(), "exit 0");
    ToolRun const run = Run({"-"}, ReadFile(log + ".gz"));
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors,
              "launchlog-report: the standard input: no line of it is a line of a "
              "launcher's log; it is packed: use gzip -dc\n");
}

TEST_F(LaunchlogReport, ShowsTheStatesOfItemsAndWhatLaunchersSaidAboutThemselves) {
    std::string lines = Message("181", 0, "There is an item has no name.");
    for (int i = 0; i < 40; ++i) {
        std::string const child = std::to_string(1000 + i);
        lines += Message(std::to_string(300 + i), 100 + i * 55, "Start to fork late");
        lines += Message("181", 100 + i * 55, "Start to fork nopath");
        lines += Message(child, 100 + i * 55, "program path of nopath is empty");
        lines +=
            Message("181", 100 + i * 55,
                    "nopath " + child + " is killed. ret = " + child + ", status = 0");
    }
    lines += Message("700", 5000, "Error while parsing saved json string.");
    Append("launcher.log", lines);
    std::vector<std::string> const table =
        Lines(Run({"--now", "2026-11-21T12:00:00Z", log}).output);
    ASSERT_EQ(table.size(), 6U);
    EXPECT_THAT(table[1], AllOf(StartsWith("! late "),
                                testing::EndsWith("  chain of 40 processes")));
    EXPECT_THAT(table[2], AllOf(StartsWith("! nopath        40          40 "),
                                testing::EndsWith("  no program; exit 0")));
    EXPECT_EQ(table[3],
              "launcher 181: There is an item has no name. 2026-11-21T11:59:00Z");
    EXPECT_EQ(
        table[4],
        "launcher 700: Error while parsing saved json string. 2026-11-21T11:59:05Z");
    Json::Value const report =
        Parse(Run({"--json", "--now", "2026-11-21T12:00:00Z", log}).output);
    Json::Value const& late = report["items"][0];
    EXPECT_EQ(late["chain"], true);
    EXPECT_EQ(late["chain_processes"], 40);
    EXPECT_EQ(late["no_program"], false);
    EXPECT_EQ(late["marked"], true);
    EXPECT_EQ(late["last_line"], "2026-11-21T11:59:02Z");
    Json::Value const& nopath = report["items"][1];
    EXPECT_EQ(nopath["chain"], false);
    EXPECT_TRUE(nopath["chain_processes"].isNull());
    EXPECT_EQ(nopath["no_program"], true);
    EXPECT_EQ(nopath["last_status_text"], "no program; exit 0");
    Json::Value const& launchers = report["launchers"];
    ASSERT_EQ(launchers.size(), 2U);
    EXPECT_EQ(launchers[0]["process_id"], "181");
    EXPECT_EQ(launchers[0]["items_without_name"], 1);
    EXPECT_EQ(launchers[0]["list_failed"], false);
    EXPECT_EQ(launchers[1]["list_failed"], true);
    EXPECT_EQ(launchers[1]["first_line"], "2026-11-21T11:59:05Z");
    EXPECT_EQ(launchers[1]["last_line"], "2026-11-21T11:59:05Z");
    EXPECT_EQ(report["cut_lines"], 0);
}

TEST_F(LaunchlogReport, FailsIfAnItemIsMarkedAndThatWasAskedFor) {
    Append("launcher.log", Line("a", 256));
    std::vector<std::string> const asked = {"--fail-if-marked", "--now",
                                            "2026-11-21T12:00:00Z", log};
    EXPECT_EQ(Run(asked).end, "exit 0");
    Append("launcher.log", Message("181", 5000, "Failed to fork a"));
    EXPECT_EQ(Run(asked).end, "exit 3");
    EXPECT_THAT(Run(asked).output, HasSubstr("\n! a "));
    EXPECT_EQ(Run({log}).end, "exit 0");
    EXPECT_EQ(Run({"--fail-if-marked", "--json", log}).end, "exit 3");
    // The alarm is more than the file that is missing.
    EXPECT_EQ(Run({"--fail-if-marked", log, "/nonexistent.log"}).end, "exit 3");
    directory.Write("launcher.log", Line("a", 256));
    EXPECT_EQ(Run({"--fail-if-marked", log, "/nonexistent.log"}).end, "exit 1");
}

TEST_F(LaunchlogReport, OrdersItemsWithMarkedOnesFirstAndByOtherKeys) {
    std::string lines =
        Line("item10", 256, 1) + Line("item2", 256, 1) + Line("item2", 256, 2);
    for (int i = 0; i < 11; ++i) {
        lines += Line("often", 256, i + 1);
    }
    Append("launcher.log", lines);
    auto const names = [this](std::vector<std::string> const& options) {
        std::vector<std::string> arguments = {"--now", "2026-11-21T12:00:00Z", log};
        arguments.insert(arguments.end(), options.begin(), options.end());
        std::string found;
        for (std::string const& line : Lines(Run(arguments).output)) {
            found += line.substr(2, line.find(' ', 2) - 2) + " ";
        }
        return found;
    };
    EXPECT_THAT(names({}), StartsWith("NAME often item2 item10 "));
    EXPECT_THAT(names({"--sort", "name"}), StartsWith("NAME item2 item10 often "));
    EXPECT_THAT(names({"--sort=restarts"}), StartsWith("NAME often item2 item10 "));
    EXPECT_EQ(Items({log})[0]["name"], "item2");
    EXPECT_EQ(Items({"--sort", "marked", log})[0]["name"], "often");
}

TEST_F(LaunchlogReport, RotatedFilesAreReadInTheOrderOfTheirTimes) {
    // As a shell orders them, the newest first, and one that is named by a date.
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
    ToolRun const run = Run({log});
    EXPECT_EQ(run.end, "exit 0");
    EXPECT_EQ(Lines(run.output).size(), 3U);
    EXPECT_EQ(Lines(run.output).at(2), "2 lines longer than 1,000,000 bytes left out");
    EXPECT_EQ(Parse(Run({"--json", log}).output)["cut_lines"], 2);
    // One of a million bytes is read.
    std::string const line = Line("", 256);
    directory.Write("launcher.log",
                    Line(std::string(1'000'000 - line.size() + 1, 'x'), 256));
    EXPECT_EQ(Parse(Run({"--json", log}).output)["cut_lines"], 0);
    EXPECT_EQ(Items({log})[0]["ends"], 1);
}

TEST_F(LaunchlogReport, HidingCharactersOfANameAreEscaped) {
    Append("launcher.log", Line("a\xE2\x80\x8B"
                                "b\xE2\x80\xAE",
                                0));
    EXPECT_THAT(Run({log}).output, HasSubstr("\n  a\\xE2\\x80\\x8Bb\\xE2\\x80\\xAE "));
}

TEST_F(LaunchlogReport, PrintsJsonForMachines) {
    std::string lines;
    for (int i = 0; i < 11; ++i) {
        lines += Line("\xC3\xA9", 768, i + 1);
    }
    Append("launcher.log", lines + Line("segv", 139, 7) + Line("kill", 9, 8));
    Json::Value const items = Items({log});
    ASSERT_EQ(items.size(), 3U);
    Json::Value const& kill = items[0];
    EXPECT_EQ(kill["name"], "kill");
    EXPECT_EQ(kill["ends"], 1);
    EXPECT_EQ(kill["restarts"], 0);
    EXPECT_EQ(kill["last_status"]["signal_name"], "SIGKILL");
    EXPECT_EQ(kill["last_status"]["core_dumped"], false);
    Json::Value const& segv = items[1];
    EXPECT_EQ(segv["last_status"]["signal"], 11);
    EXPECT_EQ(segv["last_status"]["core_dumped"], true);
    EXPECT_EQ(segv["last_status"]["wait_status"], 139);
    EXPECT_FALSE(segv["last_status"].isMember("exit_code"));
    EXPECT_EQ(segv["last_status_text"], "killed by SIGSEGV, core dumped");
    EXPECT_EQ(segv["restarts_often"], false);
    Json::Value const& often = items[2];
    EXPECT_EQ(often["name"], "\xC3\xA9");
    EXPECT_EQ(often["restarts"], 11);
    EXPECT_EQ(often["restarts_per_minute"], 11);
    EXPECT_EQ(often["restarts_often"], true);
    EXPECT_EQ(often["first_end"], "2026-11-21T11:59:01Z");
    EXPECT_EQ(often["last_end"], "2026-11-21T11:59:11Z");
    EXPECT_EQ(often["last_status"]["exit_code"], 3);
    EXPECT_FALSE(often["last_status"].isMember("signal"));
    EXPECT_EQ(often["given_up"], false);
}

TEST_F(LaunchlogReport, JsonHasNullForWhatIsNotKnown) {
    Append("launcher.log", "[LAUNCHER  ] a 7 is killed. ret = -1, status = 0\n");
    Json::Value const items = Items({log});
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0]["restarts"], 1);
    for (char const* const member :
         {"restarts_per_minute", "first_end", "last_end", "last_status"}) {
        EXPECT_TRUE(items[0].isMember(member) && items[0][member].isNull()) << member;
    }
}

TEST_F(LaunchlogReport, ANameCannotForgeALine) {
    Append("launcher.log", Line("a\x1B[2J\rb\xFF", 0));
    EXPECT_THAT(Run({log}).output, HasSubstr("\n  a\\x1B[2J\\x0Db\\xFF "));
}

TEST_F(LaunchlogReport, ReadsRotatedAndPackedFilesFromTheOldestOn) {
    Append("launcher.log.2", Line("a", 256, 1));
    Append("launcher.log.1", Line("a", 512, 2));
    Append("launcher.log.0", Line("a", 768, 3));
    Append("launcher.log", Line("a", 1024, 4));
    Process gzip({"/usr/bin/env", "gzip", log + ".2", log + ".1"});
    ASSERT_EQ(gzip.WaitForEnd(), "exit 0");
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
    Process gzip({"/usr/bin/env", "gzip", path + ".1"});
    ASSERT_EQ(gzip.WaitForEnd(), "exit 0");
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

TEST_F(LaunchlogReport, AJustRotatedLogNeedNotBeThere) {
    Append("launcher.log.0", Line("a", 256));
    ToolRun const run = Run({log});
    EXPECT_EQ(run.end, "exit 0");
    EXPECT_EQ(run.errors, "");
    EXPECT_THAT(run.output, HasSubstr("  a "));
}

TEST_F(LaunchlogReport, WhatCannotBeReadIsSaidAndTheRestReported) {
    Append("launcher.log", Line("a", 256));
    Append("launcher.log.1.gz", "this is not packed");
    ToolRun const run = Run({directory.Path() / "missing.log", log, directory.Path()});
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_THAT(
        run.errors,
        AllOf(HasSubstr("launchlog-report: " + directory.Path().string() +
                        "/missing.log: No such file or directory\n"),
              HasSubstr("launchlog-report: " + log + ".1.gz: \"gzip -dc\" failed\n"),
              HasSubstr("launchlog-report: " + directory.Path().string() +
                        ": Is a directory\n")));
    EXPECT_THAT(run.output, HasSubstr("  a "));
}

TEST_F(LaunchlogReport, ADeviceIsNoLog) {
    std::filesystem::create_symlink("/dev/zero", log);
    for (std::string const& path : {std::string("/dev/zero"), log}) {
        ToolRun const run = Run({path});
        EXPECT_EQ(run.errors,
                  "launchlog-report: " + path + ": this is a device, not a log\n");
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(run.end, "exit 1");
    }
    EXPECT_EQ(Run({"/dev/null"}).output, "no program has ended\n");
    EXPECT_EQ(Run({"/dev/null"}).end, "exit 0");
}

TEST_F(LaunchlogReport, BytesOfANameThatAreNotUtf8AreReplacedInJson) {
    Append("launcher.log", Line("a\xFF[b]\xC3z\xE4\xB8", 0) + Line("caf\xE9", 0));
    Json::Value const items = Items({log});
    ASSERT_EQ(items.size(), 2U);
    std::string const replacement = "\xEF\xBF\xBD";
    EXPECT_EQ(items[0]["name"],
              "a" + replacement + "[b]" + replacement + "z" + replacement + replacement);
    EXPECT_EQ(items[1]["name"], "caf" + replacement);
}

TEST_F(LaunchlogReport, AWrongCommandLineGivesTwo) {
    struct {
        std::vector<std::string> arguments;
        char const* message;
    } const cases[] = {
        {{"--folow"}, "unknown option --folow"},
        {{"--now"}, "--now needs a value"},
        {{"--now", "noon"}, "--now takes a time like 2026-11-21T12:00:00Z"},
        {{"--now", "2026-11-21T12:00:30Zulu"},
         "--now takes a time like 2026-11-21T12:00:00Z"},
        {{"--follow", "-"}, "the standard input cannot be followed"},
        {{"--follow", "--fail-if-marked"},
         "--fail-if-marked is for one report, not for --follow"},
        {{"--sort", "size"},
         "--sort takes marked, name, restarts, per-minute, first-end or last-end"},
    };
    for (auto const& [arguments, message] : cases) {
        ToolRun const run = Run(arguments);
        EXPECT_EQ(run.end, "exit 2");
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(run.errors,
                  "launchlog-report: " + std::string(message) + "; --help tells more\n");
    }
}

TEST_F(LaunchlogReport, TellsItsUseAndItsVersion) {
    for (char const* const option : {"--help", "-h"}) {
        ToolRun const run = Run({option});
        EXPECT_EQ(run.end, "exit 0");
        EXPECT_THAT(run.output,
                    AllOf(StartsWith("launchlog-report [OPTION...] [LOG...]\n"),
                          HasSubstr("Examples:")));
    }
    EXPECT_EQ(Run({"--version"}).output, "launchlog-report " VERSION "\n");
}

TEST_F(LaunchlogReport, OutputThatCannotBeWrittenIsAnError) {
    Append("launcher.log", Line("a", 0));
    for (std::string const option : {"--json", "--follow", "--help"}) {
        Process tool({LAUNCHLOG_REPORT, option, log},
                     [] { dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO); });
        EXPECT_EQ(tool.WaitForEnd(), "exit 1");
    }
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
    ToolRun const run = Run({log});
    EXPECT_EQ(run.end, "exit 0");
    EXPECT_EQ(Run({"--json", log}).end, "exit 0");
    EXPECT_GT(Items({log}).size(), 7U);
}

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

    // Rotates once, as launcher.log.0 to the given number.
    void Rotate(int last) const {
        for (int i = last; i >= 0; --i) {
            std::string const number = std::to_string(i);
            std::string const next = "launcher.log." + std::to_string(i + 1);
            for (std::string const packing : {"", ".gz"}) {
                std::string const name = "launcher.log." + number + packing;
                if (std::filesystem::exists(directory.Path() / name)) {
                    Rename(name, next + packing);
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
    // A line counts when it is complete.
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

TEST_F(LaunchlogReportFollowing, TablesInAFileAreApartByAnEmptyLine) {
    Append("launcher.log", Line("a", 256));
    Follow({});
    ASSERT_TRUE(WaitFor([this] { return Lines(ReadFile(output)).size() == 2; }));
    Append("launcher.log", Line("a", 256));
    EXPECT_TRUE(WaitFor([this] { return Lines(ReadFile(output)).size() == 5; }));
    EXPECT_EQ(Lines(ReadFile(output)).at(2), "");
}

// Everything between Stop and GoOn happens between two readings.
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
    // Nothing is read a second time after the next one.
    Rotate(5);
    Append("launcher.log", Line("a", 256, 8));
    EXPECT_TRUE(WaitForRestarts(7));
}

TEST_F(LaunchlogReportFollowing, KnowsARotatedFileAgainThatWasPacked) {
    Append("launcher.log.0", Line("a", 256, 1));
    Append("launcher.log", Line("a", 256, 2));
    Follow();
    ASSERT_TRUE(WaitForRestarts(2));
    tool->Signal(SIGSTOP);
    Rotate(1);
    Append("launcher.log", Line("a", 256, 3));
    Rotate(2);
    for (std::string const& file : {log + ".1", log + ".2"}) {
        Process gzip({"/usr/bin/env", "gzip", file});
        ASSERT_EQ(gzip.WaitForEnd(), "exit 0");
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
    // A line that was read before its end, and a new log that is longer than the old one.
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

TEST_F(LaunchlogReportFollowing, AFileWithoutALogLineIsSaidAndFollowed) {
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

TEST_F(LaunchlogReportFollowing, ATableSaysThatALogIsNotThereYet) {
    Follow({});
    EXPECT_TRUE(WaitFor([this] {
        return ReadFile(output) == "no program has ended\n" + log + ": not there yet\n";
    })) << ReadFile(output);
    // It is never there without its line.
    Append("new.log", Line("a", 256));
    Rename("new.log", "launcher.log");
    EXPECT_TRUE(WaitFor([this] { return Lines(ReadFile(output)).size() == 5; }));
    EXPECT_THAT(Lines(ReadFile(output)).back(), StartsWith("  a "));
    // After a rotation the file that was open is still followed.
    Rename("launcher.log", "launcher.log.0");
    Append("launcher.log.0", Line("a", 256));
    EXPECT_TRUE(WaitFor([this] { return Lines(ReadFile(output)).size() == 8; }));
    EXPECT_THAT(Lines(ReadFile(output)).back(), StartsWith("  a "));
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
