// The report on terminals of several sizes.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <csignal>
#include <cstdlib>
#include <memory>

#include "harness/files.h"
#include "harness/process.h"
#include "harness/wait_for.h"

namespace {

using testing::StartsWith;

// A screen that clears, wraps and scrolls as a terminal does. Its texts are in ASCII,
// except for the ellipsis.
class Screen {
  public:
    Screen(std::size_t screen_columns, std::size_t screen_lines)
        : columns(screen_columns), shown(screen_lines) {}

    void Write(std::string const& bytes) {
        for (char const byte : bytes) {
            Write(byte);
        }
    }

    // Returns the lines, without the empty ones at the end.
    std::vector<std::string> Shown() const {
        std::vector<std::string> lines = shown;
        while (!lines.empty() && lines.back().empty()) {
            lines.pop_back();
        }
        return lines;
    }

  private:
    void Write(char byte) {
        if (!escape.empty() || byte == '\033') {
            escape += byte;
            if (escape == "\033[H") {
                line = 0;
                column = 0;
                escape.clear();
            } else if (escape == "\033[2J") {
                shown.assign(shown.size(), "");
                escape.clear();
            }
        } else if (byte == '\r') {
            column = 0;
        } else if (byte == '\n') {
            GoDown();
        } else {
            Put(byte);
        }
    }

    void Put(char byte) {
        bool const is_continuation = (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
        if (!is_continuation && column == columns) {
            column = 0;
            GoDown();
        }
        shown[line] += byte;
        column += is_continuation ? 0 : 1;
    }

    void GoDown() {
        if (++line == shown.size()) {
            shown.erase(shown.begin());
            shown.emplace_back();
            --line;
        }
    }

    std::size_t const columns;
    std::vector<std::string> shown;
    std::size_t line = 0;
    std::size_t column = 0;
    std::string escape;
};

class LaunchlogReportOnATerminal : public testing::Test {
  protected:
    LaunchlogReportOnATerminal() : terminal(posix_openpt(O_RDWR | O_NOCTTY)) {
        grantpt(terminal);
        unlockpt(terminal);
        name = ptsname(terminal);
        // Output is lost while no process has the other end open.
        other_end = open(name.c_str(), O_RDWR | O_NOCTTY);
        fcntl(terminal, F_SETFL, O_NONBLOCK);
        unsetenv("COLUMNS");
        unsetenv("LINES");
    }

    ~LaunchlogReportOnATerminal() override {
        close(other_end);
        close(terminal);
    }

    void Resize(unsigned short columns, unsigned short lines) {
        struct winsize const size = {lines, columns, 0, 0};
        ASSERT_EQ(ioctl(other_end, TIOCSWINSZ, &size), 0);
        screen = std::make_unique<Screen>(columns, lines);
    }

    // Starts the program. The terminal is its controlling terminal.
    void Start(std::vector<std::string> arguments) {
        arguments.insert(arguments.begin(),
                         {LAUNCHLOG_REPORT, "--now", "2026-11-21T12:00:00Z"});
        arguments.push_back(log);
        std::string const path = name;
        tool = std::make_unique<Process>(arguments, [path] {
            int const file = open(path.c_str(), O_RDWR | O_NOCTTY);
            ioctl(file, TIOCSCTTY, 0);
            dup2(file, STDOUT_FILENO);
            dup2(file, STDERR_FILENO);
        });
    }

    // Waits until the screen shows this many lines, and the last one begins with `last`.
    bool WaitForLines(std::size_t count, std::string const& last) {
        return WaitFor([&] {
            TakeOutput();
            std::vector<std::string> const lines = screen->Shown();
            return lines.size() == count && lines.back().rfind(last, 0) == 0;
        });
    }

    void TakeOutput() {
        char bytes[4096];
        ssize_t length = 0;
        while ((length = read(terminal, bytes, sizeof bytes)) > 0) {
            screen->Write(std::string(bytes, static_cast<std::size_t>(length)));
        }
    }

    // Writes a log of 20 items. Item 11 restarts often, the others once.
    void WriteLog(int last_status = 256) const {
        std::string lines;
        for (int i = 1; i <= 20; ++i) {
            for (int n = 0; n < (i == 11 ? 12 : 1); ++n) {
                lines += "2026-11-21T11:59:30.000Z ERROR 181 [LAUNCHER  ] item" +
                         std::to_string(i) + " 187 is killed. ret = 187, status = " +
                         std::to_string(last_status) + "\n";
            }
        }
        directory.Write("launcher.log", lines);
    }

