// Running one of the tools as a user does.

#ifndef TESTS_TOOLS_RUN_TOOL_H
#define TESTS_TOOLS_RUN_TOOL_H

#include <string>
#include <vector>

struct ToolRun {
    std::string end;     // "exit 0", "signal 11"
    std::string output;  // what it wrote to the standard output
    std::string errors;  // what it wrote to the standard error
};

// Runs the program to its end with `input` as its standard input.
ToolRun RunTool(std::vector<std::string> const& arguments, std::string const& input = "");

#endif
