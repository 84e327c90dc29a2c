#include "tools/launchlog_report/item_history.h"

#include <algorithm>
#include <csignal>

namespace launchlog_report {
namespace {

constexpr Time kRateWindow = 60'000;
// An item without a program is tried every 50 ms. After a longer pause another launcher
// tries it.
constexpr Time kLongestPause = 5000;

}  // namespace

void ItemHistory::Add(LogEvent const& event, bool is_launcher, std::size_t life) {
    if (event.kind == LogEventKind::NoProgram) {
        AddNoProgram(event);
        return;
    }
    chain.Add(event, is_launcher);
    if (event.kind == LogEventKind::FailedFork) {
        is_given_up = is_launcher || !chain.IsChain();
        return;
    }
    is_given_up = false;
    if (event.kind == LogEventKind::Start) {
        AddStart(event);
    } else if (event.kind == LogEventKind::End) {
        AddEnd(event, life);
    }
}

void ItemHistory::AddNoProgram(LogEvent const& event) {
    is_given_up = false;
    std::string const parent = no_program_since ? no_program_since->process : "";
    no_program_since = event;
    no_program_since->process = parent;
    children_without_program.insert(event.process);
}

void ItemHistory::AddStart(LogEvent const& event) {
    if (!no_program_since) {
        return;
    }
    bool const is_another =
        !no_program_since->process.empty() && no_program_since->process != event.process;
    bool const is_late = event.time && no_program_since->time &&
                         *event.time - *no_program_since->time > kLongestPause;
    if (is_another || is_late) {
        no_program_since.reset();
    }
}

void ItemHistory::CountEnd(LogEvent const& event, std::size_t life) {
    first_end = first_end ? first_end : event.time;
    last_end = event.time;
    ++ends;
    if (event.time && *event.time > now - kRateWindow) {
        recent.push_back(*event.time);
    }
    last_status = StatusOf(event);
    stops.erase(life);
    if (last_status && last_status->signal == SIGKILL) {
        stops[life] = event.time;
    }
}

void ItemHistory::AddEnd(LogEvent const& event, std::size_t life) {
    if (range.Has(event.time)) {
        CountEnd(event, life);
    }
    // If the log has no process ids, this is the end of the last child.
    bool const had_no_program = children_without_program.erase(event.child) > 0 ||
                                children_without_program.erase("") > 0;
    if (!had_no_program) {
        no_program_since.reset();
    } else if (no_program_since) {
        no_program_since->process = event.process;
    }
}

void ItemHistory::SetNow(Time time) {
    now = time;
    recent.erase(std::remove_if(recent.begin(), recent.end(),
                                [this](Time end) { return end <= now - kRateWindow; }),
                 recent.end());
}

bool ItemHistory::IsInLastMinute(Time time) const {
    return time > now - kRateWindow && time <= now;
}

std::optional<long long> ItemHistory::RestartsPerMinute() const {
    if (ends > 0 && !first_end) {
        return std::nullopt;
    }
    auto const ends_in_minute = std::count_if(
        recent.begin(), recent.end(), [this](Time end) { return IsInLastMinute(end); });
    auto const stops_in_minute = std::count_if(
        stops.begin(), stops.end(),
        [this](auto const& stop) { return stop.second && IsInLastMinute(*stop.second); });
    return ends_in_minute - stops_in_minute;
}

}  // namespace launchlog_report
