// Guessing which member of an item was meant.
//
//   NearMiss("arg", {"name", "program", "args", "argc"})   -> "args"
//   NearMiss("Nmae", {"name", "program"})                  -> "name"
//   NearMiss("prog", {"name", "program"})                  -> "program"
//   NearMiss("owner", {"name", "program"})                 -> ""

#ifndef TOOLS_LAUNCHLIST_CHECK_NEAR_MISS_H
#define TOOLS_LAUNCHLIST_CHECK_NEAR_MISS_H

#include <string>
#include <vector>

namespace launchlist_check {

// Returns the candidate that `word` is nearest to, the first of several; an empty string
// if none is near. Candidates are in lower case, and the case of `word` is ignored.
//
// A candidate is near in one of these ways:
// - it has the same letters, in any order: "agrs". One letter may differ: "nama". Or one
//   word has two letters more: "programme";
// - one of the words begins with the other, which has three letters or more: "prog";
// - other supervisors call it `word`: "path" for "program".
std::string NearMiss(std::string const& word, std::vector<std::string> const& candidates);

}  // namespace launchlist_check

#endif
