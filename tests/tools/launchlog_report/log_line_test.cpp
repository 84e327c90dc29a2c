#include "tools/launchlog_report/log_line.h"

#include <gtest/gtest.h>

#include <random>

namespace launchlog_report {
namespace {

// Returns what a line says: "end NAME RET STATUS by PROCESS", "failed NAME", "start
// NAME", "no program NAME", "nameless", "unreadable" or "other"; "-" if it is no log
// line.
std::string Said(std::string const& line) {
    std::optional<LogEvent> const event = ParseLogLine(line);
    if (!event) {
        return "-";
    }
    switch (event->kind) {
        case LogEventKind::Other:
            return "other";
        case LogEventKind::Start:
            return "start " + event->name;
        case LogEventKind::FailedFork:
            return "failed " + event->name;
        case LogEventKind::NoProgram:
            return "no program " + event->name;
        case LogEventKind::NamelessItem:
            return "nameless" + event->name;
        case LogEventKind::UnreadableList:
            return "unreadable" + event->name;
        case LogEventKind::End:
            break;
    }
    return "end " + event->name + " " + std::to_string(event->ret) + " " +
           std::to_string(event->status) + " by " + event->process;
}

std::string const kHead = "2026-11-21T11:53:38.837Z ERROR 181 [LAUNCHER  ] ";

TEST(LogLine, ReadsAnEnd) {
    std::string const line = kHead + "ticker 187 is killed. ret = 187, status = 768";
    EXPECT_EQ(Said(line), "end ticker 187 768 by 181");
    EXPECT_EQ(ParseLogLine(line)->time, 1795262018837);
    EXPECT_EQ(ParseLogLine(kHead + "a -7 is killed. ret = 1, status = 2")->child, "-7");
    EXPECT_EQ(ParseLogLine(line)->child, "187");
}

TEST(LogLine, ReadsEveryMessageOfTheLauncher) {
    EXPECT_EQ(Said(kHead + "Start to fork my agent"), "start my agent");
    EXPECT_EQ(ParseLogLine(kHead + "Start to fork a")->process, "181");
    EXPECT_EQ(ParseLogLine(kHead + "Start to fork a")->time, 1795262018837);
    EXPECT_EQ(Said(kHead + "program path of my agent is empty"), "no program my agent");
    EXPECT_EQ(Said(kHead + "program path of  is empty"), "no program ");
    EXPECT_EQ(Said(kHead + "program path of a is empty (a.cpp:7)"), "no program a");
    EXPECT_EQ(Said(kHead + "There is an item has no name."), "nameless");
    EXPECT_EQ(Said(kHead + "Error while parsing saved json string.\r"), "unreadable");
    EXPECT_EQ(Said(kHead + "Read data from /list.json"), "other");
    EXPECT_EQ(Said("181 [SERVICE   ] Failed to get log level"), "other");
}

TEST(LogLine, ReadsAFailedWait) {
    EXPECT_EQ(Said(kHead + "a 187 is killed. ret = -1, status = 0"), "end a -1 0 by 181");
}

TEST(LogLine, ReadsAnItemThatWasGivenUp) {
    EXPECT_EQ(Said(kHead + "Failed to fork my agent"), "failed my agent");
    EXPECT_EQ(Said(kHead + "Failed to fork my agent\r"), "failed my agent");
}

TEST(LogLine, OtherMessagesSayNothing) {
    for (std::string const message :
         {"", "program path of is empty", "ticker 187 is killed.",
          "a There is an item has no name.", "start to fork a",
          "ticker 187 is killed. ret = x, status = 1",
          "ticker 187 is killed. ret = 187 status = 1",
          "ticker 187 is killed. ret = 187, status = ",
          "187 is killed. ret = 1, status = 2", "ticker is killed. ret = 187, status = 1",
          " is killed. ret = 1, status = 2"}) {
        EXPECT_EQ(Said(kHead + message), "other") << message;
    }
}

TEST(LogLine, OtherLinesAreNoLogLines) {
    EXPECT_EQ(Said(""), "-");
    EXPECT_EQ(Said("hello"), "-");
    EXPECT_EQ(Said("ticker 187 is killed. ret = 187, status = 768"), "-");
    EXPECT_EQ(Said("[LAUNCHER] ticker 187 is killed. ret = 187, status = 768"), "-");
    EXPECT_EQ(Said("[SERVICE   ] ticker 187 is killed. ret = 187, status = 768"),
              "other");
}

TEST(LogLine, ANameMayHoldAnything) {
    auto const said = [](std::string const& name) {
        return Said(kHead + name + " 187 is killed. ret = 187, status = 768");
    };
    for (std::string const name : {"my agent", " a ", "7", "-7", "a 1 is killed",
                                   "a 1 is killed. ret = 1, status = 2", "[LAUNCHER  ] b",
                                   "\\x0A", "\xC3\xA9", "is killed", "a, status = 0"}) {
        EXPECT_EQ(said(name), "end " + name + " 187 768 by 181");
    }
    EXPECT_EQ(said(""), "end  187 768 by 181");
}

TEST(LogLine, AMessageAboutAForkIsNoEndWhateverTheName) {
    EXPECT_EQ(Said(kHead + "Start to fork a 1 is killed. ret = 1, status = 2"),
              "start a 1 is killed. ret = 1, status = 2");
    EXPECT_EQ(Said(kHead + "Failed to fork a 1 is killed. ret = 1, status = 2"),
              "failed a 1 is killed. ret = 1, status = 2");
}

TEST(LogLine, TheEndOfALineTellsAMissingProgramFromAnEnd) {
    EXPECT_EQ(Said(kHead + "program path of a 1 is killed. ret = 1, status = 2 is empty"),
              "no program a 1 is killed. ret = 1, status = 2");
    EXPECT_EQ(Said(kHead + "program path of a is empty 1 is killed. ret = 1, status = 2"),
              "end program path of a is empty 1 2 by 181");
    EXPECT_EQ(Said(kHead + "program path of a is empty is empty"),
              "no program a is empty");
}

TEST(LogLine, OtherFormatsAreRead) {
    std::string const message = "[LAUNCHER  ] a 187 is killed. ret = 187, status = 768";
    EXPECT_EQ(Said(message), "end a 187 768 by ");
    EXPECT_EQ(Said("E/tamlin: " + message + " (child_proc.cpp:96)"), "end a 187 768 by ");
    EXPECT_EQ(Said("[2026-11-21 11:53:38] <ERROR> 4711 " + message),
              "end a 187 768 by 4711");
    EXPECT_EQ(Said("4711 " + message), "end a 187 768 by 4711");
    EXPECT_EQ(Said("4711" + message), "end a 187 768 by 4711");
    EXPECT_EQ(Said("T4711 " + message), "end a 187 768 by ");
    EXPECT_EQ(Said(message + "\r"), "end a 187 768 by ");
    EXPECT_EQ(ParseLogLine(message)->time, std::nullopt);
}

TEST(LogLine, NumbersWithoutEndAreRead) {
    std::string const digits(1000, '9');
    EXPECT_EQ(Said(kHead + "a 1 is killed. ret = " + digits + ", status = 0"), "other");
    EXPECT_EQ(Said(kHead + "a 1 is killed. ret = 1, status = " + digits),
              "end a 1 999999999999999999 by 181");
    EXPECT_EQ(Said(kHead + "a " + digits + " is killed. ret = 1, status = 2"),
              "end a 1 2 by 181");
}

TEST(LogLine, ArbitraryLinesAreReadToTheirEnd) {
    std::mt19937 random(1);
    std::string const line = kHead + "a 187 is killed. ret = 187, status = 768";
    for (int i = 0; i < 20000; ++i) {
        std::string changed = line;
        for (int n = 0; n < 4; ++n) {
            changed[random() % changed.size()] = static_cast<char>(random() % 256);
        }
        changed.resize(random() % (changed.size() + 1));
        std::optional<LogEvent> const event = ParseLogLine(changed);
        if (event) {
            EXPECT_NE(changed.find(event->name), std::string::npos);
        }
    }
}

}  // namespace
}  // namespace launchlog_report
