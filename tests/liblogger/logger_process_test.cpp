// The log under many threads and processes at once.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <functional>
#include <map>
#include <string>
#include <system_error>
#include <thread>
#include <vector>

#include "common/config/log.h"
#include "tests/liblogger/log_directory.h"

namespace {

constexpr int kThreads = 8;
constexpr int kProcesses = 8;
constexpr int kLinesEach = 10000 / (kThreads + kProcesses);

// Lets writers start at the same time: they wait until the input of a pipe is closed.
class StartingLine {
  public:
    StartingLine() { EXPECT_EQ(pipe(ends.data()), 0); }
    ~StartingLine() { close(ends[0]); }
    StartingLine(StartingLine const&) = delete;
    StartingLine& operator=(StartingLine const&) = delete;

    void Go() const { close(ends[1]); }
    void Wait() const {
        char byte = 0;
        EXPECT_EQ(read(ends[0], &byte, 1), 0);
    }

  private:
    std::array<int, 2> ends = {};
};

// Returns a message; some are longer than any buffer and than a page of the file.
std::string Message(int writer, int number) {
    int const length = number % 50 == 0 ? 10000 : number % 50;
    return "writer " + std::to_string(writer) + " line " + std::to_string(number) + " " +
           std::string(static_cast<std::size_t>(length),
                       static_cast<char>('a' + writer)) +
           ".";
}

// Every writer has a level of its own, so that a mixed-up line shows.
struct Level {
    LOGLEVEL level;
    char const* name;
};

Level LevelOf(int writer) {
    std::array<Level, 3> const levels = {{{LOGLEVEL_DEBUG, "DEBUG"},
                                          {LOGLEVEL_WARNING, "WARNING"},
                                          {LOGLEVEL_CRITICAL, "CRITICAL"}}};
    return levels[static_cast<std::size_t>(writer) % levels.size()];
}

void WriteLines(ILog* log, int writer) {
    for (int number = 0; number < kLinesEach; ++number) {
        __LOG__A(log, LevelOf(writer).level, "%s", Message(writer, number).c_str());
    }
}

// Starts threads that write lines once they may start, and enters them as writers of this
// process.
std::vector<std::thread> StartThreads(StartingLine const& starting_line, ILog* log,
                                      std::map<int, int>& process_ids) {
    std::vector<std::thread> threads;
    for (int writer = 0; writer < kThreads; ++writer) {
        process_ids[writer] = getpid();
        threads.emplace_back([&starting_line, log, writer] {
            starting_line.Wait();
            WriteLines(log, writer);
        });
    }
    return threads;
}

// Ends the process, and so fails the test, if something hangs.
class Deadline {
  public:
    Deadline() { alarm(100); }
    ~Deadline() { alarm(0); }
    Deadline(Deadline const&) = delete;
    Deadline& operator=(Deadline const&) = delete;
};

// Expects all lines of each writer, whole and in order, with that writer's process id,
// and no others.
void ExpectTheLinesOf(std::map<int, int> const& process_ids,
                      std::vector<LogLine> const& lines) {
    EXPECT_EQ(lines.size(), process_ids.size() * kLinesEach);
    std::map<int, int> next;
    for (LogLine const& line : lines) {
        int writer = -1;
        ASSERT_EQ(std::sscanf(line.message.c_str(), "writer %d ", &writer), 1)
            << line.message;
        ASSERT_EQ(process_ids.count(writer), 1U) << line.message;
        ASSERT_EQ(line.message, Message(writer, next[writer]++));
        ASSERT_EQ(line.process_id, process_ids.at(writer)) << line.message;
        ASSERT_EQ(line.level, LevelOf(writer).name) << line.message;
    }
}

TEST(LogProcesses, EightThreadsAndEightProcessesWriteTenThousandWholeLinesAtOnce) {
    Deadline const deadline;
    LogDirectory const directory;
    ILog* const log = directory.OpenLog();
    StartingLine starting_line;
    std::map<int, int> process_ids;

    std::vector<std::thread> threads = StartThreads(starting_line, log, process_ids);
    std::vector<pid_t> children;
    for (int writer = kThreads; writer < kThreads + kProcesses; ++writer) {
        pid_t const child = fork();
        ASSERT_GE(child, 0);
        if (child == 0) {
            starting_line.Go();  // its own copy of the pipe's input
            starting_line.Wait();
            WriteLines(log, writer);
            _exit(0);
        }
        process_ids[writer] = child;
        children.push_back(child);
    }
    starting_line.Go();
    for (std::thread& thread : threads) {
        thread.join();
    }
    for (pid_t const child : children) {
        int status = -1;
        ASSERT_EQ(waitpid(child, &status, 0), child);
        EXPECT_EQ(status, 0);
    }
    ExpectTheLinesOf(process_ids, ReadLog(directory.File()));
}

TEST(LogProcesses, EightThreadsOfOneProcessLoseNothing) {
    Deadline const deadline;
    LogDirectory const directory;
    ILog* const log = directory.OpenLog();
    StartingLine const starting_line;
    std::map<int, int> process_ids;
    std::vector<std::thread> threads = StartThreads(starting_line, log, process_ids);
    starting_line.Go();
    for (std::thread& thread : threads) {
        thread.join();
    }
    ExpectTheLinesOf(process_ids, ReadLog(directory.File()));
}

TEST(LogProcesses, RotationWhileThreadsWriteLosesNothing) {
    Deadline const deadline;
    LogDirectory const directory;
    ILog* const log = directory.OpenLog();
    std::array<int, 4> written = {};
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    threads.reserve(written.size());
    for (int& lines : written) {
        int const writer = static_cast<int>(threads.size());
        threads.emplace_back([&stop, &lines, log, writer] {
            while (!stop) {
                __LOG__A(log, LOGLEVEL_ERROR, "%s", Message(writer, lines++).c_str());
            }
        });
    }
    std::vector<std::filesystem::path> files;
    while (files.size() < 200) {
        std::filesystem::path const rotated =
            directory.File().string() + "." + std::to_string(files.size());
        std::error_code error;
        std::filesystem::rename(directory.File(), rotated, error);
        if (!error) {
            files.push_back(rotated);
        }
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    // Read now that no thread has an old file open.
    files.push_back(directory.File());
    std::vector<std::string> found;
    for (std::filesystem::path const& file : files) {
        std::vector<std::string> const messages = ReadMessages(file);
        found.insert(found.end(), messages.begin(), messages.end());
    }
    std::vector<std::string> expected;
    for (std::size_t writer = 0; writer < written.size(); ++writer) {
        for (int number = 0; number < written[writer]; ++number) {
            expected.push_back(Message(static_cast<int>(writer), number));
        }
    }
    std::sort(found.begin(), found.end());
    std::sort(expected.begin(), expected.end());
    EXPECT_TRUE(found == expected) << found.size() << " of " << expected.size();
}

// Forks a thousand children while four threads do `work` without pause. Each child writes
// a line to `log`, whose file is `file`, and ends.
void ExpectALineOfEveryChild(std::function<void()> const& work, ILog* log,
                             std::filesystem::path const& file) {
    std::atomic<bool> stop{false};
    std::vector<std::thread> threads;
    threads.reserve(4);
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&stop, &work] {
            while (!stop) {
                work();
            }
        });
    }
    std::map<int, std::string> expected;
    bool all_ended = true;
    while (expected.size() < 1000 && all_ended) {
        std::vector<pid_t> children(10);
        for (pid_t& child : children) {
            child = fork();
            if (child == 0) {
                alarm(60);
                __LOG__A(log, LOGLEVEL_ERROR, "child %d", getpid());
                _exit(0);
            }
            expected[child] = "child " + std::to_string(child);
        }
        for (pid_t const child : children) {
            int status = -1;
            all_ended &= child > 0 && waitpid(child, &status, 0) == child && status == 0;
            EXPECT_TRUE(all_ended) << expected[child] << ": status " << status;
        }
    }
    stop = true;
    for (std::thread& thread : threads) {
        thread.join();
    }
    std::vector<LogLine> const lines = ReadLog(file);
    std::map<int, std::string> found;
    for (LogLine const& line : lines) {
        found[line.process_id] = line.message;
    }
    EXPECT_EQ(found, expected);
    EXPECT_EQ(lines.size(), expected.size());
}

