#include "platform/linux/control_group.h"

#include <fstream>
#include <sstream>

namespace {

// Returns the number in the file; std::nullopt without one. No limit is the word "max".
std::optional<long> ReadNumber(std::filesystem::path const& path) {
    std::ifstream file(path);
    long number = 0;
    return file >> number ? std::optional(number) : std::nullopt;
}

std::optional<UserProcesses> ReadGroup(std::filesystem::path const& group) {
    std::optional<long> const limit = ReadNumber(group / "pids.max");
    std::optional<long> const running = ReadNumber(group / "pids.current");
    return limit && running ? std::optional(UserProcesses{*limit, *running, true})
                            : std::nullopt;
}

}  // namespace

std::optional<UserProcesses> TighterOf(std::optional<UserProcesses> const& a,
                                       std::optional<UserProcesses> const& b) {
    if (!a || !b) {
        return a ? a : b;
    }
    return b->limit - b->running < a->limit - a->running ? b : a;
}

std::optional<UserProcesses> TightestGroup(std::string const& groups,
                                           std::filesystem::path const& mounts) {
    std::optional<UserProcesses> tightest;
    std::istringstream lines(groups);
    // Each line is "NUMBER:CONTROLLER:PATH". Version 2 names no controller.
    for (std::string number, controller, path; std::getline(lines, number, ':') &&
                                               std::getline(lines, controller, ':') &&
                                               std::getline(lines, path);) {
        if (!controller.empty() && controller != "pids") {
            continue;
        }
        std::filesystem::path group = path;
        tightest = TighterOf(tightest, ReadGroup(mounts / controller));
        for (; group.has_relative_path(); group = group.parent_path()) {
            tightest = TighterOf(tightest,
                                 ReadGroup(mounts / controller / group.relative_path()));
        }
    }
    return tightest;
}
