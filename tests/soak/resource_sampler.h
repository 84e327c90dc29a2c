// Samples what the launcher holds while it works: threads, descriptors, memory, and the
// zombies of the namespace.

#ifndef TESTS_SOAK_RESOURCE_SAMPLER_H
#define TESTS_SOAK_RESOURCE_SAMPLER_H

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <map>

// Returns how many KiB of the process are in memory, 0 if it is gone.
long ResidentKiB(pid_t pid);

// Each number is the extreme of all samples.
class ResourceSampler {
  public:
    using Clock = std::chrono::steady_clock;

    explicit ResourceSampler(pid_t process) : pid(process) {}

    // Takes a sample. To be called again and again, a fraction of a second apart.
    void Sample();

    std::size_t samples = 0;
    std::size_t least_threads = static_cast<std::size_t>(-1);
    std::size_t most_threads = 0;
    std::size_t most_descriptors = 0;
    std::size_t most_zombies = 0;
    // How long one process was a zombie in every sample.
    std::chrono::duration<double> longest_zombie{0};
    long most_resident = 0;

  private:
    void SampleZombies();

    pid_t const pid;
    std::map<pid_t, Clock::time_point> zombies;  // and since when
};

#endif
