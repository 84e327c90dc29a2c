#include "launcher/child_proc.h"

#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <csignal>
#include <system_error>

#include "common/config/log.h"
#include "launcher/argument_vector.h"
#include "launcher/list_rules.h"

namespace {

// Contract: every end is followed by the same pause and a new start, without limit.
constexpr std::chrono::nanoseconds kRestartDelay(50'000'000);

}  // namespace

ChildProc::ChildProc(std::string launcher_name, JsonObject launch_item)
    : pid(0), running(true), item(nullptr) {
    // Assigned, not copied: the copy of a view would be a view.
    item = launch_item;
    launcherName = launcher_name;
    name = launch_list::Name(item);
    try {
        thread.reset(new std::thread([this] { Supervise(); }));
    } catch (std::system_error const& error) {
        // The text of some standard libraries is the system's alone.
        throw std::system_error(error.code(), "thread constructor failed");
    }
}

ChildProc::~ChildProc() {
    Stop();
    if (thread && thread->joinable()) {
        thread->join();
    }
}

void ChildProc::Stop() {
    // Contract: any id is signalled, 0 (the process group) and -1 (every process) too.
    running.store(false, std::memory_order_relaxed);
    kill(pid.load(std::memory_order_relaxed), SIGKILL);
}

void ChildProc::Supervise() {
    bool is_forked_child = false;
    // Contract: the flag is read once in a pass, never during a wait.
    while (running.load(std::memory_order_relaxed)) {
        // Contract: if "program" cannot be read as text, the launcher aborts.
        std::string program = launch_list::Program(item);
        __LOG__A(logger, LOGLEVEL_DEBUG, "[LAUNCHER  ] Start to fork %s", name.c_str());
        pid_t const child = fork();
        pid.store(child, std::memory_order_relaxed);
        if (child < 0) {
            // Contract: there is no second try, and the id stays -1.
            __LOG__A(logger, LOGLEVEL_ERROR, "[LAUNCHER  ] Failed to fork %s",
                     name.c_str());
            break;
        }
        if (child > 0) {
            WaitForEnd(child);
        } else {
            // From here to execv or _exit this process has one thread, and a copy of the
            // state of all others. It must not wait for a lock that another thread may
            // have held at the fork. malloc is safe: the C library releases its locks.
            is_forked_child = true;
            if (program.empty()) {
                // Contract: the child ends, and 50 ms later there is the next.
                __LOG__A(logger, LOGLEVEL_ERROR,
                         "[LAUNCHER  ] program path of %s is empty", name.c_str());
                break;
            }
            // Contract: a child whose execv fails goes on in this loop: the chain.
            Execute(program);
        }
        std::this_thread::sleep_for(kRestartDelay);
    }
    running.store(false, std::memory_order_relaxed);
    if (is_forked_child) {
        // exit would destroy this process's copy of the launcher's table, and so kill the
        // programs of all other items.
        _exit(0);
    }
}

void ChildProc::WaitForEnd(pid_t child) {
    int status = 0;
    pid_t const ret = waitpid(child, &status, 0);
    // Contract: every end "is killed", and the status is the raw one of waitpid.
    __LOG__A(logger, LOGLEVEL_ERROR,
             "[LAUNCHER  ] %s %d is killed. ret = %d, status = %d", name.c_str(),
             pid.load(std::memory_order_relaxed), ret, status);
}

// Contract: nothing catches what the arguments throw: the child ends abnormally.
void ChildProc::Execute(std::string& program) {
    ArgumentVector const arguments(program, item);
    execv(program.c_str(), arguments.Data());
}
