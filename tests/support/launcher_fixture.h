// The launcher of the staged bundle, under test: with a home, a log, a system log and
// programs that start how they were started.

#ifndef TESTS_SUPPORT_LAUNCHER_FIXTURE_H
#define TESTS_SUPPORT_LAUNCHER_FIXTURE_H

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "harness/files.h"
#include "harness/launch_list.h"
#include "harness/passwd_entry.h"
#include "harness/process.h"
#include "tests/support/system_log.h"

// What tests/support/test_program wrote about one of its starts.
struct ProgramStart {
    pid_t pid = 0;
    pid_t parent = 0;
    long long start_time = 0;  // CLOCK_MONOTONIC in nanoseconds
    long long end_time = 0;    // the same, just before it does what it was told
    std::string descriptors;
    std::string marker;
    std::vector<std::string> arguments;
};

// Returns the starts that are written down in `directory`, in order.
std::vector<ProgramStart> StartsIn(std::filesystem::path const& directory);

// Returns the message that the launcher logs of the end of a program.
std::string Killed(std::string const& name, pid_t pid, int status);

// Returns whether a thread of the process waits for the program, so that it has noted the
// program's id.
bool IsWaitedFor(pid_t supervisor, pid_t program);

class LauncherTest : public testing::Test {
  protected:
    LauncherTest();

    // Returns a launch item of this name whose program is the test program.
    static std::string Item(std::string const& name,
                            std::vector<std::string> const& arguments = {});

    // Returns a launch item of this name whose program ends at once, over and over, until
    // LetRest.
    std::string RestlessItem(std::string const& name) const;

    // Lets the program of the restless item stay, and waits until it does: a stop right
    // at a start may miss the program.
    void LetRest() const;

    // Sets the level in log.ini; it is DEBUG at first.
    void SetLogLevel(std::string const& level) const;

    // Starts the launcher with "test" and a file that holds `list`. `prepare` runs in
    // the new process just before.
    void Start(std::string const& list, std::function<void()> prepare = {});

    // Starts the launcher with these arguments.
    void StartWith(std::vector<std::string> arguments,
                   std::function<void()> prepare = {});

    // Takes this program for the launcher, in a copy of the bundle.
    void PutIntoTheBundle(std::filesystem::path const& program);

    // Waits until main has walked the whole list and waits on its condition for a stop.
    bool WaitUntilMainWaits() const;

    // Waits until the launcher waits for each of its programs: before, a stop would not
    // know whom to kill.
    bool WaitUntilProgramsAreKnown() const;

    // Sends SIGTERM and returns how the launcher ended, normally "exit 1".
    std::string Stop();

    // Returns the log's lines from the level on: "ERROR 4711 [LAUNCHER  ] agent ...".
    std::vector<std::string> Log() const;

    // Returns the messages of this level, without level and process id.
    std::vector<std::string> Messages(std::string const& level) const;

    // Returns how many lines of the log hold `text`.
    std::size_t CountInLog(std::string const& text) const;

    // Returns the starts of the test program whose second argument is `tag`, or all.
    std::vector<ProgramStart> Starts(std::optional<std::string> const& tag = {}) const;

    // Waits for `count` such starts, and until the launcher waits for each of its
    // programs. Returns the starts.
    std::vector<ProgramStart> WaitForStarts(
        std::size_t count, std::optional<std::string> const& tag = {}) const;

    // Returns the processes of this namespace that execute the test program, without
    // zombies.
    static std::vector<pid_t> RunningPrograms();

    TempDirectory directory;
    std::filesystem::path const home;
    std::filesystem::path const log_file;
    std::filesystem::path const list_file;
    std::filesystem::path const starts_directory;
    std::filesystem::path launcher_program;
    PasswdEntry const user;
    SystemLog const system_log;
    std::unique_ptr<Process> launcher;
};

#endif
