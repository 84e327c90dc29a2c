#include "tools/common/command_line.h"

#include <gmock/gmock.h>

#include <cstdlib>

namespace tools {
namespace {

using testing::ElementsAre;

CommandLine Read(std::vector<std::string> arguments) {
    arguments.insert(arguments.begin(), "tool");
    std::vector<char*> argv = Pointers(arguments);
    return ReadCommandLine(static_cast<int>(arguments.size()), argv.data(),
                           {{"json"}, {"now", true}});
}

TEST(CommandLine, ReadsOptionsAndOperandsInAnyOrder) {
    CommandLine const line = Read({"a.json", "--json", "b.json", "--now=noon", "-"});
    EXPECT_EQ(line.error, "");
    EXPECT_TRUE(line.Has("json"));
    EXPECT_FALSE(line.Has("help"));
    EXPECT_EQ(line.options.at("now"), "noon");
    EXPECT_THAT(line.operands, ElementsAre("a.json", "b.json", "-"));
}

TEST(CommandLine, ReadsThemInAnyOrderWhateverTheEnvironmentSays) {
    setenv("POSIXLY_CORRECT", "1", 1);
    CommandLine const line = Read({"a.json", "--json", "b.json"});
    unsetenv("POSIXLY_CORRECT");
    EXPECT_TRUE(line.Has("json"));
    EXPECT_THAT(line.operands, ElementsAre("a.json", "b.json"));
}

TEST(CommandLine, AValueFollowsAnEqualsSignOrIsTheNextArgument) {
    EXPECT_EQ(Read({"--now", "--json"}).options.at("now"), "--json");
    EXPECT_FALSE(Read({"--now", "--json"}).Has("json"));
    EXPECT_EQ(Read({"--now=a=b"}).options.at("now"), "a=b");
    EXPECT_EQ(Read({"--now="}).options.at("now"), "");
    EXPECT_EQ(Read({"--now=a", "--now=b"}).options.at("now"), "b");
    EXPECT_EQ(Read({"--now", "--", "--json"}).options.at("now"), "--");
    EXPECT_TRUE(Read({"--now", "--", "--json"}).Has("json"));
}

TEST(CommandLine, TwoDashesEndTheOptions) {
    CommandLine const line = Read({"--json", "--", "--now", "-h", "--"});
    EXPECT_EQ(line.error, "");
    EXPECT_THAT(line.operands, ElementsAre("--now", "-h", "--"));
    EXPECT_THAT(Read({"a", "--"}).operands, ElementsAre("a"));
}

TEST(CommandLine, AnEmptyArgumentIsAnOperand) {
    EXPECT_THAT(Read({""}).operands, ElementsAre(""));
    EXPECT_THAT(Read({}).operands, testing::IsEmpty());
}

TEST(CommandLine, EveryToolHasHelpAndAVersion) {
    EXPECT_TRUE(Read({"--help"}).Has("help"));
    EXPECT_TRUE(Read({"-h"}).Has("help"));
    EXPECT_TRUE(Read({"--version"}).Has("version"));
}

TEST(CommandLine, SaysWhatIsWrong) {
    EXPECT_EQ(Read({"--jsn"}).error, "unknown option --jsn");
    EXPECT_EQ(Read({"--jsn=1"}).error, "unknown option --jsn");
    EXPECT_EQ(Read({"--=1"}).error, "unknown option --");
    EXPECT_EQ(Read({"-j"}).error, "unknown option -j");
    EXPECT_EQ(Read({"-json"}).error, "unknown option -json");
    EXPECT_EQ(Read({"-\n"}).error, "unknown option -\\x0A");
    EXPECT_EQ(Read({"a", "-\xC3\xA9"}).error, "unknown option -\xC3\xA9");
    EXPECT_EQ(Read({"--json=yes"}).error, "--json takes no value");
    EXPECT_EQ(Read({"--json="}).error, "--json takes no value");
    EXPECT_EQ(Read({"--now"}).error, "--now needs a value");
}

TEST(CommandLine, AnAbbreviationIsUnknown) {
    EXPECT_EQ(Read({"--jso"}).error, "unknown option --jso");
    EXPECT_EQ(Read({"--jso=yes"}).error, "unknown option --jso");
    EXPECT_EQ(Read({"--no=noon"}).error, "unknown option --no");
    EXPECT_EQ(Read({"--no"}).error, "unknown option --no");
    EXPECT_EQ(Read({"--hel"}).error, "unknown option --hel");
}

}  // namespace
}  // namespace tools
