#include "bench/measurements.h"

#include <algorithm>
#include <chrono>
#include <csignal>
#include <iostream>
#include <thread>

#include "harness/launch_list.h"
#include "harness/proc.h"

namespace {

constexpr double kPauseMicroseconds = 50'000;

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

std::string Name(Kind kind, Stamps const& stamps) {
    return std::string(kind == kLauncher ? "the launcher" : "the floor") + " with " +
           CountOf(stamps.Count());
}

}  // namespace

void Checks::Expect(bool holds, std::string const& what) {
    if (!holds) {
        std::cerr << "supervision: wrong: " << what << std::endl;
        ++failures;
    }
}

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
    return StartLauncher(items);
}

std::unique_ptr<Supervisor> Bench::StartLauncher(std::vector<std::string> const& items) {
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
    // Of all its programs that it has seen end, from the first on.
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

std::unique_ptr<Supervisor> Bench::StartWithLaunchWith(Stamps const& stamps) {
    std::vector<std::string> items;
    for (std::size_t i = 0; i < stamps.Count(); ++i) {
        std::string const number = std::to_string(i);
        items.push_back(ItemText("program " + number, LAUNCH_WITH,
                                 {"--", stamps.Programs() + "/" + number}));
    }
    auto supervisor = StartLauncher(items);
    checks.Expect(stamps.WaitUntilAllStarted(), "launch-with: not all have started");
    return supervisor;
}

void Bench::LaunchWith(Kind kind) {
    if (kind == kFloor) {
        return;
    }
    std::string const table = "One program that ends, with launch-with";
    {
        // Of one alone, the code would count as private.
        Stamps stamps(10);
        stamps.SetStays(true);
        auto const supervisor = StartWithLaunchWith(stamps);
        pid_t const watcher = ParentOf(stamps.Pid(0));
        Memory const memory = ReadMemoryOf(ParentOf(watcher));
        Memory const of_watcher = ReadMemoryOf(watcher);
        figures.Add(table, "private: launch-with", "KiB", kind, memory.own);
        figures.Add(table, "private: its watcher", "KiB", kind, of_watcher.own);
        figures.Add(table, "PSS: both, of ten", "KiB", kind, memory.pss + of_watcher.pss);
    }
    Stamps const stamps(1);
    auto const supervisor = StartWithLaunchWith(stamps);
    MeasureRestarts(kind, *supervisor, stamps, extent.restarts, table);
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
