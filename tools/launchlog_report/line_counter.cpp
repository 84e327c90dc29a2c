#include "tools/launchlog_report/line_counter.h"

#include <algorithm>

#include "tools/common/printable.h"

namespace launchlog_report {
namespace {

// FNV-1a, begun with `hash`.
std::uint64_t HashOf(std::string const& text, std::uint64_t hash) {
    for (char const letter : text) {
        hash = (hash ^ static_cast<unsigned char>(letter)) * 1099511628211U;
    }
    return hash;
}

}  // namespace

void Totals::Add(Totals const& other) {
    for (auto const& [name, added] : other.items) {
        ItemTotals& item = items[name];
        for (std::size_t i = 0; i < kCauses; ++i) {
            item.ends[i] += added.ends[i];
        }
        item.restarts += added.restarts;
        item.last_end = std::max(item.last_end, added.last_end);
    }
    lines_not_understood += other.lines_not_understood;
}

LineCounter::LineCounter(Carried before, PathOf path)
    : carried(std::move(before)),
      path_of(std::move(path)),
      ends([this](ProgramRunEnd const& end) { CountRestart(end); }) {}

LineCounter::Log& LineCounter::Find(std::size_t number) {
    auto const [entry, is_new] = logs.try_emplace(number);
    Log& log = entry->second;
    if (is_new) {
        log.path = path_of(number);
        auto const position = carried.positions.find(log.path);
        if (position != carried.positions.end() && is_first_read) {
            log.searched = position->second;
        } else if (position != carried.positions.end()) {
            log.counted_until = position->second.time;
        }
    }
    return log;
}

void LineCounter::TakeLine(std::string const& line, bool is_understood,
                           std::size_t number) {
    Log& log = Find(number);
    std::optional<Time> const time = ParseTimeStamp(line);
    // Lines without a time are often equal, so the lines before them count, too.
    std::uint64_t const before = time ? 14695981039346656037U : log.last.hash;
    log.last = {HashOf(line, before), time ? time : log.last.time};
    if (log.counted_until && time && *time > *log.counted_until) {
        log.counted_until.reset();
    }
    log.is_position = log.searched && log.searched->hash == log.last.hash;
    log.is_later =
        log.searched && (!time || !log.searched->time || *time > *log.searched->time);
    if (log.is_position) {
        log.is_found = true;
        log.after = {};
    }
    if (!is_understood) {
        Count(log, [](Totals& totals) { ++totals.lines_not_understood; });
    }
}

// Counts the line that was taken last.
void LineCounter::Count(Log& log, std::function<void(Totals& totals)> const& count) {
    if (log.is_position || log.counted_until) {
        return;
    }
    count(log.after);
    if (log.is_later) {
        count(log.later);
    }
}

void LineCounter::TakeEvent(LogEvent const& event, std::size_t number) {
    if (event.kind == LogEventKind::End) {
        Count(Find(number), [&event](Totals& totals) {
            ItemTotals& item = totals.items[tools::ToUtf8(event.name)];
            ++item.ends[static_cast<std::size_t>(CauseOf(StatusOf(event)))];
            item.last_end = std::max(item.last_end, event.time);
        });
    }
    ends.Add(event, number);
}

// An end that turns out to be no stop counts with the line that shows it.
void LineCounter::CountRestart(ProgramRunEnd const& end) {
    if (end.cause == Cause::Stop) {
        return;
    }
    Count(Find(end.log),
          [&end](Totals& totals) { ++totals.items[tools::ToUtf8(end.item)].restarts; });
}

void LineCounter::FinishFirstRead() {
    is_first_read = false;
    for (auto& [number, log] : logs) {
        if (log.searched && !log.is_found) {
            log.after = log.later;
        }
        log.searched.reset();
        log.is_position = false;
    }
}

Carried LineCounter::Result() const {
    Carried result = carried;
    for (auto const& [number, log] : logs) {
        result.totals.Add(log.after);
        result.positions[log.path] = log.last;
    }
    return result;
}

}  // namespace launchlog_report
