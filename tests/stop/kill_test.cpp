// SIGKILL of the launcher, of launch-with, of its watcher and of the program, each alone
// and in pairs, at random moments: there are never two copies of a program, and none is
// left.
//
// The number of trials is KILLS (40 if it is not set), and what they do depends on the
// number KILLS_SEED alone.

#include <unistd.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <sstream>
#include <thread>

#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/predictions/random.h"
#include "tests/stop/families.h"
#include "tests/support/launcher_fixture.h"

namespace {

using std::chrono::microseconds;

// The four processes of an item, from parent to child.
enum Member : std::size_t { kLauncher, kPartner, kWatcher, kProgram, kMembers };
using Family = std::array<pid_t, kMembers>;
using Victims = std::vector<Member>;

char const* const kNames[] = {"launcher", "launch-with", "watcher", "program"};

Victims const kVictims[] = {{kLauncher},
                            {kPartner},
                            {kWatcher},
                            {kProgram},
                            {kLauncher, kPartner},
                            {kLauncher, kWatcher},
                            {kLauncher, kProgram},
                            {kPartner, kWatcher},
                            {kPartner, kProgram},
                            {kWatcher, kProgram}};

bool Has(Victims const& victims, Member member) {
    return std::find(victims.begin(), victims.end(), member) != victims.end();
}

std::string NameOf(Victims const& victims) {
    return victims.size() == 1
               ? kNames[victims[0]]
               : std::string(kNames[victims[0]]) + " and " + kNames[victims[1]];
}

// Returns the first child of a process that is in this session; 0 without one.
pid_t ChildOf(pid_t parent, pid_t session) {
    for (pid_t const thread : ThreadsOf(parent)) {
        std::istringstream children(ReadFile("/proc/" + std::to_string(parent) +
                                             "/task/" + std::to_string(thread) +
                                             "/children"));
        for (pid_t child = 0; children >> child;) {
            if (getsid(child) == session && !IsGone(child)) {
                return child;
            }
        }
    }
    return 0;
}

// Returns the processes that there are now, 0 for those that are missing. The launcher
// leads a session, and so does the watcher.
Family FamilyOf(pid_t launcher) {
    Family family = {launcher};
    family[kPartner] = ChildOf(launcher, launcher);
    std::string const thread = std::to_string(family[kPartner]);
    std::istringstream children(
        ReadFile("/proc/" + thread + "/task/" + thread + "/children"));
    children >> family[kWatcher];
    family[kProgram] = ChildOf(family[kWatcher], family[kWatcher]);
    return family;
}

// What is done in one trial.
struct Plan {
    enum class Moment { kStart, kLater, kGrace };

    Victims victims;
    std::string kind;
    Moment moment = Moment::kStart;
    // For kStart: whose start. For kGrace: whose death begins it, and by which signal.
    Member first = kPartner;
    int first_signal = SIGKILL;
    microseconds delay{0};
    std::string grace;
    bool starts_anew = true;

    // Returns true if the launcher is killed.
    bool EndsLauncher() const {
        return Has(victims, kLauncher) ||
               (moment == Moment::kGrace && first == kLauncher);
    }

