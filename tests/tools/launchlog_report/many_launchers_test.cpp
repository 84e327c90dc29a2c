// What a new launcher in a log costs. Here the chain detector only counts its calls.

#include <gtest/gtest.h>

#include "tools/launchlog_report/chain.h"
#include "tools/launchlog_report/summary.h"

namespace launchlog_report {

static int forgotten = 0;

void ChainDetector::Add(LogEvent const& /*event*/, bool /*is_launcher*/) {}

void ChainDetector::Forget(std::string const& /*launcher*/) {
    ++forgotten;
}

std::optional<long long> ChainDetector::Processes() const {
    return std::nullopt;
}

namespace {

LogEvent Start(std::string const& name, std::string const& process) {
    return {LogEventKind::Start, name, "", 0, 0, 1795262400000, process};
}

TEST(ManyLaunchers, EachIsRemovedFromTheOneItemThatItLogged) {
    Summary summary(1795262400000);
    for (int i = 0; i < 1000; ++i) {
        std::string const launcher = std::to_string(1000 + i);
        summary.Add(Start("a" + launcher, launcher), 0);
        summary.Add(Start("b" + launcher, launcher), 0);
        summary.Add(Start("c" + launcher, launcher), 0);
    }
    EXPECT_EQ(forgotten, 1000);
}

}  // namespace
}  // namespace launchlog_report
