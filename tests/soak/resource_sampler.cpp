#include "tests/soak/resource_sampler.h"

#include <algorithm>
#include <utility>

#include "harness/proc.h"

long ResidentKiB(pid_t pid) {
    // The kernel counts for this file; the number in "status" comes late.
    return ProcNumber(pid, "smaps_rollup", "Rss");
}

void ResourceSampler::Sample() {
    ++samples;
    std::size_t const threads = ThreadsOf(pid).size();
    least_threads = std::min(least_threads, threads);
    most_threads = std::max(most_threads, threads);
    most_descriptors = std::max(most_descriptors, CountDescriptors(pid));
    most_resident = std::max(most_resident, ResidentKiB(pid));
    SampleZombies();
}

void ResourceSampler::SampleZombies() {
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
