// The launcher of the staged bundle, under test: with a home, a log, a system log and
// programs that report how they were started.

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

#include "tests/support/files.h"
#include "tests/support/passwd_record.h"
#include "tests/support/process.h"
#include "tests/support/system_log.h"

// What tests/support/probe wrote about one of its starts.
struct Report {
    pid_t pid = 0;
    pid_t parent = 0;
    long long start = 0;  // CLOCK_MONOTONIC in nanoseconds
    long long end = 0;    // the same, just before it does what it was told
    std::string descriptors;
    std::string marker;
    std::vector<std::string> arguments;
};

// Returns the reports in `directory`, in the order of their starts.
std::vector<Report> ReportsIn(std::filesystem::path const& directory);

class LauncherTest : public testing::Test {
  protected:
    LauncherTest();

    // Returns a launch item of this name whose program is the probe, with `arguments`.
    static std::string Item(std::string const& name,
                            std::vector<std::string> const& arguments = {});

    // Returns a launch item of this name whose program ends at once, over and over, until
    // LetRest.
    std::string RestlessItem(std::string const& name) const;

    // Lets the program of the restless item stay, and waits until it does: a stop that
    // meets a start may come to a bad end.
    void LetRest() const;

    // Returns a launch list of these items, numbered from 0.
    static std::string List(std::vector<std::string> const& items);

    // Sets the level in log.ini; it is DEBUG at first.
    void SetLogLevel(std::string const& level) const;

    // Starts the launcher with "test" and a file that holds `list`. `prepare` runs in
    // the new process just before.
    void Start(std::string const& list, std::function<void()> prepare = {});

    // Starts the launcher with these arguments.
    void StartWith(std::vector<std::string> arguments,
                   std::function<void()> prepare = {});

    // Waits until main has walked the whole list and waits on its condition for a stop.
    bool WaitUntilMainWaits() const;

    // Sends SIGTERM and returns how the launcher ended: "exit 1" if all is well.
    std::string Stop();

    // The log's lines from the level on: "ERROR 4711 [LAUNCHER  ] agent ...".
    std::vector<std::string> Log() const;

    // The same for one level, without level and process id.
    std::vector<std::string> Messages(std::string const& level) const;

    // Returns how many lines of the log hold `text`.
    std::size_t CountInLog(std::string const& text) const;

    // The probe's reports whose second argument is `tag`, or all.
    std::vector<Report> Reports(std::optional<std::string> const& tag = {}) const;

    // Waits until there are `count` such reports, and the launcher waits for each of its
    // programs: before, a stop would not know whom to kill. Returns the reports.
    std::vector<Report> WaitForReports(std::size_t count,
                                       std::optional<std::string> const& tag = {}) const;

    // Processes of this namespace, zombies apart, that execute the probe.
    static std::vector<pid_t> RunningProbes();

    // Waits until there is no program whose process id the launcher has yet to learn.
    bool WaitUntilProgramsAreKnown() const;

    TempDirectory directory;
    std::filesystem::path const home;
    std::filesystem::path const log_file;
    std::filesystem::path const list_file;
    std::filesystem::path const reports;
    std::filesystem::path launcher_program;
    PasswdRecord const user;
    SystemLog const system_log;
    std::unique_ptr<Process> launcher;
};

#endif
