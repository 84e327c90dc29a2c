#include "tools/launchlog_report/summary.h"

#include <algorithm>
#include <csignal>

namespace {

constexpr Time kMinute = 60'000;

bool IsWithinMinute(Time time, Time now) {
    return time > now - kMinute && time <= now;
}

}  // namespace

std::string DescribeLastStatus(Row const& row) {
    std::string const given_up = "given up: fork failed";
    if (row.ends == 0) {
        return row.given_up ? given_up : "-";
    }
    std::string const text =
        row.last_status ? Describe(*row.last_status) : "unknown, waitpid failed";
    return row.given_up ? text + "; " + given_up : text;
}

void Summary::Add(LogEvent const& event, Time now) {
    Item& item = items[event.name];
    item.row.name = event.name;
    item.row.given_up = event.kind == LogEventKind::FailedFork;
    if (event.kind == LogEventKind::End) {
        AddEnd(item, event, now);
    }
}

void Summary::AddEnd(Item& item, LogEvent const& event, Time now) {
    Row& row = item.row;
    ++row.ends;
    if (event.time) {
        row.first_end = std::min(row.first_end.value_or(*event.time), *event.time);
        row.last_end = std::max(row.last_end.value_or(*event.time), *event.time);
        if (*event.time > now - kMinute) {
            item.recent.push_back(*event.time);
        }
    }
    row.last_status.reset();
    if (event.ret != -1) {
        row.last_status = DecodeWaitStatus(event.status);
    }
    item.stops.erase(event.launcher);
    if (row.last_status && row.last_status->signal == SIGKILL) {
        item.stops[event.launcher] = event.time;
    }
}

std::vector<Row> Summary::Rows(Time now) {
    std::vector<Row> rows;
    for (auto& [name, item] : items) {
        auto& recent = item.recent;
        recent.erase(std::remove_if(recent.begin(), recent.end(),
                                    [now](Time time) { return time <= now - kMinute; }),
                     recent.end());
        Row row = item.row;
        row.restarts = row.ends - static_cast<long long>(item.stops.size());
        if (row.first_end || row.ends == 0) {
            row.restarts_per_minute =
                std::count_if(recent.begin(), recent.end(),
                              [now](Time time) { return IsWithinMinute(time, now); }) -
                std::count_if(item.stops.begin(), item.stops.end(),
                              [now](auto const& stop) {
                                  return stop.second && IsWithinMinute(*stop.second, now);
                              });
        }
        rows.push_back(row);
    }
    return rows;
}
