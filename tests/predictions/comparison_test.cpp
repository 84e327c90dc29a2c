#include "tests/predictions/comparison.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::SizeIs;

// A list of two items, "a" and "b", whose programs are test programs.
RandomList TwoItems() {
    RandomList list;
    for (std::string const name : {"a", "b"}) {
        std::string const path = "/bin/" + name;
        WrittenItem item;
        item.name = WrittenValue{"\"" + name + "\"", name};
        item.program = {"the test program", path, Executed::kTestProgram, {path}};
        item.argc = "1";
        item.arguments["0"] = {"\"x\"", "x"};
        list.items[name == "a" ? "0" : "1"] = item;
    }
    return list;
}

// What is seen of a launcher that supervises both.
Observation BothRun() {
    Observation seen;
    seen.launcher = "runs";
    seen.end_by_sigterm = "exit 1";
    seen.supervisors = 2;
    seen.started = {{"/bin/a", "x"}, {"/bin/b", "x"}};
    return seen;
}

// What is seen of one that ended before it started anything.
Observation Ended(std::string const& how) {
    Observation seen;
    seen.launcher = how;
    return seen;
}

std::string Finding(std::string const& kind, std::string const& item,
                    std::string const& message, std::string const& severity = "error") {
    std::string finding = R"({"kind": ")" + kind + R"(", "severity": ")" + severity +
                          R"(", "message": ")" + message + "\"";
    finding += item.empty() ? "" : R"(, "item": ")" + item + "\"";
    return finding + "}";
}

Prediction Predicted(std::string const& outcome, int programs,
                     std::vector<std::string> const& findings = {}) {
    std::string all;
    int errors = 0;
    for (std::string const& finding : findings) {
        all += (all.empty() ? "" : ", ") + finding;
        errors += finding.find(R"("severity": "error")") != std::string::npos ? 1 : 0;
    }
    return {errors > 0 ? "exit 1" : "exit 0",
            R"({"files": [{"outcome": ")" + outcome + R"(", "programs": )" +
                std::to_string(programs) + R"(, "errors": )" + std::to_string(errors) +
                R"(, "findings": [)" + all + "]}]}"};
}

std::vector<std::string> Differences(Prediction const& prediction,
                                     Observation const& seen,
                                     RandomList const& list = TwoItems()) {
    return Compare(list, prediction, seen).differences;
}

TEST(Comparison, TwoProgramsThatRunAsTheyAreWrittenFit) {
    EXPECT_THAT(Differences(Predicted("runs", 2), BothRun()), IsEmpty());
}

TEST(Comparison, AProgramThatIsNotStartedOrWithOtherArgumentsDiffers) {
    Observation seen = BothRun();
    seen.started.erase({"/bin/b", "x"});
    EXPECT_THAT(Differences(Predicted("runs", 2), seen),
                ElementsAre(R"(started: not seen: "/bin/b" "x")"));
    seen.started.insert({"/bin/b", "y"});
    EXPECT_THAT(Differences(Predicted("runs", 2), seen),
                ElementsAre(R"(started: not seen: "/bin/b" "x")",
                            R"(started: not predicted: "/bin/b" "y")"));
}

TEST(Comparison, TheNumberOfProgramsIsCompared) {
    EXPECT_THAT(Differences(Predicted("runs", 1), BothRun()),
                ElementsAre(HasSubstr("1 programs")));
}

TEST(Comparison, ALauncherThatDoesNotEndWithOneDiffers) {
    Observation seen = BothRun();
    seen.end_by_sigterm = "still running";
    EXPECT_THAT(Differences(Predicted("runs", 2), seen),
                ElementsAre(HasSubstr("still running")));
}

