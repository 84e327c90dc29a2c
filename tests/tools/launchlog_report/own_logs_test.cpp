// Where the program looks for logs if none is named.

#include <gmock/gmock.h>

#include "harness/passwd_entry.h"
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

}  // namespace
