// What the launcher holds while it works: threads, descriptors, memory, and the zombies
// around it.

#ifndef TESTS_SOAK_WATCH_H
#define TESTS_SOAK_WATCH_H

#include <sys/types.h>

#include <chrono>
#include <cstddef>
#include <map>

// Returns how many descriptors the process has open.
std::size_t CountDescriptors(pid_t pid);

// Returns how many threads the process has.
std::size_t CountThreads(pid_t pid);

// Returns how many KiB of the process are in memory.
long ResidentKiB(pid_t pid);

// Gathers what it sees at every look. Each number is the extreme of all looks.
class Watch {
  public:
    using Clock = std::chrono::steady_clock;

    explicit Watch(pid_t process) : pid(process) {}

    // To be called again and again, a fraction of a second apart.
    void Look();

    std::size_t looks = 0;
    std::size_t least_threads = static_cast<std::size_t>(-1);
    std::size_t most_threads = 0;
    std::size_t most_descriptors = 0;
    std::size_t most_zombies = 0;
    // How long one process was seen as a zombie in every look.
    std::chrono::duration<double> longest_zombie{0};
    long most_resident = 0;

  private:
    void LookForZombies();

    pid_t const pid;
    std::map<pid_t, Clock::time_point> zombies;
};

#endif
