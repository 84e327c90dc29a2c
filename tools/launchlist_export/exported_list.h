// The items of a launch list, as other engines can take them.
//
//   ExportedList const list = MakeExportedList(running::ReadLaunchItems("list.json"));
//   list.items[0].identifier   -> "my-agent", of the name "My agent"
//   list.items[0].arguments    -> {"/opt/bin/agent", "--port", "7000"}
//   list.not_started           -> {"item \"late\" has no program"}

#ifndef TOOLS_LAUNCHLIST_EXPORT_EXPORTED_LIST_H
#define TOOLS_LAUNCHLIST_EXPORT_EXPORTED_LIST_H

#include <string>
#include <vector>

#include "tools/running/launch_items.h"

namespace launchlist_export {

// A program that the launcher would start.
struct ExportedItem {
    // Its name as the list has it: any bytes.
    std::string name;
    // The name of a unit, a container or a label: no other item of the list has it. It
    // has lower-case letters, digits and dashes, begins and ends with none of the latter,
    // and is shorter than 64 bytes.
    std::string identifier;
    // What the launcher passes to the program, from its path on. Never empty.
    std::vector<std::string> arguments;
    // True if the program is launch-with, which starts the real one.
    bool has_launch_with = false;
    // How long the program gets to end at a stop: the grace of launch-with and a little
    // more, or 10 seconds.
    long long stop_seconds = 10;
};

// A launch list, as other engines can take it.
struct ExportedList {
    // What the launcher would start, in the order of the list.
    std::vector<ExportedItem> items;
    // What it would not start, in words for a comment.
    std::vector<std::string> not_started;
};

// Takes over what the launcher would start.
ExportedList MakeExportedList(running::LaunchItems const& list);

// Returns what no engine can pass on: a relative path, or a vector without the path.
// Returns an empty string if there is no such problem.
std::string FindCommonProblem(ExportedItem const& item);

// Returns the first problem that `find_problem` finds in the path and the arguments of
// the item, with the name of what has it: `argument "0" is not UTF-8`. Returns an empty
// string if it finds none, which it says by an empty string.
std::string FindProblemInArguments(ExportedItem const& item,
                                   std::string (*find_problem)(std::string const&));

// Returns the text between quotation marks, as it may stand in a comment of each format,
// whatever its bytes are: on one line, in UTF-8, and without "--", which would end a
// comment in XML. Of a long text only the beginning.
//
//   InComment("a\n--b")   -> "\"a\\x0A-\\x2Db\""
std::string InComment(std::string const& text);

}  // namespace launchlist_export

#endif