    // Nobody is left who knows what the program started.
    bool EndsBothParts() const {
        bool const begins_with_partner = moment == Moment::kGrace && first == kPartner;
        return Has(victims, kWatcher) && (Has(victims, kPartner) || begins_with_partner);
    }
};

Plan MakePlan(std::size_t number, std::uint64_t seed) {
    Random random(seed * 1'000'003 + number);
    Plan plan;
    plan.victims = kVictims[number % std::size(kVictims)];
    if (random.OneIn(2)) {
        std::reverse(plan.victims.begin(), plan.victims.end());
    }
    bool const is_short = random.OneIn(2);
    plan.grace = is_short ? "0.1" : "0.3";
    switch (random.Below(3)) {
        case 0:
            plan.first = random.Pick(std::array<Member, 3>{kPartner, kWatcher, kProgram});
            plan.delay = microseconds(random.Below(3000));
            break;
        case 1:
            plan.moment = Plan::Moment::kLater;
            plan.delay = microseconds(random.Below(80'000));
            break;
        default:
            plan.moment = Plan::Moment::kGrace;
            plan.first = random.Pick(std::array<Member, 2>{kLauncher, kPartner});
            plan.first_signal =
                plan.first == kPartner && random.OneIn(2) ? SIGTERM : SIGKILL;
            plan.delay = microseconds(random.Below(is_short ? 110'000 : 310'000));
    }
    plan.kind =
        random.Pick(std::array<char const*, 4>{"deaf", "works", "brief", "family"});
    if (plan.kind == "family" && plan.EndsBothParts()) {
        plan.kind = "deaf";
    }
    plan.starts_anew = !random.OneIn(4);
    return plan;
}

std::string Describe(Plan const& plan) {
    std::ostringstream text;
    text << NameOf(plan.victims) << ", program " << plan.kind << ", grace " << plan.grace;
    if (plan.moment == Plan::Moment::kStart) {
        text << ", at the start of " << kNames[plan.first];
    } else if (plan.moment == Plan::Moment::kGrace) {
        text << ", after signal " << plan.first_signal << " to " << kNames[plan.first];
    }
    text << ", after " << plan.delay.count() << " us";
    return text.str();
}

class Trial {
  public:
    Trial(Plan const& planned, std::vector<std::string> launcher_arguments,
          std::string own_tag, std::string reports)
        : plan(planned),
          arguments(std::move(launcher_arguments)),
          tag(std::move(own_tag)),
          report_file(std::move(reports)) {}

    void Run() {
        StartLauncher();
        Family const family = AwaitMoment();
        for (Member const member : plan.victims) {
            Kill(family[member], SIGKILL);
        }
        bool const runs_on = !plan.EndsLauncher() || plan.starts_anew;
        if (plan.EndsLauncher() && plan.starts_anew) {
            StartLauncher();
        }
        if (runs_on) {
            ExpectANewProgram(family);
        }
        launchers.back()->Signal(SIGKILL);
        EXPECT_TRUE(WaitFor([this] { return ProcessesWith(tag).empty(); }))
            << "left: " << Left();
        EXPECT_EQ(ReadFile(report_file).find("not alone"), std::string::npos)
            << ReadFile(report_file);
    }

  private:
    static void Kill(pid_t pid, int signal) {
        if (pid > 1) {
            kill(pid, signal);
        }
    }

    // Asks FamilyOf until it has all of `members`, or the time is over.
    Family AwaitFamily(Victims const& members) const {
        Family family = {};
        bool const is_complete = WaitFor([&] {
            for (int i = 0; i < 20; ++i) {
                family = FamilyOf(launchers.back()->Pid());
                if (std::all_of(members.begin(), members.end(),
                                [&](Member member) { return family[member] > 0; })) {
                    return true;
                }
            }
            return false;
        });
        EXPECT_TRUE(is_complete) << Left();
        return family;
    }

    // Returns the processes at the moment of the kills.
    Family AwaitMoment() const {
        bool const is_start = plan.moment == Plan::Moment::kStart;
        Family const family = AwaitFamily({is_start ? plan.first : kProgram});
        if (plan.moment != Plan::Moment::kGrace) {
            std::this_thread::sleep_for(plan.delay);
            return AwaitFamily(plan.victims);
        }
        EXPECT_TRUE(WaitFor([&] { return HasReported(family[kProgram]); })) << Left();
        Kill(family[plan.first], plan.first_signal);
        std::this_thread::sleep_for(plan.delay);
        return family;
    }

    bool HasReported(pid_t program) const {
        std::string const begin = std::to_string(program) + " ";
        std::vector<std::string> const lines = Lines(ReadFile(report_file));
        return std::any_of(lines.begin(), lines.end(), [&](std::string const& line) {
            return line.compare(0, begin.size(), begin) == 0;
        });
    }

    // Waits until the launcher has started the program again, and that has asked for its
    // name.
    void ExpectANewProgram(Family const& before) const {
        EXPECT_TRUE(WaitFor([&] {
            Family const now = FamilyOf(launchers.back()->Pid());
            return now[kProgram] > 0 && now[kPartner] != before[kPartner] &&
                   HasReported(now[kProgram]);
        })) << Left();
    }

    void StartLauncher() {
        launchers.push_back(std::make_unique<Process>(
            arguments, [this] { setenv("TEST_PROGRAM_MARKER", tag.c_str(), 1); }));
    }

    std::string Left() const { return DescribeProcesses(ProcessesWith(tag)); }

    Plan const plan;
    std::vector<std::string> const arguments;
    std::string const tag;
    std::string const report_file;
    std::vector<std::unique_ptr<Process>> launchers;
};

class LaunchWithKilled : public LauncherTest {
  protected:
    void RunAll(std::size_t trials, std::uint64_t seed) {
        std::vector<std::thread> lanes;
        for (int i = 0; i < 4; ++i) {
            lanes.emplace_back([this, trials, seed] {
                for (std::size_t number = next++; number < trials; number = next++) {
                    RunOne(number, MakePlan(number, seed));
                }
            });
        }
        for (std::thread& lane : lanes) {
            lane.join();
        }
    }

    void PrintCounts() const {
        for (auto const& [victims, number] : counts) {
            std::cout << number << " " << victims << "\n";
        }
    }

  private:
    void RunOne(std::size_t number, Plan const& plan) {
        std::string const tag = "trial-" + std::to_string(number) + "-";
        std::string const reports = directory.Path() / (tag + "reports");
        std::string const list = directory.Write(
            tag + "list", ListText({ItemText("a", LAUNCH_WITH,
                                             {"--grace", plan.grace, "--", LONE_PROGRAM,
                                              tag, reports, plan.kind})}));
        testing::ScopedTrace const trace(__FILE__, __LINE__, tag + ": " + Describe(plan));
        Trial({plan}, {launcher_program, "test", list}, tag, reports).Run();
        std::lock_guard<std::mutex> const lock(mutex);
        Victims victims = plan.victims;
        std::sort(victims.begin(), victims.end());
        ++counts[NameOf(victims)];
    }

    std::atomic<std::size_t> next{0};
    std::mutex mutex;
    std::map<std::string, int> counts;
};

TEST_F(LaunchWithKilled, LeavesNoProgramAndNeverMakesTwo) {
    std::uint64_t const seed =
        NumberFromEnvironment("KILLS_SEED", std::random_device()());
    std::cout << "KILLS_SEED=" << seed << std::endl;
    RunAll(NumberFromEnvironment("KILLS", 40), seed);
    PrintCounts();
}

}  // namespace
