// The measurements of the launcher and of bench/floor.
//
//   Bench bench(Extent{});
//   bench.BeginRound();
//   bench.Run(&Bench::TenIdlePrograms, 0);   // of the launcher, then of the floor
//   bench.figures.PrintTables(std::cout);

#ifndef BENCH_MEASUREMENTS_H
#define BENCH_MEASUREMENTS_H

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "bench/figures.h"
#include "bench/supervisor.h"
#include "harness/files.h"
#include "harness/passwd_entry.h"

// How much is measured.
struct Extent {
    int rounds = 5;
    int starts = 20;      // exec to first program, and stop, of one program
    int supervisors = 4;  // of one program: each differs from the next
    double restarts = 3;  // seconds of restarts of one program, of each supervisor
    double crowded = 5;   // seconds of restarts of one program in the crowd
    double idle = 10;     // seconds
    double storm = 10;    // seconds
    std::size_t crowd = 1000;
    std::size_t multitude = 10'000;  // without the floor, which would take hours
};

// Prints what went wrong, as lines on the standard error output.
class Checks {
  public:
    // Prints `what`, a sentence that says what is wrong, unless `holds` is true.
    void Expect(bool holds, std::string const& what);

    bool AllHold() const { return failures == 0; }

  private:
    int failures = 0;
};

// The measurements, each made of both kinds of supervisor. Adds what it measures to
// `figures`, and what is not as it should be to `checks`.
class Bench {
  public:
    explicit Bench(Extent measured_extent) : extent(measured_extent), user(home.Path()) {}

    // To be called before the measurements of each round.
    void BeginRound() {
        costs_of_one[kLauncher].clear();
        costs_of_one[kFloor].clear();
    }

    // `measure` is one of the members below. Every other round the floor comes first.
    void Run(void (Bench::*measure)(Kind), int round) {
        Kind const first = round % 2 == 0 ? kLauncher : kFloor;
        (this->*measure)(first);
        (this->*measure)(first == kLauncher ? kFloor : kLauncher);
    }

    void OneProgramStartsAndStops(Kind kind);
    void OneProgramRestarts(Kind kind);
    void LaunchWith(Kind kind);
    void TenIdlePrograms(Kind kind);
    void HundredIdlePrograms(Kind kind);
    void Few(Kind kind);
    void Crowd(Kind kind) { OneOfMany(kind, extent.crowd); }
    void Multitude(Kind kind);
    void Storm(Kind kind);

    Figures figures;
    Checks checks;

  private:
    enum Arguments { kNoArguments, kTwoArguments };

    // Starts a launcher of these items.
    std::unique_ptr<Supervisor> StartLauncher(std::vector<std::string> const& items);

    // Starts a launcher of the programs, each with launch-with beside it.
    std::unique_ptr<Supervisor> StartWithLaunchWith(Stamps const& stamps);

    // Starts a supervisor of the programs.
    std::unique_ptr<Supervisor> Start(Kind kind, Stamps const& stamps,
                                      Arguments arguments);

    // Starts one of idle programs, and adds the time until all run and its memory.
    std::unique_ptr<Supervisor> StartIdle(Kind kind, Stamps& stamps);

    // Stops a supervisor of idle programs, and adds its time.
    void StopIdle(Kind kind, Supervisor& supervisor, Stamps const& stamps);

    void AddMemory(Kind kind, Supervisor const& supervisor, std::size_t count);

    // What a restart costs: microseconds of CPU with the program's, and the program's
    // page faults.
    struct Cost {
        double cpu;
        double faults;
    };

    // Measures restarts of the first item's program for so many seconds, kills the
    // supervisor, and adds what a restart costs to the table.
    Cost MeasureRestarts(Kind kind, Supervisor& supervisor, Stamps const& stamps,
                         double seconds, std::string const& table);

    // Measures restarts of the first one of otherwise idle programs.
    Cost MeasureOneOf(Kind kind, std::size_t count);

    // The same, and adds how much more they cost than those of one alone in this round.
    void OneOfMany(Kind kind, std::size_t count);

    void AddLatency(Kind kind, std::vector<double> const& beyond_pause,
                    std::string const& table);

    Extent const extent;
    double own_of_one[2] = {};  // the latest private memory with one program, by Kind
    std::vector<Cost> costs_of_one[2];  // in this round, by Kind
    TempDirectory const home;
    PasswdEntry const user;
};

#endif
