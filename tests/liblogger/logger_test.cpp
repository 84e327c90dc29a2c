// What the library writes to the log, where, and what it refuses.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <array>
#include <cerrno>
#include <chrono>
#include <clocale>
#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <cwchar>
#include <filesystem>
#include <fstream>
#include <initializer_list>
#include <memory>
#include <string>
#include <vector>

#include "common/config/log.h"
#include "tests/liblogger/log_directory.h"

namespace {

using testing::ElementsAre;

ILog* Untouched() {
    static std::array<std::byte, 64> somewhere = {};
    return reinterpret_cast<ILog*>(somewhere.data());
}

std::string Now() {
    auto const now = std::chrono::duration_cast<std::chrono::milliseconds>(
                         std::chrono::system_clock::now().time_since_epoch())
                         .count();
    std::time_t const seconds = now / 1000;
    std::array<char, 64> text = {};
    std::size_t const length = std::strftime(text.data(), text.size(),
                                             "%Y-%m-%dT%H:%M:%S", std::gmtime(&seconds));
    std::snprintf(text.data() + length, text.size() - length, ".%03dZ",
                  static_cast<int>(now % 1000));
    return text.data();
}

class OpenLog : public testing::Test {
  protected:
    LogDirectory const directory{};
    ILog* const log = directory.OpenLog();
};

TEST_F(OpenLog, ALineIsTimeLevelProcessIdAndMessage) {
    __LOG__A(log, LOGLEVEL_ERROR, "[LAUNCHER  ] %s is killed. ret = %d", "agent", 9);
    std::string const text = ReadFile(directory.File());
    EXPECT_THAT(text, testing::MatchesRegex(
                          "[0-9]{4}-[0-9]{2}-[0-9]{2}T[0-9]{2}:[0-9]{2}:[0-9]{2}\\."
                          "[0-9]{3}Z ERROR [0-9]+ \\[LAUNCHER  \\] agent is killed. "
                          "ret = 9\n"));
    EXPECT_EQ(ReadLog(directory.File()).at(0).process_id, getpid());
}

TEST_F(OpenLog, EveryLevelIsNamedByItsKeywordAndAnyOtherNumberIsUnknown) {
    for (int level : {1, 2, 4, 8, 16, 17, 0, 3, 18, -1, 100}) {
        __LOG__A(log, static_cast<LOGLEVEL>(level), "%d", level);
    }
    std::vector<std::string> named;
    for (LogLine const& line : ReadLog(directory.File())) {
        named.push_back(line.message + " " + line.level);
    }
    EXPECT_THAT(named, ElementsAre("1 DEBUG", "2 MESSAGE", "4 WARNING", "8 ERROR",
                                   "16 CRITICAL", "17 VERBOSE", "0 UNKNOWN", "3 UNKNOWN",
                                   "18 UNKNOWN", "-1 UNKNOWN", "100 UNKNOWN"));
}

TEST(Log, AMessageIsLoggedFromTheLoggersLevelOnAndByAVerboseLoggerAlways) {
    std::array<int, 11> const levels = {1, 2, 4, 8, 16, 17, 0, 3, 18, -1, 100};
    for (int least : levels) {
        LogDirectory const directory;
        ILog* const log = directory.OpenLog(static_cast<LOGLEVEL>(least));
        std::vector<std::string> expected;
        for (int level : levels) {
            __LOG__A(log, static_cast<LOGLEVEL>(level), "%d", level);
            if (least == 17 || level >= least) {
                expected.push_back(std::to_string(level));
            }
        }
        EXPECT_EQ(ReadMessages(directory.File()), expected) << "logger at " << least;
    }
}

TEST(Log, TwoLoggersKeepTheirOwnLevelsAndFiles) {
    LogDirectory const directory;
    ILog* const test = directory.OpenLog(LOGLEVEL_ERROR);
    ILog* const other = GetLog("other", LOGLEVEL_DEBUG);
    for (ILog* log : {test, other}) {
        __LOG__A(log, LOGLEVEL_MESSAGE, "message");
        __LOG__A(log, LOGLEVEL_ERROR, "error");
    }
    EXPECT_THAT(ReadMessages(directory.File()), ElementsAre("error"));
    EXPECT_THAT(ReadMessages(directory.Path() / "other.log"),
                ElementsAre("message", "error"));
}

TEST(Log, ALoggerStaysInItsDirectoryWhenTheLibraryIsOpenedOnAnother) {
    LogDirectory const first;
    ILog* const old_log = first.OpenLog();
    LogDirectory const second;
    ILog* const new_log = second.OpenLog();
    __LOG__A(old_log, LOGLEVEL_ERROR, "old");
    __LOG__A(new_log, LOGLEVEL_ERROR, "new");
    EXPECT_THAT(ReadMessages(first.File()), ElementsAre("old"));
    EXPECT_THAT(ReadMessages(second.File()), ElementsAre("new"));
}

TEST(Log, TheKindOfALoggerChangesNothing) {
    LogDirectory const directory;
    ASSERT_NE(directory.OpenLog(), nullptr);
    for (int kind : {-1, 0, 1, 2, 3}) {
        __LOG__A(GetLog("test", LOGLEVEL_ERROR, kind), LOGLEVEL_ERROR, "%d", kind);
    }
    EXPECT_THAT(ReadMessages(directory.File()), ElementsAre("-1", "0", "1", "2", "3"));
}

TEST_F(OpenLog, TheReservedOperationsDoNothing) {
    log->Reserved0();
    log->Reserved1();
    EXPECT_FALSE(std::filesystem::exists(directory.File()));
}

// While it lives, the process has this time zone.
class TimeZone {
  public:
    explicit TimeZone(char const* name) {
        if (char const* const zone = std::getenv("TZ")) {
            before = std::make_unique<std::string>(zone);
        }
        setenv("TZ", name, 1);
        tzset();
    }
    ~TimeZone() {
        if (before) {
            setenv("TZ", before->c_str(), 1);
        } else {
            unsetenv("TZ");
        }
        tzset();
    }
    TimeZone(TimeZone const&) = delete;
    TimeZone& operator=(TimeZone const&) = delete;

