// Only for Linux: forbids a process to trace.

#ifndef TESTS_SUPPORT_LINUX_FORBID_TRACING_H
#define TESTS_SUPPORT_LINUX_FORBID_TRACING_H

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <array>
#include <cerrno>
#include <cstddef>

// Lets ptrace fail with EPERM in this process and its children, as a container may.
// Returns false if that is not possible here.
inline bool ForbidTracing() {
    std::array<sock_filter, 4> code = {{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, SYS_ptrace, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | EPERM),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    sock_fprog const filter = {code.size(), code.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

#endif
