#include "launcher/main.h"

#include <fcntl.h>
#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <unistd.h>

#include <atomic>
#include <csignal>
#include <functional>
#include <thread>
#include <vector>

#include "harness/files.h"
#include "harness/launcher_main.h"
#include "harness/process.h"
#include "harness/wait_for.h"
#include "launcher/system_event.h"
#include "tests/support/fake_log.h"
#include "tests/support/launcher_fixture.h"
#include "tests/support/system_call.h"
#include "tests/support/system_log.h"

namespace {

using testing::ElementsAre;
using testing::MatchesRegex;

class ReadDataTest : public testing::Test {
  protected:
    ReadDataTest() { logger = &log; }
    ~ReadDataTest() override { logger = nullptr; }

    // Returns what is read from a file of this content.
    std::string Read(std::string const& content) {
        WriteFile(file, content);
        std::string text = "before";
        EXPECT_TRUE(ReadData(file, text));
        EXPECT_THAT(log.Lines(), testing::IsEmpty());
        return text;
    }

    TempDirectory directory;
    std::string const file = directory.Path() / "list.json";
    FakeLog log;
};

TEST_F(ReadDataTest, ReplacesTheTextByTheFile) {
    EXPECT_EQ(Read("x"), "x");
    EXPECT_EQ(Read(" {\r\n}\n"), " {\r\n}\n");
    EXPECT_EQ(Read("\xC3\xA9\xFF"), "\xC3\xA9\xFF");
}

TEST_F(ReadDataTest, ReadsFilesOfEverySizeAroundItsChunks) {
    for (std::size_t const size : {127U, 128U, 129U, 255U, 256U, 257U, 100000U}) {
        std::string content(size, 'x');
        content.back() = 'y';
        EXPECT_EQ(Read(content), content);
    }
}

TEST_F(ReadDataTest, EndsAtTheFirstZeroByte) {
    EXPECT_EQ(Read(std::string("ab\0cd", 5)), "ab");
    EXPECT_EQ(Read(std::string(200, 'x') + std::string(1, '\0') + "y"),
              std::string(200, 'x'));
    EXPECT_EQ(Read(std::string("\0ab", 3)), "");
}

TEST_F(ReadDataTest, AFileThatCannotBeOpenedIsLoggedAndLeavesTheTextAlone) {
    std::string text = "before";
    EXPECT_FALSE(ReadData("/nonexistent/list.json", text));
    EXPECT_EQ(text, "before");
    EXPECT_THAT(log.Lines(),
                ElementsAre(FakeLog::Line(
                    8, "[LAUNCHER  ] Failed to open file /nonexistent/list.json")));
}

TEST_F(ReadDataTest, AnEmptyFileIsLoggedAndLeavesTheTextAlone) {
    WriteFile(file, "");
    std::string text = "before";
    EXPECT_FALSE(ReadData(file, text));
    EXPECT_EQ(text, "before");
    EXPECT_THAT(log.Lines(), ElementsAre(FakeLog::Line(
                                 8, "[LAUNCHER  ] Size of read " + file + " is 0")));
}

// Table entries without a supervisor: only the table is tested here.
void FillTable() {
    g_child_map["a"] = nullptr;
    g_child_map["b"] = nullptr;
}

TEST(SigtermHandler, IgnoresOtherSignals) {
    FillTable();
    sigterm_handler(SIGHUP);
    sigterm_handler(SIGINT);
    sigterm_handler(0);
    EXPECT_EQ(g_child_map.size(), 2U);
    g_child_map.clear();
}

TEST(SigtermHandler, EmptiesTheTable) {
    FillTable();
    sigterm_handler(15);
    EXPECT_TRUE(g_child_map.empty());
}

// Returns whether `action` wakes so many threads that wait on the launcher's condition,
// as main does.
bool Wakes(int threads, std::function<void()> const& action) {
    std::atomic<int> waiting = 0;
    std::atomic<int> woken = 0;
    std::vector<std::thread> waiters;
    for (int i = 0; i < threads; ++i) {
        waiters.emplace_back([&] {
            std::unique_lock<std::mutex> lock(g_process_mutex);
            ++waiting;
            g_process_condition.wait(lock);
            ++woken;
        });
    }
    WaitFor([&] { return waiting == threads; });
    // A waiter has let go of the mutex only by waiting.
    { std::lock_guard<std::mutex> const lock(g_process_mutex); }
    action();
    bool const result = WaitFor([&] { return woken == threads; });
    g_process_condition.notify_all();
    for (std::thread& waiter : waiters) {
        waiter.join();
    }
    return result;
}

TEST(SigtermHandler, WakesMainAlsoWhenTheTableIsEmpty) {
    EXPECT_TRUE(Wakes(1, [] { sigterm_handler(15); }));
    FillTable();
    EXPECT_TRUE(Wakes(1, [] { sigterm_handler(15); }));
}

TEST(SigtermHandler, WakesEveryoneWhoWaits) {
    EXPECT_TRUE(Wakes(3, [] { sigterm_handler(15); }));
}

TEST(SigtermHandler, DoesNotTakeTheMutex) {
    std::lock_guard<std::mutex> const lock(g_process_mutex);
    sigterm_handler(15);
    EXPECT_TRUE(g_child_map.empty());
}

class MainTest : public LauncherTest {
  protected:
    std::string list_path = list_file;
};

// A program still runs, and there was no SIGTERM.
TEST_F(MainTest, EndsAtTheFirstWakeUpOfAnyKind) {
    WriteFile(list_file, ListText({Item("a")}));
    Process process([this] {
        std::thread waker([this] {
            WaitFor([this] {
                return !Starts().empty() &&
                       WaitsForCondition(SystemCallOf(getpid(), getpid()));
            });
            g_process_condition.notify_all();
        });
        std::string name = "launcher";
        char* arguments[] = {name.data(), name.data(), list_path.data(), nullptr};
        int const result = launcher_main(3, arguments);
        waker.join();
        std::size_t const programs = g_child_map.size();
        g_child_map.clear();
        return 10 * result + static_cast<int>(programs);
    });
    EXPECT_EQ(process.WaitForEnd(), "exit 11");
    EXPECT_THAT(RunningPrograms(), testing::IsEmpty());
}

TEST(InitDaemon, ClosesTheStandardStreamsAndInstallsTheHandler) {
    Process process([] {
        InitDaemon();
        for (int const descriptor : {0, 1, 2}) {
            if (fcntl(descriptor, F_GETFD) != -1) {
                return 1 + descriptor;
            }
        }
        return std::signal(SIGTERM, SIG_DFL) == sigterm_handler ? 0 : 4;
    });
    EXPECT_EQ(process.WaitForEnd(), "exit 0");
}

TEST(InitDaemon, LeavesOtherDescriptorsAndSignalsAlone) {
    Process process([] {
        int const other = dup(0);
        InitDaemon();
        return fcntl(other, F_GETFD) != -1 && std::signal(SIGINT, SIG_DFL) == SIG_DFL ? 0
                                                                                      : 1;
    });
    EXPECT_EQ(process.WaitForEnd(), "exit 0");
}

TEST(WriteEvent, SendsSourceColonMessageWithTheTypeAsPriority) {
    SystemLog const system_log;
    WriteEvent("Source", 3, "message.");
    WriteEvent("", 7, "");
    // A priority that names a facility keeps it.
    WriteEvent("kern", 10 * 8 + 1, "alert");
    EXPECT_THAT(
        system_log.Received(),
        ElementsAre(MatchesRegex("<11>.*: Source : message\\."),
                    MatchesRegex("<15>.*:  : "), MatchesRegex("<81>.*: kern : alert")));
}

TEST(WriteEvent, TakesTheTextAsSyslogsFormat) {
    SystemLog const system_log;
    WriteEvent("100%%", 3, "a%%b");
    EXPECT_THAT(system_log.Received(), ElementsAre(testing::EndsWith(": 100% : a%b")));
}

TEST(Globals, StartUnlockedEmptyAndWithoutALog) {
    EXPECT_EQ(logger, nullptr);
    EXPECT_TRUE(g_child_map.empty());
    EXPECT_EQ(g_child_map.max_load_factor(), 1.0F);
    EXPECT_TRUE(g_process_mutex.try_lock());
    g_process_mutex.unlock();
}

}  // namespace
