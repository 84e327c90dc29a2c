// A fresh log directory for one test, and the log lines that stand in it.
//
//   LogDirectory directory;
//   ILog* const log = directory.OpenLog(LOGLEVEL_ERROR);
//   __LOG__A(log, LOGLEVEL_ERROR, "a line");
//   ReadLog(directory.File()).at(0).message     -> "a line"

#ifndef TESTS_LIBLOGGER_LOG_DIRECTORY_H
#define TESTS_LIBLOGGER_LOG_DIRECTORY_H

#include <gtest/gtest.h>

#include <filesystem>
#include <regex>
#include <string>
#include <utility>
#include <vector>

#include "common/config/log.h"
#include "tests/support/files.h"

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

struct LogLine {
    std::string time;
    std::string level;
    int process_id;
    std::string message;
};

// Cuts `text` at its newlines; fails the test if the last line lacks its own.
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

// Takes a line apart; fails the test if it has not the form of one.
inline LogLine ParseLine(std::string const& line) {
    static std::regex const head(
        R"((\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z) ([A-Z]+) ([1-9]\d*) )",
        std::regex::optimize);
    std::string const begin = line.substr(0, 64);
    std::smatch parts;
    if (!std::regex_search(begin, parts, head, std::regex_constants::match_continuous)) {
        ADD_FAILURE() << "not a log line: " << line.substr(0, 200);
        return {"", "", 0, line};
    }
    return {parts[1], parts[2], std::stoi(parts[3]),
            line.substr(static_cast<std::size_t>(parts.length()))};
}

// Returns the lines of the log file; fails the test at each that is none.
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
