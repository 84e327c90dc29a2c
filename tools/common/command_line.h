// Reading a tool's command line.
//
//   char* arguments[] = {"tool", "--json", "a.json", "--now=noon", "-", nullptr};
//   CommandLine const line = ReadCommandLine(5, arguments, {{"json"}, {"now", true}});
//   line.Has("json")         -> true
//   line.options.at("now")   -> "noon"
//   line.operands            -> {"a.json", "-"}
//   line.error               -> ""

#ifndef TOOLS_COMMON_COMMAND_LINE_H
#define TOOLS_COMMON_COMMAND_LINE_H

#include <map>
#include <string>
#include <vector>

namespace tools {

// A long option: "json" stands for --json.
struct Option {
    // Lives as long as the program, as a literal does.
    char const* name;
    // "--now=noon" or "--now noon".
    bool takes_value = false;
};

// A command line, as far as it could be read.
struct CommandLine {
    // Returns true if the option was given.
    bool Has(std::string const& option) const { return options.count(option) != 0; }

    // The options that were given, by their names without dashes, each with its last
    // value. The value is empty if the option takes none.
    std::map<std::string, std::string> options;
    // The other arguments, in their order, without the tool's name.
    std::vector<std::string> operands;
    // What is wrong with the command line, in words; empty if it is right.
    std::string error;
};

// Returns pointers to the arguments, with a null pointer at the end, as a main gets them.
// They are valid until `arguments` changes.
inline std::vector<char*> Pointers(std::vector<std::string>& arguments) {
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

// Reads the arguments of a main, up to the first error. Every tool also knows --help, -h
// (which counts as "help") and --version.
//
// - Options and operands may be mixed. "--" ends the options, and "-" is an operand.
// - The value of an option follows a "=", or is the next argument.
// - Options are written in full. An abbreviation that is clear today could mean two
//   options after the next one is added.
//
// Uses getopt_long, and so may be called by one thread at a time.
CommandLine ReadCommandLine(int argc, char* const* argv,
                            std::vector<Option> const& known);

}  // namespace tools

#endif
