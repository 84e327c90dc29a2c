#include "tests/stop/families.h"

#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cstdlib>
#include <sstream>

#include "harness/files.h"
#include "harness/proc.h"

std::string DescribeProcesses(std::vector<pid_t> const& processes) {
    std::ostringstream text;
    for (pid_t const pid : processes) {
        std::string line = ReadFile("/proc/" + std::to_string(pid) + "/cmdline");
        std::replace(line.begin(), line.end(), '\0', ' ');
        text << "\n  " << pid << " of " << ParentOf(pid) << " " << StateOf(pid) << " "
             << line;
    }
    return text.str();
}

void AddNeighbour() {
    if (fork() == 0) {
        for (;;) {
            pause();
        }
    }
}

std::unique_ptr<Process> StartFromShell(std::vector<std::string> command,
                                        std::string const& marker) {
    return std::make_unique<Process>([&] {
        AddNeighbour();
        pid_t const child = fork();
        if (child == 0) {
            setenv("TEST_PROGRAM_MARKER", marker.c_str(), 1);
            execv(command[0].c_str(), Pointers(command).data());
            _exit(127);
        }
        waitpid(child, nullptr, 0);
        return pause();
    });
}

unsigned long NumberFromEnvironment(char const* name, unsigned long fallback) {
    char const* const text = std::getenv(name);
    return text != nullptr ? std::strtoul(text, nullptr, 10) : fallback;
}
