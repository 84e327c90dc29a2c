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
        // execv would not return, and the system would end the process by the signal
        // `error` before the program begins. The file is cut short, for example.
        Killed,
        // The system does not let this process try; `error` is its error number.
        NotAsked,
    };
    Answer answer;
    int error;
};

// Lets a child execute the file at `path` with the arguments `arguments`, which end with
// null. The child has the environment and the limits of this process, and descriptors 0,
// 1 and 2 are closed in it. It is killed before it has run one instruction of the
// program, even if this process dies meanwhile, and is waited for.
//
// The answer does not tell what happens once the program runs: whether a library is
// missing, for example. To be called while this process has one thread.
ExecTrial TryExec(char const* path, char* const* arguments);

#endif
