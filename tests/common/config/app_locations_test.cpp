#include "common/config/app_locations.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <string>

#include "harness/files.h"
#include "harness/passwd_entry.h"
#include "tests/common/config/locations_in.h"

namespace {

namespace fs = std::filesystem;

char const* const kMain = "X.app/Contents/MacOS/launcher";
char const* const kExtension =
    "X.app/Contents/PlugIns/FinderSync.appex/Contents/MacOS/FinderSync";

// A directory with bundles in it, whose programs print the locations that they find.
class AppLocations : public testing::Test {
  protected:
    // Copies the printing program to this place and returns its whole path.
    std::string Installed(std::string const& place) const {
        fs::path const path = directory.Path() / place;
        InstallPrintLocations(path);
        return path;
    }

    std::string MakeDirectory(std::string const& place) const {
        fs::create_directories(directory.Path() / place);
        return directory.Path() / place;
    }

    // Returns a path of exactly `length` bytes in the directory that ends in `name`.
    std::string PathOfLength(std::size_t length, std::string const& name) const {
        std::string path = directory.Path();
        std::size_t const longest_part = 200;
        std::size_t const last_part = name.size() + 1;
        while (path.size() + last_part < length) {
            std::size_t rest = length - path.size() - last_part;
            // One byte alone would be a slash without a name.
            rest = rest > longest_part + 2 ? longest_part : rest;
            path += "/" + std::string(rest - 1, 'd');
        }
        return path + "/" + name;
    }

