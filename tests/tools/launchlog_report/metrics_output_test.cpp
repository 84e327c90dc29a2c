// What --metrics writes, from one run of the program to the next.

#include <gmock/gmock.h>

#include <cstdlib>
#include <ctime>

#include "harness/files.h"
#include "harness/passwd_entry.h"
#include "tests/support/run_program.h"

namespace {

using testing::HasSubstr;

std::string Failure(std::string const& item, std::string const& launcher = "181") {
    return "2026-11-21T10:00:00.000Z ERROR " + launcher +
           " [LAUNCHER  ] Failed to fork " + item + "\n";
}

std::string End(std::string const& item, int second,
                std::string const& launcher = "181") {
    return "2026-11-21T11:00:0" + std::to_string(second) + "Z ERROR " + launcher +
           " [LAUNCHER  ] " + item + " 7 is killed. ret = 7, status = 0\n";
}

class MetricsOutput : public testing::Test {
  protected:
    // Lets the log of the user hold this text, and returns the metrics of it.
    std::string MetricsOf(std::string const& text) const {
        home.Write("Library/Logs/Tamlin/voplog/launcher.log", text);
        ProgramRun const run = RunProgram({LAUNCHLOG_REPORT, "--metrics", file});
        EXPECT_EQ(run.end + run.errors, "exit 0");
        return ReadFile(file);
    }

    TempDirectory const home;
    PasswdEntry const user{home.Path()};
    std::string const file = home.Path() / "any.prom";
    std::string const given_up = "\nlauncher_item_given_up{item=\"a\"} ";
};

TEST_F(MetricsOutput, AnItemStaysGivenUpUntilANewerLauncherWrites) {
    EXPECT_THAT(MetricsOf(Failure("a") + End("b", 1)), HasSubstr(given_up + "1\n"));
    EXPECT_THAT(MetricsOf(End("b", 2)), HasSubstr(given_up + "1\n"))
        << "the line was rotated away";
    EXPECT_THAT(MetricsOf(""), HasSubstr(given_up + "1\n")) << "there is no line";
    EXPECT_THAT(MetricsOf(End("b", 3)), HasSubstr(given_up + "1\n"));
    EXPECT_THAT(MetricsOf(End("b", 3) + End("b", 4, "182")), HasSubstr(given_up + "0\n"));
}

TEST_F(MetricsOutput, AnItemThatEndsAgainIsNotGivenUp) {
    EXPECT_THAT(MetricsOf(Failure("a")), HasSubstr(given_up + "1\n"));
    EXPECT_THAT(MetricsOf(End("a", 1)), HasSubstr(given_up + "0\n"));
}

TEST_F(MetricsOutput, TellWhenTheyWereWritten) {
    std::string const name = "\nlauncher_metrics_written_timestamp_seconds ";
    std::string const text = MetricsOf(End("a", 1));
    std::size_t const place = text.find(name);
    ASSERT_NE(place, std::string::npos);
    EXPECT_NEAR(std::atof(text.c_str() + place + name.size()),
                static_cast<double>(std::time(nullptr)), 60);
}

TEST_F(MetricsOutput, AFileOfSomebodyElseStays) {
    home.Write("any.prom", "other 1\n");
    ProgramRun const run = RunProgram({LAUNCHLOG_REPORT, "--metrics", file});
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_EQ(run.errors, "launchlog-report: " + file +
                              ": this was not written by --metrics, so it is not "
                              "replaced\n");
    EXPECT_EQ(ReadFile(file), "other 1\n");
}

}  // namespace
