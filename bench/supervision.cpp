// Measures the launcher beside bench/floor, the least that a supervisor of its design can
// be, and prints tables of both and of their ratios. It also checks what it sees: every
// program starts, pauses and stops as it should, or this ends with exit code 1. To be run
// by scripts/bench, inside tests/support/contained.

#include <sys/utsname.h>

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "bench/figures.h"
#include "bench/supervisor.h"
#include "harness/containment.h"
#include "harness/files.h"
#include "harness/launch_list.h"
#include "harness/passwd_entry.h"

namespace {

constexpr double kPauseMicroseconds = 50'000;

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

Extent QuickExtent() {
    Extent quick;
    quick.rounds = 1;
    quick.starts = 2;
    quick.supervisors = 1;
    quick.restarts = 1;
    quick.crowded = 1;
    quick.idle = 1;
    quick.storm = 2;
    quick.crowd = 200;
    quick.multitude = 400;
    return quick;
}

struct Options {
    Extent extent;
    std::string json_file;
    std::vector<std::string> only;  // names of scenarios; none for all
};

// What went wrong, as lines on the standard error output.
class Checks {
  public:
    void Expect(bool holds, std::string const& what) {
        if (!holds) {
            std::cerr << "supervision: wrong: " << what << std::endl;
            ++failures;
        }
    }
    bool AllHold() const { return failures == 0; }

  private:
    int failures = 0;
};

void SleepFor(double seconds) {
    std::this_thread::sleep_for(std::chrono::duration<double>(seconds));
}

std::string CountOf(std::size_t programs) {
    return programs == 1 ? "1 program" : std::to_string(programs) + " programs";
}

std::vector<double> BeyondPause(std::vector<Gap> const& gaps) {
    std::vector<double> microseconds;
    for (Gap const& gap : gaps) {
        microseconds.push_back(static_cast<double>(gap.start - gap.end) / 1e3 -
                               kPauseMicroseconds);
    }
    return microseconds;
}

// The measurements, each of both kinds of supervisor.
class Bench {
  public:
    explicit Bench(Extent measured_extent) : extent(measured_extent), user(home.Path()) {}

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

    // Starts a supervisor of the programs.
    std::unique_ptr<Supervisor> Start(Kind kind, Stamps const& stamps,
                                      Arguments arguments);

    // Starts one of idle programs, and adds the time until all run and its memory.
    std::unique_ptr<Supervisor> StartIdle(Kind kind, Stamps& stamps);

    // Stops a supervisor of idle programs, and adds its time.
    void StopIdle(Kind kind, Supervisor& supervisor, Stamps const& stamps);

    void AddMemory(Kind kind, Supervisor const& supervisor, std::size_t count);

    // What a restart costs, with the program: microseconds of CPU, and the program's page
    // faults.
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

    // The same, and adds what they cost against those of one alone in this round.
    void OneOfMany(Kind kind, std::size_t count);

    void AddLatency(Kind kind, std::vector<double> const& beyond_pause,
                    std::string const& table);

    std::string Name(Kind kind, Stamps const& stamps) const {
        return std::string(kind == kLauncher ? "the launcher" : "the floor") + " with " +
               CountOf(stamps.Count());
    }

