#include "tools/launchlog_report/output_file.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <csignal>
#include <filesystem>

#include "harness/files.h"

namespace launchlog_report {
namespace {

class OutputFile : public testing::Test {
  protected:
    std::vector<std::string> Names() const {
        std::vector<std::string> names;
        for (auto const& entry : std::filesystem::directory_iterator(folder.Path())) {
            names.push_back(entry.path().filename());
        }
        return names;
    }

    TempDirectory const folder;
    std::string const file = folder.Path() / "report";
};

TEST_F(OutputFile, IsReplacedWhileAReaderKeepsTheOldOne) {
    folder.Write("report", "the old text");
    chmod(file.c_str(), 0640);
    int const reader = open(file.c_str(), O_RDONLY | O_CLOEXEC);
    EXPECT_EQ(ReplaceFile(file, "new"), "");
    EXPECT_EQ(ReadFile(file), "new");
    char old[32] = {};
    EXPECT_EQ(read(reader, old, sizeof old), 12);
    close(reader);
    struct stat status = {};
    stat(file.c_str(), &status);
    EXPECT_EQ(status.st_mode & 07777, 0640U);
    EXPECT_EQ(Names().size(), 1U);
}

TEST_F(OutputFile, ALinkStaysAndItsTargetIsReplaced) {
    folder.Write("report", "old");
    std::string const link = folder.Path() / "link";
    std::filesystem::create_symlink("report", link);
    EXPECT_EQ(ReplaceFile(link, "new"), "");
    EXPECT_TRUE(std::filesystem::is_symlink(link));
    EXPECT_EQ(ReadFile(file), "new");
}

TEST_F(OutputFile, AFailureLeavesTheOldFile) {
    EXPECT_EQ(ReplaceFile(folder.Path() / "none/report", "x"),
              "No such file or directory");
    EXPECT_EQ(ReplaceFile("/dev/full", "x"), "No space left on device");
    EXPECT_EQ(ReplaceFile(folder.Path(), "x"), "Is a directory");
    EXPECT_TRUE(Names().empty());

    folder.Write("report", "old");
    rlimit limit = {};
    getrlimit(RLIMIT_FSIZE, &limit);
    rlimit const low = {100, limit.rlim_max};
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &low);
    std::string const problem = ReplaceFile(file, std::string(1000, 'x'));
    setrlimit(RLIMIT_FSIZE, &limit);
    std::signal(SIGXFSZ, SIG_DFL);
    EXPECT_EQ(problem, "File too large");
    EXPECT_EQ(ReadFile(file), "old");
    EXPECT_EQ(Names().size(), 1U);
}

}  // namespace
}  // namespace launchlog_report
