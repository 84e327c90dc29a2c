#include "common/config/log_location.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "harness/files.h"
#include "harness/passwd_entry.h"
#include "tests/common/config/locations_in.h"

namespace {

namespace fs = std::filesystem;

// A user whose home is in the directory, and a bundle of the product Tamlin.
class LogLocation : public testing::Test {
  protected:
    LogLocation() {
        InstallPrintLocations(program);
        NameProduct("Tamlin");
    }

    void NameProduct(std::string const& name) const {
        directory.Write("X.app/Contents/Resources/vopapi.ini",
                        "[SDK]\nNAME=" + name + "\n");
    }

    // Returns the level that is found when "log.ini" holds these lines.
    std::string LevelIn(std::string const& contents) const {
        directory.Write("home/Library/Application Support/Tamlin/log.ini", contents);
        auto locations = LocationsIn(program);
        EXPECT_EQ(locations.count("logged"), 0U);
        return locations["log_level"];
    }

    TempDirectory const directory;
    std::string const program = directory.Path() / "X.app/Contents/MacOS/launcher";
    std::string const home = directory.Path() / "home";
    PasswdEntry const entry{home};
};

TEST_F(LogLocation, PathIsInTheLogsOfTheHomeUnderTheProductsName) {
    EXPECT_EQ(LocationsIn(program)["log_path"], home + "/Library/Logs/Tamlin/voplog");
    NameProduct("Other Product");
    EXPECT_EQ(LocationsIn(program)["log_path"],
              home + "/Library/Logs/Other Product/voplog");
}

TEST_F(LogLocation, PathWithoutAProductHasTwoSlashes) {
    NameProduct("");
    EXPECT_EQ(LocationsIn(program)["log_path"], home + "/Library/Logs//voplog");
}

TEST_F(LogLocation, PathWithoutAHomeIsTheSystems) {
    PasswdEntry const nobody = PasswdEntry::None();
    EXPECT_EQ(LocationsIn(program)["log_path"], "/Library/Logs/Tamlin/voplog");
    EXPECT_EQ(LocationsIn(program, {"HOME=/h"})["log_path"],
              "/h/Library/Logs/Tamlin/voplog");
}

TEST_F(LogLocation, EveryKeywordSetsItsLevel) {
    EXPECT_EQ(LevelIn("[LOG]\nLEVEL=DEBUG\n"), "1");
    EXPECT_EQ(LevelIn("[LOG]\nLEVEL=MESSAGE\n"), "2");
    EXPECT_EQ(LevelIn("[LOG]\nLEVEL=WARNING\n"), "4");
    EXPECT_EQ(LevelIn("[LOG]\nLEVEL=ERROR\n"), "8");
    EXPECT_EQ(LevelIn("[LOG]\nLEVEL=CRITICAL\n"), "16");
    EXPECT_EQ(LevelIn("[LOG]\nLEVEL=VERBOSE\n"), "17");
}

TEST_F(LogLocation, CaseCountsInTheKeywordAndNotInTheNames) {
    EXPECT_EQ(LevelIn("[log]\nLEVEL=VERBOSE\n"), "17");
    EXPECT_EQ(LevelIn("[Log]\nlevel=DEBUG\n"), "1");
    EXPECT_EQ(LevelIn("[log]\nLEVEL=verbose\n"), "8");
    EXPECT_EQ(LevelIn("[LOG]\nLEVEL=Debug\n"), "8");
}

TEST_F(LogLocation, AnythingButAKeywordIsTheErrorLevel) {
    for (char const* const contents :
         {"", "[LOG]\n", "[LOG]\nLEVEL\n", "[LOG]\nLEVEL=\n", "[LOG]\nLEVEL==DEBUG\n",
          "[LOG]\nLEVEL = DEBUG\n", "[LOG]\nLEVEL= DEBUG\n", "[LOG]\nLEVEL=LOUD\n",
          "[LOG]\nLEVEL=1\n", "[LOGS]\nLEVEL=DEBUG\n", "LEVEL=DEBUG\n",
          "[LOG]\n[LOG]\nLEVEL=DEBUG\n"}) {
        EXPECT_EQ(LevelIn(contents), "8") << contents;
    }
    EXPECT_EQ(LevelIn("[LOG]\nLEVEL=" + std::string(1024, 'D') + "\n"), "8");
}

TEST_F(LogLocation, WithoutAFileTheLevelIsErrorAndNothingIsLogged) {
    auto locations = LocationsIn(program);
    EXPECT_EQ(locations["log_level"], "8");
    EXPECT_EQ(locations.count("logged"), 0U);
    EXPECT_FALSE(fs::exists(home));
}

TEST_F(LogLocation, LevelOfAnotherProductIsNotRead) {
    EXPECT_EQ(LevelIn("[LOG]\nLEVEL=DEBUG\n"), "1");
    NameProduct("Other");
    EXPECT_EQ(LocationsIn(program)["log_level"], "8");
}

TEST_F(LogLocation, LevelWithoutAProductIsReadFromTheApplicationDataItself) {
    NameProduct("");
    directory.Write("home/Library/Application Support/log.ini",
                    "[LOG]\nLEVEL=CRITICAL\n");
    EXPECT_EQ(LocationsIn(program)["log_level"], "16");
}

TEST_F(LogLocation, TheFinderSyncExtensionReadsItsLevelOutsideItsContainerAndLogsInside) {
    std::string const extension =
        directory.Path() / "X.app/Contents/PlugIns/F.appex/Contents/MacOS/FinderSync";
    InstallPrintLocations(extension);
    std::string const library = "home/Library/";
    std::string const data = library + "Containers/com.tamlin.FinderSync/Data";
    directory.Write(library + "Application Support/Tamlin/log.ini",
                    "[LOG]\nLEVEL=DEBUG\n");
    directory.Write(data + "/Library/Application Support/Tamlin/log.ini",
                    "[LOG]\nLEVEL=VERBOSE\n");
    std::string const container = directory.Path() / data;
    PasswdEntry const in_container(container);

    auto locations = LocationsIn(extension);
    EXPECT_EQ(locations["log_level"], "1");
    EXPECT_EQ(locations["log_path"], container + "/Library/Logs/Tamlin/voplog");
    EXPECT_EQ(LocationsIn(program)["log_level"], "17");
}

}  // namespace
