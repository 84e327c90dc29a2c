#include <gtest/gtest.h>
#include <mach-o/dyld.h>
#include <unistd.h>

#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>

#include "harness/files.h"
#include "tests/support/run_program.h"

namespace {

// Returns what a program prints that `exec` executes.
std::string OutputOf(std::function<void()> const& exec) {
    ProgramRun const run = RunProgram({"/nonexistent"}, "", exec);
    EXPECT_EQ(run.end, "exit 0");
    return run.output;
}

// A directory with the printing program at bin/print.
class ExecutablePath : public testing::Test {
  protected:
    ExecutablePath() {
        std::filesystem::create_directory(directory + "/bin");
        std::filesystem::copy_file(PRINT_EXECUTABLE_PATH, directory + "/bin/print");
    }

    // Starts `program`, as it is written, in `working_directory`; the program then
    // changes to the root. Returns what it prints.
    static std::string PathOf(std::string const& program,
                              std::string const& working_directory) {
        return OutputOf([&] {
            if (chdir(working_directory.c_str()) == 0) {
                execl(program.c_str(), "other name", "/", nullptr);
            }
        });
    }

    // The same for a program that is searched for in `path`.
    static std::string PathThroughPath(std::string const& path,
                                       std::string const& working_directory) {
        return OutputOf([&] {
            setenv("PATH", path.c_str(), 1);
            if (chdir(working_directory.c_str()) == 0) {
                execlp("print", "other name", "/", nullptr);
            }
        });
    }

    TempDirectory const temp_directory;
    std::string const directory = temp_directory.Path();
};

TEST_F(ExecutablePath, OfAProgramStartedByAnAbsolutePathIsThatPath) {
    EXPECT_EQ(PathOf(directory + "/bin/print", "/"), directory + "/bin/print");
    EXPECT_EQ(PathOf(directory + "/bin/print", directory), directory + "/bin/print");
}

TEST_F(ExecutablePath, OfARelativePathCountsFromTheFirstWorkingDirectoryNotALaterOne) {
    EXPECT_EQ(PathOf("bin/print", directory), directory + "/bin/print");
    EXPECT_EQ(PathOf("print", directory + "/bin"), directory + "/bin/print");
}

TEST_F(ExecutablePath, KeepsDotsAndDoubledSlashes) {
    EXPECT_EQ(PathOf(directory + "/bin/../bin/print", "/"),
              directory + "/bin/../bin/print");
    EXPECT_EQ(PathOf("../bin/./print", directory + "/bin"),
              directory + "/bin/../bin/./print");
    EXPECT_EQ(PathOf("./bin//print", directory), directory + "/./bin//print");
}

TEST_F(ExecutablePath, ThroughASymbolicLinkIsThatOfTheLink) {
    std::filesystem::create_symlink("bin/print", directory + "/link");
    std::filesystem::create_directory_symlink("bin", directory + "/programs");
    EXPECT_EQ(PathOf(directory + "/link", "/"), directory + "/link");
    EXPECT_EQ(PathOf("link", directory), directory + "/link");
    EXPECT_EQ(PathOf(directory + "/programs/print", "/"), directory + "/programs/print");
    EXPECT_EQ(PathOf("programs/../link", directory), directory + "/programs/../link");
}

TEST_F(ExecutablePath, ThroughPathIsThatOfTheEntryWhereTheProgramWasFound) {
    EXPECT_EQ(PathThroughPath(directory + ":" + directory + "/bin:/usr/bin", "/"),
              directory + "/bin/print");
}

TEST_F(ExecutablePath, ThroughARelativeOrEmptyEntryOfPathIsAbsoluteToo) {
    EXPECT_EQ(PathThroughPath("nowhere:bin", directory), directory + "/bin/print");
    EXPECT_EQ(PathThroughPath("../bin", directory + "/bin"),
              directory + "/bin/../bin/print");
    EXPECT_EQ(PathThroughPath("nowhere:", directory + "/bin"), directory + "/bin/print");
}

TEST_F(ExecutablePath, MayBeLongAndOfAnyBytes) {
    std::string path = directory;
    for (int i = 0; i < 15; ++i) {
        path += "/" + std::string(200, static_cast<char>('a' + i));
    }
    path += "/\xC3\xA9 \n\xFF";
    std::filesystem::create_directories(path);
    std::filesystem::copy_file(PRINT_EXECUTABLE_PATH, path + "/print");
    EXPECT_EQ(PathOf(path + "/print", "/"), path + "/print");
    EXPECT_EQ(PathOf("print", path), path + "/print");
}

TEST_F(ExecutablePath, InAWorkingDirectoryThatIsGoneIsWhatTheKernelTells) {
    std::string const gone = directory + "/gone";
    std::filesystem::create_directory(gone);
    std::string const path = OutputOf([&] {
        if (chdir(gone.c_str()) == 0 && rmdir(gone.c_str()) == 0) {
            execl("../bin/print", "other name", "/", nullptr);
        }
    });
    EXPECT_EQ(path, directory + "/bin/print");
}

// Asks for the path of this test program with a buffer of `size` bytes inside a larger
// one; returns the larger one, which held '#' throughout.
std::string Ask(std::uint32_t size, int& result, std::uint32_t& size_after) {
    std::string buffer(size + 64, '#');
    result = _NSGetExecutablePath(buffer.data(), &size);
    size_after = size;
    return buffer;
}

TEST(NSGetExecutablePath, WritesThePathAndItsNulIntoABufferThatFitsOrIsLarger) {
    std::uint32_t needed = 0;
    ASSERT_EQ(_NSGetExecutablePath(nullptr, &needed), -1);
    for (std::uint32_t size : {needed, needed + 1, needed + 1000}) {
        int result = -2;
        std::uint32_t size_after = 0;
        std::string const buffer = Ask(size, result, size_after);
        EXPECT_EQ(result, 0);
        EXPECT_EQ(size_after, size);
        EXPECT_EQ(buffer.find('\0'), needed - 1);
        EXPECT_TRUE(std::filesystem::equivalent(buffer.c_str(), "/proc/self/exe"));
        EXPECT_EQ(buffer.substr(needed), std::string(buffer.size() - needed, '#'));
    }
}

TEST(NSGetExecutablePath, LeavesABufferThatIsTooSmallAloneAndTellsTheSizeItNeeds) {
    std::uint32_t needed = 0;
    ASSERT_EQ(_NSGetExecutablePath(nullptr, &needed), -1);
    for (std::uint32_t size : {0U, 1U, needed / 2, needed - 1}) {
        int result = -2;
        std::uint32_t size_after = 0;
        std::string const buffer = Ask(size, result, size_after);
        EXPECT_EQ(result, -1);
        EXPECT_EQ(size_after, needed);
        EXPECT_EQ(buffer, std::string(buffer.size(), '#'));
    }
}

}  // namespace
