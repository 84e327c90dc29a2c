// Compares what the check says of this machine with what the launcher does on it.

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstddef>
#include <cstdlib>
#include <fstream>

#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/support/limited_launcher.h"
#include "tests/support/limited_user.h"
#include "tests/support/linux/refuse_call.h"
#include "tools/launchlist_check/list_check.h"
#include "tools/launchlist_check/output.h"

namespace launchlist_check {
namespace {

using testing::HasSubstr;

// Returns the only finding about the list.
Finding OnlyFinding(std::string const& list) {
    std::vector<Finding> const findings = CheckLaunchList(list).findings.InOrder();
    EXPECT_EQ(findings.size(), 1U) << list;
    return findings.empty() ? Finding() : findings[0];
}

// Returns a list of one item, whose program is the shell, with more members.
std::string ShellWith(std::string const& members) {
    return R"({"0": {"name": "a", "program": "/bin/sh", )" + members + "}}";
}

// Returns what is printed about the file.
std::string CheckFile(std::string const& path) {
    return ToLines({"list.json", CheckLaunchListFile(path)});
}

class Machine : public LauncherTest {
  protected:
    std::string Program(std::string const& name, std::string const& content) const {
        std::string path = directory.Write(name, content);
        std::filesystem::permissions(path, std::filesystem::perms(0755));
        return path;
    }
};

TEST_F(Machine, ProgramsThatItRefusesMakeChains) {
    std::string other_processor = ReadFile("/bin/true");
    other_processor.at(18) = '\xB7';
    std::string object_file = ReadFile("/bin/true");
    object_file.at(16) = 1;
    std::string const lost = Program("lost", "#!/nothing/here\n");
    std::string const busy = Program("busy", ReadFile("/bin/true"));
    std::ofstream const writer(busy, std::ios::app);
    struct {
        std::string program;
        std::string reason;
    } const cases[] = {
        {Program("processor", other_processor),
         "Exec format error: it is an ELF file for AArch64"},
        {Program("object", object_file), "Exec format error: it is an object file"},
        {Program("mach_o", "\xCF\xFA\xED\xFE\x07"),
         "Exec format error: it is a Mach-O file"},
        {Program("windows", std::string("MZ\x90\0", 4)),
         "Exec format error: it is a program for Windows"},
        {Program("random", "\x01\x02"), "Exec format error"},
        {Program("over", "#!" + lost + "\n"),
         "its interpreter \"" + lost +
             R"(": its interpreter "/nothing/here": No such file or directory)"},
        {Program("self", "#!" + (directory.Path() / "self").string() + "\n"),
         "Too many levels of symbolic links: scripts interpret scripts, too many or in a "
         "circle"},
        {busy, "Text file busy: it is open for writing"}};
    for (auto const& [program, reason] : cases) {
        std::string const list = R"({"0": {"name": "a", "program": ")" + program + "\"}}";
        Finding const finding = OnlyFinding(list);
        EXPECT_EQ(finding.kind, "program-file");
        EXPECT_EQ(finding.message,
                  "\"program\" \"" + program + "\" cannot be executed (" + reason +
                      "): a chain of processes grows, one more every 50 ms");
        Start(list);
        EXPECT_TRUE(WaitFor([&] { return SessionMembers(launcher->Pid()).size() > 3; }))
            << program;
        launcher->Signal(SIGKILL);
        for (pid_t const link : SessionMembers(launcher->Pid())) {
            kill(link, SIGKILL);
        }
        launcher->WaitForEnd();
    }
}

TEST_F(Machine, AProgramThatItCannotLoadEndsEachChild) {
    std::string const program = Program("cut", ReadFile("/bin/true").substr(0, 5000));
    std::string const list = R"({"0": {"name": "a", "program": ")" + program + "\"}}";
    Finding const finding = OnlyFinding(list);
    EXPECT_EQ(finding.kind, "program-load");
    EXPECT_EQ(finding.message,
              "\"program\" \"" + program +
                  "\" cannot be loaded: the system ends every child by signal 11 before "
                  "the program begins, and the next one comes 50 ms later");
    Start(list, [] {
        rlimit const none = {0, 0};
        setrlimit(RLIMIT_CORE, &none);
    });
    EXPECT_TRUE(WaitFor([&] { return CountInLog("status = 11") >= 2; }));
    EXPECT_LE(SessionMembers(launcher->Pid()).size(), 2U);
}

