#include "harness/proc.h"

#include <unistd.h>

#include <algorithm>
#include <cctype>
#include <cinttypes>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <sstream>
#include <system_error>

#include "harness/files.h"

namespace {

std::filesystem::path ProcDirectory(pid_t pid) {
    return "/proc/" + std::to_string(pid);
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

std::vector<pid_t> AllProcesses() {
    return NumbersIn("/proc");
}

std::vector<pid_t> ThreadsOf(pid_t pid) {
    return NumbersIn(ProcDirectory(pid) / "task");
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

std::string StatField(pid_t pid, int number) {
    std::string const stat = ReadFile(ProcDirectory(pid) / "stat");
    // Field 2 is the name, which may hold anything, in parentheses.
    std::istringstream words(stat.substr(std::min(stat.rfind(')'), stat.size() - 1) + 1));
    std::string field;
    for (int i = 3; i <= number; ++i) {
        words >> field;
    }
    return words ? field : "";
}

char StateOf(pid_t pid) {
    // At the end of a string is a 0.
    return StatField(pid, 3)[0];
}

bool IsGone(pid_t pid) {
    char const state = StateOf(pid);
    return state == 0 || state == 'Z' || state == 'X';
}

pid_t ParentOf(pid_t pid) {
    return std::atoi(StatField(pid, 4).c_str());
}

std::filesystem::path ProgramOf(pid_t pid) {
    std::error_code error;
    return std::filesystem::read_symlink(ProcDirectory(pid) / "exe", error);
}

std::string ProcValue(pid_t pid, std::string const& file, std::string const& key) {
    std::string const begin = key + ":";
    for (std::string const& line : Lines(ReadFile(ProcDirectory(pid) / file))) {
        if (line.compare(0, begin.size(), begin) == 0) {
            std::size_t const value = line.find_first_not_of(" \t", begin.size());
            return line.substr(std::min(value, line.size()));
        }
    }
    return "";
}

long ProcNumber(pid_t pid, std::string const& file, std::string const& key) {
    return std::atol(ProcValue(pid, file, key).c_str());
}

std::size_t CountDescriptors(pid_t pid) {
    std::error_code error;
    std::filesystem::directory_iterator const all(ProcDirectory(pid) / "fd", error);
    return static_cast<std::size_t>(std::distance(begin(all), end(all)));
}

std::size_t CountMappings(pid_t pid) {
    std::vector<std::string> const lines = Lines(ReadFile(ProcDirectory(pid) / "maps"));
    return static_cast<std::size_t>(
        std::count_if(lines.begin(), lines.end(), [](std::string const& line) {
            return line.find("[vsyscall]") == std::string::npos;
        }));
}

std::string MappingOf(void const* address) {
    auto const wanted = reinterpret_cast<std::uintptr_t>(address);
    std::string mapping;
    bool is_wanted = false;
    for (std::string const& line : Lines(ReadFile("/proc/self/smaps"))) {
        // A mapping begins with its range, "FIRST-END ", and goes on with lines "KEY:
        // VALUE".
        std::uintptr_t first = 0;
        std::uintptr_t end = 0;
        if (std::sscanf(line.c_str(), "%" SCNxPTR "-%" SCNxPTR " ", &first, &end) == 2) {
            is_wanted = first <= wanted && wanted < end;
        }
        mapping += is_wanted ? line + "\n" : "";
    }
    return mapping;
}

std::vector<pid_t> ProcessesWith(std::string const& text) {
    std::vector<pid_t> processes = AllProcesses();
    processes.erase(std::remove_if(processes.begin(), processes.end(),
                                   [&text](pid_t pid) {
                                       std::string const environment = ReadFile(
                                           "/proc/" + std::to_string(pid) + "/environ");
                                       return IsGone(pid) ||
                                              environment.find(text) == std::string::npos;
                                   }),
                    processes.end());
    return processes;
}
