// Processes for tests, which are not those of the system.

#ifndef TESTS_TOOLS_RUNNING_PROCESSES_H
#define TESTS_TOOLS_RUNNING_PROCESSES_H

#include <string>
#include <utility>
#include <vector>

#include "tools/running/launcher.h"
#include "tools/running/snapshot.h"

constexpr char kLauncherFile[] = "/opt/Tamlin.app/Contents/MacOS/launcher";
constexpr char kLaunchWith[] = "/usr/bin/launch-with";

// Returns a process that is as old as its id is small, in the session and the process
// group 10 unless `session` is another one. Its program is the first argument.
inline ProcessInfo MakeProcess(pid_t id, pid_t parent, std::vector<std::string> arguments,
                               pid_t session = 10) {
    ProcessInfo process;
    process.id = id;
    process.start = static_cast<unsigned long long>(id);
    process.parent = parent;
    process.session = session;
    process.group = session;
    process.user = 1000;
    process.has_executed = true;
    process.threads = 1;
    process.program = arguments.empty() ? "" : arguments[0];
    process.arguments = std::move(arguments);
    return process;
}

// Returns a process that has executed nothing since its fork.
inline ProcessInfo MakeFork(pid_t id, pid_t parent, std::vector<std::string> arguments,
                            pid_t session = 10) {
    ProcessInfo process = MakeProcess(id, parent, std::move(arguments), session);
    process.has_executed = false;
    return process;
}

// Returns the launcher 100 with the list /list.json, a child of process 10.
inline running::Launcher MakeLauncher() {
    ProcessInfo const process =
        MakeProcess(100, 10, {kLauncherFile, "main", "/list.json"}, 100);
    return {process, "main", "/list.json"};
}

#endif