    Extent const extent;
    double own_of_one[2] = {};  // the latest private memory with one program, by Kind
    std::vector<Cost> costs_of_one[2];  // in this round, by Kind
    TempDirectory const home;
    PasswdEntry const user;
};

std::unique_ptr<Supervisor> Bench::Start(Kind kind, Stamps const& stamps,
                                         Arguments arguments) {
    if (kind == kFloor) {
        std::vector<std::string> command = {FLOOR, std::to_string(stamps.Count()),
                                            stamps.Programs()};
        if (arguments == kTwoArguments) {
            command.insert(command.end(), {"--port", "7000"});
        }
        return std::make_unique<Supervisor>(command);
    }
    std::vector<std::string> const two = {"--port", "7000"};
    std::vector<std::string> items;
    for (std::size_t i = 0; i < stamps.Count(); ++i) {
        std::string const number = std::to_string(i);
        items.push_back(
            ItemText("program " + number, stamps.Programs() + "/" + number,
                     arguments == kTwoArguments ? two : std::vector<std::string>()));
    }
    std::string const file = home.Write("list.json", ListText(items));
    return std::make_unique<Supervisor>(
        std::vector<std::string>{BUNDLE "/MacOS/launcher", "bench", file});
}

std::unique_ptr<Supervisor> Bench::StartIdle(Kind kind, Stamps& stamps) {
    stamps.SetStays(true);
    auto supervisor = Start(kind, stamps, kNoArguments);
    std::string const programs = CountOf(stamps.Count());
    checks.Expect(stamps.WaitUntilAllStarted() && supervisor->WaitUntilIdle(),
                  Name(kind, stamps) + ": not all have started, or it does not rest");
    figures.Add(
        "From exec until all programs run", programs, "ms", kind,
        static_cast<double>(stamps.LastFirstStart() - supervisor->ExecTime()) / 1e6);
    AddMemory(kind, *supervisor, stamps.Count());
    return supervisor;
}

void Bench::AddMemory(Kind kind, Supervisor const& supervisor, std::size_t count) {
    Memory const memory = supervisor.ReadMemory();
    std::string const programs = CountOf(count);
    figures.Add("Memory", "PSS, " + programs, "KiB", kind, memory.pss);
    figures.Add("Memory", "RSS, " + programs, "KiB", kind, memory.rss);
    figures.Add("Memory", "private, " + programs, "KiB", kind, memory.own);
    figures.Add("Memory", "mappings, " + programs, "", kind,
                static_cast<double>(memory.mappings));
    if (count == 1) {
        own_of_one[kind] = memory.own;
    } else if (own_of_one[kind] > 0) {
        double const more = memory.own - own_of_one[kind];
        figures.Add("Memory", "private, for each more, up to " + programs, "KiB", kind,
                    more / static_cast<double>(count - 1));
    }
}

void Bench::StopIdle(Kind kind, Supervisor& supervisor, Stamps const& stamps) {
    std::size_t const count = stamps.Count();
    checks.Expect(stamps.TotalStarts() == count,
                  Name(kind, stamps) + ": a program has started again");
    Outcome const outcome = supervisor.Stop(count);
    std::string const normal_end = kind == kLauncher ? "exit 1" : "exit 0";
    checks.Expect(outcome.end == normal_end,
                  Name(kind, stamps) + " was to end by SIGTERM with " + normal_end +
                      ", and not with " + outcome.end);
    checks.Expect(outcome.left_over == 0, Name(kind, stamps) + " left programs behind");
    double const least = 0.05 * static_cast<double>(count);
    checks.Expect(outcome.seconds >= least, Name(kind, stamps) + " stopped too early");
    figures.Add("From SIGTERM until all are gone", CountOf(count), "ms", kind,
                outcome.seconds * 1e3);
    figures.Add("From SIGTERM until all are gone",
                CountOf(count) + ", as a multiple of 50 ms for each", "", kind,
                outcome.seconds / least);
}

void Bench::AddLatency(Kind kind, std::vector<double> const& beyond_pause,
                       std::string const& table) {
    checks.Expect(std::all_of(beyond_pause.begin(), beyond_pause.end(),
                              [](double time) { return time > 0; }),
                  table + ": a program came back within 50 ms");
    std::string const name = "from end to next start, beyond the 50 ms: ";
    figures.Add(table, name + "median", "us", kind, Median(beyond_pause));
    figures.Add(table, name + "p99", "us", kind, Percentile(beyond_pause, 99));
    figures.Add(table, name + "maximum", "us", kind, Percentile(beyond_pause, 100));
}

Bench::Cost Bench::MeasureRestarts(Kind kind, Supervisor& supervisor,
                                   Stamps const& stamps, double seconds,
                                   std::string const& table) {
    checks.Expect(stamps.WaitForPause(0), Name(kind, stamps) + ": no restart");
    double const cpu = supervisor.Cpu();
    Faults const faults = supervisor.ReadFaults();
    std::uint32_t const starts = stamps.Starts(0);
    SleepFor(seconds);
    checks.Expect(stamps.WaitForPause(0), Name(kind, stamps) + ": no restart");
    double const own_cpu = supervisor.Cpu() - cpu;
    Faults const more_faults = supervisor.ReadFaults();
    std::uint32_t const last = stamps.Starts(0);
    double const restarts = last - starts;
    AddLatency(kind, BeyondPause(stamps.Gaps(0, starts - 1, last - 1)), table);
    // All of its programs that it has seen end, from the first on.
    double const of_programs =
        supervisor.Kill().children_cpu / static_cast<double>(stamps.TotalEnds());
    double const own = own_cpu / restarts;
    figures.Add(table, "CPU for 1,000 restarts: supervisor", "ms", kind, own);
    figures.Add(table, "CPU for 1,000 restarts: with the programs", "ms", kind,
                own + of_programs);
    figures.Add(table, "page faults for a restart: supervisor", "", kind,
                static_cast<double>(more_faults.own - faults.own) / restarts);
    double const of_program =
        static_cast<double>(more_faults.children - faults.children) / restarts;
    figures.Add(table, "page faults for a restart: the program", "", kind, of_program);
    return {own + of_programs, of_program};
}

void Bench::OneProgramStartsAndStops(Kind kind) {
    Stamps stamps(1);
    auto const supervisor = StartIdle(kind, stamps);
    StopIdle(kind, *supervisor, stamps);
}

void Bench::OneProgramRestarts(Kind kind) {
    Stamps stamps(1);
    auto const supervisor = Start(kind, stamps, kTwoArguments);
    MeasureRestarts(kind, *supervisor, stamps, extent.restarts, "One program that ends");
}

void Bench::TenIdlePrograms(Kind kind) {
    Stamps stamps(10);
    auto const supervisor = StartIdle(kind, stamps);
    StopIdle(kind, *supervisor, stamps);
}

void Bench::HundredIdlePrograms(Kind kind) {
    Stamps stamps(100);
    auto const supervisor = StartIdle(kind, stamps);
    double const cpu = supervisor->Cpu();
    std::uint64_t const switches = supervisor->ContextSwitches();
    SleepFor(extent.idle);
    std::string const table = "100 idle programs";
    figures.Add(table, "context switches", "", kind,
                static_cast<double>(supervisor->ContextSwitches() - switches));
    figures.Add(table, "CPU", "us", kind, supervisor->Cpu() - cpu);
    StopIdle(kind, *supervisor, stamps);
}

Bench::Cost Bench::MeasureOneOf(Kind kind, std::size_t count) {
    Stamps stamps(count);
    auto const supervisor = StartIdle(kind, stamps);
    checks.Expect(stamps.TotalStarts() == stamps.Count(),
                  Name(kind, stamps) + ": a program has started again");
    stamps.SetStays(0, false);
    kill(stamps.Pid(0), SIGKILL);
    return MeasureRestarts(kind, *supervisor, stamps, extent.crowded,
                           "One program that ends, of " + std::to_string(count));
}

void Bench::OneOfMany(Kind kind, std::size_t count) {
    Cost const cost = MeasureOneOf(kind, count);
    std::vector<double> cpu_of_one;
    std::vector<double> faults_of_one;
    for (Cost const& of_one : costs_of_one[kind]) {
        cpu_of_one.push_back(of_one.cpu);
        faults_of_one.push_back(of_one.faults);
    }
    if (!cpu_of_one.empty()) {
        std::string const row = "among " + std::to_string(count);
        figures.Add("Growth: CPU for a restart with the program, against one alone", row,
                    "times", kind, cost.cpu / Median(cpu_of_one));
        figures.Add("Growth: page faults of the program, more than alone", row, "", kind,
                    cost.faults - Median(faults_of_one));
    }
}

void Bench::Few(Kind kind) {
    for (int i = 0; i < extent.supervisors; ++i) {
        costs_of_one[kind].push_back(MeasureOneOf(kind, 1));
    }
    OneOfMany(kind, 10);
    OneOfMany(kind, 100);
}

void Bench::Multitude(Kind kind) {
    if (kind == kLauncher) {
        OneOfMany(kind, extent.multitude);
    }
}

void Bench::Storm(Kind kind) {
    std::size_t const count = 50;
    std::string const table = "Storm: 50 programs that end at once";
    Stamps stamps(count);
    auto const supervisor = Start(kind, stamps, kTwoArguments);
    checks.Expect(stamps.WaitUntilAllStarted(5), Name(kind, stamps) + ": no restarts");
    std::size_t const descriptors = supervisor->Descriptors();
    double const memory = supervisor->ReadMemory().rss;
    std::vector<std::uint32_t> starts;
    std::int64_t const begin = Now();
    double const cpu = supervisor->Cpu();
    for (std::size_t i = 0; i < count; ++i) {
        starts.push_back(stamps.Starts(i));
    }
    SleepFor(extent.storm);
    std::vector<double> restarts;
    std::vector<double> beyond_pause;
    double total = 0;
    for (std::size_t i = 0; i < count; ++i) {
        std::uint32_t const last = stamps.Starts(i);
        restarts.push_back(last - starts[i]);
        total += restarts.back();
        std::vector<double> const some =
            BeyondPause(stamps.Gaps(i, starts[i] - 1, last - 1));
        beyond_pause.insert(beyond_pause.end(), some.begin(), some.end());
    }
    double const own = (supervisor->Cpu() - cpu) / total;
    double const seconds = static_cast<double>(Now() - begin) / 1e9;
    double const growth = supervisor->ReadMemory().rss - memory;
    double const more_descriptors =
        static_cast<double>(supervisor->Descriptors()) - static_cast<double>(descriptors);
    double const of_programs =
        supervisor->Kill().children_cpu / static_cast<double>(stamps.TotalEnds());
    auto const [fewest, most] = std::minmax_element(restarts.begin(), restarts.end());
    checks.Expect(*fewest > 0, table + ": " + Name(kind, stamps) + " forgot one");
    checks.Expect(more_descriptors == 0, table + ": descriptors are lost");
    double const ideal = static_cast<double>(count) / 0.05;
    figures.Add(table, "restarts per second, of 1,000", "", kind, total / seconds);
    figures.Add(table, "the same, as a share of the ideal", "", kind,
                total / seconds / ideal);
    figures.Add(table, "fewest restarts of one program", "", kind, *fewest);
    figures.Add(table, "most restarts of one program", "", kind, *most);
    AddLatency(kind, beyond_pause, table);
    figures.Add(table, "CPU for 1,000 restarts: supervisor", "ms", kind, own);
    figures.Add(table, "CPU for 1,000 restarts: with the programs", "ms", kind,
                own + of_programs);
    figures.Add(table, "growth of RSS", "KiB", kind, growth);
    figures.Add(table, "growth of open descriptors", "", kind, more_descriptors);
}

struct Scenario {
    char const* name;
    void (Bench::*measure)(Kind);
    int Extent::*times;  // how often in each round; null for once
};

Scenario const kScenarios[] = {
    {"starts", &Bench::OneProgramStartsAndStops, &Extent::starts},
    {"restarts", &Bench::OneProgramRestarts, &Extent::supervisors},
    {"ten", &Bench::TenIdlePrograms, nullptr},
    {"hundred", &Bench::HundredIdlePrograms, nullptr},
    {"few", &Bench::Few, nullptr},
    {"crowd", &Bench::Crowd, nullptr},
    {"multitude", &Bench::Multitude, nullptr},
    {"storm", &Bench::Storm, nullptr},
};

// Processor, number of processors, system and kernel, in one line.
std::string DescribeMachine() {
    auto const value_of = [](char const* file, std::string const& key) {
        for (std::string const& line : Lines(ReadFile(file))) {
            if (line.compare(0, key.size(), key) == 0) {
                return line.substr(line.find_first_of("=:") + 1);
            }
        }
        return std::string("unknown");
    };
    std::string system = value_of("/etc/os-release", "PRETTY_NAME");
    system.erase(std::remove(system.begin(), system.end(), '"'), system.end());
    utsname kernel = {};
    uname(&kernel);
    return std::to_string(std::thread::hardware_concurrency()) + " x" +
           value_of("/proc/cpuinfo", "model name") + ", " + system + ", " +
           kernel.sysname + " " + kernel.release;
}

bool IsScenario(std::string const& name) {
    return std::any_of(std::begin(kScenarios), std::end(kScenarios),
                       [&](Scenario const& scenario) { return name == scenario.name; });
}

bool ReadOptions(int argc, char** argv, Options& options) {
    for (int i = 1; i < argc; ++i) {
        std::string const option = argv[i];
        std::string const value = i + 1 < argc ? argv[i + 1] : "";
        if (option == "--quick") {
            options.extent = QuickExtent();
            continue;
        }
        if (option == "--rounds" && std::atoi(value.c_str()) > 0) {
            options.extent.rounds = std::atoi(value.c_str());
        } else if (option == "--json" && !value.empty()) {
            options.json_file = value;
        } else if (option == "--only" && IsScenario(value)) {
            options.only.push_back(value);
        } else {
            return false;
        }
        ++i;
    }
    return true;
}

bool Wanted(Options const& options, std::string const& name) {
    return options.only.empty() || std::find(options.only.begin(), options.only.end(),
                                             name) != options.only.end();
}

void Measure(Options const& options, Bench& bench) {
    for (int round = 0; round < options.extent.rounds; ++round) {
        std::cerr << "supervision: round " << round + 1 << " of " << options.extent.rounds
                  << std::endl;
        bench.BeginRound();
        for (Scenario const& scenario : kScenarios) {
            int const times =
                scenario.times == nullptr ? 1 : options.extent.*scenario.times;
            for (int i = 0; Wanted(options, scenario.name) && i < times; ++i) {
                bench.Run(scenario.measure, round + i);
            }
        }
    }
}

}  // namespace

int main(int argc, char** argv) {
    Options options;
    if (!ReadOptions(argc, argv, options)) {
        std::cerr << "supervision [--quick] [--rounds N] [--json FILE] [--only SCENARIO]"
                     "...\nScenarios:";
        for (Scenario const& scenario : kScenarios) {
            std::cerr << ' ' << scenario.name;
        }
        std::cerr << std::endl;
        return 2;
    }
    if (!IsContained()) {
        std::cerr << "supervision: what is measured here kills; run it through "
                     "tests/support/contained\n";
        return 2;
    }
    Bench bench(options.extent);
    std::string const machine = DescribeMachine();
    Measure(options, bench);
    std::cout << machine << "\n\n";
    bench.figures.PrintTables(std::cout);
    if (!options.json_file.empty()) {
        std::ofstream file(options.json_file);
        bench.figures.PrintJson(file, machine);
    }
    return bench.checks.AllHold() ? 0 : 1;
}
