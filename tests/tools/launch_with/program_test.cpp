// What the program finds when it starts.

#include <gmock/gmock.h>
#include <sys/stat.h>

#include <csignal>

#include "tests/tools/launch_with/fixture.h"

namespace {

using testing::HasSubstr;

TEST_F(LaunchWith, GivesItsProgramThreeStreamsAndNoOtherFile) {
    EXPECT_EQ(Run({"--output", File("output")},
                  "cat; ls /proc/$$/fd; readlink /proc/$$/fd/0; echo error >&2"),
              "exit 0");
    EXPECT_EQ(Content("output"), "0\n1\n2\n/dev/null\nerror\n");
}

TEST_F(LaunchWith, LetsNoFileOfTheProgramBecomeItsOutput) {
    EXPECT_EQ(Run({}, "exec 3>opened; ls -l /proc/$$/fd >&3; echo lost; echo lost >&2"),
              "exit 0");
    EXPECT_THAT(Content("opened"), testing::Not(HasSubstr("lost")));
    EXPECT_THAT(Content("opened"), HasSubstr(" 2 -> /dev/null"));
}

TEST_F(LaunchWith, SetsTheSurroundings) {
    EXPECT_EQ(Run({"--output", File("output"), "--environment", "A=1", "--environment",
                   "B=c d", "--environment", "A=2", "--umask", "027", "--nice", "7",
                   "--limit", "core=0", "--limit", "nofile=64:128"},
                  "echo $A $B; umask; nice; ulimit -c; ulimit -n; ulimit -Hn; pwd",
                  [] { unsetenv("A"); }),
              "exit 0");
    EXPECT_EQ(Content("output"),
              "2 c d\n0027\n7\n0\n64\n128\n" + directory.Path().string() + "\n");
}

TEST_F(LaunchWith, CreatesItsFilesWithItsOwnMask) {
    EXPECT_EQ(Run({"--output", File("output"), "--umask", "077"}, "echo; >own",
                  [] { umask(022); }),
              "exit 0");
    struct stat status = {};
    EXPECT_EQ(stat(File("output").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0644U);
    EXPECT_EQ(stat(File("own").c_str(), &status), 0);
    EXPECT_EQ(status.st_mode & 0777U, 0600U);
}

TEST_F(LaunchWith, PutsIgnoredAndBlockedSignalsBack) {
    EXPECT_EQ(
        Run({"--output", File("output")}, "exec grep -E 'Sig(Blk|Ign)' /proc/self/status",
            [] {
                for (int signal = 1; signal < NSIG; ++signal) {
                    std::signal(signal, SIG_IGN);
                }
                sigset_t all;
                sigfillset(&all);
                sigprocmask(SIG_BLOCK, &all, nullptr);
            }),
        "exit 0");
    EXPECT_EQ(Content("output"),
              "SigBlk:\t0000000000000000\nSigIgn:\t0000000000000000\n");
}

TEST_F(LaunchWith, RunsTheProgramInAGroupOfItsOwnOutsideTheLaunchersSession) {
    Process const launched(CommandLine({}, "echo $$ >pid; exec sleep 1000"));
    pid_t const program = WaitForPid("pid");
    EXPECT_EQ(getpgid(program), program);
    EXPECT_EQ(getsid(program), ParentOf(program));
    EXPECT_EQ(ParentOf(ParentOf(program)), launched.Pid());
}

}  // namespace
