// The rules of a launch list. The launcher reads a list with these functions, and so does
// launchlist-check, to say what the launcher will do.
//
//   JsonObject list(R"({"0": {"name": "agent", "program": "/opt/bin/agent",
//                             "argc": 1, "args": {"0": "-v"}}})");
//   launch_list::HasItem(list, 0)       -> true
//   JsonObject item = list["0"];
//   launch_list::HasName(item)          -> true
//   launch_list::Name(item)             -> "agent"
//   launch_list::Program(item)          -> "/opt/bin/agent"
//   launch_list::ArgumentCount(item)    -> 1
//   launch_list::Argument(item, 0)      -> "-v"
//
// Each function throws what JsonObject throws for a value of the wrong type. Its callers
// say what then becomes of the launcher or of its child. A call may add a missing member
// to an item, as null.

#ifndef LAUNCHER_LIST_RULES_H
#define LAUNCHER_LIST_RULES_H

#include <string>

#include "common/json/json_object.h"

namespace launch_list {

// The members of an item that are read. All others are ignored.
constexpr char const* kMembers[] = {"name", "program", "args", "argc"};

// The most arguments that an item may give its program, not counting the path. No system
// takes that many, and pointers to more could overflow a stack.
constexpr int kMostArguments = (1 << 20) - 1;

// Returns true if the list has an item with this number. The list ends at the first
// number that is missing.
inline bool HasItem(JsonObject& list, int number) {
    return list.HasObject(std::to_string(number).c_str());
}

// Returns true if the item has a name. An item without one is skipped.
inline bool HasName(JsonObject& item) {
    return item.HasObject("name");
}

inline std::string Name(JsonObject& item) {
    return item["name"];
}

// Returns the program's path; an empty string if the item has none.
inline std::string Program(JsonObject& item) {
    return item["program"];
}

// Returns how many arguments follow the program's path, 0 without "argc". If it is below
// 0, the program does not even get its path. If it is above kMostArguments, the program
// is not executed.
inline int ArgumentCount(JsonObject& item) {
    return item.HasObject("argc") ? static_cast<int>(item["argc"]) : 0;
}

// Returns the argument with this number, from 0 on; an empty string if it is missing.
inline std::string Argument(JsonObject& item, int number) {
    // Contract: a missing argument is passed as the empty text.
    return item["args"][std::to_string(number).c_str()];
}

}  // namespace launch_list

#endif
