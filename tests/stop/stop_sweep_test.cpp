// launcher-stop at every moment of the launcher's start.
//
// Alone, a stop at the start has many outcomes: see
// tests/launcher/sigterm_sweep_test.cpp. Through launcher-stop it has one: nothing is
// left, and nobody else is harmed.
//
// The number of stops for each list is STOPS (16 if it is not set).

#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <map>
#include <memory>
#include <mutex>
#include <thread>

#include "harness/proc.h"
#include "harness/wait_for.h"
#include "tests/stop/families.h"
#include "tests/support/launcher_fixture.h"
#include "tests/support/run_program.h"

namespace {

using std::chrono::microseconds;

// The stop begins as long before the start, and as long after it.
constexpr microseconds kEarliest(-15'000);
constexpr microseconds kLatest(100'000);

// Returns "ended after SIGTERM" of "launcher 4711 (test) ended after SIGTERM: ...".
std::string OutcomeIn(std::string const& output) {
    std::string const first = output.substr(0, output.find_first_of(":\n"));
    std::size_t const name_end = first.find(") ");
    return name_end == std::string::npos ? first : first.substr(name_end + 2);
}

class StopSweep : public LauncherTest {
  protected:
    // The bystanders: a launcher with another list of the same items, and a program with
    // the name and the arguments of the launchers that are stopped.
    void SetUp() override {
        std::filesystem::path const impostor = directory.Path() / "launcher";
        std::filesystem::copy_file(TEST_PROGRAM, impostor);
        namesake = std::make_unique<Process>(
            std::vector<std::string>{impostor, "test", list_file});
    }

    // Stops launchers with this list at all moments, and prints how often there was each
    // outcome.
    void Sweep(std::string const& list) {
        WriteFile(list_file, list);
        std::string const other_list = directory.Write("other.json", list);
        StartWith({"test", other_list},
                  [] { setenv("TEST_PROGRAM_MARKER", "other", 1); });
        ASSERT_TRUE(WaitUntilMainWaits());
        std::vector<std::thread> lanes;
        for (int i = 0; i < 4; ++i) {
            lanes.emplace_back([this] { StopOneAfterTheOther(); });
        }
        for (std::thread& lane : lanes) {
            lane.join();
        }
        EXPECT_FALSE(namesake->HasEnded());
        EXPECT_FALSE(launcher->HasEnded());
        for (auto const& [outcome, number] : outcomes) {
            std::cout << number << " " << outcome << "\n";
        }
    }

    // The steady programs of the launcher that is not stopped.
    std::vector<pid_t> OtherPrograms() const {
        std::vector<pid_t> programs;
        for (pid_t const pid : ProcessesWith("TEST_PROGRAM_MARKER=other")) {
            if (pid != launcher->Pid()) {
                programs.push_back(pid);
            }
        }
        return programs;
    }

  private:
    void StopOneAfterTheOther() {
        for (int number = next++; number < stops; number = next++) {
            microseconds const delay = kEarliest + (kLatest - kEarliest) * number / stops;
            testing::ScopedTrace const trace(__FILE__, __LINE__,
                                             std::to_string(delay.count()) + " us");
            std::string const outcome = StopOne(number, delay);
            std::lock_guard<std::mutex> const lock(mutex);
            ++outcomes[outcome];
        }
    }

    // Returns the outcome of the stop of one launcher.
    std::string StopOne(int number, microseconds delay) {
        // A list of its own tells this launcher from those of the other lanes.
        std::string const list = directory.Path() / (std::to_string(number) + ".json");
        std::filesystem::copy_file(list_file, list,
                                   std::filesystem::copy_options::overwrite_existing);
        std::unique_ptr<Process> shell;
        if (delay >= microseconds(0)) {
            shell = StartFromShell({launcher_program, "test", list}, list);
            EXPECT_TRUE(WaitUntilItRuns(*shell, list));
            std::this_thread::sleep_for(delay);
        }
        Process stop(
            {"/bin/sh", "-c", "exec " LAUNCHER_STOP " \"$0\" >\"$0.stop\" 2>&1", list},
            AddNeighbour);
        if (shell == nullptr) {
            std::this_thread::sleep_for(-delay);
            shell = StartFromShell({launcher_program, "test", list}, list);
        }
        ProgramRun run = {stop.WaitForEnd(), ReadFile(list + ".stop"), ""};
        EXPECT_EQ(SessionMembers(stop.Pid()).size(), 1U) << "its neighbour is gone";
        kill(-stop.Pid(), SIGKILL);
        bool const is_too_early = run.end == "exit 3" && delay < microseconds(0);
        if (is_too_early) {
            EXPECT_TRUE(WaitUntilItRuns(*shell, list));
            run = RunProgram({LAUNCHER_STOP, list});
        }
        EXPECT_EQ(run.end, "exit 0") << run.output << run.errors;
        ExpectNothingLeft(list);
        EXPECT_EQ(SessionMembers(shell->Pid()).size(), 2U)
            << "shell or neighbour is gone";
        kill(-shell->Pid(), SIGKILL);
        return (is_too_early ? "at the second try: " : "") + OutcomeIn(run.output);
    }

    // Waits until the shell's launcher has been executed. In the middle of that it has no
    // arguments yet, and so no list.
    static bool WaitUntilItRuns(Process const& shell, std::string const& list) {
        return WaitFor([&] {
            std::vector<pid_t> const members = SessionMembers(shell.Pid());
            return std::any_of(members.begin(), members.end(), [&list](pid_t pid) {
                return ReadFile("/proc/" + std::to_string(pid) + "/cmdline").find(list) !=
                       std::string::npos;
            });
        });
    }

    // Ends what is left, so that it disturbs no other stop.
    static void ExpectNothingLeft(std::string const& list) {
        std::vector<pid_t> const left = ProcessesWith("TEST_PROGRAM_MARKER=" + list);
        EXPECT_TRUE(left.empty()) << DescribeProcesses(left) << ReadFile(list + ".stop");
        for (pid_t const pid : left) {
            kill(pid, SIGKILL);
        }
    }

    int const stops = static_cast<int>(NumberFromEnvironment("STOPS", 16));
    std::unique_ptr<Process> namesake;
    std::atomic<int> next{0};
    std::mutex mutex;
    std::map<std::string, int> outcomes;
};

TEST_F(StopSweep, OfProgramsThatEndAtOnce) {
    Sweep(ListText({Item("a", {"--exit=0"}), Item("b", {"--exit=1"}),
                    Item("c", {"--exit=2"}), Item("d", {"--exit=3"})}));
}

TEST_F(StopSweep, OfSteadyPrograms) {
    Sweep(ListText({Item("a"), Item("b"), Item("c"), Item("d")}));
    // None was killed and started again.
    EXPECT_EQ(CountInLog(" " + std::to_string(launcher->Pid()) + " [LAUNCHER  ] Start"),
              4U);
    EXPECT_EQ(OtherPrograms().size(), 4U);
}

}  // namespace
