// launchlist-check: says what the launcher will do with a launch list, and starts
// nothing.

#include <algorithm>
#include <cstdio>
#include <string>
#include <vector>

#include "tools/launchlist_check/list_check.h"
#include "tools/launchlist_check/output.h"
#include "tools/shared/command_line.h"

namespace {

char const* const kProgram = "launchlist-check";

char const* const kHelp = R"(launchlist-check [--json] [--strict] LIST.json...

Reads launch lists as the launcher will, and says what is wrong with them and what will
happen, one line for each finding. "-" is the standard input. Nothing is started.

  --json      print one JSON document instead, for machines
  --strict    let warnings count as errors do
  --help      print this
  --version   print the version

Exit code: 0 without errors, 1 with errors, 2 if the command line is wrong.

Examples:

  launchlist-check list.json
  launchlist-check --strict lists/*.json && echo "all is well"
  launchlist-check --json list.json | jq -r '.files[].findings[].kind'
  generate-list | launchlist-check -

Findings look like this:

  list.json:7:3: error: the key "1" is here again: what stood there before is ignored [repeated-key]
  list.json: item "3" (agent): error: never reached: the launcher stops at the first number that is missing, "2" [unreached]

The word at the end is explained in launchlist-check(1).
)";

int Check(CommandLine const& line) {
    std::vector<CheckedFile> files;
    for (std::string const& path : line.operands) {
        files.push_back({path == "-" ? "<stdin>" : path, CheckLaunchListFile(path)});
    }
    std::string const text = line.Has("--json") ? ToJson(files) : ToLines(files);
    std::fwrite(text.data(), 1, text.size(), stdout);
    bool const is_strict = line.Has("--strict");
    bool const has_errors =
        std::any_of(files.begin(), files.end(), [is_strict](CheckedFile const& file) {
            Findings const& findings = file.result.findings;
            return Count(findings, Severity::Error) > 0 ||
                   (is_strict && !findings.empty());
        });
    return FinishOutput(kProgram) && !has_errors ? 0 : 1;
}

int Print(std::string const& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
    return FinishOutput(kProgram) ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv) {
    CommandLine line = ReadCommandLine(argc, argv,
                                       {{"--json", false},
                                        {"--strict", false},
                                        {"--help", false},
                                        {"-h", false},
                                        {"--version", false}});
    if (line.Has("--help") || line.Has("-h")) {
        return Print(kHelp);
    }
    if (line.Has("--version")) {
        return Print(std::string(kProgram) + " " + PROJECT_VERSION + "\n");
    }
    if (line.error.empty() && line.operands.empty()) {
        line.error = "no launch list is named";
    }
    if (!line.error.empty()) {
        std::fprintf(stderr, "%s: %s; --help tells more\n", kProgram, line.error.c_str());
        return 2;
    }
    return Check(line);
}