TEST(Comparison, WhatTheLauncherDoesFitsTheOutcomeOnly) {
    std::string const not_json = Finding("not-json", "", "");
    std::string const ends = Finding("item-type", "1", "it ends there");
    std::string const same = Finding("duplicate-name", "1", R"(item \"0\" has it)");
    std::string const aborts = Finding("program-type", "0", "it aborts");
    struct {
        char const* outcome;
        std::vector<std::string> findings;
        std::vector<std::string> allowed;
    } const cases[] = {
        {"runs", {}, {"runs"}},
        {"exits", {not_json}, {"exit 0"}},
        {"aborts", {aborts}, {"signal 6"}},
        {"hangs", {not_json}, {"reads for ever", "waits for a writer"}},
        {"kills-group", {ends}, {"signal 9", "exit 0"}},
        {"kills-group", {same}, {"signal 9", "runs"}},
        {"kills-group", {aborts, ends}, {"signal 9", "exit 0", "signal 6"}},
        {"kills-group", {aborts, same}, {"signal 9", "signal 6"}},
        {"unknown", {not_json}, {}}};
    char const* const all[] = {"runs",     "exit 0",         "exit 1",
                               "signal 6", "signal 9",       "signal 11",
                               "unclear",  "reads for ever", "waits for a writer"};
    RandomList list = TwoItems();
    list.is_scrambled = true;
    for (auto const& [outcome, findings, allowed] : cases) {
        for (std::string const launcher : all) {
            Prediction const prediction =
                Predicted(outcome, launcher == "runs" ? 2 : 0, findings);
            Observation seen = Ended(launcher);
            seen.supervisors = 2;
            bool const fits = std::count(allowed.begin(), allowed.end(), launcher) == 1;
            EXPECT_THAT(Differences(prediction, seen, list), SizeIs(fits ? 0 : 1))
                << outcome << " and " << launcher;
        }
    }
}

TEST(Comparison, WithTooFewProcessesTheLauncherEndsOrGivesItemsUp) {
    Prediction const prediction =
        Predicted("kills-group", 0, {Finding("process-limit", "1", "")});
    EXPECT_THAT(Differences(prediction, Ended("signal 9")), IsEmpty());
    EXPECT_THAT(Differences(prediction, Ended("exit 0")), IsEmpty());
    Observation seen = BothRun();
    EXPECT_THAT(Differences(prediction, seen), SizeIs(1));
    seen.given_up = 1;
    EXPECT_THAT(Differences(prediction, seen), IsEmpty());
    EXPECT_THAT(Differences(Predicted("runs", 2), seen), SizeIs(1));
}

TEST(Comparison, ALauncherThatEndsMayHaveStartedItemsBeforeAndNoOthers) {
    Prediction const prediction =
        Predicted("kills-group", 0, {Finding("item-type", "1", "it ends there")});
    Observation seen = Ended("signal 9");
    EXPECT_THAT(Differences(prediction, seen), IsEmpty());
    seen.started = {{"/bin/a", "x"}};
    EXPECT_THAT(Differences(prediction, seen), IsEmpty());
    seen.started = {{"/bin/b", "x"}};
    EXPECT_THAT(Differences(prediction, seen), SizeIs(1));
}

TEST(Comparison, ALauncherThatExitsHasStartedNothing) {
    Observation seen = Ended("exit 0");
    seen.started = {{"/bin/a", "x"}};
    EXPECT_THAT(Differences(Predicted("exits", 0, {Finding("not-json", "", "")}), seen),
                SizeIs(1));
}

TEST(Comparison, OfTwoItemsOfOneNameTheLaterIsStarted) {
    Prediction const prediction = Predicted(
        "kills-group", 0, {Finding("duplicate-name", "1", R"(item \"0\" has it)")});
    Observation seen = BothRun();
    EXPECT_THAT(Differences(prediction, seen), IsEmpty());
    seen.started.erase({"/bin/a", "x"});
    EXPECT_THAT(Differences(prediction, seen), IsEmpty());
    seen.started = {{"/bin/a", "x"}};
    EXPECT_THAT(Differences(prediction, seen), SizeIs(1));
}

