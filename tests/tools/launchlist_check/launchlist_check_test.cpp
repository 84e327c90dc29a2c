// The program as a user runs it: files, output, exit codes.

#include <fcntl.h>
#include <gmock/gmock.h>
#include <json/reader.h>
#include <sys/resource.h>
#include <unistd.h>

#include <sstream>

#include "harness/files.h"
#include "harness/process.h"
#include "tests/support/run_program.h"
#include "tests/support/sanitizers.h"

namespace {

using testing::HasSubstr;
using testing::StartsWith;

std::string const kRight = R"({"0": {"name": "a", "program": "/bin/sh"}})";
std::string const kWarned = R"({"0": {"name": "a", "program": "/bin/sh", "x": 1}})";
std::string const kWrong = R"({"0": {"program": "/bin/sh"}})";

class LaunchlistCheck : public testing::Test {
  protected:
    static ProgramRun Run(std::vector<std::string> arguments,
                          std::string const& input = "") {
        arguments.insert(arguments.begin(), LAUNCHLIST_CHECK);
        return RunProgram(arguments, input);
    }

    static Json::Value Parse(std::string const& text) {
        Json::Value value;
        std::istringstream(text) >> value;
        return value;
    }

    TempDirectory const directory;
    std::string const right = directory.Write("right.json", kRight);
    std::string const warned = directory.Write("warned.json", kWarned);
    std::string const wrong = directory.Write("wrong.json", kWrong);
};

TEST_F(LaunchlistCheck, SaysOkOfARightListAndEndsWithZero) {
    ProgramRun const run = Run({right});
    EXPECT_EQ(run.end, "exit 0");
    EXPECT_EQ(run.output, right + ": ok, 1 program\n");
    EXPECT_EQ(run.errors, "");
}

TEST_F(LaunchlistCheck, WarningsLeaveTheExitCodeZeroUnlessTheyAreStrict) {
    std::string const line = warned +
                             ":1:43: warning: item \"0\" (a): the member \"x\" means "
                             "nothing to the launcher [unknown-member]\n";
    ProgramRun run = Run({warned});
    EXPECT_EQ(run.output, line + warned + ": ok, 1 program, 1 warning\n");
    EXPECT_EQ(run.end, "exit 0");
    run = Run({"--strict", warned});
    EXPECT_EQ(run.output, line + warned + ": 1 warning\n");
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_EQ(Run({"--strict", right}).end, "exit 0");
}

TEST_F(LaunchlistCheck, AnErrorGivesOne) {
    ProgramRun const run = Run({wrong});
    EXPECT_EQ(run.output, wrong +
                              ":1:2: error: item \"0\": no \"name\": the launcher skips "
                              "the item [no-name]\n" +
                              wrong + ": 1 error\n");
    EXPECT_EQ(run.end, "exit 1");
}

TEST_F(LaunchlistCheck, ChecksSeveralFilesInTheirOrder) {
    ProgramRun const run = Run({right, directory.Path() / "missing", right});
    EXPECT_EQ(
        run.output,
        right + ": ok, 1 program\n" + directory.Path().string() +
            "/missing:1:1: error: this cannot be opened: No such file or directory: the "
            "launcher ends without a word, with exit code 0 [unreadable]\n" +
            directory.Path().string() + "/missing: 1 error\n" + right +
            ": ok, 1 program\n");
    EXPECT_EQ(run.end, "exit 1");
}

TEST_F(LaunchlistCheck, ADashIsTheStandardInput) {
    EXPECT_EQ(Run({"-"}, kRight).output, "<stdin>: ok, 1 program\n");
    ProgramRun const run = Run({"-"}, "{");
    EXPECT_THAT(run.output, StartsWith("<stdin>:1:2: error: this is not JSON: "));
    EXPECT_EQ(run.end, "exit 1");
}

TEST_F(LaunchlistCheck, AFileNameCannotForgeALine) {
    std::string const path = directory.Write("a\nok: 7 programs", kWrong);
    EXPECT_THAT(Lines(Run({path}).output),
                testing::ElementsAre(HasSubstr("a\\x0Aok: 7 programs:1:2: error: item"),
                                     HasSubstr("a\\x0Aok: 7 programs: 1 error")));
}

TEST_F(LaunchlistCheck, BytesThatAreNotUtf8AreReplacedInJson) {
    std::string const path = directory.Write(
        "\xE9[f]", "{\"0\": {\"name\": \"\xE9[n]\", \"program\": \"/bin/sh\"}}");
    Json::Value const file = Parse(Run({"--json", path}).output)["files"][0];
    EXPECT_EQ(file["file"], (directory.Path() / "\xEF\xBF\xBD[f]").string());
    ASSERT_EQ(file["findings"].size(), 1U);
    EXPECT_EQ(file["findings"][0]["name"], "\xEF\xBF\xBD[n]");
}

TEST_F(LaunchlistCheck, PrintsJsonForMachines) {
    ProgramRun const run = Run({"--json", right, wrong, "-"}, "{\n\"\xC3\xA9\xFF\": }");
    EXPECT_EQ(run.end, "exit 1");
    EXPECT_EQ(Lines(run.output).size(), 1U);
    Json::Value const files = Parse(run.output)["files"];
    ASSERT_EQ(files.size(), 3U);
    EXPECT_EQ(files[0]["file"], right);
    EXPECT_EQ(files[0]["programs"], 1);
    EXPECT_EQ(files[0]["errors"], 0);
    EXPECT_EQ(files[0]["warnings"], 0);
    EXPECT_EQ(files[0]["findings"], Json::Value(Json::arrayValue));
    Json::Value finding = files[1]["findings"][0];
    EXPECT_EQ(files[1]["errors"], 1);
    EXPECT_EQ(files[1]["programs"], 0);
    EXPECT_EQ(finding["severity"], "error");
    EXPECT_EQ(finding["kind"], "no-name");
    EXPECT_EQ(finding["item"], "0");
    EXPECT_EQ(finding["message"], "no \"name\": the launcher skips the item");
    EXPECT_EQ(finding["line"], 1);
    EXPECT_EQ(finding["column"], 2);
    EXPECT_FALSE(finding.isMember("name"));
    finding = files[2]["findings"][0];
    EXPECT_EQ(files[2]["file"], "<stdin>");
    EXPECT_EQ(finding["kind"], "not-json");
    EXPECT_EQ(finding["line"], 2);
    EXPECT_EQ(finding["column"], 7);
    EXPECT_FALSE(finding.isMember("item"));
}

TEST_F(LaunchlistCheck, JsonSaysWhatBecomesOfTheLauncher) {
    struct {
        char const* list;
        char const* outcome;
        int programs;
    } const cases[] = {
        {R"({"0": {"name": "a"}, "1": {"name": "b"}})", "runs", 2},
        {"{}", "runs", 0},
        {"null", "runs", 0},
        {R"({"0": null, "1": {"name": "a"}})", "runs", 1},
        {"", "exits", 0},
        {"{", "exits", 0},
        {"[]", "exits", 0},
        {R"({"0": []})", "exits", 0},
        {R"({"0": {"program": []}, "1": {"name": []}})", "exits", 0},
        {R"({"0": {"name": "a"}, "1": []})", "kills-group", 0},
        {R"({"0": {"name": "a"}, "1": {"name": []}})", "kills-group", 0},
        {R"({"0": {"name": "a"}, "1": {"name": "a"}})", "kills-group", 0},
        {R"({"0": {"name": "a", "program": []}, "1": 7})", "kills-group", 0},
        {R"({"0": {"name": "a", "program": []}, "1": {"name": "a"}})", "kills-group", 0},
        {R"({"0": {"name": "a", "program": []}, "1": {"name": "b"}})", "aborts", 0},
        // Items after the one at which the launcher ends change nothing.
        {R"({"0": 7, "1": {"name": "a"}, "2": {"name": "a"}})", "exits", 0},
        {R"({"0": 7, "1": {"name": "a", "program": {}}})", "exits", 0},
        {R"({"0": {"name": "a"}, "1": 7, "2": 7})", "kills-group", 0}};
    for (auto const& [list, outcome, programs] : cases) {
        Json::Value const file = Parse(Run({"--json", "-"}, list).output)["files"][0];
        EXPECT_EQ(file["outcome"], outcome) << list;
        EXPECT_EQ(file["programs"], programs) << list;
    }
    Json::Value const files =
        Parse(Run({"--json", "/nothing/here", "/", "/dev/zero"}).output)["files"];
    EXPECT_EQ(files[0]["outcome"], "exits");
    EXPECT_EQ(files[1]["outcome"], "hangs");
    EXPECT_EQ(files[2]["outcome"], "hangs");
}

TEST_F(LaunchlistCheck, JsonCountsAndNames) {
    Json::Value const file = Parse(Run({"--json", warned}).output)["files"][0];
    EXPECT_EQ(file["errors"], 0);
    EXPECT_EQ(file["warnings"], 1);
    EXPECT_EQ(file["programs"], 1);
    EXPECT_EQ(file["findings"][0]["name"], "a");
    EXPECT_EQ(file["findings"][0]["severity"], "warning");
}

TEST_F(LaunchlistCheck, AWrongCommandLineGivesTwo) {
    ProgramRun run = Run({});
    EXPECT_EQ(run.end, "exit 2");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors,
              "launchlist-check: no launch list is named; --help tells more\n");
    run = Run({"--jsn", right});
    EXPECT_EQ(run.end, "exit 2");
    EXPECT_EQ(run.output, "");
    EXPECT_EQ(run.errors, "launchlist-check: unknown option --jsn; --help tells more\n");
}

