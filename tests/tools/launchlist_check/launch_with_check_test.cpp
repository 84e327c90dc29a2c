#include "tools/launchlist_check/launch_with_check.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <string>
#include <vector>

#include "harness/files.h"
#include "harness/launch_list.h"
#include "tests/tools/launchlist_check/checked.h"

namespace launchlist_check {
namespace {

// Returns what is printed about a list with one item, launch-with with these arguments.
std::string CheckWith(std::vector<std::string> const& arguments) {
    return Check(ListText({ItemText("a", LAUNCH_WITH, arguments)}));
}

std::string const kAgain = ", and is started again 50 ms later";
std::string const kProgram = kError + "launch-with cannot execute ";

TEST(LaunchListCheck, SeesThroughLaunchWith) {
    EXPECT_EQ(CheckWith({"--grace", "2", "--", "/bin/sh"}), kOk);
    EXPECT_EQ(CheckWith({"--", "/nothing/here", "x"}),
              kProgram +
                  "\"/nothing/here\" (No such file or directory): launch-with ends "
                  "with exit code 127" +
                  kAgain + " [launch-with-program]\n");
    EXPECT_EQ(CheckWith({"/etc/passwd"}), kProgram + "\"/etc/passwd\" (" +
                                              "this user may not execute it" +
                                              "): launch-with ends with exit code 126" +
                                              kAgain + " [launch-with-program]\n");
}

TEST(LaunchListCheck, TellsThePaceOfLaunchWith) {
    for (std::string const pace : {"5", "0.1"}) {
        EXPECT_THAT(CheckWith({"--at-most-every", pace, "--", "/nothing/here"}),
                    testing::HasSubstr("is started again " + pace +
                                       " s after its last start [launch-with-program]"));
    }
    EXPECT_THAT(CheckWith({"--at-most-every", "0.05", "--", "/nothing/here"}),
                testing::HasSubstr("is started again 50 ms later"));
}

TEST(LaunchListCheck, ChecksTheProgramWithItsOwnArguments) {
    EXPECT_NE(
        CheckWith({"--", "/bin/true", std::string(200'000, 'x')}).find("arguments-size"),
        std::string::npos);
    EXPECT_EQ(CheckWith({"--", "/bin/true", std::string(100'000, 'x')}), kOk);
}

TEST(LaunchListCheck, LooksForARelativeProgramInItsDirectory) {
    std::string const relative =
        kError +
        "launch-with gets \"sh\", which is not an absolute path: it is looked up from "
        "the "
        "working directory of the launcher, and PATH is not searched "
        "[launch-with-program]\n";
    EXPECT_EQ(CheckWith({"sh"}), relative);
    EXPECT_EQ(CheckWith({"--directory", "/bin", "sh"}), kOk);
    EXPECT_EQ(CheckWith({"--directory", "/nothing", "/bin/sh"}),
              kError +
                  "launch-with cannot go to the directory \"/nothing\" (No such file or "
                  "directory): launch-with ends with exit code 125" +
                  kAgain + " [launch-with-program]\n");
}

TEST(LaunchListCheck, OptionsThatLaunchWithDoesNotTake) {
    std::string const ends =
        ": launch-with ends with exit code 125" + kAgain + " [launch-with-options]\n";
    EXPECT_EQ(CheckWith({"--grace=x", "/bin/sh"}),
              kError +
                  "launch-with does not take its arguments: --grace=x is not a number of "
                  "seconds" +
                  ends);
    EXPECT_EQ(CheckWith({}),
              kError +
                  "launch-with does not take its arguments: the command line names no "
                  "program" +
                  ends);
    EXPECT_EQ(CheckWith({"--help"}), kError + "launch-with only prints a text" + ends);
}

TEST(LaunchListCheck, TwoProgramsThatWaitForOneLock) {
    auto const check = [](std::vector<std::string> const& one,
                          std::vector<std::string> const& other) {
        return Check(ListText(
            {ItemText("a", LAUNCH_WITH, one), ItemText("b", LAUNCH_WITH, other)}));
    };
    std::string const waits =
        "list.json: error: item \"1\" (b): launch-with starts one program at a time for "
        "the same command line or --lock, and item \"0\" has the same: one of them waits "
        "for ever; --lock gives each a name of its own [launch-with-lock]\n";
    std::string const ok = "list.json: ok, 2 programs\n";
    EXPECT_EQ(check({"/bin/sh"}, {"/bin/sh"}), waits);
    EXPECT_EQ(check({"/bin/sh"}, {"--", "/bin/sh"}), ok);
    EXPECT_EQ(check({"--lock", "1", "/bin/sh"}, {"--lock", "2", "/bin/sh"}), ok);
    EXPECT_EQ(check({"--lock", "1", "/bin/sh"}, {"--lock", "1", "/bin/true"}), waits);
    EXPECT_EQ(check({"/bin/sh", "ab", "c"}, {"/bin/sh", "a", "bc"}), ok);
}

TEST(LaunchListCheck, KnowsLaunchWithByItsName) {
    EXPECT_TRUE(IsLaunchWith("/usr/bin/launch-with"));
    EXPECT_TRUE(IsLaunchWith("launch-with"));
    EXPECT_FALSE(IsLaunchWith("/usr/bin/launch-without"));
    EXPECT_FALSE(IsLaunchWith("/usr/launch-with/sh"));
}

}  // namespace
}  // namespace launchlist_check
