#include "tools/launchlog_report/metrics.h"

#include <gmock/gmock.h>

namespace launchlog_report {
namespace {

using testing::HasSubstr;

Metrics Example() {
    Metrics metrics;
    ItemTotals& item = metrics.counted.totals.items["a\"b\\c\nd{}"];
    item.ends = {1, 2, 3, 4, 0, 5};
    item.restarts = 14;
    item.last_end = 1795262018037;
    metrics.counted.totals.lines_not_understood = 6;
    metrics.counted.positions["/a \"log\"\n"] = {18446744073709551615U, 1795262018037};
    metrics.counted.positions["/b"] = {7, std::nullopt};
    metrics.counted.given_up["/a \"log\"\n"] = {
        "181", {{"a\n", {"180", 1795262018037}}, {"b", {"181", std::nullopt}}}};
    return metrics;
}

TEST(Metrics, AreReadBackAsTheyWere) {
    std::string const text = ToText(Example());
    std::optional<Carried> const carried = ReadMetrics(text);
    ASSERT_TRUE(carried.has_value());
    ItemTotals const& item = carried->totals.items.at("a\"b\\c\nd{}");
    EXPECT_THAT(item.ends, testing::ElementsAre(1, 2, 3, 4, 0, 5));
    EXPECT_EQ(item.restarts, 14);
    EXPECT_EQ(item.last_end, 1795262018037);
    EXPECT_EQ(carried->totals.lines_not_understood, 6);
    EXPECT_EQ(carried->positions.at("/a \"log\"\n").hash, 18446744073709551615U);
    EXPECT_EQ(carried->positions.at("/a \"log\"\n").time, 1795262018037);
    EXPECT_EQ(carried->positions.at("/b").time, std::nullopt);
    GivenUpItems const& given_up = carried->given_up.at("/a \"log\"\n");
    EXPECT_EQ(given_up.newest_launcher, "181");
    EXPECT_EQ(given_up.items.at("a\n").launcher, "180");
    EXPECT_EQ(given_up.items.at("a\n").time, 1795262018037);
    EXPECT_EQ(given_up.items.at("b").time, std::nullopt);
}

TEST(Metrics, QuoteTheNamesOfItems) {
    std::string const text = ToText(Example());
    EXPECT_THAT(text, HasSubstr("\nlauncher_item_ends_total{item=\"a\\\"b\\\\c\\nd{}\","
                                "cause=\"core_dump\"} 4\n"));
    EXPECT_THAT(text, HasSubstr("_last_end_timestamp_seconds{item=\"a\\\"b\\\\c\\nd{}\"} "
                                "1795262018.037\n"));
    EXPECT_THAT(text, testing::Not(HasSubstr("cause=\"stop\"")));
}

TEST(Metrics, AnItemThatNeverEndedIsThereWithZeros) {
    Metrics metrics;
    metrics.is_launcher_up = true;
    metrics.states["b"].is_running = true;
    std::string const text = ToText(metrics);
    EXPECT_THAT(text, HasSubstr("\nlauncher_up 1\n"));
    EXPECT_THAT(text, HasSubstr("\nlauncher_item_restarts_total{item=\"b\"} 0\n"));
    EXPECT_THAT(text,
                HasSubstr("\nlauncher_item_ends_total{item=\"b\",cause=\"signal\"} 0\n"));
    EXPECT_THAT(text, HasSubstr("\nlauncher_item_running{item=\"b\"} 1\n"));
    EXPECT_THAT(text, HasSubstr("\nlauncher_item_given_up{item=\"b\"} 0\n"));
    EXPECT_THAT(text, testing::Not(HasSubstr("\nlauncher_item_last_end")));
}

TEST(Metrics, TellWhenTheyWereWritten) {
    EXPECT_THAT(
        WrittenAt(1795262018037),
        HasSubstr("\nlauncher_metrics_written_timestamp_seconds 1795262018.037\n"));
}

TEST(Metrics, AnotherTextIsRefused) {
    std::string const text = ToText(Example());
    EXPECT_TRUE(ReadMetrics("").has_value());
    EXPECT_FALSE(ReadMetrics("x\n").has_value());
    EXPECT_FALSE(ReadMetrics("launcher_up 1\n").has_value());
    std::string const first = text.substr(0, text.find('\n') + 1);
    for (char const* const line :
         {R"(launcher_item_ends_total{item="a",cause="signal"} x)",
          R"(launcher_item_ends_total{item="a",cause="other"} 1)",
          R"(launcher_item_ends_total{item="a} 1)",
          R"(launcher_item_restarts_total{item=a} 1)",
          R"(launcher_item_restarts_total{item="a"} )",
          R"(launcher_item_last_end_timestamp_seconds{item="a"} 1)",
          "launcher_log_lines_not_understood_total", "# position {", "# position []",
          "# given up {", R"(# given up {"log":"a","newest_launcher":"1","items":[]})",
          R"(# given up {"log":"a","newest_launcher":"1","items":{"b":1}})"}) {
        EXPECT_FALSE(ReadMetrics(first + line + "\n").has_value()) << line;
    }
}

}  // namespace
}  // namespace launchlog_report
