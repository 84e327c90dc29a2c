// Asking the system whether it would execute a program, without running the program.
//
//   char* arguments[] = {path, nullptr};
//   TryExec("/bin/sh", arguments).answer      -> ExecTrial::Answer::Accepted
//   TryExec("/nonexistent", arguments).error  -> ENOENT

#ifndef PLATFORM_EXEC_TRIAL_H
#define PLATFORM_EXEC_TRIAL_H

struct ExecTrial {
    enum class Answer {
        // execv would succeed.
        Accepted,
        // execv would fail with the error number `error`.
        Refused,
        // execv would not return, but the system would end the process by the signal
        // `error` before the program begins: a file that is cut short, for example.
        Killed,
        // The system does not let this process try, for the error number `error`.
        NotAsked,
    };
    Answer answer;
    int error;
};

// Lets a child execute the file at `path` with the arguments `arguments`, which end with
// null, in the environment and with the limits of this process. The descriptors 0, 1 and
// 2 are closed in it. The child is ended before it has run one instruction of the
// program, also if this process dies meanwhile, and is waited for.
//
// What happens once the program runs is not asked: a library that it lacks, for example.
// To be called while this process has one thread.
ExecTrial TryExec(char const* path, char* const* arguments);

#endif
