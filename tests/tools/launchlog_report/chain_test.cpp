#include "tools/launchlog_report/chain.h"

#include <gtest/gtest.h>

#include "tests/tools/launchlog_report/noon.h"

namespace launchlog_report {
namespace {

// Passes lines of one item to a detector.
class Chain : public testing::Test {
  protected:
    void Start(int process, std::optional<Time> time, bool is_launcher = false) {
        chain.Add({LogEventKind::Start, "a", "", 0, 0, time, Id(process)}, is_launcher);
    }

    void FailedFork(int process, std::optional<Time> time) {
        chain.Add({LogEventKind::FailedFork, "a", "", 0, 0, time, Id(process)}, false);
    }

    void End(int process, int child, std::optional<Time> time) {
        chain.Add({LogEventKind::End, "a", Id(child), child, 0, time, Id(process)},
                  false);
    }

    // Adds a first start by each of `count` processes, `gap` milliseconds apart.
    void Starts(int count, Time gap, Time from = kNoon, int first = 100) {
        for (int i = 0; i < count; ++i) {
            Start(first + i, from + i * gap);
        }
    }

    // Returns the id in the log; 0 stands for a log without process ids.
    static std::string Id(int process) {
        return process == 0 ? "" : std::to_string(process);
    }

    ChainDetector chain;
};

TEST_F(Chain, FourFirstStartsFiftyMillisecondsApartAreOne) {
    Starts(3, 52);
    EXPECT_FALSE(chain.IsChain());
    EXPECT_EQ(chain.Processes(), std::nullopt);
    Start(103, kNoon + 3LL * 52);
    EXPECT_TRUE(chain.IsChain());
    EXPECT_EQ(chain.Processes(), 4);
}

TEST_F(Chain, TheGapsOfFourStartsAreFromFiftyToAHundredMilliseconds) {
    for (auto const& [gap, is_chain] :
         {std::pair<Time, bool>{48, false}, {49, true}, {100, true}, {101, false}}) {
        chain = {};
        Starts(4, gap);
        EXPECT_EQ(chain.IsChain(), is_chain) << gap;
    }
}

TEST_F(Chain, TenFirstStartsFiveSecondsApartAreOne) {
    Starts(9, 5000);
    EXPECT_FALSE(chain.IsChain());
    Start(200, kNoon + 9LL * 5000);
    EXPECT_TRUE(chain.IsChain());
    chain = {};
    Starts(30, 5001);
    EXPECT_FALSE(chain.IsChain());
    chain = {};
    for (int i = 0; i < 10; ++i) {
        Start(100 + i, std::nullopt);
    }
    EXPECT_EQ(chain.Processes(), 10);
}

// A process whose last line is a start was killed, and the next link has its process id.
TEST_F(Chain, AStartAfterAStartIsOfANewProcess) {
    Starts(9, 1000);
    Start(108, kNoon + 9LL * 1000);
    EXPECT_TRUE(chain.IsChain());
    EXPECT_EQ(chain.Processes(), 10);
}

TEST_F(Chain, TheRestartsOfLaunchersAreNoChain) {
    for (int i = 0; i < 100; ++i) {
        for (int launcher : {1, 2, 3}) {
            Start(launcher, kNoon + 52LL * i);
            End(launcher, 1000 + 10 * i + launcher, kNoon + 52LL * i + 1);
        }
    }
    EXPECT_FALSE(chain.IsChain());
}

TEST_F(Chain, LaunchersWhoseProgramsEndAreNoChain) {
    for (int i = 0; i < 30; ++i) {
        Start(100 + i, kNoon + 60LL * i);
        End(100 + i, 500 + i, kNoon + 60LL * i + 10);
    }
    EXPECT_FALSE(chain.IsChain());
}

TEST_F(Chain, KnownLaunchersAreNoLinks) {
    for (int i = 0; i < 30; ++i) {
        Start(100 + i, kNoon + 60LL * i, true);
    }
    EXPECT_FALSE(chain.IsChain());
    Starts(3, 60);
    chain.Forget("101");
    Start(200, kNoon + 3LL * 60);
    EXPECT_FALSE(chain.IsChain());
}

TEST_F(Chain, WithoutProcessIdsThereIsNoChain) {
    for (int i = 0; i < 30; ++i) {
        Start(0, kNoon + 60LL * i);
    }
    EXPECT_FALSE(chain.IsChain());
}

// At level ERROR a chain is seen when it has met the process limit: a link exits, and its
// parent logs the end.
TEST_F(Chain, AChildThatFailedToForkIsALink) {
    FailedFork(300, kNoon);
    EXPECT_FALSE(chain.IsChain());
    End(299, 300, kNoon + 1);
    EXPECT_TRUE(chain.IsChain());
    EXPECT_EQ(chain.Processes(), std::nullopt);
}

TEST_F(Chain, AChildThatStartedTheItemItselfIsALink) {
    Start(1, kNoon);
    Start(2, kNoon + 52);
    // The program appeared. It runs until the stop, much later.
    End(1, 2, kNoon + 1'000'000);
    EXPECT_TRUE(chain.IsChain());
}

// A child of a new launcher has the process id of an old process.
TEST_F(Chain, AProcessIdThatIsUsedAgainIsNoLink) {
    FailedFork(300, kNoon);
    End(400, 300, kNoon + 10'001);
    EXPECT_FALSE(chain.IsChain());
    chain = {};
    Start(300, kNoon);
    Start(1, kNoon + 20'000);
    End(1, 300, kNoon + 20'001);
    EXPECT_FALSE(chain.IsChain());
    chain = {};
    // Without times only the previous line counts.
    FailedFork(300, std::nullopt);
    Start(5, std::nullopt);
    End(400, 300, std::nullopt);
    EXPECT_FALSE(chain.IsChain());
    chain = {};
    FailedFork(300, std::nullopt);
    End(400, 300, std::nullopt);
    EXPECT_TRUE(chain.IsChain());
}

TEST_F(Chain, GrowsWithEachNewProcess) {
    Starts(4, 52);
    Start(200, kNoon + 4000);
    EXPECT_EQ(chain.Processes(), 5);
    // A link whose own child has ended starts again.
    End(200, 201, kNoon + 4100);
    Start(200, kNoon + 4150);
    EXPECT_EQ(chain.Processes(), 5);
}

TEST_F(Chain, IsOverWhenANewLauncherStartsLater) {
    Starts(10, 52);
    Start(7, kNoon + 9LL * 52 + 5001);
    EXPECT_FALSE(chain.IsChain());
    // The new launcher may have the process id of the old one, as in a container.
    Starts(10, 52, kNoon + 100'000);
    EXPECT_TRUE(chain.IsChain());
    Start(100, kNoon + 200'000);
    EXPECT_FALSE(chain.IsChain());
}

TEST_F(Chain, GoesOnAfterItsFirstLinkWasStopped) {
    Starts(10, 52);
    End(100, 101, kNoon + 600);
    EXPECT_TRUE(chain.IsChain());
    Start(200, kNoon + 601);
    EXPECT_EQ(chain.Processes(), 11);
}

TEST_F(Chain, IsOverWhenAnotherProcessLogsAnOrdinaryEndLater) {
    Starts(10, 52);
    // Another launcher of the item, while the chain still grows.
    End(7, 8, kNoon + 600);
    EXPECT_TRUE(chain.IsChain());
    // The program has appeared, and runs at the end of the chain.
    End(109, 500, kNoon + 60'000);
    EXPECT_TRUE(chain.IsChain());
    End(7, 9, kNoon + 60'000);
    EXPECT_FALSE(chain.IsChain());
}

TEST_F(Chain, IsOverWhenAKnownLauncherLogsAnOrdinaryEndLater) {
    Starts(10, 52);
    chain.Forget("101");
    EXPECT_EQ(chain.Processes(), 9);
    End(101, 500, kNoon + 60'000);
    EXPECT_FALSE(chain.IsChain());
}

TEST_F(Chain, IsOverWhenItsLauncherLogsAnOrdinaryEndLater) {
    Starts(10, 52);
    End(100, 101, kNoon + 600);
    End(100, 500, kNoon + 60'000);
    EXPECT_FALSE(chain.IsChain());
}

}  // namespace
}  // namespace launchlog_report