    TempDirectory const directory;
    std::string const log = directory.Path() / "launcher.log";
    int const terminal;
    int other_end = -1;
    std::string name;
    std::unique_ptr<Screen> screen;
    std::unique_ptr<Process> tool;
};

TEST_F(LaunchlogReportOnATerminal, TheTableIsAsWideAsTheTerminalAndAllOfIt) {
    WriteLog();
    Resize(45, 50);
    Start({});
    EXPECT_TRUE(WaitForLines(22, "! more than ten restarts in the last minute"));
    EXPECT_EQ(screen->Shown().at(0), "  NAME    RESTARTS  /MIN  LAST      STATUS");
    EXPECT_EQ(screen->Shown().at(1), "! item11        12    12  11:59:30  exit 1");
    EXPECT_EQ(screen->Shown().at(2), "  item1          1     1  11:59:30  exit 1");
    EXPECT_EQ(screen->Shown().at(11), "  item10         1     1  11:59:30  exit 1");
    EXPECT_EQ(tool->WaitForEnd(), "exit 0");
}

TEST_F(LaunchlogReportOnATerminal, TheEnvironmentOverridesTheTerminal) {
    WriteLog();
    Resize(200, 50);
    setenv("COLUMNS", "45", 1);
    Start({});
    EXPECT_TRUE(WaitForLines(22, "! more"));
    EXPECT_EQ(screen->Shown().at(0), "  NAME    RESTARTS  /MIN  LAST      STATUS");
}

TEST_F(LaunchlogReportOnATerminal, FollowingKeepsTheTitleAndTheMarkedItemsOnTheScreen) {
    WriteLog();
    struct {
        unsigned short columns;
        unsigned short lines;
        std::size_t shown;
        char const* title;
        char const* marked;
        char const* last;
    } const cases[] = {
        {20, 5, 4, "  NAME    STATUS", "! item11  exit 1", "! more than"},
        {80, 12, 11,
         "  NAME    RESTARTS  PER MINUTE  FIRST END       LAST END        LAST",
         "! item11        12          12  11-21 11:59:30  11-21 11:59:30  exit 1",
         "! more than"},
        {132, 10, 9,
         "  NAME    RESTARTS  PER MINUTE  FIRST END             LAST END       ",
         "! item11        12          12  2026-11-21T11:59:30Z  2026-11-21T11:59:30Z  "
         "exit 1",
         "! more than"},
        {200, 50, 22,
         "  NAME    RESTARTS  PER MINUTE  FIRST END             LAST END       ",
         "! item11        12          12  2026-11-21T11:59:30Z  2026-11-21T11:59:30Z  "
         "exit 1",
         "! more than"},
        {20, 4, 3, "  NAME    STATUS", "! item11  exit 1", "  and 19 more items"}};
    for (auto const& size : cases) {
        Resize(size.columns, size.lines);
        Start({"--follow"});
        EXPECT_TRUE(WaitForLines(size.shown, size.last)) << size.columns;
        std::vector<std::string> const lines = screen->Shown();
        EXPECT_THAT(lines.at(0), StartsWith(size.title));
        EXPECT_THAT(lines, testing::Contains(StartsWith(size.marked)));
        tool->Signal(SIGINT);
        EXPECT_EQ(tool->WaitForEnd(), "exit 0");
    }
}

TEST_F(LaunchlogReportOnATerminal, AResizeRedrawsForTheNewSize) {
    WriteLog();
    Resize(80, 24);
    Start({"--follow"});
    ASSERT_TRUE(WaitForLines(22, "! more"));
    Resize(20, 5);
    EXPECT_TRUE(WaitForLines(4, "! more than ten res"));
    EXPECT_EQ(screen->Shown().at(1), "! item11  exit 1");
    Resize(80, 24);
    EXPECT_TRUE(WaitForLines(22, "! more"));
    // The same text is printed again: the terminal may have moved the old one.
    Resize(80, 30);
    EXPECT_TRUE(WaitForLines(22, "! more"));
    tool->Signal(SIGTERM);
    EXPECT_EQ(tool->WaitForEnd(), "exit 0");
}

TEST_F(LaunchlogReportOnATerminal, EachTableReplacesTheLastOne) {
    WriteLog();
    Resize(80, 24);
    Start({"--follow"});
    ASSERT_TRUE(WaitForLines(22, "! more"));
    WriteLog(512);
    EXPECT_TRUE(WaitFor([this] {
        TakeOutput();
        std::vector<std::string> const shown = screen->Shown();
        return shown.size() == 22 && shown[1].find("exit 2") != std::string::npos;
    }));
    EXPECT_THAT(screen->Shown().at(0), StartsWith("  NAME"));
}

TEST_F(LaunchlogReportOnATerminal, ProblemsStayOnTheScreen) {
    directory.Write("launcher.log", "hello\n");
    Resize(200, 24);
    Start({"--follow"});
    EXPECT_TRUE(WaitForLines(2, log + ": no line of it is a line of a launcher's log"));
    EXPECT_EQ(screen->Shown().at(0), "no program has ended");
    // They disappear when a launcher has written to the log.
    directory.Write("launcher.log",
                    "hello\n[LAUNCHER  ] a 7 is killed. ret = 7, status = 256\n");
    EXPECT_TRUE(WaitForLines(2, "  a "));
}

TEST_F(LaunchlogReportOnATerminal, CharactersHaveTheirWidths) {
    std::string const wide = "\xE4\xB8\xAD\xE6\x96\x87";
    directory.Write("launcher.log", "[LAUNCHER  ] " + wide + wide + wide + wide + wide +
                                        " 7 is killed. ret = 7, status = 256\n");
    Resize(30, 24);
    Start({});
    EXPECT_TRUE(WaitForLines(2, "  \xE4\xB8\xAD"));
    EXPECT_THAT(screen->Shown().at(1),
                testing::HasSubstr(wide + wide + wide + "\xE2\x80\xA6 "));
}

}  // namespace
