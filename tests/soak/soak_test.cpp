// The launcher over a long time and over many starts. The environment says how long:
// SOAK_SECONDS (60 if it is not set) and SOAK_CYCLES (1000).

#include <algorithm>
#include <chrono>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <thread>
#include <utility>

#include "harness/launch_list.h"
#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/soak/launcher_log.h"
#include "tests/soak/resource_sampler.h"
#include "tests/support/launcher_fixture.h"

namespace {

using std::chrono::seconds;
using testing::IsEmpty;

int constexpr kQuickItems = 100;
int constexpr kSteadyItems = 20;
int constexpr kItems = kQuickItems + kSteadyItems;

// The memory that a launcher takes for good, its threads' stacks and its allocator's
// arenas, is in use by then.
seconds constexpr kWarmUp(10);

// So little that 100 bytes lost in each pass are seen in 20 s.
long constexpr kGrowthKiB = 256;

// A thread that is kept from the processor leaves its zombie for a while.
seconds constexpr kZombieStays(5);

int NumberFromEnvironment(char const* name, int otherwise) {
    char const* const value = std::getenv(name);
    return value == nullptr ? otherwise : std::atoi(value);
}

// Prints what the tests measured, as one table at the end.
class Figures : public testing::Environment {
  public:
    void Add(std::string const& what, std::string const& value) {
        rows.emplace_back(what, value);
    }

    void TearDown() override {
        for (auto const& [what, value] : rows) {
            std::printf("%-58s %12s\n", what.c_str(), value.c_str());
        }
    }

  private:
    std::vector<std::pair<std::string, std::string>> rows;
};

Figures* const figures = [] {
    auto* const environment = new Figures;
    testing::AddGlobalTestEnvironment(environment);
    return environment;
}();

void Add(std::string const& what, std::size_t value) {
    figures->Add(what, std::to_string(value));
}

void Add(std::string const& what, std::chrono::duration<double> value) {
    char text[32];
    std::snprintf(text, sizeof text, "%.1f s", value.count());
    figures->Add(what, text);
}

// Returns the process ids in a file that soak programs wrote, by name and in their order.
std::map<std::string, std::vector<pid_t>> StartedPids(std::filesystem::path const& file) {
    std::map<std::string, std::vector<pid_t>> starts;
    std::istringstream in(ReadFile(file));
    std::string name;
    for (pid_t pid = 0; in >> name >> pid;) {
        starts[name].push_back(pid);
    }
    return starts;
}

std::size_t CountZombies() {
    std::vector<pid_t> const all = AllProcesses();
    return static_cast<std::size_t>(std::count_if(
        all.begin(), all.end(), [](pid_t pid) { return StateOf(pid) == 'Z'; }));
}

class Soak : public LauncherTest {
  protected:
    // Returns an item whose program is the soak program, which stays.
    std::string SteadyItem(std::string const& name) const {
        return ItemText(name, SOAK_PROGRAM, {starts_file, name});
    }

    // The same, but the soak program ends at once as long as there is no file `hold`.
    std::string QuickItem(std::string const& name) const {
        return ItemText(name, SOAK_PROGRAM, {starts_file, name, hold});
    }

    // Samples the launcher for the time of the soak, and adds the figures.
    void SampleFor(seconds length) const {
        ResourceSampler sampler(launcher->Pid());
        auto const begin = ResourceSampler::Clock::now();
        long warm = 0;
        for (auto now = begin; now < begin + length;
             now = ResourceSampler::Clock::now()) {
            if (warm == 0 && now >= begin + kWarmUp) {
                warm = ResidentKiB(launcher->Pid());
                sampler.most_resident = warm;
            }
            sampler.Sample();
            std::this_thread::sleep_for(std::chrono::milliseconds(100));
        }
        EXPECT_EQ(sampler.least_threads, 1U + kItems);
        EXPECT_EQ(sampler.most_threads, 1U + kItems);
        // A thread that logs has the log open, and for a moment two descriptors.
        EXPECT_LE(sampler.most_descriptors, 2U * kItems);
        EXPECT_LT(sampler.longest_zombie, kZombieStays);
        EXPECT_GT(warm, 0);
        EXPECT_LT(sampler.most_resident - warm, kGrowthKiB);
        Add("samples", sampler.samples);
        Add("threads, fewest", sampler.least_threads);
        Add("threads, most", sampler.most_threads);
        Add("descriptors open in a sample, most", sampler.most_descriptors);
        Add("zombies in a sample, most", sampler.most_zombies);
        Add("one process a zombie in all samples, longest", sampler.longest_zombie);
        Add("resident memory after 10 s, KiB", static_cast<std::size_t>(warm));
        Add("resident memory afterwards, most, KiB",
            static_cast<std::size_t>(sampler.most_resident));
    }

