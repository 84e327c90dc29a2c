// launchlist-check: says what the launcher will do with a launch list, and starts
// nothing.

#include <cstdio>
#include <limits>
#include <new>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "tools/common/command_line.h"
#include "tools/common/tool.h"
#include "tools/launchlist_check/list_check.h"
#include "tools/launchlist_check/output.h"

namespace launchlist_check {

namespace {

char const* const kProgram = "launchlist-check";

char const* const kHelp =
    R"(launchlist-check [--json] [--strict] [--all] [--no-programs] LIST.json...

Reads launch lists as the launcher will, and says what is wrong with them and what will
happen, one line for each finding. "-" is the standard input. Nothing is started: the
system is asked whether it would execute each program, and none of them runs.

  --json         print one JSON document instead, for machines
  --strict       count warnings as errors in the exit code
  --all          show all findings, not the first 20 of each kind
  --no-programs  leave out what depends on this machine: its programs and its limits
  --help         print this
  --version      print the version

Exit code: 0 without errors, 1 with errors, 2 if the command line is wrong.

Examples:

  launchlist-check list.json
  launchlist-check --strict lists/*.json && echo "all is well"
  launchlist-check --no-programs lists/*.json
  launchlist-check --json list.json | jq -r '.files[].findings[].kind'
  generate-list | launchlist-check -

Findings look like this, and the last line about a list is the verdict:

  list.json:7:3: error: the key "1" is here again: what stood there before is ignored [repeated-key]
  list.json:9:3: error: item "3" (agent): never reached: the launcher stops at the first number that is missing, "2" [unreached]
  list.json: 2 errors

The word at the end is explained in launchlist-check(1).
)";

CheckOptions OptionsOf(tools::CommandLine const& line) {
    CheckOptions options;
    options.asks_machine = !line.Has("no-programs");
    if (line.Has("all")) {
        options.most_of_a_kind = std::numeric_limits<std::size_t>::max();
    }
    return options;
}

// Checks the lists and prints what is found. Returns the exit code.
int Check(tools::CommandLine const& line) {
    bool const is_json = line.Has("json");
    bool const is_strict = line.Has("strict");
    bool is_right = true;
    std::vector<CheckedFile> files;
    for (std::string const& path : line.operands) {
        CheckedFile file = {path == "-" ? "<stdin>" : path,
                            CheckLaunchListFile(path, OptionsOf(line))};
        Findings const& findings = file.result.findings;
        is_right = is_right && findings.Count(Severity::Error) == 0 &&
                   (!is_strict || findings.Count(Severity::Warning) == 0);
        if (is_json) {
            files.push_back(std::move(file));
        } else {
            tools::Write(ToLines(file, is_strict));
        }
    }
    if (is_json) {
        tools::Write(ToJson(files));
    }
    return tools::FinishOutput(kProgram) && is_right ? 0 : 1;
}

}  // namespace

// Does what the command line says. Returns the exit code.
int Run(int argc, char** argv) {
    tools::CommandLine line = tools::ReadCommandLine(
        argc, argv, {{"json"}, {"strict"}, {"all"}, {"no-programs"}});
    if (line.error.empty() && line.operands.empty()) {
        line.error = "no launch list is named";
    }
    std::optional<int> const code = tools::AnswerForTool(line, kProgram, kHelp);
    return code ? *code : Check(line);
}

}  // namespace launchlist_check

int main(int argc, char** argv) {
    try {
        return launchlist_check::Run(argc, argv);
    } catch (std::bad_alloc const&) {
        std::fprintf(stderr, "%s: out of memory\n", launchlist_check::kProgram);
        return 1;
    }
}