TEST_F(Machine, IfTracingIsForbiddenFilesAreLookedAtAndANoteSaysSo) {
    std::string const output = directory.Path() / "output";
    std::string const object = Program("object",
                                       "\x7F"
                                       "ELF" +
                                           std::string(12, '\0') + "\1");
    std::string const list = R"({"0": {"name": "a", "program": "/nothing/here"},
 "1": {"name": "b", "program": ")" +
                             directory.Write("plain", "#!/bin/sh\n") + R"("},
 "2": {"name": "c", "program": ")" +
                             object + R"("},
 "3": {"name": "d", "program": "/bin/sh", "argc": 1, "args": {"0": ")" +
                             std::string(131072, 'x') + R"("}}})";
    Process checker([&] {
        if (!RefuseCall(SYS_ptrace, EPERM)) {
            return 1;
        }
        WriteFile(output, ToLines({"list.json", CheckLaunchList(list)}));
        return 0;
    });
    EXPECT_EQ(checker.WaitForEnd(), "exit 0");
    std::vector<std::string> const lines = Lines(ReadFile(output));
    ASSERT_EQ(lines.size(), 5U) << ReadFile(output);
    EXPECT_EQ(lines[0],
              "list.json:1:1: note: the system does not let a program be tried here "
              "(Operation not permitted): only the programs' files were looked at, which "
              "finds less [static-check]");
    EXPECT_THAT(lines[1], HasSubstr("(No such file or directory)"));
    EXPECT_THAT(lines[2], HasSubstr("(this user may not execute it)"));
    EXPECT_THAT(lines[3], HasSubstr("[arguments-size]"));
    EXPECT_EQ(lines[4], "list.json: 3 errors");
}

// Returns the size of the environment as the system counts it, without the pointers.
std::size_t EnvironmentSize() {
    std::size_t size = 0;
    for (char** variable = environ; *variable != nullptr; ++variable) {
        size += std::string(*variable).size() + 1;
    }
    return size;
}

TEST_F(Machine, TakesNoLongerArgumentThan128KiB) {
    auto const of_length = [](std::size_t length) {
        return ShellWith(R"("argc": 1, "args": {"0": ")" + std::string(length, 'x') +
                         "\"}");
    };
    // The system's limit for one string is 128 KiB with its zero.
    EXPECT_TRUE(CheckLaunchList(of_length(131071)).findings.Counts().empty());
    Finding const finding = OnlyFinding(of_length(131072));
    EXPECT_EQ(finding.kind, "arguments-size");
    EXPECT_EQ(
        finding.message,
        "the arguments take 131081 bytes, the longest 131073, and the environment " +
            std::to_string(EnvironmentSize()) +
            ": more than the system takes, so the program cannot be executed, and a "
            "chain of processes grows, one more every 50 ms");
}

