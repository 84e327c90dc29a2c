// Measures the launcher and bench/floor, the least that a supervisor of its design can
// be, and prints tables of both and of their ratios. It also checks that every program
// starts, pauses and stops as it should; if not, the exit code is 1. scripts/bench runs
// it, inside tests/support/contained.

#include <sys/utsname.h>

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <iostream>
#include <iterator>
#include <string>
#include <thread>
#include <vector>

#include "bench/measurements.h"
#include "harness/containment.h"
#include "harness/files.h"

namespace {

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

struct Scenario {
    char const* name;
    void (Bench::*measure)(Kind);
    int Extent::*times;  // how often in each round; null for once
};

Scenario const kScenarios[] = {
    {"starts", &Bench::OneProgramStartsAndStops, &Extent::starts},
    {"restarts", &Bench::OneProgramRestarts, &Extent::supervisors},
    {"launch-with", &Bench::LaunchWith, &Extent::supervisors},
    {"ten", &Bench::TenIdlePrograms, nullptr},
    {"hundred", &Bench::HundredIdlePrograms, nullptr},
    {"few", &Bench::Few, nullptr},
    {"crowd", &Bench::Crowd, nullptr},
    {"multitude", &Bench::Multitude, nullptr},
    {"storm", &Bench::Storm, nullptr}};

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
        std::cerr << "supervision: kills processes; run it through "
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
