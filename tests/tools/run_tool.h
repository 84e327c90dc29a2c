// Runs one of the tools as a user does.

#ifndef TESTS_TOOLS_RUN_TOOL_H
#define TESTS_TOOLS_RUN_TOOL_H

#include <string>
#include <vector>

#include "tests/support/run_program.h"

using ToolRun = ProgramRun;

inline ToolRun RunTool(std::vector<std::string> const& arguments,
                       std::string const& input = "") {
    return RunProgram(arguments, input);
}

#endif