TEST_F(LaunchlistCheck, TellsItsUseAndItsVersion) {
    for (char const* const option : {"--help", "-h"}) {
        ProgramRun const run = Run({option});
        EXPECT_EQ(run.end, "exit 0");
        EXPECT_THAT(run.output,
                    testing::AllOf(StartsWith("launchlist-check [--json] [--strict] "
                                              "[--all] [--no-programs] LIST.json...\n"),
                                   HasSubstr("Examples:")));
        EXPECT_EQ(run.errors, "");
    }
    EXPECT_EQ(Run({"--version"}).output, "launchlist-check " VERSION "\n");
}

TEST_F(LaunchlistCheck, OutputThatCannotBeWrittenIsAnError) {
    for (std::vector<std::string> const& arguments :
         {std::vector<std::string>{right}, std::vector<std::string>{"--help"}}) {
        std::vector<std::string> all = {LAUNCHLIST_CHECK};
        all.insert(all.end(), arguments.begin(), arguments.end());
        std::string const errors = directory.Write("errors", "");
        Process tool(all, [&errors] {
            dup2(open("/dev/full", O_WRONLY), STDOUT_FILENO);
            dup2(open(errors.c_str(), O_WRONLY), STDERR_FILENO);
        });
        EXPECT_EQ(tool.WaitForEnd(), "exit 1");
        EXPECT_EQ(ReadFile(errors),
                  "launchlist-check: the output could not be written: No space left on "
                  "device\n");
    }
}

#if !UNDER_ASAN && !UNDER_TSAN
TEST_F(LaunchlistCheck, LackOfMemoryIsAnError) {
    std::string const large =
        directory.Write("large.json", std::string(48UL << 20, ' ') + kRight);
    std::string const errors = directory.Write("errors", "");
    Process tool({LAUNCHLIST_CHECK, large}, [&errors] {
        dup2(open(errors.c_str(), O_WRONLY), STDERR_FILENO);
        rlimit const limit = {40UL << 20, 40UL << 20};
        setrlimit(RLIMIT_AS, &limit);
    });
    EXPECT_EQ(tool.WaitForEnd(), "exit 1");
    EXPECT_EQ(ReadFile(errors), "launchlist-check: out of memory\n");
}
#endif

TEST_F(LaunchlistCheck, ReadsAPipe) {
    Process tool({"/bin/sh", "-c",
                  "printf '{}' | '" LAUNCHLIST_CHECK "' /dev/stdin >'" +
                      (directory.Path() / "output").string() + "'"});
    EXPECT_EQ(tool.WaitForEnd(), "exit 0");
    EXPECT_THAT(ReadFile(directory.Path() / "output"), HasSubstr("[no-items]"));
}

}  // namespace
