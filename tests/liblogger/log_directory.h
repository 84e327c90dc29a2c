// A fresh log directory for one test, and the lines of the log in it.
//
//   LogDirectory directory;
//   ILog* const log = directory.OpenLog(LOGLEVEL_ERROR);
//   __LOG__A(log, LOGLEVEL_ERROR, "a line");
//   ReadLog(directory.File()).at(0).message     -> "a line"

#ifndef TESTS_LIBLOGGER_LOG_DIRECTORY_H
#define TESTS_LIBLOGGER_LOG_DIRECTORY_H

#include <gtest/gtest.h>

#include <filesystem>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "common/config/log.h"
#include "harness/files.h"
#include "harness/log_line.h"

// Returns the log `name` in the directory that the library is open on; on failure fails
// the test and returns null.
inline ILog* GetLog(char const* name, LOGLEVEL level, int kind = 2) {
    ILog* log = nullptr;
    EXPECT_EQ(GetLogger(kind, name, level, &log), 0);
    // Logs live as long as the process; a leak checker is to find them here at its end.
    static auto& logs = *new std::vector<ILog*>;
    logs.push_back(log);
    return log;
}

class LogDirectory {
  public:
    std::filesystem::path const& Path() const { return directory.Path(); }

    // The file of the log that OpenLog opens.
    std::filesystem::path File() const { return Path() / "test.log"; }

    // Opens the library on this directory, and returns the log "test" in it; on failure
    // fails the test and returns null.
    ILog* OpenLog(LOGLEVEL level = LOGLEVEL_VERBOSE) const {
        EXPECT_EQ(InitLogger(Path().c_str()), 0);
        return GetLog("test", level);
    }

  private:
    TempDirectory const directory{};
};

// Cuts `text` into lines; fails the test if the last one does not end in a newline.
inline std::vector<std::string> SplitLines(std::string const& text) {
    std::vector<std::string> lines;
    std::size_t begin = 0;
    for (std::size_t end = 0; (end = text.find('\n', begin)) != std::string::npos;
         begin = end + 1) {
        lines.push_back(text.substr(begin, end - begin));
    }
    EXPECT_EQ(begin, text.size()) << "unfinished line: " << text.substr(begin, 200);
    return lines;
}

// Takes a line apart; fails the test if it does not have the form of one.
inline LogLine ParseLine(std::string const& line) {
    std::optional<LogLine> const parsed = ParseLogLine(line);
    EXPECT_TRUE(parsed) << "not a log line: " << line.substr(0, 200);
    return parsed.value_or(LogLine{"", "", 0, line});
}

// Returns the lines of the log file; fails the test at each that does not have the form
// of one.
inline std::vector<LogLine> ReadLog(std::filesystem::path const& file) {
    std::vector<LogLine> lines;
    for (std::string const& line : SplitLines(ReadFile(file))) {
        lines.push_back(ParseLine(line));
    }
    return lines;
}

// Returns the messages of the log file alone.
inline std::vector<std::string> ReadMessages(std::filesystem::path const& file) {
    std::vector<std::string> messages;
    for (LogLine& line : ReadLog(file)) {
        messages.push_back(std::move(line.message));
    }
    return messages;
}

#endif
