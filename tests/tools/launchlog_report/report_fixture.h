// Running the program as a user does, on logs that a test writes.

#ifndef TESTS_TOOLS_LAUNCHLOG_REPORT_REPORT_FIXTURE_H
#define TESTS_TOOLS_LAUNCHLOG_REPORT_REPORT_FIXTURE_H

#include <gtest/gtest.h>
#include <json/value.h>

#include <string>
#include <vector>

#include "harness/files.h"
#include "harness/process.h"
#include "tests/support/run_program.h"

namespace launchlog_report {

// Returns a line about the end of an item's program, at a second of the minute before
// noon.
std::string Line(std::string const& name, int status, int second = 0,
                 std::string const& launcher = "181");

// Returns a line of any message, at milliseconds of the minute before noon.
std::string Message(std::string const& process, int milliseconds,
                    std::string const& message);

// The JSON of an empty report.
extern std::string const kEmptyJson;

class LaunchlogReport : public testing::Test {
  protected:
    // Runs the program to its end.
    static ProgramRun Run(std::vector<std::string> arguments,
                          std::string const& input = "");

    // Returns the items of the report at noon.
    static Json::Value Items(std::vector<std::string> arguments,
                             std::string const& input = "");

    static Json::Value Parse(std::string const& text);

    // Writes `text` to the end of a file of the directory.
    void Append(std::string const& name, std::string const& text) const;

    void Rename(std::string const& from, std::string const& to) const;

    // Compresses a file.
    static void Gzip(std::string const& path);

    // Makes a file that nobody can open, not even root: a socket.
    static void MakeSocket(std::string const& path);

    TempDirectory const directory;
    std::string const log = directory.Path() / "launcher.log";
};

}  // namespace launchlog_report

#endif
