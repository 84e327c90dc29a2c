// Compares what launchlist-check says of random launch lists with what the launcher does.
//
// The environment says which lists are tried: PREDICTION_LISTS how many, PREDICTION_SEED
// the seed of the first. Each next list has the next number as its seed. The same seed
// makes the same list again. With PREDICTION_SHOW all lists are printed.

#include <gtest/gtest.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <thread>
#include <vector>

#include "harness/files.h"
#include "harness/passwd_entry.h"
#include "harness/process.h"
#include "tests/predictions/trial.h"

namespace {

// So many lists are tried at once. Most of the time they wait.
constexpr std::size_t kAtOnce = 12;

constexpr int kListsOfASuite = 200;

std::uint64_t NumberFrom(char const* variable, std::uint64_t if_not_set) {
    char const* const text = std::getenv(variable);
    return text != nullptr ? std::strtoull(text, nullptr, 10) : if_not_set;
}

struct RunningTrial {
    std::uint64_t seed;
    std::string result_file;
    std::unique_ptr<Process> process;
};

class Predictions : public testing::Test {
  protected:
    void Start(std::uint64_t seed) {
        std::string const file = results.Path() / std::to_string(seed);
        running.push_back({seed, file, std::make_unique<Process>([this, seed, file] {
                               return Try(tools, seed, file);
                           })});
    }

    // Takes the results of the trials that have ended.
    void Collect() {
        for (std::size_t i = 0; i < running.size();) {
            if (running[i].process->HasEnded()) {
                Count(running[i]);
                running.erase(running.begin() + static_cast<std::ptrdiff_t>(i));
            } else {
                ++i;
            }
        }
    }

    void Count(RunningTrial const& trial) {
        TrialResult const result = ReadResult(trial.result_file);
        std::filesystem::remove(trial.result_file);
        ++outcomes[result.launcher];
        if (++tried % 1000 == 0) {
            std::printf("%d lists tried\n", tried);
            std::fflush(stdout);
        }
        for (std::string const& kind : result.comparison.kinds) {
            ++kinds[kind];
        }
        if (!result.comparison.differences.empty()) {
            ++mismatches;
            ADD_FAILURE() << "PREDICTION_SEED=" << trial.seed << " PREDICTION_LISTS=1\n  "
                          << testing::PrintToString(result.comparison.differences) << "\n"
                          << result.description;
        } else if (std::getenv("PREDICTION_SHOW") != nullptr) {
            std::printf("PREDICTION_SEED=%llu\n%s\n",
                        static_cast<unsigned long long>(trial.seed),
                        result.description.c_str());
        }
    }

    static void Print(char const* what, std::map<std::string, int> const& counts) {
        std::printf("%s:\n", what);
        for (auto const& [thing, times] : counts) {
            std::printf("%8d  %s\n", times, thing.c_str());
        }
    }

    Tools const tools;
    TempDirectory const results;
    PasswdEntry const no_record = PasswdEntry::None();
    std::vector<RunningTrial> running;
    std::map<std::string, int> outcomes;
    std::map<std::string, int> kinds;
    int tried = 0;
    int mismatches = 0;
};

TEST_F(Predictions, OfRandomListsHold) {
    std::uint64_t const count = NumberFrom("PREDICTION_LISTS", kListsOfASuite);
    std::uint64_t const first = NumberFrom("PREDICTION_SEED", 1);
    for (std::uint64_t started = 0; started < count || !running.empty();) {
        if (started < count && running.size() < kAtOnce) {
            Start(first + started++);
        } else {
            std::this_thread::sleep_for(std::chrono::milliseconds(2));
        }
        Collect();
    }
    std::printf("%llu lists, seeds %llu to %llu, %d mismatches\n",
                static_cast<unsigned long long>(count),
                static_cast<unsigned long long>(first),
                static_cast<unsigned long long>(first + count - 1), mismatches);
    Print("what the launcher did", outcomes);
    Print("lists with findings of the kind", kinds);
}

}  // namespace
