// What launchlist-check says of a launch list, beside what the launcher did with it.

#ifndef TESTS_PREDICTIONS_COMPARISON_H
#define TESTS_PREDICTIONS_COMPARISON_H

#include <set>
#include <string>
#include <vector>

#include "tests/predictions/observation.h"
#include "tests/predictions/random_list.h"

// What `launchlist-check --json --all LIST` did.
struct Prediction {
    std::string end;     // "exit 0"
    std::string output;  // what it printed
};

struct Comparison {
    // A sentence for everything that does not fit.
    std::vector<std::string> differences = {};
    // The kinds of the findings, each once.
    std::set<std::string> kinds = {};
};

// Compares what was said of a list alone with what was seen.
//
// An item that no finding is about is to be started as it is written; findings say what
// happens instead. Outcomes leave some choice where the launcher has it, and no more:
//
//   runs         the launcher stays, with these programs, and SIGTERM ends it with 1
//   exits        it ends with 0 and has started nothing
//   aborts       it ends by SIGABRT, and may have started items before
//   kills-group  it ends by SIGKILL. Or else: with 0, if an item ends the list; by
//   SIGABRT,
//                if an item leads to that; or it stays, with the last item of each name,
//                if two have one name. If there are too few processes, it ends by
//                SIGKILL or with 0, or it stays and has given up items
//   hangs        it never reads the list to its end
Comparison Compare(RandomList const& list, Prediction const& prediction,
                   Observation const& seen);

#endif
