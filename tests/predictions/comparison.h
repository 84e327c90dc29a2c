// Comparing what launchlist-check says of a launch list with what the launcher did.

#ifndef TESTS_PREDICTIONS_COMPARISON_H
#define TESTS_PREDICTIONS_COMPARISON_H

#include <set>
#include <string>
#include <vector>

#include "tests/predictions/observation.h"
#include "tests/predictions/written_list.h"

// What `launchlist-check --json --all LIST` did.
struct Prediction {
    std::string end;     // "exit 0"
    std::string output;  // what it printed
};

struct Comparison {
    // A sentence for each thing that does not fit.
    std::vector<std::string> differences = {};
    // The kinds of the findings, each once.
    std::set<std::string> kinds = {};
};

// Compares what was said of a list with what was seen.
//
// An item without findings is to be started as it is written; findings say what happens
// instead. An outcome allows what the launcher may do, and no more:
//
//   runs         The launcher stays, with these programs, and ends with 1 after SIGTERM.
//   exits        It ends with 0 and has started nothing.
//   aborts       It ends by SIGABRT. It may have started items before.
//   hangs        It never reads the list to its end.
//   kills-group  It ends by SIGKILL. It may also
//                - end with 0, if an item ends the list or processes are too few,
//                - end by SIGABRT, if an item leads to that,
//                - stay with the last item of each name, if two have one name,
//                - stay and give items up, if processes are too few.
//
// What launcher-status said of each item must be what was seen of it; it may also say
// that it cannot tell. launcher-stop must have ended with 0, and left nothing.
Comparison Compare(RandomList const& list, Prediction const& prediction,
                   Observation const& seen);

#endif
