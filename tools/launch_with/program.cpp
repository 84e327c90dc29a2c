#include "tools/launch_with/program.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>

#include "platform/held_name.h"
#include "platform/process_family.h"

namespace launch_with {

namespace {

// Says on the standard error what failed, and ends the process.
[[noreturn]] void Fail(int code, char const* what, char const* which) {
    dprintf(STDERR_FILENO, "launch-with: %s%s: %s\n", what, which, std::strerror(errno));
    _exit(code);
}

void SetSurroundings(Options const& options) {
    if (options.directory != nullptr && chdir(options.directory) != 0) {
        Fail(kFailed, "--directory ", options.directory);
    }
    if (options.umask >= 0) {
        umask(static_cast<mode_t>(options.umask));
    }
    if (options.has_nice && setpriority(PRIO_PROCESS, 0, options.nice) != 0) {
        Fail(kFailed, "--nice", "");
    }
}

// The texts of the command line live as long as the process, as putenv wants it.
bool UseSetting(char const* name, char const* value) {
    Limit limit = {};
    bool const is_set =
        std::strcmp(name, "environment") == 0
            ? putenv(const_cast<char*>(value)) == 0
            : ReadLimit(value, limit) && setrlimit(limit.resource, &limit.value) == 0;
    if (!is_set) {
        Fail(kFailed, std::strcmp(name, "limit") == 0 ? "--limit " : "--environment ",
             value);
    }
    return true;
}

// A parent may have left signals ignored, and execv would keep that.
void ResetSignals() {
    for (int signal = 1; signal < NSIG; ++signal) {
        std::signal(signal, SIG_DFL);
    }
    sigset_t none;
    sigemptyset(&none);
    sigprocmask(SIG_SETMASK, &none, nullptr);
}

}  // namespace

void BecomeProgram(int argc, char** argv, Options const& options, pid_t watcher,
                   int output, int error) noexcept {
    setpgid(0, 0);
    if (!DieWithParent(watcher)) {
        _exit(kFailed);
    }
    HoldNameForLife(options.name);
    if (output >= 0) {
        dup2(output, STDOUT_FILENO);
    }
    if (error >= 0) {
        dup2(error, STDERR_FILENO);
    }
    SetSurroundings(options);
    ResetSignals();
    ForEachSetting(argc, argv, UseSetting);
    execv(options.command[0], options.command);
    Fail(errno == ENOENT ? kNotFound : kNotExecutable, options.command[0], "");
}

}  // namespace launch_with