    TempDirectory const directory;
    std::string const root = directory.Path();
};

// The product's name is read from a file in the bundle's resources.
TEST_F(AppLocations, OfAProgramInTheBundlesExecutableDirectory) {
    std::string const program = Installed(kMain);
    std::string const file =
        directory.Write("X.app/Contents/Resources/vopapi.ini", "[SDK]\nNAME=Tamlin\n");
    PasswdEntry const entry("/Users/alice", "alice");
    auto locations = LocationsIn(program, {"HOME=/elsewhere", "USER=bob", "LOGNAME=bob"});
    EXPECT_EQ(locations["resources"] + "vopapi.ini", file);
    EXPECT_EQ(locations["resources"], root + "/X.app/Contents/Resources/");
    EXPECT_EQ(locations["current"], root + "/X.app/Contents/MacOS");
    EXPECT_EQ(locations["finder_sync"], "0");
    EXPECT_EQ(locations["product"], "Tamlin");
    EXPECT_EQ(locations["home"], "/Users/alice");
    EXPECT_EQ(locations["app_data"], "/Users/alice/Library/Application Support");
    EXPECT_EQ(locations["user"], "alice");
    EXPECT_EQ(locations["volume"], "/Volumes/Data_alice");
}

TEST_F(AppLocations, ResourcesOfTheFinderSyncExtensionLieFourLevelsUp) {
    std::string const program = Installed(kExtension);
    std::string const extension = "X.app/Contents/PlugIns/FinderSync.appex/";
    directory.Write("X.app/Contents/Resources/vopapi.ini", "[SDK]\nNAME=right\n");
    for (std::string const& place :
         {extension + "Contents/Resources/", extension + "Resources/",
          std::string("X.app/Contents/PlugIns/Resources/"),
          std::string("X.app/Resources/"), std::string("Resources/")}) {
        directory.Write(place + "vopapi.ini", "[SDK]\nNAME=wrong\n");
    }
    auto locations = LocationsIn(program);
    EXPECT_EQ(locations["finder_sync"], "1");
    EXPECT_EQ(locations["resources"], root + "/X.app/Contents/Resources/");
    EXPECT_EQ(locations["current"], root + "/" + extension + "Contents/MacOS");
    EXPECT_EQ(locations["product"], "right");
}

TEST_F(AppLocations, ResourcesThatDoNotExistAreNamedUnresolved) {
    auto main = LocationsIn(Installed(kMain));
    EXPECT_EQ(main["resources"], root + "/X.app/Contents/MacOS/../Resources/");
    EXPECT_EQ(main["product"], "");
    auto extension = LocationsIn(Installed(kExtension));
    EXPECT_EQ(extension["resources"],
              root +
                  "/X.app/Contents/PlugIns/FinderSync.appex/Contents/MacOS"
                  "/../../../../Resources/");
}

TEST_F(AppLocations, ResourcesAreResolvedThroughLinks) {
    std::string const program = Installed(kMain);
    std::string const real = MakeDirectory("real/resources");
    fs::create_directory_symlink("../../real/resources",
                                 root + "/X.app/Contents/Resources");
    EXPECT_EQ(LocationsIn(program)["resources"], real + "/");
}

TEST_F(AppLocations, ResourcesEndInOneSlash) {
    std::string const program = Installed(kMain);
    fs::create_directory_symlink("/", root + "/X.app/Contents/Resources");
    EXPECT_EQ(LocationsIn(program)["resources"], "/");
}

TEST_F(AppLocations, ResourcesThatResolveToMoreThan1023BytesAreNamedUnresolved) {
    std::string const program = Installed(kMain);
    std::string const link = root + "/X.app/Contents/Resources";
    fs::create_directories(PathOfLength(1024, "r"));
    fs::create_directory_symlink(PathOfLength(1024, "r"), link);
    EXPECT_EQ(LocationsIn(program)["resources"],
              root + "/X.app/Contents/MacOS/../Resources/");
    fs::remove(link);
    fs::create_directories(PathOfLength(1023, "r"));
    fs::create_directory_symlink(PathOfLength(1023, "r"), link);
    EXPECT_EQ(LocationsIn(program)["resources"], PathOfLength(1023, "r") + "/");
}

TEST_F(AppLocations, AProgramIsWhereItWasStartedFromWithLinksAndDotsInItsPath) {
    (void)Installed(kMain);
    std::string const own = MakeDirectory("X.app/Contents/Resources");
    std::string const others = MakeDirectory("Y.app/Contents/Resources");
    std::string const link = MakeDirectory("Y.app/Contents/MacOS") + "/launcher";
    fs::create_symlink(root + "/" + kMain, link);
    auto linked = LocationsIn(link);
    EXPECT_EQ(linked["current"], root + "/Y.app/Contents/MacOS");
    EXPECT_EQ(linked["resources"], others + "/");

    fs::create_directory_symlink("X.app", root + "/Z.app");
    auto through_a_link = LocationsIn(root + "/Z.app/Contents/MacOS/launcher");
    EXPECT_EQ(through_a_link["current"], root + "/Z.app/Contents/MacOS");
    EXPECT_EQ(through_a_link["resources"], own + "/");

    auto dotted = LocationsIn(root + "/X.app/Contents/MacOS/../MacOS/./launcher");
    EXPECT_EQ(dotted["current"], root + "/X.app/Contents/MacOS/../MacOS/.");
    EXPECT_EQ(dotted["resources"], own + "/");

    fs::create_symlink("launcher", root + "/X.app/Contents/MacOS/FinderSync");
    EXPECT_EQ(LocationsIn(root + "/X.app/Contents/MacOS/FinderSync")["finder_sync"], "1");
}

TEST_F(AppLocations, OnlyTheEndOfTheWholePathMakesAFinderSync) {
    for (char const* const place : {"a/FinderSync", "a/MyFinderSync"}) {
        EXPECT_EQ(LocationsIn(Installed(place))["finder_sync"], "1") << place;
    }
    for (char const* const place :
         {"b/FinderSync/launcher", "b/FinderSync2", "b/findersync", "b/FinderSync.x",
          "b/inderSync", "b/FINDERSYNC"}) {
        EXPECT_EQ(LocationsIn(Installed(place))["finder_sync"], "0") << place;
    }
}

TEST_F(AppLocations, AProgramWhosePathFitsInto1023BytesIsFound) {
    std::string const program = PathOfLength(1023, "FinderSync");
    InstallPrintLocations(program);
    auto locations = LocationsIn(program);
    EXPECT_EQ(locations["finder_sync"], "1");
    EXPECT_EQ(locations["current"], fs::path(program).parent_path());
    EXPECT_EQ(locations["resources"], locations["current"] + "/../../../../Resources/");
}

TEST_F(AppLocations, AProgramWithALongerPathHasNoResourcesAndIsNoFinderSync) {
    std::string const home = "/com.tamlin/FinderSync";
    PasswdEntry const entry(home);
    std::string const program = PathOfLength(1024, "FinderSync");
    InstallPrintLocations(program);
    auto locations = LocationsIn(program);
    EXPECT_EQ(locations["finder_sync"], "0");
    EXPECT_EQ(locations["resources"], "");
    EXPECT_EQ(locations["product"], "");
    EXPECT_EQ(locations["app_data"], home + "/Library/Application Support");
    EXPECT_EQ(locations["current"], fs::path(program).parent_path());
}

TEST_F(AppLocations, AProgramWhosePathTakesMoreThan1024BytesHasNoDirectory) {
    std::string const program = PathOfLength(1025, "launcher");
    InstallPrintLocations(program);
    auto locations = LocationsIn(program);
    EXPECT_EQ(locations["current"], "");
    EXPECT_EQ(locations["resources"], "");
    EXPECT_EQ(locations["finder_sync"], "0");
}

TEST_F(AppLocations, ThePasswdEntryWinsOverTheEnvironment) {
    std::string const program = Installed(kMain);
    PasswdEntry const entry("/of/the/entry");
    EXPECT_EQ(LocationsIn(program, {"HOME=/of/the/environment"})["home"],
              "/of/the/entry");
    PasswdEntry const without_home("");
    EXPECT_EQ(LocationsIn(program, {"HOME=/of/the/environment"})["home"], "");
}

TEST_F(AppLocations, WithoutAPasswdEntryTheEnvironmentGivesTheHomeAndThereIsNoName) {
    std::string const program = Installed(kMain);
    PasswdEntry const entry = PasswdEntry::None();
    auto locations =
        LocationsIn(program, {"HOME=/of/the/environment", "USER=alice", "LOGNAME=alice"});
    EXPECT_EQ(locations["home"], "/of/the/environment");
    EXPECT_EQ(locations["app_data"], "/of/the/environment/Library/Application Support");
    EXPECT_EQ(locations["user"], "");
    EXPECT_EQ(locations["volume"], "/Volumes/Data_");
}

TEST_F(AppLocations, WithoutAPasswdEntryAndTheEnvironmentThereIsNoHome) {
    std::string const program = Installed(kMain);
    PasswdEntry const entry = PasswdEntry::None();
    auto locations = LocationsIn(program);
    EXPECT_EQ(locations["home"], "");
    EXPECT_EQ(locations["app_data"], "/Library/Application Support");
}

TEST_F(AppLocations, TheFinderSyncExtensionLeavesItsContainerForTheApplicationData) {
    std::string const program = Installed(kExtension);
    for (std::string const home :
         {"/Users/a/Library/Containers/com.tamlin.FinderSync/Data",
          "/FinderSync/com.tamlin", "/com.tamlinFinderSync", "/xcom.tamlinx/xFinderSyncx",
          "/com.tamlin/com.tamlin/FinderSync/FinderSync"}) {
        PasswdEntry const entry(home);
        auto locations = LocationsIn(program);
        EXPECT_EQ(locations["app_data"],
                  home + "/../../../../Library/Application Support");
        EXPECT_EQ(locations["home"], home);
    }
}

TEST_F(AppLocations, TheFinderSyncExtensionElsewhereHasItsApplicationDataAtHome) {
    std::string const program = Installed(kExtension);
    for (std::string const home :
         {"/Users/alice", "/Containers/com.tamlin/Data", "/Containers/FinderSync/Data",
          "/com.Tamlin/FinderSync", "/com.tamlin/Findersync", "/com-tamlin/FinderSync"}) {
        PasswdEntry const entry(home);
        EXPECT_EQ(LocationsIn(program)["app_data"],
                  home + "/Library/Application Support");
    }
}

TEST_F(AppLocations, TheMainProgramHasItsApplicationDataAtHomeInAContainerToo) {
    std::string const program = Installed(kMain);
    std::string const home = "/Users/a/Library/Containers/com.tamlin.FinderSync/Data";
    PasswdEntry const entry(home);
    EXPECT_EQ(LocationsIn(program)["app_data"], home + "/Library/Application Support");
}

TEST_F(AppLocations, TheProductNameIsReadAsAnEntryOfItsFile) {
    std::string const program = Installed(kMain);
    struct {
        std::string contents;
        std::string product;
    } const cases[] = {
        {"[SDK]\nNAME=Tamlin\n", "Tamlin"},
        {"[sdk]\r\nname=Two Words\r\n", "Two Words"},
        {"[SDK]\nNAME=\n", ""},
        {"[SDK]\nNAME==Tamlin\n", ""},
        {"[SDK]\nTITLE=Tamlin\n", ""},
        {"[KDS]\nNAME=Tamlin\n", ""},
        {"", ""},
        {"[SDK]\nNAME=" + std::string(1023, 'n') + "\n", std::string(1023, 'n')},
        {"[SDK]\nNAME=" + std::string(1024, 'n') + "\n", ""}};
    for (auto const& [contents, product] : cases) {
        directory.Write("X.app/Contents/Resources/vopapi.ini", contents);
        EXPECT_EQ(LocationsIn(program)["product"], product) << contents;
    }
}

}  // namespace
