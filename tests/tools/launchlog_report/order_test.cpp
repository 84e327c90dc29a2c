#include "tools/launchlog_report/order.h"

#include <gmock/gmock.h>

namespace launchlog_report {
namespace {

using testing::ElementsAre;

Row Item(std::string const& name, long long restarts, std::optional<long long> per_minute,
         std::optional<Time> first = {}, std::optional<Time> last = {}) {
    Row row;
    row.name = name;
    row.restarts = restarts;
    row.restarts_per_minute = per_minute;
    row.first_end = first;
    row.last_end = last;
    return row;
}

std::vector<std::string> Sorted(std::vector<Row> rows, std::string const& key) {
    Sort(rows, *ParseSortKey(key));
    std::vector<std::string> names;
    for (Row const& row : rows) {
        names.push_back(row.name);
    }
    return names;
}

TEST(NaturallyLess, OrdersAsPeopleCount) {
    std::string const ordered[] = {"",
                                   "01",
                                   "1",
                                   "1a",
                                   "2",
                                   "10",
                                   "A",
                                   "a",
                                   "a 2",
                                   "a 10",
                                   "a1b2",
                                   "a1b10",
                                   "a2",
                                   "item02",
                                   "item2",
                                   "item10",
                                   "item10a",
                                   "item99999999999999999999998",
                                   "item99999999999999999999999",
                                   "\xC3\xA9"};
    for (std::size_t i = 0; i < std::size(ordered); ++i) {
        for (std::size_t j = 0; j < std::size(ordered); ++j) {
            EXPECT_EQ(NaturallyLess(ordered[i], ordered[j]), i < j)
                << ordered[i] << " " << ordered[j];
        }
    }
}

TEST(Sort, PutsTheMostTheNewestAndTheMarkedFirst) {
    std::vector<Row> const rows = {Item("item10", 5, 1, 10, 90),
                                   Item("item2", 7, 5, 30, 70),
                                   Item("often", 1, 11, 20, 80), Item("a", 5, {})};
    EXPECT_THAT(Sorted(rows, "name"), ElementsAre("a", "item2", "item10", "often"));
    EXPECT_THAT(Sorted(rows, "marked"), ElementsAre("often", "a", "item2", "item10"));
    EXPECT_THAT(Sorted(rows, "restarts"), ElementsAre("item2", "a", "item10", "often"));
    EXPECT_THAT(Sorted(rows, "per-minute"), ElementsAre("often", "item2", "item10", "a"));
    EXPECT_THAT(Sorted(rows, "first-end"), ElementsAre("item2", "often", "item10", "a"));
    EXPECT_THAT(Sorted(rows, "last-end"), ElementsAre("item10", "often", "item2", "a"));
    EXPECT_EQ(ParseSortKey("Name"), std::nullopt);
    EXPECT_EQ(ParseSortKey(""), std::nullopt);
}

}  // namespace
}  // namespace launchlog_report
