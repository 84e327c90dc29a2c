#include "tools/launchlist_export/exported_list.h"

#include <set>

#include "common/strings/text.h"
#include "tools/common/command_line.h"
#include "tools/common/printable.h"
#include "tools/common/text.h"
#include "tools/launch_with/options.h"
#include "tools/launchlist_check/launch_with_check.h"

namespace launchlist_export {

namespace {

// Leaves room for a number, and for what a format puts before it.
constexpr std::size_t kLongestBase = 48;

// How much of a name a comment shows. systemd reads no line of a mebibyte or more.
constexpr std::size_t kMostColumns = 200;

// What launch-with may take besides the grace.
constexpr long long kMoreThanGrace = 5;

bool IsLower(char letter) {
    return letter >= 'a' && letter <= 'z';
}

// Returns the name in lower case, with a dash in the place of all other characters.
std::string BaseOf(std::string const& name) {
    std::string base;
    for (char letter : name) {
        if (letter >= 'A' && letter <= 'Z') {
            letter = static_cast<char>(letter - 'A' + 'a');
        }
        if (IsLower(letter) || tools::IsDigit(letter)) {
            base += letter;
        } else if (!base.empty() && base.back() != '-') {
            base += '-';
        }
    }
    base = base.substr(0, kLongestBase);
    while (!base.empty() && base.back() == '-') {
        base.pop_back();
    }
    return base.empty() ? "item" : base;
}

// Returns an identifier for the name that is not in `used`, and adds it there.
std::string MakeIdentifier(std::string const& name, std::set<std::string>& used) {
    std::string const base = BaseOf(name);
    std::string identifier = base;
    for (int number = 2; !used.insert(identifier).second; ++number) {
        identifier = base + "-" + std::to_string(number);
    }
    return identifier;
}

// Returns the grace that launch-with gives its program, in whole seconds, and a little
// more; the time of any other program if launch-with does not take its arguments.
long long StopSecondsOfLaunchWith(std::vector<std::string> arguments) {
    std::vector<char*> pointers = tools::Pointers(arguments);
    launch_with::Options options;
    launch_with::Complaint complaint;
    bool const is_right = launch_with::ReadOptions(static_cast<int>(arguments.size()),
                                                   pointers.data(), options, complaint);
    return is_right ? (options.grace + 999) / 1000 + kMoreThanGrace
                    : ExportedItem().stop_seconds;
}

ExportedItem MakeExportedItem(running::LaunchItem const& item,
                              std::set<std::string>& used) {
    ExportedItem exported;
    exported.name = item.name;
    exported.identifier = MakeIdentifier(item.name, used);
    exported.arguments = item.arguments;
    exported.has_launch_with = launchlist_check::IsLaunchWith(item.program);
    if (exported.has_launch_with) {
        exported.stop_seconds = StopSecondsOfLaunchWith(item.arguments);
    }
    return exported;
}

}  // namespace

ExportedList MakeExportedList(running::LaunchItems const& list) {
    ExportedList exported;
    exported.not_started = list.skipped;
    std::set<std::string> used;
    for (running::LaunchItem const& item : list.items) {
        if (!item.arguments.empty()) {
            exported.items.push_back(MakeExportedItem(item, used));
        } else {
            exported.not_started.push_back(
                "item " + InComment(item.name) + " has " +
                (item.program.empty() ? "no program" : R"(a wrong "argc" or "args")"));
        }
    }
    return exported;
}

std::string FindCommonProblem(ExportedItem const& item) {
    std::string const& program = item.arguments.front();
    if (program.empty()) {
        return "\"argc\" is negative, so the program gets no argument vector";
    }
    return program.front() == '/'
               ? ""
               : "its program is a relative path, and the engine has another working "
                 "directory";
}

std::string FindProblemInArguments(ExportedItem const& item,
                                   std::string (*find_problem)(std::string const&)) {
    for (std::size_t i = 0; i < item.arguments.size(); ++i) {
        std::string const problem = find_problem(item.arguments[i]);
        if (!problem.empty()) {
            return (i == 0 ? "its program"
                           : "argument \"" + std::to_string(i - 1) + "\"") +
                   " " + problem;
        }
    }
    return "";
}

std::string InComment(std::string const& text) {
    std::string safe = tools::CutToColumns(tools::Quoted(text), kMostColumns);
    replace_all(safe, "--", "-\\x2D");
    // UTF-8 has these two characters, but XML and YAML have not.
    replace_all(safe, "\xEF\xBF\xBE", R"(\xEF\xBF\xBE)");
    replace_all(safe, "\xEF\xBF\xBF", R"(\xEF\xBF\xBF)");
    return safe;
}

}  // namespace launchlist_export
