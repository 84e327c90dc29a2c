#include "tests/soak/watch.h"

#include <algorithm>
#include <filesystem>
#include <iterator>
#include <sstream>
#include <string>
#include <utility>

#include "tests/support/files.h"
#include "tests/support/process.h"

namespace {

std::size_t CountEntries(pid_t pid, char const* directory) {
    std::filesystem::directory_iterator const entries("/proc/" + std::to_string(pid) +
                                                      "/" + directory);
    return static_cast<std::size_t>(std::distance(begin(entries), end(entries)));
}

}  // namespace

std::size_t CountDescriptors(pid_t pid) {
    return CountEntries(pid, "fd");
}

std::size_t CountThreads(pid_t pid) {
    return CountEntries(pid, "task");
}

long ResidentKiB(pid_t pid) {
    // The kernel counts here; the number in "status" lags behind.
    std::istringstream in(ReadFile("/proc/" + std::to_string(pid) + "/smaps_rollup"));
    std::string word;
    while (in >> word && word != "Rss:") {
    }
    long size = -1;
    in >> size;
    return size;
}

void Watch::Look() {
    ++looks;
    std::size_t const threads = CountThreads(pid);
    least_threads = std::min(least_threads, threads);
    most_threads = std::max(most_threads, threads);
    most_descriptors = std::max(most_descriptors, CountDescriptors(pid));
    most_resident = std::max(most_resident, ResidentKiB(pid));
    LookForZombies();
}

void Watch::LookForZombies() {
    Clock::time_point const now = Clock::now();
    std::map<pid_t, Clock::time_point> still;
    for (pid_t const process : AllProcesses()) {
        if (StateOf(process) == 'Z') {
            auto const known = zombies.find(process);
            Clock::time_point const since = known == zombies.end() ? now : known->second;
            still[process] = since;
            longest_zombie =
                std::max(longest_zombie, std::chrono::duration<double>(now - since));
        }
    }
    zombies = std::move(still);
    most_zombies = std::max(most_zombies, zombies.size());
}
