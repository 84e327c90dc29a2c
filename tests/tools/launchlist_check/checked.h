// What the check says of small lists.

#ifndef TESTS_TOOLS_LAUNCHLIST_CHECK_CHECKED_H
#define TESTS_TOOLS_LAUNCHLIST_CHECK_CHECKED_H

#include <string>

#include "harness/files.h"
#include "tools/launchlist_check/list_check.h"
#include "tools/launchlist_check/output.h"

namespace launchlist_check {

// Returns what is printed about a list with these bytes: the findings, or the verdict if
// there are none.
inline std::string CheckAt(std::string const& bytes) {
    CheckResult const result = CheckLaunchList(bytes);
    std::string const lines = ToLines({"list.json", result});
    return result.findings.Counts().empty()
               ? lines
               : lines.substr(0, lines.rfind('\n', lines.size() - 2) + 1);
}

// The same without the places: "list.json: error: ..." and not "list.json:1:2: error:
// ...".
inline std::string Check(std::string const& bytes) {
    std::string text;
    for (std::string const& line : Lines(CheckAt(bytes))) {
        text += "list.json" + line.substr(line.find(": ")) + "\n";
    }
    return text;
}

// Returns a list of one item, "a", whose program is the shell, with more members.
inline std::string ItemWith(std::string const& members) {
    return R"({"0": {"name": "a", "program": "/bin/sh")" +
           (members.empty() ? "" : ", " + members) + "}}";
}

// Returns a list of one item with just these members.
inline std::string ItemOf(std::string const& members) {
    return R"({"0": {)" + members + "}}";
}

inline std::string const kOk = "list.json: ok, 1 program\n";
inline std::string const kError = "list.json: error: item \"0\" (a): ";
inline std::string const kWarning = "list.json: warning: item \"0\" (a): ";
inline std::string const kChildrenAbort =
    "every child ends abnormally before it runs the program, and the next one comes 50 "
    "ms later";
inline std::string const kChainGrows = "a chain of processes grows, one more every 50 ms";

}  // namespace launchlist_check

#endif
