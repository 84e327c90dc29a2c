// What a launcher log says of each item, added up.
//
//   Summary summary;
//   summary.Add(event, now);          // for each line that says something
//   for (Row const& row : summary.Rows(now)) ...

#ifndef TOOLS_LAUNCHLOG_REPORT_SUMMARY_H
#define TOOLS_LAUNCHLOG_REPORT_SUMMARY_H

#include <map>
#include <optional>
#include <string>
#include <vector>

#include "tools/launchlog_report/log_line.h"
#include "tools/launchlog_report/wait_status.h"

// One item, at a point in time.
struct Row {
    std::string name;
    long long ends = 0;
    // The ends without those of a stop. The last end of an item that one launcher process
    // logs is taken for its stop if it is one by SIGKILL.
    long long restarts = 0;
    // The restarts of the last 60 seconds; nothing if no end has a time.
    std::optional<long long> restarts_per_minute;
    std::optional<Time> first_end;
    std::optional<Time> last_end;
    // Nothing if there was no end, or the launcher could not wait for it.
    std::optional<ProgramEnd> last_status;
    // The last word on the item was that a fork failed.
    bool given_up = false;

    // More than ten restarts in the last minute.
    bool RestartsOften() const {
        return restarts_per_minute.has_value() && *restarts_per_minute > 10;
    }
};

// The last status in words: "exit 3", "unknown, waitpid failed",
// "exit 3; given up: fork failed".
std::string DescribeLastStatus(Row const& row);

class Summary {
  public:
    // Adds what a line said. Lines come in their order. `now` is the time of the next
    // call of Rows or before; it never decreases.
    void Add(LogEvent const& event, Time now);

    // Returns the items by their names. Only what lies within the 60 seconds up to `now`
    // counts as the last minute.
    std::vector<Row> Rows(Time now);

  private:
    struct Item {
        Row row;
        // The ends of the last minute.
        std::vector<Time> recent = {};
        // The launcher processes whose last end of the item was one by SIGKILL, and when.
        std::map<std::string, std::optional<Time>> stops = {};
    };

    void AddEnd(Item& item, LogEvent const& event, Time now);

    std::map<std::string, Item> items;
};

#endif
