// What the system answers about a program, and for which arguments an answer is kept.

#include "tools/launchlist_check/program_check.h"

#include <gmock/gmock.h>
#include <sys/resource.h>

#include <filesystem>

#include "harness/files.h"

namespace launchlist_check {
namespace {

using testing::StartsWith;
using End = ProgramVerdict::End;

class ProgramCheckTest : public testing::Test {
  protected:
    // Returns an argument vector with `count` strings of `length` bytes after the path.
    std::vector<std::string> Vector(std::size_t count, std::size_t length) const {
        std::vector<std::string> vector(count + 1, std::string(length, 'x'));
        vector[0] = program;
        return vector;
    }

    ProgramVerdict Check(std::vector<std::string> const& vector) {
        return check.Check(program, vector);
    }

    // If the system is asked from now on, it refuses the program.
    void RemoveProgram() const { std::filesystem::remove(program); }

    static std::string Copy(std::string const& name, TempDirectory const& directory) {
        std::string path = directory.Path() / "program";
        std::filesystem::copy_file(name, path);
        return path;
    }

    TempDirectory const directory;
    std::string const program = Copy("/bin/true", directory);
    ProgramCheck check;
};

TEST_F(ProgramCheckTest, AnAcceptedProgramIsNotAskedAboutAgainForSmallerArguments) {
    EXPECT_EQ(Check(Vector(2, 10)).end, End::Executed);
    RemoveProgram();
    EXPECT_EQ(Check(Vector(2, 10)).end, End::Executed);
    EXPECT_EQ(Check(Vector(1, 10)).end, End::Executed);
    EXPECT_EQ(Check(Vector(0, 0)).end, End::Executed);
    EXPECT_EQ(Check({}).end, End::Executed);
}

TEST_F(ProgramCheckTest, ArgumentsThatAreLargerInOneWayAreAskedAbout) {
    ASSERT_EQ(Check({program, std::string(1000, 'x'), ""}).end, End::Executed);
    RemoveProgram();
    // More strings; more bytes; a longer string.
    EXPECT_EQ(Check(Vector(3, 10)).end, End::Refused);
    EXPECT_EQ(Check(Vector(2, 1000)).end, End::Refused);
    EXPECT_EQ(Check(Vector(1, 1001)).end, End::Refused);
}

TEST_F(ProgramCheckTest, OneLongArgumentIsTooLongAfterAsManyBytesInShortOnes) {
    EXPECT_EQ(Check(Vector(200, 1000)).end, End::Executed);
    EXPECT_EQ(Check(Vector(1, 131072)).end, End::ArgumentsTooLong);
}

TEST_F(ProgramCheckTest, AnswersAboutDifferentArgumentsAreAllKept) {
    EXPECT_EQ(Check(Vector(1, 40)).end, End::Executed);
    EXPECT_EQ(Check(Vector(2, 4)).end, End::Executed);
    EXPECT_EQ(Check(Vector(1, 131072)).end, End::ArgumentsTooLong);
    RemoveProgram();
    EXPECT_EQ(Check(Vector(1, 40)).end, End::Executed);
    EXPECT_EQ(Check(Vector(2, 4)).end, End::Executed);
    EXPECT_EQ(Check(Vector(1, 131072)).end, End::ArgumentsTooLong);
    // No earlier answer was about so many arguments of that length.
    EXPECT_EQ(Check(Vector(2, 40)).end, End::Refused);
}

TEST_F(ProgramCheckTest, TooLongArgumentsAreNotAskedAboutAgainIfTheyAreLarger) {
    EXPECT_EQ(Check(Vector(1, 131072)).end, End::ArgumentsTooLong);
    RemoveProgram();
    ProgramVerdict const larger = Check(Vector(2, 131073));
    EXPECT_EQ(larger.end, End::ArgumentsTooLong);
    EXPECT_THAT(larger.reason,
                StartsWith("the arguments take " +
                           std::to_string(program.size() + 1 + 2 * 131074UL) +
                           " bytes, the longest 131074, and the environment "));
    EXPECT_EQ(Check(Vector(1, 131071)).end, End::Refused);
}

TEST_F(ProgramCheckTest, AProgramWithoutRoomForItsArgumentsIsAskedAboutForOthers) {
    rlimit limit = {};
    getrlimit(RLIMIT_STACK, &limit);
    rlimit const small = {128UL << 10, limit.rlim_max};
    setrlimit(RLIMIT_STACK, &small);
    // The longest argument that is not too long leaves the program no stack at all.
    std::size_t length = 1000;
    for (std::size_t step = 1UL << 16; step > 0; step /= 2) {
        if (ProgramCheck().Check(program, Vector(1, length + step)).end !=
            End::ArgumentsTooLong) {
            length += step;
        }
    }
    End const of_long = Check(Vector(1, length)).end;
    End const of_short = Check(Vector(1, 10)).end;
    RemoveProgram();
    End const again = Check(Vector(1, length)).end;
    setrlimit(RLIMIT_STACK, &limit);
    EXPECT_EQ(of_long, End::Killed);
    EXPECT_EQ(of_short, End::Executed);
    EXPECT_EQ(again, End::Killed);
}

TEST_F(ProgramCheckTest, AProgramForThisMachineThatIsRefusedIsDamaged) {
    std::string const whole = ReadFile(program);
    for (std::size_t const length : {20, 300}) {
        WriteFile(program, whole.substr(0, length));
        ProgramVerdict const verdict = ProgramCheck().Check(program, {program});
        EXPECT_EQ(verdict.end, End::Refused);
        EXPECT_THAT(verdict.reason,
                    StartsWith("Exec format error: it is an ELF file for "));
        EXPECT_THAT(verdict.reason, testing::HasSubstr(", but damaged or cut short"));
    }
    struct {
        std::size_t place;
        char value;
        char const* what;
    } const cases[] = {{4, 3, "an ELF file for "},
                       {16, 1, "an object file"},
                       {16, 4, "a core file"},
                       {18, 8, "an ELF file for processor 8"}};
    for (auto const& [place, value, what] : cases) {
        std::string changed = whole.substr(0, 300);
        changed[place] = value;
        WriteFile(program, changed);
        std::string const reason = ProgramCheck().Check(program, {program}).reason;
        EXPECT_THAT(reason, StartsWith("Exec format error: it is " + std::string(what)));
        EXPECT_THAT(reason, testing::Not(testing::HasSubstr("damaged")));
    }
    WriteFile(program, whole.substr(0, 19));
    EXPECT_EQ(ProgramCheck().Check(program, {program}).reason,
              "Exec format error: it is the beginning of an ELF file");
}

}  // namespace
}  // namespace launchlist_check
