#include "platform/exec_trial.h"

#include <spawn.h>
#include <sys/wait.h>

#include <cerrno>
#include <csignal>

extern char** environ;

// If posix_spawn makes the process, the system has accepted the file. The process is
// suspended before the program's first instruction, and stays so if this process dies.
ExecTrial TryExec(char const* path, char* const* arguments) {
    posix_spawnattr_t attributes = nullptr;
    int error = posix_spawnattr_init(&attributes);
    if (error != 0) {
        return {ExecTrial::Answer::NotAsked, error};
    }
    posix_spawnattr_setflags(&attributes, POSIX_SPAWN_START_SUSPENDED);
    pid_t child = -1;
    error = posix_spawn(&child, path, nullptr, &attributes, arguments, environ);
    posix_spawnattr_destroy(&attributes);
    if (error == EAGAIN || error == ENOMEM) {
        return {ExecTrial::Answer::NotAsked, error};
    }
    if (error != 0) {
        return {ExecTrial::Answer::Refused, error};
    }
    kill(child, SIGKILL);
    int status = 0;
    while (waitpid(child, &status, 0) < 0 && errno == EINTR) {
    }
    return {ExecTrial::Answer::Accepted, 0};
}
