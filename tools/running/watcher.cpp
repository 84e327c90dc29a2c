#include "tools/running/watcher.h"

#include <string>
#include <string_view>
#include <vector>

#include "tools/common/command_line.h"
#include "tools/launch_with/options.h"

namespace running {

namespace {

constexpr std::string_view kLaunchWith = "/launch-with";

bool ExecutesLaunchWith(ProcessInfo const& process) {
    std::string const& program = process.program;
    return program.size() >= kLaunchWith.size() &&
           program.compare(program.size() - kLaunchWith.size(), std::string::npos,
                           kLaunchWith) == 0;
}

}  // namespace

bool IsPartner(ProcessInfo const& process) {
    return process.has_executed && ExecutesLaunchWith(process);
}

bool IsWatcher(ProcessInfo const& process) {
    return !process.has_executed && ExecutesLaunchWith(process) &&
           process.session == process.id;
}

ProcessInfo const* ProgramOfPartner(Snapshot const& snapshot,
                                    ProcessInfo const& partner) {
    if (!IsPartner(partner)) {
        return nullptr;
    }
    for (ProcessInfo const* const child : snapshot.ChildrenOf(partner.id)) {
        if (ProcessInfo const* const program = ProgramOfWatcher(snapshot, *child)) {
            return program;
        }
    }
    return nullptr;
}

ProcessInfo const* ProgramOfWatcher(Snapshot const& snapshot,
                                    ProcessInfo const& watcher) {
    if (!IsWatcher(watcher)) {
        return nullptr;
    }
    for (ProcessInfo const* const child : snapshot.ChildrenOf(watcher.id)) {
        if (child->has_executed && child->group == child->id) {
            return child;
        }
    }
    return nullptr;
}

std::chrono::milliseconds GraceOf(ProcessInfo const& watcher) {
    std::vector<std::string> arguments = watcher.arguments;
    std::vector<char*> pointers = tools::Pointers(arguments);
    launch_with::Options options;
    launch_with::Complaint complaint;
    launch_with::ReadOptions(static_cast<int>(arguments.size()), pointers.data(), options,
                             complaint);
    return std::chrono::milliseconds(options.grace);
}

}  // namespace running
