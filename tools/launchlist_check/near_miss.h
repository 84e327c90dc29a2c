// Guessing which word was meant.
//
//   NearMiss("arg", {"name", "program", "args", "argc"})   -> "args"
//   NearMiss("Nmae", {"name", "program"})                  -> "name"
//   NearMiss("prog", {"name", "program"})                  -> "program"
//   NearMiss("owner", {"name", "program"})                 -> ""

#ifndef TOOLS_LAUNCHLIST_CHECK_NEAR_MISS_H
#define TOOLS_LAUNCHLIST_CHECK_NEAR_MISS_H

#include <string>
#include <vector>

// Returns the candidate that `word` comes nearest to, the first of several, and nothing
// if none is near. Near are: at most two letters more, fewer, other or swapped, with one
// that is right; a beginning of three letters or more; and the words of other systems
// for the same thing, such as "path" for "program". Case plays no part. The candidates
// are in lower case.
std::string NearMiss(std::string const& word, std::vector<std::string> const& candidates);

#endif
