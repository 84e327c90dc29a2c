// What a launcher does with a launch list, as the system tells it: by the process table,
// the launcher's exit status and its log, and the reports of tests/support/probe.

#ifndef TESTS_PREDICTIONS_OBSERVATION_H
#define TESTS_PREDICTIONS_OBSERVATION_H

#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "tests/support/process.h"

struct Observation {
    // What the launcher does once everything has shown: "runs", "exit 0", "signal 6",
    // "reads for ever", "waits for a writer", or "unclear" if the time was not enough.
    std::string launcher;
    // How it ended after SIGTERM; empty if it was not sent one.
    std::string end_by_sigterm = {};
    // Items that it supervises.
    int supervisors = 0;
    // Those of them whose processes grow to a chain.
    int chains = 0;
    // The argument vectors that the probe was started with.
    std::set<std::vector<std::string>> started = {};
    // Names, as the log writes them: of chains; of items whose child ended by SIGABRT, or
    // by another signal; of items that were forked without a program.
    std::set<std::string> chain_names = {};
    std::set<std::string> aborted_names = {};
    std::set<std::string> killed_names = {};
    std::set<std::string> empty_names = {};
    // Items that were skipped because they have no name.
    int nameless = 0;
    // Items that were given up because a fork failed.
    int given_up = 0;
    // The log, for people.
    std::string log = {};
};

struct ObservedPlaces {
    std::filesystem::path launcher;
    std::filesystem::path log;
    // Where probes write their reports.
    std::filesystem::path reports;
};

// Watches `launcher`, which was just started, until each of its supervisors has shown
// what becomes of its item, or the launcher has ended. If `is_steady` and no program
// ends, it then sends SIGTERM. Runs as the first process of a PID namespace in which
// nothing else is.
Observation Observe(Process& launcher, ObservedPlaces const& places, bool is_steady);

#endif
