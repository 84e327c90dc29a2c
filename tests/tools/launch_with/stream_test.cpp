// What becomes of the program's output.

#include <gmock/gmock.h>

#include <sys/stat.h>

#include <filesystem>

#include "tests/support/disk.h"
#include "tests/tools/launch_with/fixture.h"

namespace {

TEST_F(LaunchWith, AppendsOutputAndErrorsInTheirOrder) {
    WriteFile(File("output"), "before\n");
    EXPECT_EQ(Run({"--output", File("output")}, "echo 1; echo 2 >&2; echo 3"), "exit 0");
    EXPECT_EQ(Content("output"), "before\n1\n2\n3\n");
}

TEST_F(LaunchWith, AppendsErrorsToAFileOfTheirOwn) {
    std::string const script = "echo out; echo err >&2";
    EXPECT_EQ(Run({"--output", File("output"), "--error", File("error")}, script),
              "exit 0");
    EXPECT_EQ(Run({"--error", File("error")}, script), "exit 0");
    EXPECT_EQ(Content("output"), "out\n");
    EXPECT_EQ(Content("error"), "err\nerr\n");
}

TEST_F(LaunchWith, WritesToTheNewFileAfterARename) {
    Process const launched(CommandLine(
        {"--output", File("output")},
        "echo 1; until [ -e go ]; do sleep 0.01; done; echo 2; exec sleep 1000"));
    ASSERT_TRUE(WaitForContent("output", "1\n"));
    std::filesystem::rename(File("output"), File("output.1"));
    WriteFile(File("go"), "");
    EXPECT_TRUE(WaitForContent("output", "2\n"));
    EXPECT_EQ(Content("output.1"), "1\n");
}

TEST_F(LaunchWith, CopiesMuchOutputWhole) {
    EXPECT_EQ(Run({"--output", File("output")}, "seq 1 200000"), "exit 0");
    EXPECT_EQ(Run({}, "seq 1 200000 >expected"), "exit 0");
    EXPECT_TRUE(Content("output") == Content("expected"));
}

TEST_F(LaunchWith, WritesTheLastLinesAndTheReasonAfterABadEnd) {
    EXPECT_EQ(Run({"--output", File("output"), "--tail", "2"}, "seq 1 9; exit 3"),
              "exit 3");
    EXPECT_THAT(Content("output"),
                testing::MatchesRegex(
                    "8\n9\nlaunch-with: /bin/sh: exit 3 after [0-9]+\\.[0-9] s\n"));
}

TEST_F(LaunchWith, BeginsTheReasonOnALineOfItsOwn) {
    EXPECT_EQ(Run({"--output", File("output"), "--tail", "9"}, "printf 1; kill -SEGV $$"),
              "signal 11");
    EXPECT_THAT(Content("output"),
                testing::StartsWith("1\nlaunch-with: /bin/sh: killed by SIGSEGV after "));
}

TEST_F(LaunchWith, WritesNoTailAfterAGoodEndOrAStop) {
    std::vector<std::string> const options = {"--output", File("output"), "--tail", "2"};
    EXPECT_EQ(Run(options, "seq 1 9"), "exit 0");
    {
        Process const stopped(CommandLine(options, "echo 1; echo $$ >pid; sleep 1000"));
        WaitForPid("pid");
    }
    EXPECT_TRUE(NothingIsLeft());
    EXPECT_EQ(Content("output"), "");
}

TEST_F(LaunchWith, KeepsATailOfErrorsApart) {
    EXPECT_EQ(Run({"--output", File("output"), "--error", File("error"), "--tail", "1"},
                  "seq 1 3; seq 4 6 >&2; exit 1"),
              "exit 1");
    EXPECT_EQ(Content("output"), "3\n");
    EXPECT_THAT(Content("error"), testing::StartsWith("6\nlaunch-with: "));
}

TEST_F(LaunchWith, KeepsTheLast64KiBOfATail) {
    EXPECT_EQ(Run({"--output", File("output"), "--tail", "100000"},
                  "head -c 100000 /dev/zero | tr '\\0' x; echo; exit 1"),
              "exit 1");
    std::string const output = Content("output");
    EXPECT_EQ(output.find('\n'), 65'535U);

    EXPECT_EQ(Run({"--output", File("lines"), "--tail", "2"}, "seq 1 20000; exit 1"),
              "exit 1");
    EXPECT_THAT(Content("lines"), testing::StartsWith("19999\n20000\nlaunch-with: "));
}

TEST_F(LaunchWith, LosesOutputOnAFullDiskAndSaysHowMuch) {
    Disk const disk(directory.Path() / "disk", "size=16k");
    std::string const file = disk.Path() / "output";
    WriteFile(disk.Path() / "filler", std::string(16'384, 'x'));
    {
        // The output was read when the second line of the errors is there.
        Process const launched(CommandLine(
            {"--output", file, "--error", File("error")},
            "echo lost; echo 1 >&2; until [ -s error ]; do sleep 0.01; done; echo 2 >&2; "
            "until [ -e go ]; do sleep 0.01; done; echo after; exec sleep 1000"));
        ASSERT_TRUE(WaitForContent("error", "1\n2\n"));
        std::filesystem::remove(disk.Path() / "filler");
        WriteFile(File("go"), "");
        EXPECT_TRUE(WaitFor(
            [&file] { return ReadFile(file).find("after\n") != std::string::npos; }));
    }
    EXPECT_TRUE(NothingIsLeft());
    EXPECT_EQ(
        ReadFile(file),
        "\nlaunch-with: 5 bytes of output were lost: No space left on device\nafter\n");
}

TEST_F(LaunchWith, NeverWaitsForAReaderOfItsFile) {
    ASSERT_EQ(mkfifo(File("output").c_str(), 0600), 0);
    EXPECT_EQ(Run({"--output", File("output")}, "seq 1 100000"), "exit 0");
}

}  // namespace