TEST(LogProcesses, AThousandChildrenForkedWhileThreadsLogWriteTheirLineAndEnd) {
    LogDirectory const directory;
    ILog* const log = directory.OpenLog();
    // The threads' log is a link to /dev/null, so they do not fill the disk.
    std::filesystem::create_symlink("/dev/null", directory.Path() / "threads.log");
    ILog* const threads_log = GetLog("threads", LOGLEVEL_VERBOSE);
    std::string const long_text(10000, 'x');
    ExpectALineOfEveryChild(
        [&] {
            __LOG__A(threads_log, LOGLEVEL_ERROR, "short");
            __LOG__A(threads_log, LOGLEVEL_ERROR, "%s", long_text.c_str());
        },
        log, directory.File());
}

// After a fork, the child finds the locks taken that other threads held in the C library.
TEST(LogProcesses,
     AThousandChildrenForkedWhileThreadsAskForTheLocalTimeWriteTheirLineAndEnd) {
    LogDirectory const directory;
    ExpectALineOfEveryChild(
        [] {
            std::time_t const now = 0;
            std::tm parts = {};
            localtime_r(&now, &parts);
        },
        directory.OpenLog(), directory.File());
}

TEST(LogProcesses, GetLoggerFailsBeforeInitLogger) {
    // A process of its own, in which no other test has opened the library.
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    EXPECT_EXIT(
        {
            ILog* log = nullptr;
            int const result = GetLogger(2, "test", LOGLEVEL_ERROR, &log);
            std::exit(result != 0 && log == nullptr ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EXIT(
        {
            ILog* log = nullptr;
            InitLogger("");
            std::exit(GetLogger(2, "test", LOGLEVEL_ERROR, &log) != 0 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST(LogProcesses, AProcessCanLogInAnExitHandler) {
    LogDirectory const directory;
    static ILog* log = nullptr;
    log = directory.OpenLog();
    pid_t const child = fork();
    if (child == 0) {
        std::atexit([] { __LOG__A(log, LOGLEVEL_ERROR, "at exit"); });
        std::exit(0);
    }
    int status = -1;
    ASSERT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    EXPECT_THAT(ReadMessages(directory.File()), testing::ElementsAre("at exit"));
}

// Returns the names in the last column of the output of `nm`.
std::vector<std::string> Symbols(std::string const& nm) {
    std::string const command = nm + " | awk '{ print $NF }' | LC_ALL=C sort";
    std::FILE* const pipe = popen(command.c_str(), "r");
    std::string output;
    for (int c = 0; (c = std::fgetc(pipe)) != EOF;) {
        output.push_back(static_cast<char>(c));
    }
    EXPECT_EQ(pclose(pipe), 0) << command;
    return SplitLines(output);
}

TEST(Liblogger, ShowsItsTwoFunctionsAndNothingElse) {
    EXPECT_THAT(Symbols(NM_DEFINED),
                testing::ElementsAre(testing::MatchesRegex("_?GetLogger"),
                                     testing::MatchesRegex("_?InitLogger")));
}

}  // namespace
