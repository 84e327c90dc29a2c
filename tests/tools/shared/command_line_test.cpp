#include "tools/shared/command_line.h"

#include <gmock/gmock.h>

namespace {

using testing::ElementsAre;
using testing::IsEmpty;

CommandLine Read(std::vector<char const*> arguments) {
    arguments.insert(arguments.begin(), "tool");
    return ReadCommandLine(static_cast<int>(arguments.size()), arguments.data(),
                           {{"--json", false}, {"--now", true}, {"-h", false}});
}

TEST(CommandLine, ReadsOptionsAndOperandsInAnyOrder) {
    CommandLine const line = Read({"--json", "a.json", "--now=noon", "-"});
    EXPECT_EQ(line.error, "");
    EXPECT_TRUE(line.Has("--json"));
    EXPECT_FALSE(line.Has("-h"));
    EXPECT_EQ(line.options.at("--now"), "noon");
    EXPECT_THAT(line.operands, ElementsAre("a.json", "-"));
}

TEST(CommandLine, AValueIsBehindAnEqualsSignOrTheNextArgument) {
    EXPECT_EQ(Read({"--now", "--json"}).options.at("--now"), "--json");
    EXPECT_FALSE(Read({"--now", "--json"}).Has("--json"));
    EXPECT_EQ(Read({"--now=a=b"}).options.at("--now"), "a=b");
    EXPECT_EQ(Read({"--now="}).options.at("--now"), "");
    EXPECT_EQ(Read({"--now=a", "--now=b"}).options.at("--now"), "b");
}

TEST(CommandLine, TwoDashesEndTheOptions) {
    CommandLine const line = Read({"--json", "--", "--now", "-h", "--"});
    EXPECT_EQ(line.error, "");
    EXPECT_THAT(line.operands, ElementsAre("--now", "-h", "--"));
}

TEST(CommandLine, AnEmptyArgumentIsAnOperand) {
    EXPECT_THAT(Read({""}).operands, ElementsAre(""));
    EXPECT_THAT(Read({}).operands, IsEmpty());
}

TEST(CommandLine, SaysWhatIsWrong) {
    EXPECT_EQ(Read({"--jso"}).error, "unknown option --jso");
    EXPECT_EQ(Read({"-j"}).error, "unknown option -j");
    EXPECT_EQ(Read({"-\n"}).error, "unknown option -\\x0A");
    EXPECT_EQ(Read({"--json=yes"}).error, "--json takes no value");
    EXPECT_EQ(Read({"--json="}).error, "--json takes no value");
    EXPECT_EQ(Read({"--now"}).error, "--now needs a value");
}

}  // namespace
