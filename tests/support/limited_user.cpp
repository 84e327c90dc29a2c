#include "tests/support/limited_user.h"

#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include "harness/process.h"

uid_t LimitedUser() {
    struct stat info = {};
    stat("/proc/self/ns/pid", &info);
    return 100000 + static_cast<uid_t>(info.st_ino % 1000000000);
}

bool HasLimitedUser() {
    Process trial([] { return setuid(LimitedUser()) == 0 ? 0 : 1; });
    return trial.WaitForEnd() == "exit 0";
}

void BecomeLimitedUser(unsigned long limit) {
    rlimit const processes = {limit, limit};
    if (setrlimit(RLIMIT_NPROC, &processes) != 0 || setgid(LimitedUser()) != 0 ||
        setuid(LimitedUser()) != 0) {
        _exit(126);
    }
}
