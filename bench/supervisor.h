// A supervisor that is measured, and the stamps of the programs that it keeps running.
//
//   Stamps stamps(10);
//   stamps.SetStays(true);
//   Supervisor floor({"/path/of/floor", "10", stamps.Programs()});
//   stamps.WaitUntilAllStarted();
//   floor.ReadMemory().own  -> 123 (KiB)
//   floor.Stop(10).end      -> "exit 0"

#ifndef BENCH_SUPERVISOR_H
#define BENCH_SUPERVISOR_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/stamps.h"
#include "harness/files.h"
#include "harness/process.h"

// Returns CLOCK_MONOTONIC in nanoseconds.
std::int64_t Now();

// One end of a program and its next start.
struct Gap {
    std::int64_t end;
    std::int64_t start;
};

// A directory with the programs of `count` items, named "0", "1", ..., and the file that
// they stamp.
class Stamps {
  public:
    // Throws std::system_error if there is no room for the file.
    explicit Stamps(std::size_t count);
    ~Stamps();
    Stamps(Stamps const&) = delete;
    Stamps& operator=(Stamps const&) = delete;

    std::string Programs() const { return directory.Path(); }
    std::size_t Count() const { return count; }

    // Decides whether programs that start from now on stay until they are killed.
    void SetStays(bool stays);
    void SetStays(std::size_t item, bool stays);

    std::uint32_t Starts(std::size_t item) const;
    std::uint32_t Ends(std::size_t item) const;
    std::uint64_t TotalStarts() const;
    std::uint64_t TotalEnds() const;

    // Returns the process id of the item's latest start.
    pid_t Pid(std::size_t item) const { return slots[item].pid; }

    // Returns the time of the item's first start, and of the latest of all first starts.
    std::int64_t FirstStart(std::size_t item) const;
    std::int64_t LastFirstStart() const;

    // Waits until every item has started `times` times, ten minutes at most. Returns
    // whether that happened.
    bool WaitUntilAllStarted(std::uint32_t times = 1) const;

    // Waits for the middle of the pause between an end of the item's program and the next
    // start, so that measurements begin and end at the same point of a pass. Gives up
    // after ten minutes. Returns whether there was a pause.
    bool WaitForPause(std::size_t item) const;

    // Returns the gaps between the starts from number `first` up to number `last`, which
    // are among the latest kStampsKept.
    std::vector<Gap> Gaps(std::size_t item, std::uint32_t first,
                          std::uint32_t last) const;

  private:
    TempDirectory directory;
    std::size_t count;
    StampSlot* slots;
};

struct Memory {
    double pss = 0;  // all in KiB
    double rss = 0;
    double own = 0;  // private: what ends with the process
    std::size_t mappings = 0;
};

// Returns what a process uses; all zero if it is gone.
Memory ReadMemoryOf(pid_t process);

// Page faults that read nothing from a disk.
struct Faults {
    std::uint64_t own = 0;
    std::uint64_t children = 0;  // of all programs that it has waited for
};

// How a supervisor ended, and what it cost.
struct Outcome {
    std::string end;            // "exit 1", "signal 9"; "hang" if a stop had to be forced
    double seconds = 0;         // from the signal until it and its programs were gone
    double children_cpu = 0;    // microseconds, of all programs that it has waited for
    std::size_t left_over = 0;  // programs that it left behind
};

class Supervisor {
  public:
    // Starts arguments[0], a path, as the leader of a session of its own.
    explicit Supervisor(std::vector<std::string> const& arguments);

    // Kills it and its programs if it still runs.
    ~Supervisor();
    Supervisor(Supervisor const&) = delete;
    Supervisor& operator=(Supervisor const&) = delete;

    // Returns the time just before the execv, by CLOCK_MONOTONIC.
    std::int64_t ExecTime() const;

    // Returns the CPU time of the supervisor's own process since its fork, in
    // microseconds.
    double Cpu() const;

    Memory ReadMemory() const { return ReadMemoryOf(process.Pid()); }
    Faults ReadFaults() const;
    std::uint64_t ContextSwitches() const;

    // Returns the number of open descriptors, without those that are open for a moment.
    std::size_t Descriptors() const;

    // Waits until the supervisor rests: until it uses no CPU for 30 ms. Gives up after
    // ten minutes. Returns whether it rests.
    bool WaitUntilIdle() const;

    // Sends SIGTERM and waits for the end, 50 ms for each of `items` and half a minute
    // more at most; then kills.
    Outcome Stop(std::size_t items);

    // Kills it, and its programs after that.
    Outcome Kill();

  private:
    Outcome WaitForEnd(std::int64_t since, std::int64_t deadline);

    std::int64_t* const exec_time;  // shared with the child
    Process process;
};

#endif
