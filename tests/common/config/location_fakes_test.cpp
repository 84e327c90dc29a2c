// The locations and the log level in places and states that a test cannot produce.
// This program replaces the path of the executable and the reader of INI files by fakes.

#include <gmock/gmock.h>
#include <gtest/gtest.h>
#include <mach-o/dyld.h>

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

#include "common/config/app_locations.h"
#include "common/config/log_location.h"
#include "common/config/profile_reader.h"
#include "tests/support/fake_log.h"

namespace {

using testing::ElementsAre;

std::string executable;  // empty if its path is unknown
std::string value;       // of every entry of every file, without regard to the default
std::vector<std::string> queries;

FakeLog fake_log;

}  // namespace

ILog* logger = &fake_log;

int _NSGetExecutablePath(char* buffer, std::uint32_t* size) {
    if (executable.empty() || executable.size() >= *size) {
        return -1;
    }
    std::strcpy(buffer, executable.c_str());
    return 0;
}

std::size_t GetPrivateProfileString(std::string section, std::string key,
                                    std::string fallback, char* buffer, int size,
                                    std::string path) {
    queries.push_back(section + " " + key + " '" + fallback + "' " +
                      std::to_string(size) + " " + path);
    std::strcpy(buffer, value.c_str());
    return value.size();
}

namespace {

class LocationFakes : public testing::Test {
  protected:
    LocationFakes() {
        executable = "/nonexistent/X.app/Contents/MacOS/launcher";
        value = "";
        queries.clear();
    }
};

TEST_F(LocationFakes, ALevelThatCannotBeReadIsErrorAndIsLogged) {
    EXPECT_EQ(GetLogLevel(), LOGLEVEL_ERROR);
    EXPECT_THAT(fake_log.Lines(),
                ElementsAre(FakeLog::Line(8, "[SERVICE   ] Failed to get log level")));
}

TEST_F(LocationFakes, TheReaderIsAskedForTheProductAndForTheLevel) {
    value = "DEBUG";
    std::string const product =
        "SDK NAME '' 1024 /nonexistent/X.app/Contents/MacOS/../Resources//vopapi.ini";
    EXPECT_EQ(GetSDKName(), "DEBUG");
    EXPECT_THAT(queries, ElementsAre(product));
    queries.clear();
    EXPECT_EQ(GetLogLevel(), LOGLEVEL_DEBUG);
    EXPECT_THAT(queries, ElementsAre(product, "LOG LEVEL 'ERROR' 1024 " +
                                                  GetAppDataPath("") + "/DEBUG/log.ini"));
}

TEST_F(LocationFakes, EachCallReadsAnew) {
    value = "DEBUG";
    EXPECT_EQ(GetSDKName(), "DEBUG");
    EXPECT_EQ(GetLogLevel(), LOGLEVEL_DEBUG);
    EXPECT_EQ(GetLogPath(), GetHomePath() + "/Library/Logs/DEBUG/voplog");
    value = "WARNING";
    EXPECT_EQ(GetSDKName(), "WARNING");
    EXPECT_EQ(GetLogLevel(), LOGLEVEL_WARNING);
    EXPECT_EQ(GetLogPath(), GetHomePath() + "/Library/Logs/WARNING/voplog");
}

// A file's path never depends on the working directory.
TEST_F(LocationFakes, WithoutAnExecutableTheProductIsReadFromTheRoot) {
    executable = "";
    EXPECT_EQ(GetSDKName(), "");
    EXPECT_THAT(queries, ElementsAre("SDK NAME '' 1024 /vopapi.ini"));
    EXPECT_EQ(GetResourcePath(), "");
    EXPECT_EQ(GetCurrentPath(), "");
    EXPECT_FALSE(IsFinderSync());
}

TEST_F(LocationFakes, AnExecutableInTheRootHasAnEmptyDirectory) {
    bool const is_there = std::filesystem::exists("/Resources");
    executable = "/launcher";
    EXPECT_EQ(GetCurrentPath(), "");
    EXPECT_EQ(GetResourcePath(), is_there ? "/Resources/" : "/../Resources/");
    executable = "/FinderSync";
    EXPECT_EQ(GetCurrentPath(), "");
    EXPECT_EQ(GetResourcePath(), is_there ? "/Resources/" : "/../../../../Resources/");
}

TEST_F(LocationFakes, APathWithoutASlashIsNoDirectoryAndIsNotCut) {
    executable = "nonexistent";
    EXPECT_EQ(GetCurrentPath(), "");
    EXPECT_EQ(GetResourcePath(), "nonexistent/../Resources/");
}

}  // namespace
