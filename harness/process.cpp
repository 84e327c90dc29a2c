#include "harness/process.h"

#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <stdexcept>

#include "harness/system.h"
#include "harness/wait_for.h"

namespace {

pid_t ForkIntoSession() {
    pid_t const pid = fork();
    if (pid < 0) {
        throw std::runtime_error("fork failed");
    }
    if (pid == 0) {
        setsid();
        CloseDescriptorsFrom(STDERR_FILENO + 1);
    }
    return pid;
}

pid_t StartProgram(std::vector<std::string>& arguments,
                   std::function<void()> const& prepare) {
    std::vector<char*> pointers = Pointers(arguments);
    pid_t const pid = ForkIntoSession();
    if (pid == 0) {
        if (prepare) {
            prepare();
        }
        execv(pointers[0], pointers.data());
        _exit(127);
    }
    return pid;
}

}  // namespace

std::vector<char*> Pointers(std::vector<std::string>& arguments) {
    std::vector<char*> pointers;
    for (std::string& argument : arguments) {
        pointers.push_back(argument.data());
    }
    pointers.push_back(nullptr);
    return pointers;
}

Process::Process(std::vector<std::string> arguments, std::function<void()> prepare)
    : pid(StartProgram(arguments, prepare)) {}

Process::Process(std::function<int()> const& body) : pid(ForkIntoSession()) {
    if (pid == 0) {
        // If an exception left this block, the copy would run the code of its parent.
        try {
            _exit(body());
        } catch (...) {
            _exit(98);
        }
    }
}

Process::~Process() {
    if (!HasEnded()) {
        kill(pid, SIGKILL);
        waitpid(pid, &status, 0);
    }
}

void Process::Signal(int number) const {
    kill(pid, number);
}

bool Process::HasEnded() {
    ended = ended || wait4(pid, &status, WNOHANG, &usage) == pid;
    return ended;
}

std::string Process::WaitForEnd() {
    if (!WaitFor([this] { return HasEnded(); })) {
        return "still running";
    }
    return WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                               : "exit " + std::to_string(WEXITSTATUS(status));
}
