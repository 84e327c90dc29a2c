#include "tools/launch_with/options.h"

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

#include "harness/process.h"

namespace launch_with {
namespace {

// A command line, and what is read from it. `Options` points into the arguments.
struct Read {
    explicit Read(std::vector<std::string> given) : arguments(std::move(given)) {
        arguments.insert(arguments.begin(), "launch-with");
        pointers = Pointers(arguments);
        Complaint found;
        if (!ReadOptions(static_cast<int>(arguments.size()), pointers.data(), options,
                         found)) {
            complaint = std::string(found.subject) + " " + found.text;
        }
    }

    std::vector<std::string> arguments;
    std::vector<char*> pointers;
    Options options;
    std::string complaint;
};

std::string ComplaintAbout(std::string const& option) {
    return Read({option, "--", "/bin/true"}).complaint;
}

TEST(LaunchWithOptions, WithoutOptionsHaveTheDocumentedDefaults) {
    Read const read({"/bin/echo", "--grace", "2"});
    EXPECT_EQ(read.complaint, "");
    EXPECT_EQ(read.options.at_most_every, 0);
    EXPECT_EQ(read.options.grace, 10'000);
    EXPECT_EQ(read.options.stop_signal, SIGTERM);
    EXPECT_EQ(read.options.output, nullptr);
    EXPECT_EQ(read.options.tail, 0);
    EXPECT_EQ(read.options.umask, -1);
    EXPECT_FALSE(read.options.has_nice);
    // What stands after the program is the program's.
    EXPECT_STREQ(read.options.command[0], "/bin/echo");
    EXPECT_STREQ(read.options.command[1], "--grace");
    EXPECT_STREQ(read.options.command[2], "2");
    EXPECT_EQ(read.options.command[3], nullptr);
}

TEST(LaunchWithOptions, AreReadUpToTwoDashes) {
    Read const read({"--at-most-every=1.25",
                     "--grace",
                     "0",
                     "--stop-signal",
                     "INT",
                     "--output",
                     "out",
                     "--error=err",
                     "--tail",
                     "20",
                     "--directory",
                     "/",
                     "--umask",
                     "027",
                     "--nice",
                     "-5",
                     "--lock",
                     "one",
                     "--environment",
                     "A=b=c",
                     "--limit",
                     "core=0",
                     "--",
                     "--odd",
                     "x"});
    EXPECT_EQ(read.complaint, "");
    EXPECT_EQ(read.options.at_most_every, 1250);
    EXPECT_EQ(read.options.grace, 0);
    EXPECT_EQ(read.options.stop_signal, SIGINT);
    EXPECT_STREQ(read.options.output, "out");
    EXPECT_STREQ(read.options.error, "err");
    EXPECT_EQ(read.options.tail, 20);
    EXPECT_STREQ(read.options.directory, "/");
    EXPECT_EQ(read.options.umask, 027);
    EXPECT_TRUE(read.options.has_nice);
    EXPECT_EQ(read.options.nice, -5);
    EXPECT_STREQ(read.options.lock, "one");
    EXPECT_STREQ(read.options.command[0], "--odd");
}

TEST(LaunchWithOptions, WithoutAnErrorFileErrorsGoToTheOutput) {
    EXPECT_STREQ(Read({"--output", "out", "/bin/true"}).options.error, "out");
    EXPECT_EQ(Read({"--error", "err", "/bin/true"}).options.output, nullptr);
}

TEST(LaunchWithOptions, AreRefusedUnlessTheyAreRight) {
    struct {
        char const* option;
        char const* complaint;
    } const cases[] = {
        {"--grace=", " is not a number of seconds"},
        {"--grace=-1", " is not a number of seconds"},
        {"--grace=1.", " is not a number of seconds"},
        {"--grace=.5", " is not a number of seconds"},
        {"--grace=1.2345", " is not a number of seconds"},
        {"--grace=10000000000", " is not a number of seconds"},
        {"--at-most-every=1s", " is not a number of seconds"},
        {"--stop-signal=TERMINATE", " is not a signal"},
        {"--stop-signal=0", " is not a signal"},
        {"--output=", " names no file"},
        {"--error=", " names no file"},
        {"--tail=0", " is not a number of lines"},
        {"--directory=", " names no directory"},
        {"--umask=8", " is not an octal mask"},
        {"--umask=1000", " is not an octal mask"},
        {"--nice=20", " is not a number from -20 to 19"},
        {"--nice=-21", " is not a number from -20 to 19"},
        {"--lock=", " is an empty name"},
        {"--environment=NAME", " is not NAME=VALUE"},
        {"--environment==b", " is not NAME=VALUE"},
        {"--limit=core", " is not a limit, such as core=0"},
        {"--limit=cores=0", " is not a limit, such as core=0"},
        {"--limit=core=1:", " is not a limit, such as core=0"},
        {"--limit=core=9:8", " is not a limit, such as core=0"},
        {"--bogus", " is not an option"},
        {"--gra=2", " is not an option"},
        {"--hel", " is not an option"},
        {"-x", " is not an option"},
        {"--help=x", " is not an option"},
    };
    for (auto const& [option, complaint] : cases) {
        EXPECT_EQ(ComplaintAbout(option), std::string(option) + complaint);
    }
    EXPECT_EQ(Read({"--grace"}).complaint, "--grace needs a value");
    EXPECT_EQ(Read({"--grace", "2"}).complaint, "the command line names no program");
    EXPECT_EQ(Read({"--tail=2", "/bin/true"}).complaint,
              "--tail needs --output or --error");
}

TEST(LaunchWithOptions, NameLimitsWithASoftAndAHardValue) {
    Limit limit = {};
    EXPECT_TRUE(ReadLimit("core=0", limit));
    EXPECT_EQ(limit.resource, RLIMIT_CORE);
    EXPECT_EQ(limit.value.rlim_cur, 0U);
    EXPECT_EQ(limit.value.rlim_max, 0U);
    EXPECT_TRUE(ReadLimit("nofile=1024:unlimited", limit));
    EXPECT_EQ(limit.resource, RLIMIT_NOFILE);
    EXPECT_EQ(limit.value.rlim_cur, 1024U);
    EXPECT_EQ(limit.value.rlim_max, RLIM_INFINITY);
}

TEST(LaunchWithOptions, NameTheLimitsOfTheSystem) {
    std::map<std::string, int> const resources = {
        {"as", RLIMIT_AS},         {"core", RLIMIT_CORE},   {"cpu", RLIMIT_CPU},
        {"data", RLIMIT_DATA},     {"fsize", RLIMIT_FSIZE}, {"memlock", RLIMIT_MEMLOCK},
        {"nofile", RLIMIT_NOFILE}, {"nproc", RLIMIT_NPROC}, {"stack", RLIMIT_STACK}};
    for (auto const& [name, resource] : resources) {
        Limit limit = {};
        EXPECT_TRUE(ReadLimit((name + "=1").c_str(), limit)) << name;
        EXPECT_EQ(limit.resource, resource) << name;
    }
}

TEST(LaunchWithOptions, KnowHelpAndVersionWithoutAProgram) {
    EXPECT_TRUE(Read({"--help"}).options.help);
    EXPECT_TRUE(Read({"-h", "--bogus"}).options.help);
    EXPECT_TRUE(Read({"--version"}).options.version);
    EXPECT_EQ(Read({"--version"}).complaint, "");
}

}  // namespace
}  // namespace launch_with
