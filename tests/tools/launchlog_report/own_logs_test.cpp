// Where the program looks for logs if none is named.

#include <gmock/gmock.h>

#include <filesystem>

#include "harness/files.h"
#include "harness/passwd_entry.h"
#include "harness/process.h"
#include "harness/wait_for.h"
#include "tests/support/run_program.h"

namespace {

TEST(OwnLogs, AreReadIfNoLogIsNamed) {
    TempDirectory const home;
    PasswdEntry const user(home.Path());
    ProgramRun run = RunProgram({LAUNCHLOG_REPORT});
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "launchlog-report: there is no launcher log in " +
                              home.Path().string() + "/Library/Logs; name one\n");

    home.Write("Library/Logs/Tamlin/voplog/launcher.log",
               "[LAUNCHER  ] a 7 is killed. ret = 7, status = 256\n");
    home.Write("Library/Logs/Other/voplog/launcher.log.0",
               "[LAUNCHER  ] b 7 is killed. ret = 7, status = 256\n");
    run = RunProgram({LAUNCHLOG_REPORT});
    EXPECT_EQ(run.end, "exit 0");
    EXPECT_EQ(run.errors, "");
    EXPECT_THAT(run.output, testing::AllOf(testing::HasSubstr("\n  a "),
                                           testing::HasSubstr("\n  b ")));
}

TEST(OwnLogs, MetricsAreWrittenBeforeThereIsALogAndFollowTheOneThatComes) {
    TempDirectory const home;
    PasswdEntry const user(home.Path());
    home.Write("Library/Logs/Other/voplog/launcher.log",
               "[LAUNCHER  ] c 7 is killed. ret = 7, status = 256\n");
    std::string const list = home.Write("list.json", R"({"0": {"name": "a"}})");
    std::string const metrics = home.Path() / "launcher.prom";
    Process follower(
        {LAUNCHLOG_REPORT, "--follow", "--metrics", metrics, "--list", list});
    EXPECT_TRUE(WaitFor([&metrics] {
        return ReadFile(metrics).find("\nlauncher_up 0\n") != std::string::npos;
    }));
    EXPECT_THAT(ReadFile(metrics), testing::HasSubstr("{item=\"a\"} 0\n"));
    EXPECT_THAT(ReadFile(metrics), testing::HasSubstr("{item=\"c\"} 0\n"));
    home.Write("Library/Logs/Tamlin/voplog/launcher.log",
               "[LAUNCHER  ] b 7 is killed. ret = 7, status = 256\n");
    EXPECT_TRUE(WaitFor([&metrics] {
        return ReadFile(metrics).find("{item=\"b\"}") != std::string::npos;
    }));
    EXPECT_THAT(ReadFile(metrics),
                testing::HasSubstr("\nlauncher_item_restarts_total{item=\"c\"} 1\n"));
    EXPECT_FALSE(follower.HasEnded());
}

TEST(OwnLogs, MetricsNeedTheListThatIsNamed) {
    TempDirectory const home;
    PasswdEntry const user(home.Path());
    std::string const metrics = home.Path() / "launcher.prom";
    std::string const list = home.Path() / "no.json";
    ProgramRun const run =
        RunProgram({LAUNCHLOG_REPORT, "--metrics", metrics, "--list", list});
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_THAT(run.errors, testing::StartsWith("launchlog-report: " + list + ": "));
    EXPECT_FALSE(std::filesystem::exists(metrics));
}

}  // namespace
