#include "tools/launchlist_check/launch_with_check.h"

#include <sys/stat.h>

#include <cerrno>
#include <cstdio>
#include <cstring>

#include "tools/common/command_line.h"
#include "tools/launch_with/options.h"
#include "tools/launchlist_check/message.h"

namespace launchlist_check {

namespace {

using End = ProgramVerdict::End;

// Says when launch-with is started again. The pace is in milliseconds; 0 for none.
std::string StartedAgain(long long pace) {
    char seconds[32];
    std::snprintf(seconds, sizeof seconds, "%g", static_cast<double>(pace) / 1000);
    return pace > 50
               ? std::string("is started again ") + seconds + " s after its last start"
               : "is started again 50 ms later";
}

std::string EndsWith(int code, long long pace) {
    return "launch-with ends with exit code " + std::to_string(code) + ", and " +
           StartedAgain(pace);
}

// Adds what becomes of the program that launch-with executes.
void CheckProgram(launch_with::Options const& options, Json::Value const& place,
                  ProgramCheck& programs, ItemReport& report) {
    std::vector<std::string> vector;
    for (char** argument = options.command; *argument != nullptr; ++argument) {
        vector.emplace_back(*argument);
    }
    std::string path = vector.front();
    if (options.directory != nullptr && !path.empty() && path.front() != '/') {
        path = std::string(options.directory) + "/" + path;
    }
    ProgramVerdict const verdict = programs.Check(path, vector);
    std::string const quoted = Quote(vector.front());
    switch (verdict.end) {
        case End::Executed:
            break;
        case End::Refused:
            report.Error(
                "launch-with-program", place,
                "launch-with cannot execute " + quoted + " (" + verdict.reason + "): " +
                    EndsWith(verdict.error == ENOENT ? 127 : 126, options.at_most_every));
            break;
        case End::ArgumentsTooLong:
            report.Error("launch-with-program", place,
                         "launch-with cannot execute " + quoted + " (" + verdict.reason +
                             ", more than the system takes): " +
                             EndsWith(126, options.at_most_every));
            break;
        case End::Killed:
            report.Error("launch-with-program", place,
                         quoted + " cannot be loaded: the system ends it by " +
                             verdict.reason +
                             " before it begins, and launch-with ends "
                             "likewise, and " +
                             StartedAgain(options.at_most_every));
            break;
    }
}

// Returns what launch-with holds: the name of --lock, or its command line.
std::string LockOf(launch_with::Options const& options,
                   std::vector<std::string> const& arguments) {
    if (options.lock != nullptr) {
        return options.lock;
    }
    std::string line;
    for (std::size_t i = 1; i < arguments.size(); ++i) {
        line += arguments[i] + '\0';
    }
    return line;
}

}  // namespace

bool IsLaunchWith(std::string const& program) {
    return program.substr(program.rfind('/') + 1) == "launch-with";
}

std::string CheckLaunchWith(Json::Value const& item, std::vector<std::string> arguments,
                            ProgramCheck* programs, ItemReport& report) {
    Json::Value const& place = item.isMember("args") ? item["args"] : item["program"];
    std::vector<char*> pointers = tools::Pointers(arguments);
    launch_with::Options options;
    launch_with::Complaint complaint;
    if (!ReadOptions(static_cast<int>(arguments.size()), pointers.data(), options,
                     complaint)) {
        report.Error(
            "launch-with-options", place,
            "launch-with does not take its arguments: " + Shorten(complaint.subject) +
                " " + complaint.text + ": " + EndsWith(125, 0));
        return "";
    }
    if (options.help || options.version) {
        report.Error("launch-with-options", place,
                     "launch-with only prints a text: " + EndsWith(125, 0));
        return "";
    }
    std::string const program = options.command[0];
    struct stat status = {};
    bool const is_relative = !program.empty() && program.front() != '/';
    if (is_relative && options.directory == nullptr) {
        report.Error("launch-with-program", place,
                     "launch-with gets " + Quote(program) +
                         ", which is not an absolute path: it is looked up from the "
                         "working directory of the launcher, and PATH is not searched");
    } else if (programs != nullptr && options.directory != nullptr &&
               stat(options.directory, &status) != 0) {
        report.Error("launch-with-program", place,
                     "launch-with cannot go to the directory " +
                         Quote(options.directory) + " (" + std::strerror(errno) +
                         "): " + EndsWith(125, 0));
    } else if (programs != nullptr) {
        CheckProgram(options, place, *programs, report);
    }
    return LockOf(options, arguments);
}

}  // namespace launchlist_check
