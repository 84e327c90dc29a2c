// launch-with under test, with a directory for what its program writes.

#ifndef TESTS_TOOLS_LAUNCH_WITH_FIXTURE_H
#define TESTS_TOOLS_LAUNCH_WITH_FIXTURE_H

#include <gtest/gtest.h>

#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

#include "harness/files.h"
#include "harness/proc.h"
#include "harness/process.h"
#include "harness/wait_for.h"

class LaunchWith : public testing::Test {
  protected:
    LaunchWith() { setenv("LAUNCH_WITH_TEST", directory.Path().c_str(), 1); }

    // Returns the command line of launch-with: `options`, and a shell that runs `script`
    // in this directory. A script of one command needs "exec", to be that command.
    std::vector<std::string> CommandLine(std::vector<std::string> const& options,
                                         std::string const& script) const {
        std::vector<std::string> line = {LAUNCH_WITH, "--directory",
                                         directory.Path().string()};
        line.insert(line.end(), options.begin(), options.end());
        line.insert(line.end(), {"--", "/bin/sh", "-c", script});
        return line;
    }

    // Runs launch-with to its end, which it returns: "exit 0" or "signal 9".
    std::string Run(std::vector<std::string> const& options, std::string const& script,
                    std::function<void()> const& prepare = {}) const {
        return Process(CommandLine(options, script), prepare).WaitForEnd();
    }

    // Returns the path of a file in this directory.
    std::string File(std::string const& name) const { return directory.Path() / name; }

    std::string Content(std::string const& name) const { return ReadFile(File(name)); }

    // Waits until the file has this content. Returns false if it never has.
    bool WaitForContent(std::string const& name, std::string const& content) const {
        return WaitFor([&] { return Content(name) == content; });
    }

    // Waits until the file has a line, a process id. Returns it.
    pid_t WaitForPid(std::string const& name) const {
        EXPECT_TRUE(
            WaitFor([&] { return Content(name).find('\n') != std::string::npos; }));
        return std::atoi(Content(name).c_str());
    }

    // Returns the processes of launch-with and all that they have started.
    std::vector<pid_t> Left() const {
        return ProcessesWith("LAUNCH_WITH_TEST=" + directory.Path().string());
    }

    // Waits until no process is left of launch-with, nor one that it has started. Returns
    // false if one stays.
    bool NothingIsLeft() const {
        return WaitFor([this] { return Left().empty(); });
    }

    TempDirectory directory;
};

#endif
