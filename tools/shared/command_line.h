// Reading a tool's command line.
//
//   char const* arguments[] = {"tool", "--json", "a.json", "--now=noon", "-"};
//   CommandLine const line =
//       ReadCommandLine(5, arguments, {{"--json", false}, {"--now", true}});
//   line.Has("--json")         -> true
//   line.options.at("--now")   -> "noon"
//   line.operands              -> {"a.json", "-"}
//   line.error                 -> ""
//
// Options and operands may be mixed; "--" ends the options, and "-" is an operand. The
// value of an option stands behind "=" or is the next argument.

#ifndef TOOLS_SHARED_COMMAND_LINE_H
#define TOOLS_SHARED_COMMAND_LINE_H

#include <map>
#include <string>
#include <vector>

struct Option {
    std::string name;
    bool takes_value;
};

struct CommandLine {
    // Says whether the option was given.
    bool Has(std::string const& option) const { return options.count(option) != 0; }

    // The options that were given, with their values; of several the last.
    std::map<std::string, std::string> options;
    std::vector<std::string> operands;
    // What is wrong with the command line, in words; empty if nothing is.
    std::string error;
};

// Reads the arguments of a main. Reading ends at the first error.
CommandLine ReadCommandLine(int argc, char const* const* argv,
                            std::vector<Option> const& known);

// Flushes the standard output. Returns false, and says so on the standard error in the
// name of `program`, if not everything could be written there.
bool FinishOutput(std::string const& program);

#endif
