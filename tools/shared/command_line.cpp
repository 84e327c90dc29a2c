#include "tools/shared/command_line.h"

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>
#include <utility>

#include "tools/shared/printable.h"

namespace {

// Cuts "--option=value" at the "=".
std::pair<std::string, std::string> CutAtEqualsSign(std::string const& argument) {
    std::size_t const cut = argument.find('=');
    return {argument.substr(0, cut),
            cut == std::string::npos ? "" : argument.substr(cut + 1)};
}

}  // namespace

CommandLine ReadCommandLine(int argc, char const* const* argv,
                            std::vector<Option> const& known) {
    CommandLine line;
    bool options_ended = false;
    for (int i = 1; i < argc; ++i) {
        std::string const argument = argv[i];
        if (options_ended || argument.empty() || argument[0] != '-' || argument == "-") {
            line.operands.push_back(argument);
            continue;
        }
        if (argument == "--") {
            options_ended = true;
            continue;
        }
        auto [name, value] = CutAtEqualsSign(argument);
        auto const option =
            std::find_if(known.begin(), known.end(),
                         [&name = name](Option const& it) { return it.name == name; });
        bool const has_value = name.size() < argument.size();
        if (option == known.end()) {
            line.error = "unknown option " + Printable(name);
        } else if (has_value && !option->takes_value) {
            line.error = name + " takes no value";
        } else if (option->takes_value && !has_value && i + 1 == argc) {
            line.error = name + " needs a value";
        }
        if (!line.error.empty()) {
            return line;
        }
        if (option->takes_value && !has_value) {
            value = argv[++i];
        }
        line.options[name] = value;
    }
    return line;
}

bool FinishOutput(std::string const& program) {
    bool const failed_before = std::ferror(stdout) != 0;
    if (std::fflush(stdout) == 0 && !failed_before) {
        return true;
    }
    std::fprintf(stderr, "%s: the output could not be written: %s\n", program.c_str(),
                 std::strerror(errno));
    return false;
}