TEST_F(Machine, CountsTheEnvironmentToTheArguments) {
    // With a stack of the usual 8 MiB there is just room for both, and no string is too
    // long.
    std::string args;
    for (int i = 0; i < 19; ++i) {
        args += (i == 0 ? "\"" : ", \"") + std::to_string(i) + "\": \"" +
                std::string(100'000, 'x') + '"';
    }
    std::string const list = ShellWith(R"("argc": 19, "args": {)" + args + "}");
    EXPECT_TRUE(CheckLaunchList(list).findings.Counts().empty());
    for (int i = 0; i < 4; ++i) {
        setenv(("LIST_CHECK_" + std::to_string(i)).c_str(),
               std::string(100'000, 'x').c_str(), 1);
    }
    CheckResult const result = CheckLaunchList(list);
    for (int i = 0; i < 4; ++i) {
        unsetenv(("LIST_CHECK_" + std::to_string(i)).c_str());
    }
    EXPECT_EQ(result.findings.Counts().count({"arguments-size", Severity::Error}), 1U);
}

TEST_F(Machine, OpensNoSocketForTheLauncher) {
    std::string const path = directory.Path() / "socket";
    int const listener = socket(AF_UNIX, SOCK_STREAM, 0);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    ASSERT_LT(path.size(), sizeof address.sun_path);
    path.copy(address.sun_path, path.size());
    // NOLINTNEXTLINE(cppcoreguidelines-pro-type-reinterpret-cast)
    ASSERT_EQ(bind(listener, reinterpret_cast<sockaddr*>(&address), sizeof address), 0);
    EXPECT_EQ(CheckFile(path),
              "list.json:1:1: error: this cannot be opened: No such device or address: "
              "the launcher ends without a word, with exit code 0 [unreadable]\n"
              "list.json: 1 error\n");
    close(listener);
}

TEST_F(Machine, FailsToReadSomeFilesForEver) {
    EXPECT_EQ(CheckFile("/proc/self/mem"),
              "list.json:1:1: error: reading fails: Input/output error: the launcher "
              "tries again for ever, in a busy loop that only SIGKILL ends [unreadable]\n"
              "list.json: 1 error\n");
}

class MachineOfALimitedUser : public LimitedLauncherTest {
  protected:
    static std::string ListOf(int items, std::string const& program) {
        std::vector<std::string> list;
        for (int i = 0; i < items; ++i) {
            list.push_back(R"({"name": "item)" + std::to_string(i) +
                           R"(", "program": ")" + program + R"(", "argc": 1,
                           "args": {"0": "--hold"}})");
        }
        return ListText(list);
    }

    // Returns what is printed about the list for a user with this limit of processes.
    std::vector<std::string> CheckLimited(std::string const& list,
                                          unsigned long limit) const {
        std::string const output = directory.Path() / "output";
        WriteFile(output, "");
        std::filesystem::permissions(output, std::filesystem::perms(0666));
        Process checker([&] {
            BecomeLimitedUser(limit);
            WriteFile(output, ToLines({"list.json", CheckLaunchList(list)}));
            return 0;
        });
        EXPECT_EQ(checker.WaitForEnd(), "exit 0");
        return Lines(ReadFile(output));
    }
};

TEST_F(MachineOfALimitedUser, TwoProcessesForEachItemAndOneForTheLauncherAreEnough) {
    std::string const list = ListOf(5, program_copy);
    if (SANITIZER_THREADS == 0) {
        EXPECT_THAT(CheckLimited(list, 11),
                    testing::ElementsAre("list.json: ok, 5 programs"));
    }
    StartLimited(ListOf(5, TEST_PROGRAM), 11);
    WaitForStarts(5);
}

TEST_F(MachineOfALimitedUser, WithOneLessAnItemGetsNoProcess) {
    std::string const list = ListOf(5, program_copy);
    std::vector<std::string> const lines = CheckLimited(list, 10);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(
        lines[0],
        testing::AllOf(
            testing::StartsWith("list.json:"),
            HasSubstr(": error: item \"4\" (item4): the list needs 10 processes, threads "
                      "included, and this user may have "),
            testing::EndsWith("): items are given up, and the stop sends SIGKILL to "
                              "every process of the user; or the launcher ends at once, "
                              "with SIGKILL to its own process group [process-limit]")));
    StartLimited(ListOf(5, TEST_PROGRAM), 10);
    EXPECT_TRUE(WaitFor(
        [&] { return launcher->HasEnded() || CountInLog("Failed to fork") > 0; }));
}

TEST_F(MachineOfALimitedUser, LaunchWithTakesTwoProcessesMore) {
    std::filesystem::path const launch_with = directory.Path() / "launch-with";
    std::filesystem::copy(LAUNCH_WITH, launch_with);
    std::string const output = directory.Path() / "words";
    auto const item = [&](std::string const& name) {
        return ItemText(name, launch_with,
                        {"--output", output, "--", program_copy, "--hold", name});
    };
    std::string const list = ListText({item("a"), item("b")});
    auto const cannot_fork = [&] {
        return ReadFile(output).find("cannot fork") != std::string::npos ||
               launcher->HasEnded() || CountInLog("Failed to fork") > 0;
    };

    EXPECT_THAT(CheckLimited(list, 9), testing::ElementsAre("list.json: ok, 2 programs"));
    StartLimited(list, 9);
    EXPECT_TRUE(WaitFor([this] { return Starts().size() == 2; }));
    EXPECT_FALSE(cannot_fork());
    launcher->Signal(SIGKILL);
    EXPECT_EQ(launcher->WaitForEnd(), "signal 9");
    EXPECT_TRUE(WaitFor([this] { return LinksAndPrograms().empty(); }));

    std::vector<std::string> const lines = CheckLimited(list, 8);
    ASSERT_EQ(lines.size(), 2U);
    EXPECT_THAT(lines[0], testing::AllOf(
                              HasSubstr("item \"1\" (b): the list needs 8 processes, "),
                              HasSubstr("launch-with cannot start a program, or items")));
    StartLimited(list, 8);
    EXPECT_TRUE(WaitFor(cannot_fork));
}

}  // namespace
}  // namespace launchlist_check
