// Only for Linux: lets a system call fail, as a container may.

#ifndef TESTS_SUPPORT_LINUX_REFUSE_CALL_H
#define TESTS_SUPPORT_LINUX_REFUSE_CALL_H

#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

#include <array>
#include <cstddef>

// Lets the system call `number`, SYS_ptrace for example, fail with `error` in this
// process and its children. Returns false if that is not possible here.
inline bool RefuseCall(unsigned number, unsigned error) {
    std::array<sock_filter, 4> code = {{
        BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr)),
        BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, number, 0, 1),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ERRNO | error),
        BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW),
    }};
    sock_fprog const filter = {code.size(), code.data()};
    return prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
           prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &filter) == 0;
}

#endif