    std::filesystem::path const starts_file = directory.Path() / "starts_of_soak";
    std::filesystem::path const hold = directory.Path() / "hold";
};

TEST_F(Soak, QuickAndSteadyItemsLeakNothingAndAreAllLogged) {
    seconds const length(NumberFromEnvironment("SOAK_SECONDS", 60));
    ASSERT_GT(length, kWarmUp) << "SOAK_SECONDS leaves no time after the warm-up";
    std::vector<std::string> items;
    for (int i = 0; i < kQuickItems; ++i) {
        items.push_back(QuickItem("quick" + std::to_string(i)));
    }
    for (int i = 0; i < kSteadyItems; ++i) {
        items.push_back(SteadyItem("steady" + std::to_string(i)));
    }
    Start(ListText(items));
    ASSERT_TRUE(WaitFor([this] { return StartedPids(starts_file).size() == kItems; }));

    figures->Add("seconds", std::to_string(length.count()));
    SampleFor(length);

    // From here every program stays.
    WriteFile(hold, "");
    ASSERT_TRUE(WaitFor([this] { return StartedPids(hold).size() == kQuickItems; }));
    ASSERT_TRUE(WaitUntilProgramsAreKnown());
    EXPECT_EQ(CountZombies(), 0U);
    EXPECT_EQ(CountDescriptors(launcher->Pid()), 0U);
    EXPECT_EQ(ThreadsOf(launcher->Pid()).size(), 1U + kItems);
    Add("zombies at the end", CountZombies());
    Add("descriptors at the end", CountDescriptors(launcher->Pid()));
    EXPECT_EQ(Stop(), "exit 1");

    LauncherLog const log = ReadLauncherLog(log_file, launcher->Pid());
    EXPECT_THAT(log.not_understood, IsEmpty());
    auto const started = StartedPids(starts_file);
    EXPECT_THAT(log.items, testing::SizeIs(kItems));
    std::size_t passes = 0;
    auto least = static_cast<std::size_t>(-1);
    std::size_t restarts_of_steady = 0;
    for (auto const& [name, item] : log.items) {
        EXPECT_EQ(item.ended, started.at(name)) << name;
        EXPECT_EQ(item.starts, item.ended.size()) << name;
        ASSERT_THAT(item.statuses, testing::Not(IsEmpty())) << name;
        EXPECT_EQ(item.statuses.back(), SIGKILL) << name;
        if (name.compare(0, 6, "steady") == 0) {
            restarts_of_steady += item.starts - 1;
        } else {
            EXPECT_EQ(std::count(item.statuses.begin(), item.statuses.end(), 0),
                      item.statuses.size() - 1)
                << name;
            least = std::min(least, item.ended.size());
            passes += item.ended.size();
        }
    }
    EXPECT_EQ(restarts_of_steady, 0U);
    Add("passes of 100 items that end at once", passes);
    Add("passes of the slowest of them", least);
    Add("lines in the log", log.lines);
    Add("lines that are not understood", log.not_understood.size());
    Add("restarts of 20 steady items", restarts_of_steady);
}

TEST_F(Soak, StartsAndStopsLeaveNoProcess) {
    int const cycles = NumberFromEnvironment("SOAK_CYCLES", 1000);
    ASSERT_GT(cycles, 0);
    std::string const list =
        ListText({SteadyItem("a"), SteadyItem("b"), SteadyItem("c")});
    std::vector<pid_t> const before = AllProcesses();
    auto const begin = ResourceSampler::Clock::now();
    for (int i = 0; i < cycles && !HasFailure(); ++i) {
        std::filesystem::remove(starts_file);
        std::filesystem::remove(log_file);
        Start(list);
        ASSERT_TRUE(WaitFor([this] { return StartedPids(starts_file).size() == 3; }));
        ASSERT_TRUE(WaitUntilProgramsAreKnown());
        EXPECT_EQ(Stop(), "exit 1");
        EXPECT_EQ(AllProcesses(), before);
        LauncherLog const log = ReadLauncherLog(log_file, launcher->Pid());
        EXPECT_THAT(log.not_understood, IsEmpty());
        EXPECT_THAT(log.items, testing::SizeIs(3));
        for (auto const& [name, item] : log.items) {
            EXPECT_EQ(item.ended, StartedPids(starts_file).at(name));
            EXPECT_THAT(item.statuses, testing::ElementsAre(SIGKILL));
        }
    }
    EXPECT_THAT(system_log.Received(), IsEmpty());
    Add("starts and stops of a launcher with 3 items", static_cast<std::size_t>(cycles));
    Add("time for them", ResourceSampler::Clock::now() - begin);
    Add("processes left behind", AllProcesses().size() - before.size());
}

}  // namespace