// One item that is started, and one that is not, in each of the ways.
TEST(Comparison, WhatAnItemDoesInsteadFitsItsFindingOnly) {
    struct {
        std::string finding;
        std::set<std::string> Observation::*names;
    } const cases[] = {{Finding("program-file", "1", ""), &Observation::chain_names},
                       {Finding("arguments-size", "1", ""), &Observation::chain_names},
                       {Finding("argc-type", "1", ""), &Observation::aborted_names},
                       {Finding("argc-too-large", "1", ""), &Observation::aborted_names},
                       {Finding("args-type", "1", ""), &Observation::aborted_names},
                       {Finding("argument-type", "1", ""), &Observation::aborted_names},
                       {Finding("program-load", "1", ""), &Observation::killed_names},
                       {Finding("no-program", "1", ""), &Observation::empty_names}};
    std::set<std::string> Observation::*const all[] = {&Observation::chain_names,
                                                       &Observation::aborted_names,
                                                       &Observation::empty_names};
    for (auto const& [finding, names] : cases) {
        Prediction const prediction = Predicted("runs", 2, {finding});
        EXPECT_THAT(Differences(prediction, BothRun()), SizeIs(2)) << finding;
        for (auto const seen_as : all) {
            Observation seen = BothRun();
            seen.started.erase({"/bin/b", "x"});
            (seen.*seen_as).insert("b");
            EXPECT_THAT(Differences(prediction, seen), SizeIs(seen_as == names ? 0 : 2))
                << finding;
        }
    }
}

TEST(Comparison, AnItemWithTwoFatesDiffers) {
    Observation seen = BothRun();
    seen.started.erase({"/bin/b", "x"});
    seen.aborted_names = {"b"};
    EXPECT_THAT(Differences(Predicted("runs", 2,
                                      {Finding("argc-type", "1", ""),
                                       Finding("program-file", "1", "")}),
                            seen),
                testing::Contains(HasSubstr("to abort, and to grow a chain")));
}

TEST(Comparison, IgnoredItemsAreNotStarted) {
    for (std::string const kind : {"unreached", "key-number"}) {
        Prediction const prediction = Predicted("runs", 1, {Finding(kind, "1", "")});
        Observation seen = BothRun();
        seen.supervisors = 1;
        EXPECT_THAT(Differences(prediction, seen), SizeIs(1)) << kind;
        seen.started.erase({"/bin/b", "x"});
        EXPECT_THAT(Differences(prediction, seen), IsEmpty()) << kind;
    }
}

TEST(Comparison, ItemsWithoutANameAreCounted) {
    Prediction const prediction = Predicted("runs", 1, {Finding("no-name", "1", "")});
    Observation seen = BothRun();
    seen.supervisors = 1;
    seen.started.erase({"/bin/b", "x"});
    EXPECT_THAT(Differences(prediction, seen), SizeIs(1));
    seen.nameless = 1;
    EXPECT_THAT(Differences(prediction, seen), IsEmpty());
}

TEST(Comparison, ValuesAreReadAsTheFindingsSay) {
    RandomList list = TwoItems();
    list.items["0"].arguments["0"] = {"7.0"};
    list.items["0"].argc = "2.5";
    list.items["0"].program.first_arguments = {"/lib/ld", "/bin/a"};
    list.items["1"].name = WrittenValue{"true"};
    list.items["1"].program.path = "";
    Prediction const prediction = Predicted(
        "runs", 2,
        {Finding("argument-type", "0",
                 R"(argument \"0\" is a number: the launcher takes it as \"7.0\")",
                 "warning"),
         Finding("argc-value", "0",
                 R"(\"argc\" is not an integer: the launcher reads it as 2)", "warning"),
         Finding("missing-arguments", "0", "", "warning"),
         Finding("name-type", "1",
                 R"(\"name\" is true: the launcher takes it as \"true\")", "warning"),
         Finding("no-program", "1", "")});
    Observation seen = BothRun();
    seen.started = {{"/lib/ld", "/bin/a", "7.0", ""}};
    seen.empty_names = {"true"};
    EXPECT_THAT(Differences(prediction, seen, list), IsEmpty());
    EXPECT_THAT(Differences(Predicted("runs", 2), seen, list), SizeIs(4));
}

