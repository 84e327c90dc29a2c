// The text of a launch list.
//
//   ListText({ItemText("agent", "/opt/agent", {"--port", "7000"})})
//       -> {"0": {"name": "agent", "program": "/opt/agent", "argc": 2,
//                 "args": {"0": "--port", "1": "7000"}}}
//
// No character is escaped, so what stands between quotation marks in JSON must be given
// as it is to stand there.

#ifndef HARNESS_LAUNCH_LIST_H
#define HARNESS_LAUNCH_LIST_H

#include <string>
#include <vector>

// Returns a launch item, without "argc" and "args" if there are no arguments.
std::string ItemText(std::string const& name, std::string const& program,
                     std::vector<std::string> const& arguments = {});

// Returns a launch list of these items, numbered from 0, each on a line.
std::string ListText(std::vector<std::string> const& items);

#endif
