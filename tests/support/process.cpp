#include "tests/support/process.h"

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <sstream>
#include <stdexcept>

#include "tests/support/files.h"
#include "tests/support/system.h"
#include "tests/support/wait_for.h"

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

// Returns what /proc/PID/stat says behind the name, which may hold anything: the state,
// the parent, ...
std::istringstream StatOf(pid_t pid) {
    std::string const stat = ReadFile("/proc/" + std::to_string(pid) + "/stat");
    std::size_t const name_end = stat.rfind(')');
    return std::istringstream(name_end == std::string::npos ? ""
                                                            : stat.substr(name_end + 1));
}

// Returns the numbers that are names in a directory; none if it is gone.
std::vector<pid_t> NumbersIn(std::filesystem::path const& directory) {
    std::vector<pid_t> numbers;
    std::error_code error;
    for (auto const& entry : std::filesystem::directory_iterator(directory, error)) {
        std::string const name = entry.path().filename();
        if (std::all_of(name.begin(), name.end(),
                        [](unsigned char c) { return std::isdigit(c) != 0; })) {
            numbers.push_back(std::stoi(name));
        }
    }
    return numbers;
}

}  // namespace

Process::Process(std::vector<std::string> arguments, std::function<void()> prepare)
    : pid(ForkIntoSession()) {
    if (pid == 0) {
        if (prepare) {
            prepare();
        }
        std::vector<char*> pointers;
        for (std::string& argument : arguments) {
            pointers.push_back(argument.data());
        }
        pointers.push_back(nullptr);
        execv(pointers[0], pointers.data());
        _exit(127);
    }
}

Process::Process(std::function<int()> const& body) : pid(ForkIntoSession()) {
    if (pid == 0) {
        // An exception must not lead the copy on into the test's own code.
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
    ended = ended || waitpid(pid, &status, WNOHANG) == pid;
    return ended;
}

std::string Process::WaitForEnd() {
    if (!WaitFor([this] { return HasEnded(); })) {
        return "still running";
    }
    return WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                               : "exit " + std::to_string(WEXITSTATUS(status));
}

std::vector<pid_t> AllProcesses() {
    return NumbersIn("/proc");
}

char StateOf(pid_t pid) {
    char state = 0;
    StatOf(pid) >> state;
    return state;
}

bool IsGone(pid_t pid) {
    char const state = StateOf(pid);
    return state == 0 || state == 'Z' || state == 'X';
}

pid_t ParentOf(pid_t pid) {
    char state = 0;
    pid_t parent = 0;
    StatOf(pid) >> state >> parent;
    return parent;
}

std::vector<pid_t> SessionMembers(pid_t session) {
    std::vector<pid_t> processes = AllProcesses();
    processes.erase(std::remove_if(processes.begin(), processes.end(),
                                   [session](pid_t pid) {
                                       return IsGone(pid) || getsid(pid) != session;
                                   }),
                    processes.end());
    return processes;
}

std::vector<pid_t> ThreadsOf(pid_t pid) {
    return NumbersIn("/proc/" + std::to_string(pid) + "/task");
}

uid_t LimitedUser() {
    // The namespace's own number tells its tests' users apart.
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