  private:
    std::unique_ptr<std::string> before;
};

TEST(Log, TheTimeIsThatOfTheCallInUtcWhateverTheTimeZone) {
    // The second one needs no time zone files.
    for (char const* zone : {"Asia/Tokyo", "JST-9", "UTC"}) {
        TimeZone const time_zone(zone);
        LogDirectory const directory;
        ILog* const log = directory.OpenLog();
        std::string const before = Now();
        __LOG__A(log, LOGLEVEL_ERROR, "now");
        std::string const after = Now();
        std::string const time = ReadLog(directory.File()).at(0).time;
        EXPECT_LE(before, time) << zone;
        EXPECT_LE(time, after) << zone;
    }
}

TEST_F(OpenLog, ControlBytesAreEscapedSoThatAMessageIsOneLineAndForgesNone) {
    __LOG__A(log, LOGLEVEL_ERROR, "%s is killed",
             "a\n2026-01-31T23:59:59.007Z ERROR 1 forged");
    __LOG__A(log, LOGLEVEL_ERROR, "\r\033[2K\t\b%s", "\n\n");
    EXPECT_THAT(ReadMessages(directory.File()),
                ElementsAre("a\\x0A2026-01-31T23:59:59.007Z ERROR 1 forged is killed",
                            "\\x0D\\x1B[2K\\x09\\x08\\x0A\\x0A"));
}

TEST_F(OpenLog, OfAll256BytesOnlyTheControlBytesAreEscaped) {
    std::vector<std::string> expected;
    for (int byte = 0; byte < 256; ++byte) {
        __LOG__A(log, LOGLEVEL_ERROR, "<%c>", byte);
        std::array<char, 8> text = {};
        std::snprintf(text.data(), text.size(),
                      byte < 32 || byte == 127 ? "<\\x%02X>" : "<%c>",
                      static_cast<unsigned int>(byte));
        expected.emplace_back(text.data());
    }
    EXPECT_EQ(ReadMessages(directory.File()), expected);
}

TEST_F(OpenLog, AnEmptyMessageIsALineToo) {
    __LOG__A(log, LOGLEVEL_ERROR, "%s", "");
    EXPECT_THAT(ReadMessages(directory.File()), ElementsAre(""));
}

TEST_F(OpenLog, MessagesArriveWholeWhateverTheirLength) {
    std::vector<std::string> messages;
    // Around what fits into the buffer of a line, and around a page of mapped memory.
    for (std::size_t length = 0; length <= 600; ++length) {
        messages.emplace_back(length, 's');
    }
    for (std::size_t length = 4000; length <= 4100; ++length) {
        messages.emplace_back(length, 'm');
    }
    for (std::size_t const length :
         std::initializer_list<std::size_t>{8191, 8192, 65536, 1 << 20}) {
        messages.emplace_back(length, 'l');
    }
    for (std::string const& message : messages) {
        __LOG__A(log, LOGLEVEL_ERROR, "<%s>", message.c_str());
    }
    std::vector<std::string> const found = ReadMessages(directory.File());
    ASSERT_THAT(found, testing::SizeIs(messages.size()));
    for (std::size_t i = 0; i < messages.size(); ++i) {
        EXPECT_TRUE(found[i] == "<" + messages[i] + ">") << messages[i].size();
    }
}

TEST_F(OpenLog, AnEscapedByteAtTheEndOfAMessageArrivesWhateverItsLength) {
    for (std::size_t length = 0; length <= 600; ++length) {
        __LOG__A(log, LOGLEVEL_ERROR, "%s\n", std::string(length, 'm').c_str());
    }
    std::vector<std::string> const found = ReadMessages(directory.File());
    ASSERT_THAT(found, testing::SizeIs(601));
    for (std::size_t length = 0; length <= 600; ++length) {
        EXPECT_TRUE(found[length] == std::string(length, 'm') + "\\x0A") << length;
    }
}

TEST_F(OpenLog, AMessageOfControlBytesAloneArrivesWholeAtEveryLength) {
    for (std::size_t const length : std::initializer_list<std::size_t>{
             1000, 1005, 1010, 1015, 1020, 1024, 4095, 4096, 100000}) {
        __LOG__A(log, LOGLEVEL_ERROR, "%s", std::string(length, '\n').c_str());
        std::string const message = ReadMessages(directory.File()).back();
        ASSERT_EQ(message.size(), 4 * length);
        for (std::size_t i = 0; i < length; ++i) {
            ASSERT_EQ(message.compare(4 * i, 4, "\\x0A"), 0) << length << " " << i;
        }
    }
}

TEST(Log, AMessageThatCannotBeFormattedIsLoggedAsItsFormat) {
    std::string const locale = std::setlocale(LC_ALL, nullptr);
    std::setlocale(LC_ALL, "C");
    LogDirectory const directory;
    ILog* const log = directory.OpenLog();
    __LOG__A(log, LOGLEVEL_ERROR, "wide %lc, number %d", static_cast<wint_t>(0x7FFFFFFF),
             7);
    __LOG__A(log, LOGLEVEL_ERROR, "the next one %d", 7);
    std::setlocale(LC_ALL, locale.c_str());
    EXPECT_THAT(ReadMessages(directory.File()),
                ElementsAre("wide %lc, number %d", "the next one 7"));
}

TEST_F(OpenLog, ARenamedFileStaysAsItIsAndTheNextLineMakesANewOne) {
    __LOG__A(log, LOGLEVEL_ERROR, "first");
    std::filesystem::path const rotated = directory.Path() / "test.log.1";
    std::filesystem::rename(directory.File(), rotated);
    __LOG__A(log, LOGLEVEL_ERROR, "second");
    __LOG__A(log, LOGLEVEL_ERROR, "third");
    EXPECT_THAT(ReadMessages(rotated), ElementsAre("first"));
    EXPECT_THAT(ReadMessages(directory.File()), ElementsAre("second", "third"));
}

TEST_F(OpenLog, ADeletedFileIsMadeAnewByTheNextLine) {
    __LOG__A(log, LOGLEVEL_ERROR, "first");
    ASSERT_TRUE(std::filesystem::remove(directory.File()));
    __LOG__A(log, LOGLEVEL_ERROR, "second");
    EXPECT_THAT(ReadMessages(directory.File()), ElementsAre("second"));
}

TEST_F(OpenLog, LinesAreAppendedToAFileThatIsThereAlready) {
    __LOG__A(log, LOGLEVEL_ERROR, "of an earlier run");
    ILog* const later = directory.OpenLog();
    __LOG__A(later, LOGLEVEL_ERROR, "of this run");
    EXPECT_THAT(ReadMessages(directory.File()),
                ElementsAre("of an earlier run", "of this run"));
}

TEST_F(OpenLog, OthersMayReadTheFileButNotWriteIt) {
    mode_t const mask = umask(0);
    __LOG__A(log, LOGLEVEL_ERROR, "a line");
    umask(mask);
    EXPECT_EQ(std::filesystem::status(directory.File()).permissions(),
              std::filesystem::perms(0644));
}

TEST(Log, LinesAreLostWhileThereIsNoDirectoryAndNothingElseIs) {
    LogDirectory const directory;
    std::string const path = directory.Path() / "log";
    ASSERT_EQ(InitLogger(path.c_str()), 0);
    ILog* const log = GetLog("test", LOGLEVEL_ERROR);
    std::filesystem::remove(path);
    __LOG__A(log, LOGLEVEL_ERROR, "lost");
    std::filesystem::create_directory(path);
    __LOG__A(log, LOGLEVEL_ERROR, "kept");
    EXPECT_THAT(ReadMessages(path + "/test.log"), ElementsAre("kept"));
}

TEST(Log, ErrnoIsKeptWhateverBecomesOfTheLine) {
    LogDirectory const directory;
    std::string const path = directory.Path() / "log";
    ASSERT_EQ(InitLogger(path.c_str()), 0);
    ILog* const log = GetLog("test", LOGLEVEL_ERROR);
    auto const expect_kept = [log](LOGLEVEL level, std::string const& message) {
        for (int value : {0, ENOSPC, 12345}) {
            errno = value;
            __LOG__A(log, level, "%s", message.c_str());
            EXPECT_EQ(errno, value);
            errno = value;
            __LOG__A(log, level, "%lc", static_cast<wint_t>(0x7FFFFFFF));
            EXPECT_EQ(errno, value);
        }
    };
    expect_kept(LOGLEVEL_ERROR, "written");
    expect_kept(LOGLEVEL_ERROR, std::string(100000, 'x'));
    expect_kept(LOGLEVEL_DEBUG, "filtered");
    std::filesystem::remove_all(path);
    expect_kept(LOGLEVEL_ERROR, "no file to be opened");
}

TEST(InitLogger, MakesTheDirectoryWithItsParents) {
    LogDirectory const directory;
    std::string const path = directory.Path() / "a" / "b b" / "\xC3\xA9";
    EXPECT_EQ(InitLogger(path.c_str()), 0);
    EXPECT_TRUE(std::filesystem::is_directory(path));
    ILog* const log = GetLog("test", LOGLEVEL_ERROR);
    __LOG__A(log, LOGLEVEL_ERROR, "a line");
    EXPECT_THAT(ReadMessages(path + "/test.log"), ElementsAre("a line"));
}

TEST(InitLogger, TakesADirectoryThatIsThereALinkToOneAndASlashAtTheEnd) {
    LogDirectory const directory;
    std::string const path = directory.Path();
    std::filesystem::create_directory_symlink(path, path + "/link");
    EXPECT_EQ(InitLogger(path.c_str()), 0);
    EXPECT_EQ(InitLogger((path + "/link").c_str()), 0);
    EXPECT_EQ(InitLogger((path + "/").c_str()), 0);
    EXPECT_EQ(InitLogger((path + "/new/").c_str()), 0);
    ILog* const log = GetLog("test", LOGLEVEL_ERROR);
    __LOG__A(log, LOGLEVEL_ERROR, "a line");
    EXPECT_THAT(ReadMessages(path + "/new/test.log"), ElementsAre("a line"));
}

TEST(InitLogger, FailsIfTheDirectoryIsNullOrEmptyOrAFileOrCannotBeMade) {
    LogDirectory const directory;
    std::string const path = directory.Path();
    std::ofstream(path + "/file") << "text";
    std::filesystem::permissions(path + "/file", std::filesystem::perms::all);
    std::filesystem::create_symlink("missing", path + "/dangling");
    EXPECT_NE(InitLogger(nullptr), 0);
    EXPECT_NE(InitLogger(""), 0);
    EXPECT_NE(InitLogger((path + "/file").c_str()), 0);
    EXPECT_NE(InitLogger((path + "/file/").c_str()), 0);
    EXPECT_NE(InitLogger((path + "/file/log").c_str()), 0);
    EXPECT_NE(InitLogger((path + "/dangling").c_str()), 0);
    EXPECT_NE(InitLogger((path + "/" + std::string(300, 'n')).c_str()), 0);
    EXPECT_NE(InitLogger("/proc/nothing/of/the/kind"), 0);
    EXPECT_EQ(ReadFile(path + "/file"), "text");
}

TEST(InitLogger, AFailureLeavesTheEarlierDirectoryInUse) {
    LogDirectory const directory;
    ASSERT_NE(directory.OpenLog(), nullptr);
    EXPECT_NE(InitLogger(""), 0);
    EXPECT_NE(InitLogger("/proc/nothing/of/the/kind"), 0);
    ILog* const log = GetLog("test", LOGLEVEL_ERROR);
    __LOG__A(log, LOGLEVEL_ERROR, "a line");
    EXPECT_THAT(ReadMessages(directory.File()), ElementsAre("a line"));
}

TEST(GetLogger, FailsWithoutANameOrAResultAndForANameThatLeadsElsewhere) {
    LogDirectory const directory;
    ASSERT_NE(directory.OpenLog(), nullptr);
    for (char const* name :
         {static_cast<char const*>(nullptr), "", "/", "a/b", "../a", "/tmp/a", "a/"}) {
        ILog* log = Untouched();
        EXPECT_NE(GetLogger(2, name, LOGLEVEL_ERROR, &log), 0);
        EXPECT_EQ(log, Untouched());
    }
    EXPECT_NE(GetLogger(2, "test", LOGLEVEL_ERROR, nullptr), 0);
}

TEST(GetLogger, MakesNoFileBeforeTheFirstLine) {
    LogDirectory const directory;
    ASSERT_NE(directory.OpenLog(), nullptr);
    EXPECT_TRUE(std::filesystem::is_empty(directory.Path()));
}

}  // namespace
