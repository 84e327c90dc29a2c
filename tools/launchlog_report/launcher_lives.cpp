#include "tools/launchlog_report/launcher_lives.h"

#include <csignal>

namespace launchlog_report {
namespace {

// What a launcher logs while it starts comes within this time.
constexpr Time kLongestStart = 60'000;

bool IsAboutItem(LogEvent const& event) {
    return event.kind == LogEventKind::Start || event.kind == LogEventKind::End ||
           event.kind == LogEventKind::FailedFork;
}

bool IsKill(LogEvent const& event) {
    std::optional<ProgramEnd> const status = StatusOf(event);
    return event.kind == LogEventKind::End && status && status->signal == SIGKILL;
}

bool IsLongAfter(std::optional<Time> const& before, std::optional<Time> const& time) {
    return before && time && *time - *before > kLongestStart;
}

}  // namespace

bool LauncherLives::IsOfAnother(Life const& life, LogEvent const& event) {
    if (!IsAboutItem(event)) {
        bool const is_of_start = event.kind == LogEventKind::NamelessItem ||
                                 event.kind == LogEventKind::UnreadableList;
        return is_of_start && (life.is_over || IsLongAfter(life.first, event.time));
    }
    auto const item = life.items.find(event.name);
    bool const is_known = item != life.items.end();
    // A stop kills each item once, items that never ended before, too.
    bool const goes_on_stopping = IsKill(event) && (!is_known || !item->second.is_kill);
    bool const are_all_killed = life.killed >= 2 && life.killed == life.items.size();
    if ((life.is_over || are_all_killed) && !goes_on_stopping) {
        return true;
    }
    return event.kind == LogEventKind::Start && is_known &&
           item->second.kind != LogEventKind::End &&
           IsLongAfter(item->second.time, event.time);
}

void LauncherLives::AddItemLine(Life& life, LogEvent const& event) {
    Line& line = life.items[event.name];
    life.killed -= line.is_kill ? 1 : 0;
    line = {event.kind, IsKill(event), event.time};
    life.killed += line.is_kill ? 1 : 0;
}

std::optional<std::size_t> LauncherLives::Add(LogEvent const& event, std::size_t log) {
    // An item without a program makes a process that logs such a line 20 times a second.
    if (event.kind == LogEventKind::NoProgram || event.kind == LogEventKind::Other) {
        auto const known = lives.find({log, event.process});
        return known == lives.end() ? std::nullopt : std::optional(known->second.number);
    }
    auto const [entry, is_new] = lives.try_emplace({log, event.process});
    Life& life = entry->second;
    if (is_new || IsOfAnother(life, event)) {
        life = {};
        life.number = count++;
        life.first = event.time;
    }
    if (IsAboutItem(event)) {
        AddItemLine(life, event);
    }
    life.is_over = life.is_over || event.kind == LogEventKind::UnreadableList;
    return life.number;
}

}  // namespace launchlog_report
