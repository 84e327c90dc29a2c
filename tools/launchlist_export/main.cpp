// launchlist-export: writes what another engine takes to keep the programs of a launch
// list running.

#include <cstdio>
#include <optional>
#include <string>
#include <vector>

#include "common/config/log.h"
#include "tools/common/command_line.h"
#include "tools/common/printable.h"
#include "tools/common/tool.h"
#include "tools/launchlist_export/formats.h"
#include "tools/launchlog_report/output_file.h"

// This program has no log of its own.
ILog* logger = nullptr;

namespace launchlist_export {

namespace {

char const* const kProgram = "launchlist-export";

char const* const kHelp =
    R"(launchlist-export FORMAT [--directory DIRECTORY] [--image NAME] LIST.json

Writes what another engine takes to keep the programs of a launch list running. The list is
read as the launcher reads it. Comments say what will differ from the launcher. The FORMAT
is one of these:

  systemd      a unit for each program
  kube         a pod with a container for each program
  supervisord  a section for each program
  launchd      a property list for each program

  --directory DIRECTORY  write the files into this directory, and print their names
  --image NAME           with kube: the image that has the programs (localhost/programs)
  --help                 print this
  --version              print the version

Exit code: 0 written, 1 the list has no program, the engine cannot take one as it is, or
writing failed, 2 the command line is wrong or the list cannot be read.

Examples:

  launchlist-export systemd list.json
  launchlist-export kube --image registry.example/agents:7 list.json >pod.yaml
  launchlist-export supervisord list.json >agents.conf
  launchlist-export launchd list.json

launchlist-export(1) tells how arguments are written.
)";

enum ExitCode { kWritten = 0, kNotWritten = 1, kWrongUse = 2 };

int Complain(ExitCode code, std::string const& problem) {
    std::fprintf(stderr, "%s: %s\n", kProgram, problem.c_str());
    return code;
}

std::string FindError(tools::CommandLine const& line) {
    if (!line.error.empty()) {
        return line.error;
    }
    if (line.operands.size() != 2) {
        return "it takes a format and a launch list";
    }
    if (FindFormat(line.operands[0]) == nullptr) {
        return "unknown format " + tools::Printable(line.operands[0]);
    }
    if (!line.Has("image")) {
        return "";
    }
    std::string const& image = line.options.at("image");
    if (image.empty() || !tools::IsUtf8(image)) {
        return "--image needs a name, in UTF-8";
    }
    return line.operands[0] == "kube" ? "" : "--image is for kube";
}

// Says what the format cannot hold. Returns true if that is nothing.
bool CanHold(Format const& format, ExportedList const& list) {
    if (list.items.empty()) {
        Complain(kNotWritten, "the list has no program that the launcher would start");
        return false;
    }
    bool can_hold = true;
    for (ExportedItem const& item : list.items) {
        std::string problem = FindCommonProblem(item);
        if (problem.empty()) {
            problem = format.find_problem(item);
        }
        if (!problem.empty()) {
            Complain(kNotWritten, "item " + tools::Quoted(item.name) + ": " + problem);
            can_hold = false;
        }
    }
    return can_hold;
}

// Writes the files into the directory, and prints their names. Returns the exit code.
int WriteFiles(std::vector<File> const& files, std::string const& directory) {
    for (File const& file : files) {
        std::string const path = directory + "/" + file.name;
        std::string const problem = launchlog_report::ReplaceFile(path, file.text);
        if (!problem.empty()) {
            return Complain(kNotWritten, tools::Printable(path) + ": " + problem);
        }
        tools::Write(path + "\n");
    }
    return tools::FinishOutput(kProgram) ? kWritten : kNotWritten;
}

// Prints the files, with an empty line between them. Returns the exit code.
int PrintFiles(std::vector<File> const& files) {
    char const* before = "";
    for (File const& file : files) {
        tools::Write(before + file.text);
        before = "\n";
    }
    return tools::FinishOutput(kProgram) ? kWritten : kNotWritten;
}

int Export(tools::CommandLine const& line) {
    Format const& format = *FindFormat(line.operands[0]);
    std::string const& path = line.operands[1];
    running::LaunchItems const items = running::ReadLaunchItems(path);
    if (!items.problem.empty()) {
        return Complain(kWrongUse, tools::Printable(path) + ": " + items.problem);
    }
    ExportedList const list = MakeExportedList(items);
    if (!CanHold(format, list)) {
        return kNotWritten;
    }
    FormatOptions options;
    if (line.Has("image")) {
        options.image = line.options.at("image");
    }
    std::vector<File> const files = format.write(list, options);
    return line.Has("directory") ? WriteFiles(files, line.options.at("directory"))
                                 : PrintFiles(files);
}

int Main(int argc, char** argv) {
    tools::CommandLine line =
        tools::ReadCommandLine(argc, argv, {{"directory", true}, {"image", true}});
    line.error = FindError(line);
    std::optional<int> const code = tools::AnswerForTool(line, kProgram, kHelp);
    return code ? *code : Export(line);
}

}  // namespace

}  // namespace launchlist_export

int main(int argc, char** argv) {
    return launchlist_export::Main(argc, argv);
}
