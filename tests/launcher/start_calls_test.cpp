// The calls that main makes until it has read its list, in order. This program replaces
// them: it notes each of them, closes no standard stream, installs no handler, and has a
// log before main opens one.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <syslog.h>
#include <unistd.h>

#include <csignal>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>

#include "common/config/log_location.h"
#include "harness/files.h"
#include "harness/launcher_main.h"
#include "harness/process.h"
#include "launcher/main.h"
#include "launcher/system_event.h"
#include "tests/support/next_function.h"

namespace {

using testing::ElementsAre;

using Handler = void (*)(int);

// The calls so far; null while none are noted.
std::vector<std::string>* calls = nullptr;

void Note(std::string const& call) {
    if (calls != nullptr) {
        calls->push_back(call);
    }
}

class NotingLog final : public ILog {
  public:
    void Reserved0() override {}
    void Reserved1() override {}
    void LogV(LOGLEVEL level, char const* format, va_list arguments) override {
        char line[1000];
        std::vsnprintf(line, sizeof line, format, arguments);
        Note("log " + std::to_string(level) + " " + line);
    }
};

NotingLog early_log;
NotingLog late_log;

}  // namespace

LOGLEVEL GetLogLevel() {
    Note("GetLogLevel");
    return LOGLEVEL_WARNING;
}

std::string GetLogPath() {
    Note("GetLogPath");
    return "/of/the/log";
}

// The C libraries differ in which of their functions they declare not to throw.
extern "C" {

int InitLogger(char const* directory) {
    Note(std::string("InitLogger ") + directory);
    return 0;
}

int GetLogger(int kind, char const* name, LOGLEVEL level, ILog** result) {
    Note("GetLogger " + std::to_string(kind) + " " + name + " " + std::to_string(level));
    *result = &late_log;
    return 0;
}

int close(int descriptor) noexcept(noexcept(close(descriptor))) {
    if (calls == nullptr || descriptor > STDERR_FILENO) {
        return Next<int(int)>("close")(descriptor);
    }
    Note("close " + std::to_string(descriptor));
    return 0;
}

Handler signal(int number, Handler handler) noexcept(noexcept(signal(number, handler))) {
    if (calls == nullptr) {
        return Next<Handler(int, Handler)>("signal")(number, handler);
    }
    Note("signal " + std::to_string(number) +
         (handler == sigterm_handler ? "" : " with another handler"));
    return SIG_DFL;
}

std::FILE* fopen(char const* path,
                 char const* mode) noexcept(noexcept(fopen(path, mode))) {
    Note(std::string("fopen ") + path);
    return Next<std::FILE*(char const*, char const*)>("fopen")(path, mode);
}

void syslog(int priority, char const* format,
            ...) noexcept(noexcept(syslog(0, "%s", ""))) {
    Note("syslog " + std::to_string(priority) + " " + format);
}
}

namespace {

class StartCalls : public testing::Test {
  protected:
    StartCalls() { logger = &early_log; }
    ~StartCalls() override { logger = nullptr; }

    // Notes the calls that `action` makes, and no others.
    template <typename Action>
    void NoteCallsOf(Action action) {
        calls = &noted;
        action();
        calls = nullptr;
    }

    // Runs main, notes its calls, and expects that it ends with 0.
    void RunMain(std::vector<std::string> arguments) {
        int result = -1;
        NoteCallsOf([&] {
            result = launcher_main(static_cast<int>(arguments.size()),
                                   Pointers(arguments).data());
        });
        EXPECT_EQ(result, 0);
    }

    TempDirectory const directory;
    std::vector<std::string> noted;
};

TEST_F(StartCalls, TheStreamsAreClosedFirstThenComesTheHandler) {
    NoteCallsOf(InitDaemon);
    EXPECT_THAT(noted, ElementsAre("close 0", "close 1", "close 2", "signal 15"));
}

TEST_F(StartCalls, OfAStartWithoutAList) {
    RunMain({"launcher", "name"});
    EXPECT_THAT(noted, ElementsAre("close 0", "close 1", "close 2", "signal 15",
                                   "syslog 3 Tamlin Launcher : wrong parameters."));
}

TEST_F(StartCalls, OfAStartWithAListThatIsNoJson) {
    std::string const list = directory.Write("list.json", "no json");
    RunMain({"launcher", "name", list});
    EXPECT_THAT(noted,
                ElementsAre("close 0", "close 1", "close 2", "signal 15",
                            "log 8 [LAUNCHER  ] Read data from " + list, "fopen " + list,
                            "GetLogLevel", "GetLogPath", "InitLogger /of/the/log",
                            "GetLogger 2 launcher 4",
                            "log 8 [LAUNCHER  ] Error while parsing saved json string."));
    EXPECT_EQ(logger, &late_log);
}

// The path has conversions in it, as a format has.
TEST_F(StartCalls, OfAStartWithAListThatIsMissing) {
    std::string const list = directory.Path() / "100%% %d %s %n";
    RunMain({"launcher", "name", list});
    EXPECT_THAT(noted,
                ElementsAre("close 0", "close 1", "close 2", "signal 15",
                            "log 8 [LAUNCHER  ] Read data from " + list, "fopen " + list,
                            "log 8 [LAUNCHER  ] Failed to open file " + list,
                            "log 8 [LAUNCHER  ] Failed to read data from " + list));
    EXPECT_EQ(logger, &early_log);
}

TEST_F(StartCalls, OfAStartWithAListThatIsEmpty) {
    std::string const list = directory.Write("100%% %d %s %n", "");
    RunMain({"launcher", "name", list});
    EXPECT_THAT(noted,
                ElementsAre("close 0", "close 1", "close 2", "signal 15",
                            "log 8 [LAUNCHER  ] Read data from " + list, "fopen " + list,
                            "log 8 [LAUNCHER  ] Size of read " + list + " is 0",
                            "log 8 [LAUNCHER  ] Failed to read data from " + list));
}

TEST_F(StartCalls, AnEventKeepsAllSixteenBitsOfItsType) {
    NoteCallsOf([] {
        WriteEvent("a", 0x0103, "b");
        WriteEvent("a", 0xFFFF, "b");
    });
    EXPECT_THAT(noted, ElementsAre("syslog 259 a : b", "syslog 65535 a : b"));
}

}  // namespace
