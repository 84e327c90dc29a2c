#include "common/config/log.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/mman.h>

#include <cstddef>
#include <cstdio>
#include <string>
#include <typeinfo>
#include <vector>

namespace {

struct Line {
    LOGLEVEL level;
    char const* format;
    std::string text;
};

class KeepingLog final : public ILog {
  public:
    void Reserved0() override { ADD_FAILURE() << "the first operation was called"; }
    void Reserved1() override { ADD_FAILURE() << "the second operation was called"; }
    void LogV(LOGLEVEL level, char const* format, va_list arguments) override {
        std::vector<char> text(200000);
        std::vsnprintf(text.data(), text.size(), format, arguments);
        lines.push_back({level, format, text.data()});
    }

    std::vector<Line> lines;
};

// Memory that cannot be read.
class ForbiddenMemory {
  public:
    ForbiddenMemory()
        : page(mmap(nullptr, kSize, PROT_NONE, MAP_PRIVATE | MAP_ANON, -1, 0)) {}
    ~ForbiddenMemory() { munmap(page, kSize); }
    ForbiddenMemory(ForbiddenMemory const&) = delete;
    ForbiddenMemory& operator=(ForbiddenMemory const&) = delete;

    char const* Text() const { return static_cast<char const*>(page); }

  private:
    static constexpr std::size_t kSize = 4096;
    void* page;
};

TEST(LogLevel, HasTheNumbersThatTheLibraryKnows) {
    EXPECT_EQ(LOGLEVEL_DEBUG, 1);
    EXPECT_EQ(LOGLEVEL_MESSAGE, 2);
    EXPECT_EQ(LOGLEVEL_WARNING, 4);
    EXPECT_EQ(LOGLEVEL_ERROR, 8);
    EXPECT_EQ(LOGLEVEL_CRITICAL, 16);
    EXPECT_EQ(LOGLEVEL_VERBOSE, 17);
    EXPECT_EQ(sizeof(LOGLEVEL), 4U);
}

TEST(LogLevel, OfEveryKeyword) {
    EXPECT_EQ(StringToLogLevel("DEBUG"), 1);
    EXPECT_EQ(StringToLogLevel("MESSAGE"), 2);
    EXPECT_EQ(StringToLogLevel("WARNING"), 4);
    EXPECT_EQ(StringToLogLevel("ERROR"), 8);
    EXPECT_EQ(StringToLogLevel("CRITICAL"), 16);
    EXPECT_EQ(StringToLogLevel("VERBOSE"), 17);
}

TEST(LogLevel, OfAnythingElseIsError) {
    for (char const* const keyword :
         {"", "verbose", "debug", "Debug", " DEBUG", "DEBUG ", "DEBUG\n", "DEBU",
          "DEBUGS", "WARN", "1", "17", "DEBUG|MESSAGE", "INFO", "CRITICALVERBOSE"}) {
        EXPECT_EQ(StringToLogLevel(keyword), 8) << keyword;
    }
    EXPECT_EQ(StringToLogLevel(std::string("DEBUG\0", 6)), 8);
    EXPECT_EQ(StringToLogLevel(std::string("DEBUG\0X", 7)), 8);
}

TEST(LogCall, WithoutALogLooksAtNothing) {
    ForbiddenMemory const memory;
    __LOG__A(nullptr, LOGLEVEL_ERROR, "%s", memory.Text());
    __LOG__A(nullptr, LOGLEVEL_CRITICAL, memory.Text(), memory.Text());
}

TEST(LogCall, PassesFormatAndArgumentsOnAsTheyAreAndFormatsNothing) {
    KeepingLog log;
    ForbiddenMemory const memory;
    char const* const format = "[LAUNCHER  ] %s %d %ld %c %.2f %p %% %zu";
    __LOG__A(&log, LOGLEVEL_ERROR, format, "agent", -7, 1234567890123L, 'x', 2.5,
             static_cast<void const*>(nullptr), std::size_t{9});
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0].format, format);
    char expected[200];
    std::snprintf(expected, sizeof expected, format, "agent", -7, 1234567890123L, 'x',
                  2.5, static_cast<void const*>(nullptr), std::size_t{9});
    EXPECT_EQ(log.lines[0].text, expected);
}

TEST(LogCall, PassesEveryLevelOnInTheOrderOfTheCalls) {
    KeepingLog log;
    std::vector<int> levels;
    for (int const level : {1, 2, 4, 8, 16, 17, 0, 3, -1}) {
        __LOG__A(&log, static_cast<LOGLEVEL>(level), "[SERVICE   ] x");
    }
    levels.reserve(log.lines.size());
    for (Line const& line : log.lines) {
        levels.push_back(line.level);
    }
    EXPECT_THAT(levels, testing::ElementsAre(1, 2, 4, 8, 16, 17, 0, 3, -1));
}

TEST(LogCall, HasNoLimitOfLength) {
    KeepingLog log;
    std::string const name(150000, 'n');
    __LOG__A(&log, LOGLEVEL_DEBUG, "%s!", name.c_str());
    ASSERT_EQ(log.lines.size(), 1U);
    EXPECT_EQ(log.lines[0].text, name + "!");
}

// A log as another compiler's library would make it: a pointer to a table of functions,
// which stand after the two entries with which every such table begins.
using Slot = void (*)();

struct Table {
    std::ptrdiff_t offset_to_top;
    std::type_info const* type;
    Slot slots[3];
};

struct ForeignLog {
    Slot const* slots;
    LOGLEVEL level;
    std::string format;
};

void Unexpected() {
    ADD_FAILURE() << "an operation before the third was called";
}

void Record(ForeignLog* log, LOGLEVEL level, char const* format, va_list /*arguments*/) {
    log->level = level;
    log->format = format;
}

TEST(LogCall, CallsTheThirdOperationOfTheTable) {
    Table const table = {
        0, &typeid(ILog), {Unexpected, Unexpected, reinterpret_cast<Slot>(Record)}};
    ForeignLog log = {table.slots, LOGLEVEL_DEBUG, ""};
    __LOG__A(reinterpret_cast<ILog*>(&log), LOGLEVEL_VERBOSE, "[SERVICE   ] x");
    EXPECT_EQ(log.level, LOGLEVEL_VERBOSE);
    EXPECT_EQ(log.format, "[SERVICE   ] x");
}

TEST(LogCall, TheInterfaceIsItsTableAlone) {
    EXPECT_EQ(sizeof(ILog), sizeof(void*));
    EXPECT_FALSE(std::has_virtual_destructor_v<ILog>);
}

}  // namespace
