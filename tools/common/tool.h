// What all tools do alike: output, --help, --version, and the message about a wrong
// command line.

#ifndef TOOLS_COMMON_TOOL_H
#define TOOLS_COMMON_TOOL_H

#include <optional>
#include <string>

#include "tools/common/command_line.h"

namespace tools {

// Does what the command line asks of every tool. Prints `help` or the version of
// `program` if it asks for them; else says on the standard error what is wrong with it.
// Returns the exit code of the tool: 0, 1 if the output could not be written, 2 if the
// command line is wrong. Returns std::nullopt if the tool is to do its work.
std::optional<int> AnswerForTool(CommandLine const& line, std::string const& program,
                                 std::string const& help);

// Writes `text` to the standard output, maybe to its buffer alone.
void Write(std::string const& text);

// Flushes the standard output. Returns true if all that was written so far is there. If
// not, it returns false, and says why on the standard error in the name of `program`.
bool FinishOutput(std::string const& program);

}  // namespace tools

#endif
