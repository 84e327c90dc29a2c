#include "tools/launchlist_export/formats.h"

#include <gmock/gmock.h>

namespace launchlist_export {
namespace {

using testing::HasSubstr;
using testing::Not;

ExportedItem ItemFor(std::string const& identifier,
                     std::vector<std::string> const& arguments) {
    ExportedItem item;
    item.name = identifier + "\n-->";
    item.identifier = identifier;
    item.arguments = arguments;
    return item;
}

ExportedList ListOfTwo() {
    ExportedList list;
    list.items = {ItemFor("a", {"/p", "x"}), ItemFor("b", {"/q"})};
    list.items[1].has_launch_with = true;
    list.items[1].stop_seconds = 25;
    list.not_started = {"item 7 has no name"};
    return list;
}

std::vector<File> Write(std::string const& format) {
    return FindFormat(format)->write(ListOfTwo(), {"image:1"});
}

std::string FindProblem(std::string const& format,
                        std::vector<std::string> const& arguments) {
    return FindFormat(format)->find_problem(ItemFor("a", arguments));
}

TEST(Quote, ForSystemdEscapesAllButPrintableAscii) {
    EXPECT_EQ(QuoteForSystemd("a $b ~ 'c'"), R"("a $b ~ 'c'")");
    EXPECT_EQ(QuoteForSystemd(R"("\%)"), R"("\"\\%%")");
    EXPECT_EQ(QuoteForSystemd("\n\x1F\x7F\xC3\xFF"), R"("\x0A\x1F\x7F\xC3\xFF")");
    EXPECT_EQ(QuoteForSystemd(""), R"("")");
}

TEST(Quote, ForKubeEscapesAllButPrintableAscii) {
    EXPECT_EQ(QuoteForKube("a ~ 'c' %"), R"("a ~ 'c' %")");
    EXPECT_EQ(QuoteForKube(R"("\)"), R"("\"\\")");
    EXPECT_EQ(QuoteForKube("\n\x1F\x7F\xC3\xA9\xF0\x9F\x98\x80"),
              R"("\U0000000A\U0000001F\U0000007F\U000000E9\U0001F600")");
}

TEST(Quote, ForSupervisordKeepsBlanksAndNoCommentBegins) {
    EXPECT_EQ(QuoteForSupervisord(R"(a "b" \ $c)"), R"('a "b" \ $c')");
    EXPECT_EQ(QuoteForSupervisord("it's 5%"), R"('it'"'"'s 5%%')");
    EXPECT_EQ(QuoteForSupervisord(" ; #"), R"(' ''; ''#')");
    EXPECT_EQ(QuoteForSupervisord("a \n\n b"), "'a ''\n ''''\n '' b'");
}

TEST(Quote, ForLaunchdEscapesMarkup) {
    EXPECT_EQ(QuoteForLaunchd("<a> & \"b\"\t\r\n"), "&lt;a&gt; &amp; \"b\"\t&#13;\n");
}

TEST(Systemd, HasAUnitForEachItem) {
    std::vector<File> const files = Write("systemd");
    ASSERT_EQ(files.size(), 2U);
    EXPECT_EQ(files[0].name, "launchlist-a.service");
    EXPECT_THAT(
        files[0].text,
        HasSubstr("# launchlist-a.service: item \"a\\x0A-\\x2D>\" of a launch list\n"
                  "# Left out: item 7 has no name\n"));
    EXPECT_THAT(files[0].text, HasSubstr("\nExecStart=:\"/p\" \"x\"\nRestart=always\n"));
    EXPECT_THAT(files[0].text, HasSubstr("\nRestartSec=50ms\n"));
    EXPECT_THAT(files[0].text, HasSubstr("\nTimeoutStopSec=10\n# The launcher gives no"));
    EXPECT_THAT(files[1].text, HasSubstr("\nTimeoutStopSec=25\n# launch-with works"));
    EXPECT_THAT(files[1].text, Not(HasSubstr("Left out")));
}

TEST(Systemd, SaysThatStatusFailsIfAnArgumentIsNotUtf8) {
    ExportedList list;
    list.items = {ItemFor("a", {"/p", "\xC3\xA9"}), ItemFor("b", {"/p", "\xFF"})};
    std::vector<File> const files = FindFormat("systemd")->write(list, {});
    EXPECT_THAT(files[0].text, Not(HasSubstr("systemctl")));
    EXPECT_THAT(
        files[1].text,
        HasSubstr("\n# An argument is not UTF-8. The program gets it, but systemctl "
                  "status fails.\nExecStart="));
}

TEST(Systemd, RefusesPathsThatItWouldRefuse) {
    for (std::string const path : {"/a\"", "/a'", "/a\\", "/a\n", "/a\x7F"}) {
        EXPECT_EQ(
            FindProblem("systemd", {path}),
            "its program has a quotation mark, a backslash or a control character in "
            "its path, which systemd refuses");
    }
    EXPECT_EQ(FindProblem("systemd", {"/a b$%;#\xFF", "\"'\\\n\x7F"}), "");
}

TEST(Systemd, RefusesALineThatItWouldNotRead) {
    // The path, the quotes and the line feed take 22 bytes more.
    std::size_t const most = 1024UL * 1024 - 22;
    EXPECT_EQ(FindProblem("systemd", {"/aaaa", std::string(most, 'a')}), "");
    EXPECT_EQ(
        FindProblem("systemd", {"/aaaa", std::string(most + 1, 'a')}),
        "its arguments take a line of more than 1 MiB, which systemd does not read");
}

TEST(Kube, HasAContainerForEachItem) {
    std::vector<File> const files = Write("kube");
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].name, "launchlist.yaml");
    EXPECT_THAT(files[0].text, HasSubstr("# Left out: item 7 has no name\n"));
    EXPECT_THAT(files[0].text, HasSubstr("\n  terminationGracePeriodSeconds: 25\n"));
    EXPECT_THAT(files[0].text, HasSubstr(R"(
    # item "a\x0A-\x2D>"
    - name: "a"
      image: "image:1"
      command:
        - "/p"
      args:
        - "x"
)"));
    EXPECT_THAT(files[0].text, HasSubstr(R"(is the grace.
    - name: "b"
      image: "image:1"
      command:
        - "/q"
)"));
}

TEST(Kube, EscapesTheDollarsThatItWouldReplace) {
    ExportedList list;
    list.items = {ItemFor("a", {"/p", "$1 $", "$(A) $$ $$(A)", "$\xC3\xA9"})};
    EXPECT_THAT(FindFormat("kube")->write(list, {})[0].text, HasSubstr(R"yaml(
        - "$1 $"
        - "$$(A) $$$ $$$$(A)"
        - "$$\U000000E9"
)yaml"));
}

TEST(Supervisord, HasASectionForEachItem) {
    std::vector<File> const files = Write("supervisord");
    ASSERT_EQ(files.size(), 1U);
    EXPECT_EQ(files[0].name, "launchlist.conf");
    EXPECT_THAT(files[0].text, HasSubstr("; Left out: item 7 has no name\n"));
    EXPECT_THAT(files[0].text, HasSubstr("\n; item \"a\\x0A-\\x2D>\"\n[program:a]\n"
                                         "command='/p' 'x'\nautorestart=true\n"));
    EXPECT_THAT(files[0].text, HasSubstr("\nstopwaitsecs=25\n"));
}

TEST(Launchd, HasAPropertyListForEachItem) {
    std::vector<File> const files = Write("launchd");
    ASSERT_EQ(files.size(), 2U);
    EXPECT_EQ(files[0].name, "launchlist.a.plist");
    EXPECT_THAT(
        files[0].text,
        HasSubstr("<!-- launchlist.a.plist: item \"a\\x0A-\\x2D>\" of a launch list "
                  "-->\n<!-- Left out: item 7 has no name -->\n"));
    EXPECT_THAT(files[0].text, HasSubstr("<string>/p</string>\n\t\t<string>x</string>"));
    EXPECT_THAT(files[1].text, HasSubstr("<integer>25</integer>"));
    EXPECT_THAT(files[1].text, Not(HasSubstr("Left out")));
}

TEST(FindProblem, NamesTheArgumentThatIsNotText) {
    EXPECT_EQ(FindProblem("kube", {"/p", "a", "\xFF"}),
              "argument \"1\" is not UTF-8, which a manifest must be");
    EXPECT_EQ(FindProblem("supervisord", {"/\xFF"}),
              "its program is not UTF-8, which supervisord's file must be");
    EXPECT_EQ(FindProblem("supervisord", {"/p", "\r"}),
              "argument \"0\" has a carriage return, which supervisord takes for a line "
              "feed");
    EXPECT_EQ(FindProblem("launchd", {"/p", "\xFF"}),
              "argument \"0\" is not UTF-8, which a property list must be");
    for (std::string const argument : {"\x01", "\x1F", "\xEF\xBF\xBE", "\xEF\xBF\xBF"}) {
        EXPECT_EQ(FindProblem("launchd", {"/p", argument}),
                  "argument \"0\" has a character that XML does not have");
        EXPECT_EQ(FindProblem("kube", {"/p", argument}), "");
        EXPECT_EQ(FindProblem("supervisord", {"/p", argument}), "");
    }
    EXPECT_EQ(FindProblem("launchd", {"/p", "\t\n\r\x7F\xEF\xBF\xBD\xF0\x9F\x98\x80"}),
              "");
}

TEST(FindFormat, EachOfTheFourSaysInCommentsWhatWillDiffer) {
    for (std::string const format : {"systemd", "kube", "supervisord", "launchd"}) {
        std::string const text = Write(format)[0].text;
        for (std::string const words :
             {"50 ms after", "sends SIGKILL at once", "gives no standard streams",
              "working directory"}) {
            EXPECT_THAT(text, HasSubstr(words)) << format;
        }
    }
}

TEST(FindFormat, KnowsNoOtherName) {
    EXPECT_EQ(FindFormat("cron"), nullptr);
    EXPECT_EQ(FindFormat(""), nullptr);
}

}  // namespace
}  // namespace launchlist_export
