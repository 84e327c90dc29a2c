// What the check says of items with launch-with, compared with what launch-with does,
// over random command lines. A seed determines each of them.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <map>
#include <random>
#include <regex>
#include <string>
#include <vector>

#include "harness/files.h"
#include "harness/launch_list.h"
#include "harness/process.h"
#include "tests/tools/launchlist_check/checked.h"

namespace launchlist_check {
namespace {

// What the program of these tests ends with.
std::string const kRan = "exit 42";

using Words = std::vector<std::string>;

class CommandLines {
  public:
    CommandLines(unsigned int seed, TempDirectory const& directory)
        : random(seed), place(directory.Path()) {
        MakeProgram("program", "#!/bin/sh\nexit 42\n", 0755);
        MakeProgram("no_interpreter", "#!/nothing/here\n", 0755);
        MakeProgram("text", "exit 42\n", 0755);
        MakeProgram("not_executable", "#!/bin/sh\nexit 42\n", 0644);
    }

    // Returns the arguments of launch-with.
    Words Make() {
        Words words;
        for (std::size_t i = random() % 4; i > 0; --i) {
            Append(words, AnyOption());
        }
        if (random() % 2 == 0) {
            words.emplace_back("--");
        }
        if (random() % 8 != 0) {
            words.push_back(AnyProgram());
        }
        if (random() % 2 == 0) {
            Append(words, {"--grace", "x"});
        }
        return words;
    }

  private:
    void MakeProgram(std::string const& name, std::string const& text, mode_t mode) {
        WriteFile(place + "/" + name, text);
        chmod((place + "/" + name).c_str(), mode);
    }

    static void Append(Words& words, Words const& more) {
        words.insert(words.end(), more.begin(), more.end());
    }

    Words Pick(std::vector<Words> const& all) { return all[random() % all.size()]; }

    Words AnyOption() {
        std::vector<Words> const right = {{"--grace", "1"},
                                          {"--at-most-every=0"},
                                          {"--directory", place},
                                          {"--umask", "022"},
                                          {"--limit", "core=0"},
                                          {"--environment", "A=b"},
                                          {"--output", place + "/output"},
                                          {"--nice=0"},
                                          {"--lock", "name"},
                                          {"--stop-signal=INT"},
                                          {"--error", place + "/e"},
                                          {"--tail", "3"}};
        std::vector<Words> const wrong = {
            {"--grace="},  {"--bogus"},         {"--limit=core=2:1"},
            {"--umask=9"}, {"--tail=0"},        {"--directory=/nothing"},
            {"-x"},        {"--help"},          {"--version"},
            {"--gra=1"},   {"--environment=A"}, {"--nice=20"}};
        return Pick(random() % 6 == 0 ? wrong : right);
    }

    std::string AnyProgram() {
        return Pick({{place + "/program"},
                     {place + "/program"},
                     {place + "/program"},
                     {place + "/no_interpreter"},
                     {place + "/text"},
                     {place + "/not_executable"},
                     {place},
                     {"/nothing/here"},
                     {"/etc/passwd/x"},
                     {"program"},
                     {"nothing"},
                     {""}})[0];
    }

    std::mt19937 random;
    std::string const place;
};

// Returns what the check predicts: the end of launch-with; an empty string if that
// depends on the working directory.
std::string Predict(std::string const& said) {
    if (said == "list.json: ok, 1 program\n") {
        return kRan;
    }
    std::smatch code;
    bool const has_code =
        std::regex_search(said, code, std::regex("with exit code (\\d+)"));
    return has_code ? "exit " + code[1].str() : "";
}

std::string RunWith(Words words) {
    words.insert(words.begin(), LAUNCH_WITH);
    return Process(words,
                   [] {
                       for (int i = 0; i <= STDERR_FILENO; ++i) {
                           close(i);
                       }
                   })
        .WaitForEnd();
}

TEST(LaunchWithPrediction, IsWhatLaunchWithDoes) {
    std::map<std::string, int> ends;
    for (unsigned int seed = 1; seed <= 500; ++seed) {
        TempDirectory const directory;
        Words const words = CommandLines(seed, directory).Make();
        std::string const said = Check(ListText({ItemText("a", LAUNCH_WITH, words)}));
        std::string const predicted = Predict(said);
        if (!predicted.empty()) {
            std::string const end = RunWith(words);
            EXPECT_EQ(end, predicted) << "seed " << seed << ": " << said;
            ++ends[end];
        }
    }
    // Each of them happened.
    EXPECT_EQ(ends.size(), 4U);
    EXPECT_GT(ends[kRan], 50);
}

}  // namespace
}  // namespace launchlist_check
