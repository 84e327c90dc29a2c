#include "tools/common/command_line.h"

#include <getopt.h>

#include <algorithm>

#include "tools/common/printable.h"

namespace tools {

namespace {

// "-" at the beginning asks for operands and options in their order, with 1 for each
// operand. So argv stays as it is, and POSIXLY_CORRECT changes nothing.
char const* const kShortOptions = "-h";
constexpr int kOperand = 1;
constexpr int kLongOption = 0;
constexpr int kEnd = -1;

std::vector<option> TableOf(std::vector<Option> const& known) {
    std::vector<option> table;
    for (Option const& it : known) {
        table.push_back({it.name, it.takes_value ? required_argument : no_argument,
                         nullptr, kLongOption});
    }
    table.push_back({"help", no_argument, nullptr, kLongOption});
    table.push_back({"version", no_argument, nullptr, kLongOption});
    table.push_back({});
    return table;
}

// Returns the option in the argument `word`: "--now" in "--now=noon".
std::string OptionIn(std::string const& word) {
    return word.substr(0, word.find('='));
}

bool IsOption(std::string const& word, option const& known) {
    return OptionIn(word) == std::string("--") + known.name;
}

// Returns what is wrong with the argument `word`, which getopt_long did not take, or took
// for an abbreviation.
std::string WhatIsWrong(std::string const& word, std::vector<option> const& table) {
    auto const end = table.end() - 1;
    auto const known = std::find_if(
        table.begin(), end, [&word](option const& it) { return IsOption(word, it); });
    if (known == end) {
        return "unknown option " + Printable(OptionIn(word));
    }
    return OptionIn(word) +
           (known->has_arg == required_argument ? " needs a value" : " takes no value");
}

}  // namespace

CommandLine ReadCommandLine(int argc, char* const* argv,
                            std::vector<Option> const& known) {
    std::vector<option> const table = TableOf(known);
    CommandLine line;
    opterr = 0;
    optind = 0;  // starts anew, also after an earlier call
    while (true) {
        char const* const word = argv[std::min(std::max(optind, 1), argc)];
        int place = 0;
        int const found = getopt_long(argc, argv, kShortOptions, table.data(), &place);
        auto const index = static_cast<std::size_t>(place);
        if (found == kEnd) {
            line.operands.insert(line.operands.end(), argv + optind, argv + argc);
            return line;
        }
        if (found == kOperand) {
            line.operands.emplace_back(optarg);
        } else if (found == 'h') {
            line.options["help"];
        } else if (found == kLongOption && IsOption(word, table[index])) {
            line.options[table[index].name] = optarg == nullptr ? "" : optarg;
        } else {
            line.error = WhatIsWrong(word, table);
            return line;
        }
    }
}

}  // namespace tools