TEST(Comparison, ANegativeCountLeavesOutThePath) {
    Prediction const prediction =
        Predicted("runs", 2, {Finding("argc-negative", "1", "")});
    EXPECT_THAT(Differences(prediction, BothRun()), SizeIs(2));
    Observation seen = BothRun();
    seen.started = {{"/bin/a", "x"}, {""}};
    EXPECT_THAT(Differences(prediction, seen), IsEmpty());
}

TEST(Comparison, OfAScrambledListTheChainsAreCounted) {
    RandomList list;
    list.is_scrambled = true;
    Observation seen = BothRun();
    Prediction const prediction =
        Predicted("runs", 2,
                  {Finding("program-file", "0", ""), Finding("relative-program", "1", ""),
                   Finding("program-file", "3", ""), Finding("unreached", "3", "")});
    for (int chains = 0; chains < 4; ++chains) {
        seen.chains = chains;
        EXPECT_THAT(Differences(prediction, seen, list),
                    SizeIs(chains == 1 || chains == 2 ? 0 : 1));
    }
}

TEST(Comparison, TheChecksExitCodeTellsOfErrors) {
    Prediction prediction = Predicted("runs", 2);
    prediction.end = "exit 1";
    EXPECT_THAT(Differences(prediction, BothRun()), SizeIs(1));
}

TEST(Comparison, APredictionWithoutAnAnswerOfTheSystemDiffers) {
    Prediction const prediction =
        Predicted("runs", 2, {Finding("static-check", "", "", "note")});
    EXPECT_THAT(Differences(prediction, BothRun()), ElementsAre(HasSubstr("system")));
}

TEST(Comparison, AFindingOfAnUnknownKindDiffers) {
    EXPECT_THAT(Differences(Predicted("runs", 2, {Finding("new", "0", "")}), BothRun()),
                ElementsAre(HasSubstr("new")));
}

TEST(Comparison, NoPredictionDiffers) {
    EXPECT_THAT(Differences({"signal 11", ""}, BothRun()),
                ElementsAre(HasSubstr("signal 11")));
}

std::string StatusOf(std::string const& first, std::string const& second) {
    return R"({"launchers":[{"problem":null,"items":[{"state":")" + first +
           R"("},{"state":")" + second + R"("}]}]})";
}

TEST(Comparison, WhatLauncherStatusSaysIsWhatIsSeen) {
    Observation seen = BothRun();
    seen.staying = 2;
    for (std::string const state : {"running", "unknown"}) {
        seen.status = StatusOf("running", state);
        EXPECT_THAT(Differences(Predicted("runs", 2), seen), IsEmpty()) << state;
    }
    for (std::string const state : {"chain", "waiting", "given_up"}) {
        seen.status = StatusOf("running", state);
        EXPECT_THAT(Differences(Predicted("runs", 2), seen),
                    testing::Contains(HasSubstr("launcher-status: 1 are " + state)))
            << state;
    }
    seen.status = R"({"launchers":[]})";
    EXPECT_THAT(Differences(Predicted("runs", 2), seen),
                ElementsAre("launcher-status does not show the launcher"));
}

TEST(Comparison, LauncherStopMustLeaveNothing) {
    Observation seen = BothRun();
    seen.stop_end = "exit 0";
    EXPECT_THAT(Differences(Predicted("runs", 2), seen), IsEmpty());
    seen.left_by_stop = 1;
    EXPECT_THAT(Differences(Predicted("runs", 2), seen),
                ElementsAre("launcher-stop: exit 0, and 1 processes are left"));
    seen.left_by_stop = 0;
    seen.stop_end = "exit 1";
    EXPECT_THAT(Differences(Predicted("runs", 2), seen), SizeIs(1));
}

}  // namespace
