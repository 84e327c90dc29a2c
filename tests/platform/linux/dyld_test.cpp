#include <fcntl.h>
#include <gtest/gtest.h>
#include <mach-o/dyld.h>
#include <sys/wait.h>
#include <unistd.h>

#include <array>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

namespace {

// Returns what a child process prints that is made by `exec`.
std::string OutputOf(std::function<void()> const& exec) {
    std::array<int, 2> ends = {};
    EXPECT_EQ(pipe2(ends.data(), O_CLOEXEC), 0);
    pid_t const child = fork();
    if (child == 0) {
        dup2(ends[1], STDOUT_FILENO);
        exec();
        _exit(127);
    }
    close(ends[1]);
    std::string output;
    std::array<char, 4096> chunk = {};
    for (ssize_t size = 0; (size = read(ends[0], chunk.data(), chunk.size())) > 0;) {
        output.append(chunk.data(), static_cast<std::size_t>(size));
    }
    close(ends[0]);
    int status = -1;
    EXPECT_EQ(waitpid(child, &status, 0), child);
    EXPECT_EQ(status, 0);
    return output;
}

// A directory with the reporting program at bin/report.
class ExecutablePath : public testing::Test {
  protected:
    ExecutablePath() {
        std::string name = std::filesystem::temp_directory_path() / "dyld.XXXXXX";
        EXPECT_NE(mkdtemp(name.data()), nullptr);
        directory = std::filesystem::canonical(name);
        std::filesystem::create_directory(directory + "/bin");
        std::filesystem::copy_file(REPORT_EXECUTABLE_PATH, directory + "/bin/report");
    }
    ~ExecutablePath() override { std::filesystem::remove_all(directory); }

    // Starts `program`, as it is written, in `working_directory`; the program then
    // changes to the root. Returns what it reports.
    static std::string Report(std::string const& program,
                              std::string const& working_directory) {
        return OutputOf([&] {
            if (chdir(working_directory.c_str()) == 0) {
                execl(program.c_str(), "other name", "/", nullptr);
            }
        });
    }

    // The same for a program that is searched for in `path`.
    static std::string ReportThroughPath(std::string const& path,
                                         std::string const& working_directory) {
        return OutputOf([&] {
            setenv("PATH", path.c_str(), 1);
            if (chdir(working_directory.c_str()) == 0) {
                execlp("report", "other name", "/", nullptr);
            }
        });
    }

    std::string directory;
};

TEST_F(ExecutablePath, OfAProgramStartedByAnAbsolutePathIsThatPath) {
    EXPECT_EQ(Report(directory + "/bin/report", "/"), directory + "/bin/report");
    EXPECT_EQ(Report(directory + "/bin/report", directory), directory + "/bin/report");
}

TEST_F(ExecutablePath, OfARelativePathCountsFromTheFirstWorkingDirectoryNotALaterOne) {
    EXPECT_EQ(Report("bin/report", directory), directory + "/bin/report");
    EXPECT_EQ(Report("report", directory + "/bin"), directory + "/bin/report");
}

TEST_F(ExecutablePath, KeepsDotsAndDoubledSlashes) {
    EXPECT_EQ(Report(directory + "/bin/../bin/report", "/"),
              directory + "/bin/../bin/report");
    EXPECT_EQ(Report("../bin/./report", directory + "/bin"),
              directory + "/bin/../bin/./report");
    EXPECT_EQ(Report("./bin//report", directory), directory + "/./bin//report");
}

TEST_F(ExecutablePath, ThroughASymbolicLinkIsThatOfTheLink) {
    std::filesystem::create_symlink("bin/report", directory + "/link");
    std::filesystem::create_directory_symlink("bin", directory + "/programs");
    EXPECT_EQ(Report(directory + "/link", "/"), directory + "/link");
    EXPECT_EQ(Report("link", directory), directory + "/link");
    EXPECT_EQ(Report(directory + "/programs/report", "/"),
              directory + "/programs/report");
    EXPECT_EQ(Report("programs/../link", directory), directory + "/programs/../link");
}

TEST_F(ExecutablePath, ThroughPathIsThatOfTheEntryWhereTheProgramWasFound) {
    EXPECT_EQ(ReportThroughPath(directory + ":" + directory + "/bin:/usr/bin", "/"),
              directory + "/bin/report");
}

TEST_F(ExecutablePath, ThroughARelativeOrEmptyEntryOfPathIsAbsoluteToo) {
    EXPECT_EQ(ReportThroughPath("nowhere:bin", directory), directory + "/bin/report");
    EXPECT_EQ(ReportThroughPath("../bin", directory + "/bin"),
              directory + "/bin/../bin/report");
    EXPECT_EQ(ReportThroughPath("nowhere:", directory + "/bin"),
              directory + "/bin/report");
}

TEST_F(ExecutablePath, MayBeLongAndOfAnyBytes) {
    std::string path = directory;
    for (int i = 0; i < 15; ++i) {
        path += "/" + std::string(200, static_cast<char>('a' + i));
    }
    path += "/\xC3\xA9 \n\xFF";
    std::filesystem::create_directories(path);
    std::filesystem::copy_file(REPORT_EXECUTABLE_PATH, path + "/report");
    EXPECT_EQ(Report(path + "/report", "/"), path + "/report");
    EXPECT_EQ(Report("report", path), path + "/report");
}

TEST_F(ExecutablePath, InAWorkingDirectoryThatIsGoneIsWhatTheKernelTells) {
    std::string const gone = directory + "/gone";
    std::filesystem::create_directory(gone);
    std::string const report = OutputOf([&] {
        if (chdir(gone.c_str()) == 0 && rmdir(gone.c_str()) == 0) {
            execl("../bin/report", "other name", "/", nullptr);
        }
    });
    EXPECT_EQ(report, directory + "/bin/report");
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
