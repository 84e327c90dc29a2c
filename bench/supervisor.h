// A supervisor under measurement, and the stamps of the programs that it keeps running.
//
//   Stamps stamps(10);
//   stamps.SetStays(true);
//   Supervisor floor({"/path/of/floor", "10", stamps.Programs()});
//   stamps.WaitUntilAllStarted();
//   floor.ReadMemory().private_bytes   -> 123456
//   floor.Stop().end                   -> "exit 0"

#ifndef BENCH_SUPERVISOR_H
#define BENCH_SUPERVISOR_H

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "bench/stamps.h"
#include "tests/support/files.h"

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

    // Says whether programs that start from now on stay until they are killed.
    void SetStays(bool stays);
    void SetStays(std::size_t item, bool stays);

    std::uint32_t Starts(std::size_t item) const;
    std::uint32_t Ends(std::size_t item) const;
    std::uint64_t TotalStarts() const;
    std::uint64_t TotalEnds() const;

    // The process id of the item's latest start.
    pid_t Pid(std::size_t item) const { return slots[item].pid; }

    // When the item's first start was, and the latest of all items' first starts.
    std::int64_t FirstStart(std::size_t item) const;
    std::int64_t LastFirstStart() const;

    // Waits until every item has started `times` times, ten minutes at most. Says whether
    // it came to that.
    bool WaitUntilAllStarted(std::uint32_t times = 1) const;

    // Waits for the middle of the pause between an end of the item's program and the next
    // start, so that measurements begin and end at the same point of the round. Gives up
    // after ten minutes.
    bool WaitForPause(std::size_t item) const;

    // The gaps between the starts from number `first` up to number `last`. There are
    // those of the latest kStampsKept starts.
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
    int mappings = 0;
};

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
    explicit Supervisor(std::vector<std::string> arguments);

    // Kills what still runs.
    ~Supervisor();
    Supervisor(Supervisor const&) = delete;
    Supervisor& operator=(Supervisor const&) = delete;

    // The time just before the execv, by CLOCK_MONOTONIC.
    std::int64_t ExecTime() const;

    // CPU of the supervisor's own process since its fork, in microseconds.
    double Cpu() const;

    Memory ReadMemory() const;
    Faults ReadFaults() const;
    std::uint64_t ContextSwitches() const;

    // The number of open descriptors, without those that are open for a moment only.
    std::size_t Descriptors() const;

    // Waits until the supervisor rests: until it uses no CPU for 30 ms. Gives up after
    // ten minutes.
    bool WaitUntilIdle() const;

    // Sends SIGTERM and waits for the end, 50 ms for each of `items` and half a minute
    // more at most; then kills.
    Outcome Stop(std::size_t items);

    // Kills it, its programs after that.
    Outcome Kill();

  private:
    Outcome WaitForEnd(std::int64_t since, std::int64_t deadline);

    std::int64_t* exec_time;  // shared with the child
    pid_t pid;
    bool ended = false;
};

#endif
