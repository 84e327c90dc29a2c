// What InitLog asks of the logging library, which this program replaces.

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "common/config/log_location.h"
#include "harness/passwd_entry.h"
#include "launcher/main.h"
#include "tests/support/fake_log.h"
#include "tests/support/system_log.h"

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// What the library returns, and its calls in order.
struct Library {
    int init_result = 0;
    int get_result = 0;
    ILog* log = nullptr;
    std::vector<std::string> calls;
};

Library* library = nullptr;

}  // namespace

extern "C" int InitLogger(char const* directory) {
    library->calls.push_back("InitLogger " + std::string(directory));
    return library->init_result;
}

extern "C" int GetLogger(int kind, char const* name, LOGLEVEL level, ILog** result) {
    library->calls.push_back("GetLogger " + std::to_string(kind) + " " + name + " " +
                             std::to_string(level) +
                             (*result == nullptr ? " null" : " preset"));
    if (library->log != nullptr) {
        *result = library->log;
    }
    return library->get_result;
}

namespace {

class InitLogTest : public testing::Test {
  protected:
    InitLogTest() { library = &asked; }
    ~InitLogTest() override {
        logger = nullptr;
        library = nullptr;
    }

    PasswdEntry const user{"/home/of/the/test"};
    SystemLog const system_log;
    FakeLog log;
    Library asked;
};

TEST_F(InitLogTest, OpensTheLogLauncherWhateverTheLaunchersName) {
    asked.log = &log;
    InitLog("some name");
    EXPECT_EQ(logger, &log);
    EXPECT_THAT(asked.calls,
                ElementsAre("InitLogger " + GetLogPath(), "GetLogger 2 launcher 8 null"));
    EXPECT_THAT(GetLogPath(), testing::StartsWith("/home/of/the/test/Library/Logs/"));
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

TEST_F(InitLogTest, LooksAtTheLogAndNotAtWhatGetLoggerReturns) {
    asked.log = &log;
    asked.get_result = 5;
    InitLog("test");
    EXPECT_EQ(logger, &log);
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

TEST_F(InitLogTest, IfTheLibraryGivesNoLogThereIsNoLogAndNoEvent) {
    InitLog("test");
    EXPECT_EQ(logger, nullptr);
    EXPECT_THAT(system_log.Received(), IsEmpty());
}

TEST_F(InitLogTest, ALogThatWasThereGivesWayToNoneButStaysIfTheLibraryFails) {
    logger = &log;
    asked.init_result = 1;
    InitLog("test");
    EXPECT_EQ(logger, &log);
    asked.init_result = 0;
    InitLog("test");
    EXPECT_EQ(logger, nullptr);
    EXPECT_THAT(log.Lines(), IsEmpty());
}

TEST_F(InitLogTest, AnyResultButZeroIsReportedAndNoLogIsAskedFor) {
    asked.log = &log;
    for (int const result : {1, -1}) {
        asked.calls.clear();
        asked.init_result = result;
        InitLog("test");
        EXPECT_EQ(logger, nullptr);
        EXPECT_THAT(asked.calls, ElementsAre("InitLogger " + GetLogPath()));
        EXPECT_THAT(system_log.Received(),
                    ElementsAre(testing::EndsWith(
                        ": Tamlin Launcher for test : Failed to initialize logger")));
    }
}

}  // namespace
