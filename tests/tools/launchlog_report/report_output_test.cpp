// What the program prints, its options and its exit codes.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/stat.h>
#include <unistd.h>

#include <thread>

#include "tests/tools/launchlog_report/report_fixture.h"

namespace launchlog_report {
namespace {

using testing::AllOf;
using testing::HasSubstr;
using testing::StartsWith;

TEST_F(LaunchlogReport, PrintsATable) {
    Append("launcher.log",
           Line("ticker", 768, 1) + Line("steady", 9, 30) +
               "2026-11-21T11:59:40.000Z ERROR 181 [LAUNCHER  ] Failed to "
               "fork caf\xC3\xA9\n" +
               Line("ticker", 139, 50));
    ProgramRun const run = Run({"--now=2026-11-21T12:00:00Z", log});
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

// The program itself printed the table that the help shows.
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
    // A marked item matters more than a missing file.
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

TEST_F(LaunchlogReport, InvisibleCharactersOfANameAreEscaped) {
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

TEST_F(LaunchlogReport, JsonHasNullForUnknownValues) {
    Append("launcher.log", "[LAUNCHER  ] a 7 is killed. ret = -1, status = 0\n");
    Json::Value const items = Items({log});
    ASSERT_EQ(items.size(), 1U);
    EXPECT_EQ(items[0]["restarts"], 1);
    for (char const* const member :
         {"restarts_per_minute", "first_end", "last_end", "last_status"}) {
        EXPECT_TRUE(items[0].isMember(member) && items[0][member].isNull()) << member;
    }
}

TEST_F(LaunchlogReport, CountsOnlyWhatBelongsToTheRange) {
    Append("launcher.log", Line("a", 768, 9) + Message("181", 9500, "Failed to fork b") +
                               Line("a", 0, 10) + Line("a", 9, 20) + Line("a", 256, 21) +
                               Message("181", 22000, "Failed to fork c") +
                               "[LAUNCHER  ] a 7 is killed. ret = 7, status = 0\n");
    ProgramRun const run =
        Run({"--since=2026-11-21T11:59:10Z", "--until=2026-11-21T11:59:20Z", log});
    EXPECT_EQ(run.output,
              "  NAME  RESTARTS  PER MINUTE  FIRST END             LAST END              "
              "LAST STATUS\n"
              "! b            0           0  -                     -                     "
              "given up: fork failed\n"
              "  a            1           1  2026-11-21T11:59:10Z  2026-11-21T11:59:20Z  "
              "killed by SIGKILL\n"
              "1 line without a time left out\n"
              "! a state that needs you\n");
    Json::Value const json =
        Parse(Run({"--json", "--since=-10s", "--now=2026-11-21T11:59:30Z", log}).output);
    EXPECT_EQ(json["items"][0]["ends"], 2);
    EXPECT_EQ(json["since"], "2026-11-21T11:59:20Z");
    EXPECT_TRUE(json["until"].isNull());
    EXPECT_EQ(json["lines_without_time"], 1);
}

TEST_F(LaunchlogReport, LeavesOutMessagesOfLaunchersBeforeTheRange) {
    Append("launcher.log", Message("181", 0, "There is an item has no name."));
    EXPECT_EQ(Run({"--since=2026-11-21T11:59:00.001Z", log}).output,
              "no program has ended\n");
}

TEST_F(LaunchlogReport, PrintsTheEndsOfTheRangeInTheirOrder) {
    Append("launcher.log",
           Line("a\xFF<b>", 9, 1) + Line("c", 139, 3) + Line("a\xFF<b>", 768, 4));
    auto const lines = Lines(Run({"--ends", log}).output);
    ASSERT_EQ(lines.size(), 3U);
    Json::Value const first = Parse(lines[0]);
    EXPECT_EQ(first["name"], "a\xEF\xBF\xBD<b>");
    EXPECT_EQ(first["time"], "2026-11-21T11:59:01.000Z");
    EXPECT_EQ(first["cause"], "signal");
    EXPECT_EQ(first["status"]["signal_name"], "SIGKILL");
    EXPECT_EQ(first["status_text"], "killed by SIGKILL");
    EXPECT_EQ(first["process_id"], "187");
    EXPECT_EQ(first["launcher_process_id"], "181");
    EXPECT_TRUE(first.isMember("uptime_ms") && first["uptime_ms"].isNull());
    EXPECT_EQ(Parse(lines[1])["cause"], "core_dump");
    EXPECT_EQ(Parse(lines[2])["uptime_ms"], 2950);
    EXPECT_EQ(Lines(Run({"--ends", "--since=2026-11-21T11:59:02Z", log}).output),
              (std::vector<std::string>{lines[1], lines[2]}));
    EXPECT_THAT(Run({"--ends", "--until=2026-11-21T11:59:02Z", log}).output,
                HasSubstr("\"cause\":\"stop\""));
}

TEST_F(LaunchlogReport, TheEndsAreTheSameWithJsonAndAnyOrder) {
    Append("launcher.log", Line("b", 0, 1) + Line("a", 0, 2));
    EXPECT_EQ(Run({"--ends", "--json", "--sort=name", log}).output,
              Run({"--ends", log}).output);
}

TEST_F(LaunchlogReport, ReadsALogOnce) {
    // What was read from a pipe is gone.
    for (std::vector<std::string> const& form :
         {std::vector<std::string>{"--html", "/dev/stdout"}, {"--ends"}, {"--json"}}) {
        std::string const pipe = directory.Path() / "pipe";
        ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
        std::thread writer([&pipe] {
            int const file = open(pipe.c_str(), O_WRONLY);
            std::string const text = Line("a", 0, 1) + Line("a", 768, 2);
            EXPECT_EQ(write(file, text.data(), text.size()),
                      static_cast<ssize_t>(text.size()));
            close(file);
        });
        std::vector<std::string> arguments = form;
        arguments.push_back(pipe);
        EXPECT_THAT(Run(arguments).output, HasSubstr("exit 3")) << form[0];
        writer.join();
        unlink(pipe.c_str());
    }
}

TEST_F(LaunchlogReport, WritesAPageInsteadOfTheTable) {
    Append("launcher.log", Line("</script><b>&", 768, 1) + Line("b", 0, 2));
    std::string const page = directory.Path() / "page.html";
    ProgramRun const run = Run({"--html", page, "--until", "2026-11-21T11:59:01Z", log});
    EXPECT_EQ(run.output + run.errors + run.end, "exit 0");
    std::string const text = ReadFile(page);
    EXPECT_THAT(text, StartsWith("<!DOCTYPE html>\n"));
    EXPECT_THAT(text,
                HasSubstr("\"name\":\"\\u003c/script\\u003e\\u003cb\\u003e\\u0026\""));
    EXPECT_THAT(text, testing::Not(HasSubstr("\"name\":\"b\"")));
    EXPECT_THAT(text, testing::Not(HasSubstr("{{")));
}

TEST_F(LaunchlogReport, APageHasTheProgramsThatNeverEnded) {
    Append("launcher.log",
           Message("181", 1000, "Start to fork steady") + Line("a", 768, 2));
    std::string const list =
        directory.Write("list.json", R"({"0": {"name": "listed"}, "1": {"name": "a"}})");
    std::string const page = directory.Path() / "page.html";
    ASSERT_EQ(Run({"--html", page, "--list", list, log}).end, "exit 0");
    std::string const text = ReadFile(page);
    std::size_t const a = text.find(R"("name":"a")");
    std::size_t const listed = text.find(R"("name":"listed")");
    std::size_t const steady = text.find(R"("name":"steady")");
    EXPECT_LT(a, listed);
    EXPECT_LT(listed, steady);
    EXPECT_LT(steady, std::string::npos);
    EXPECT_EQ(text.find(R"("name":"a")", a + 1), std::string::npos);
}

TEST_F(LaunchlogReport, ReadsTheListOnce) {
    Append("launcher.log", Line("a", 0));
    std::string const page = directory.Path() / "page.html";
    ProgramRun const run = RunProgram(
        {"/bin/sh", "-c",
         R"(echo '{"0": {"name": "listed"}}' | "$0" --html "$1" --list - "$2")",
         LAUNCHLOG_REPORT, page, log});
    EXPECT_EQ(run.errors + run.end, "exit 0");
    EXPECT_THAT(ReadFile(page), HasSubstr(R"("name":"listed")"));
}

TEST_F(LaunchlogReport, AListThatCannotBeReadIsAnError) {
    Append("launcher.log", Line("a", 0));
    std::string const page = directory.Path() / "page.html";
    std::string const list = directory.Path() / "no.json";
    ProgramRun const run = Run({"--html", page, "--list", list, log});
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_THAT(run.errors, StartsWith("launchlog-report: " + list + ": "));
    EXPECT_FALSE(std::filesystem::exists(page));
}

TEST_F(LaunchlogReport, APageThatCannotBeWrittenIsAnError) {
    Append("launcher.log", Line("a", 0));
    ProgramRun const run = Run({"--html", "/dev/full", log});
    EXPECT_EQ(run.errors, "launchlog-report: /dev/full: No space left on device\n");
    EXPECT_EQ(run.end, "exit 1");
}

TEST_F(LaunchlogReport, APageStaysIfNoLogCanBeRead) {
    std::string const page = directory.Write("page.html", "a good page");
    ProgramRun const run = Run({"--html", page, directory.Path() / "no.log"});
    EXPECT_THAT(run.errors, HasSubstr("no.log"));
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_EQ(ReadFile(page), "a good page");
}

TEST_F(LaunchlogReport, ANameCannotForgeALine) {
    Append("launcher.log", Line("a\x1B[2J\rb\xFF", 0));
    EXPECT_THAT(Run({log}).output, HasSubstr("\n  a\\x1B[2J\\x0Db\\xFF "));
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
        {{"--follow", "--until", "now"},
         "--ends, --html and --until are for what has happened, not for --follow"},
        {{"--html", "a", "--json"}, "--html cannot be combined with --json or --ends"},
        {{"--list", "a"}, "--list needs --html or --metrics"},
        {{"--metrics="}, "--metrics needs a file"},
        {{"--metrics", "a", "-"}, "--metrics is for files, not for the standard input"},
        {{"--metrics", "a", "--list", "-"},
         "--metrics is for files, not for the standard input"},
        {{"--metrics", "a", "--until", "now"},
         "--metrics cannot be combined with --until"},
        {{"--html="}, "--html needs a file"},
        {{"--since", "soon"},
         R"(--since takes a time like "2026-11-21 12:00", yesterday or "2 hours ago")"},
        {{"--since", "-1h", "--until", "-2h"}, "--since is later than --until"},
        {{"--sort", "size"},
         "--sort takes marked, name, restarts, per-minute, first-end or last-end"},
    };
    for (auto const& [arguments, message] : cases) {
        ProgramRun const run = Run(arguments);
        EXPECT_EQ(run.end, "exit 2");
        EXPECT_EQ(run.output, "");
        EXPECT_EQ(run.errors,
                  "launchlog-report: " + std::string(message) + "; --help tells more\n");
    }
}

TEST_F(LaunchlogReport, PrintsHelpAndVersion) {
    for (char const* const option : {"--help", "-h"}) {
        ProgramRun const run = Run({option});
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

}  // namespace
}  // namespace launchlog_report
