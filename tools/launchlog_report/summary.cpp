#include "tools/launchlog_report/summary.h"

#include <algorithm>

#include "tools/common/printable.h"

namespace launchlog_report {
namespace {

// Adds what one more log says of the item. `is_last` says that this log had a line about
// it last.
void AddHistory(Row& row, ItemHistory const& history, bool is_last) {
    bool const is_later = row.ends == 0 || (row.last_end && history.LastEnd()
                                                ? *history.LastEnd() > *row.last_end
                                                : is_last);
    if (history.Ends() > 0 && is_later) {
        row.last_end = history.LastEnd();
        row.last_status = history.LastStatus();
    }
    if (history.FirstEnd()) {
        row.first_end =
            std::min(row.first_end.value_or(*history.FirstEnd()), *history.FirstEnd());
    }
    row.ends += history.Ends();
    row.restarts += history.Restarts();
    if (std::optional<long long> const restarts = history.RestartsPerMinute()) {
        row.restarts_per_minute = row.restarts_per_minute.value_or(0) + *restarts;
    }
    row.given_up = row.given_up || history.IsGivenUp();
    row.no_program = row.no_program || history.HasNoProgram();
    row.chain = row.chain || history.Chain().IsChain();
    if (std::optional<long long> const processes = history.Chain().Processes()) {
        row.chain_processes = row.chain_processes.value_or(0) + *processes;
    }
}

std::string DescribeChain(Row const& row) {
    return row.chain_processes
               ? "chain of " + std::to_string(*row.chain_processes) + " processes"
               : "chain of processes";
}

}  // namespace

std::string DescribeLastStatus(Row const& row) {
    std::vector<std::string> words;
    if (row.chain) {
        words.push_back(DescribeChain(row));
    }
    if (row.given_up) {
        words.emplace_back("given up: fork failed");
    }
    if (row.no_program) {
        words.emplace_back("no program");
    }
    if (row.ends > 0) {
        words.push_back(DescribeStatus(row.last_status));
    }
    std::string text;
    for (std::string const& word : words) {
        text += (text.empty() ? "" : "; ") + word;
    }
    return text.empty() ? "-" : text;
}

void Summary::Add(LogEvent const& event, std::size_t log) {
    if (event.kind != LogEventKind::Other && range.IsGiven() && !event.time) {
        ++lines_without_time;
    }
    if (!range.IsNotAfter(event)) {
        return;
    }
    std::optional<std::size_t> const life = lives.Add(event, log);
    switch (event.kind) {
        case LogEventKind::Other:
            return;
        case LogEventKind::NamelessItem:
        case LogEventKind::UnreadableList:
            NoteLauncher(event.process, log);
            logs[log].given_up.newest_launcher = event.process;
            if (range.Has(event.time)) {
                AddLauncherLine(event, *life);
            }
            return;
        case LogEventKind::Start:
        case LogEventKind::End:
        case LogEventKind::FailedFork:
        case LogEventKind::NoProgram:
            AddItemLine(event, log, life.value_or(0));
    }
}

void Summary::AddItemLine(LogEvent const& event, std::size_t log, std::size_t life) {
    bool const is_launcher = IsLauncher(event, log);
    Item& item = items[event.name];
    ItemHistory& history = item.histories.try_emplace(log, now, range).first->second;
    history.Add(event, is_launcher, life);
    NoteGivenUp(event, history, is_launcher, log);
    item.last_log = log;
    item.last_line = event.time;
}

void Summary::NoteGivenUp(LogEvent const& event, ItemHistory const& history,
                          bool is_launcher, std::size_t log) {
    GivenUpItems& given_up = logs[log].given_up;
    bool const is_end_or_failure =
        event.kind == LogEventKind::End || event.kind == LogEventKind::FailedFork;
    // In a chain, a line may be of a link.
    if (is_launcher || (is_end_or_failure && !history.Chain().IsChain())) {
        given_up.newest_launcher = event.process;
    }
    if (given_up.items.empty() && !history.IsGivenUp()) {
        return;
    }
    std::string const name = tools::ToUtf8(event.name);
    given_up.items.erase(name);
    if (history.IsGivenUp()) {
        given_up.items[name] = {event.process, event.time};
    }
}

GivenUpItems Summary::GivenUp(std::size_t log) const {
    auto const entry = logs.find(log);
    return entry == logs.end() ? GivenUpItems() : entry->second.given_up;
}

// Returns whether the process is known to be a launcher: it logged lines about two items,
// as no link of a chain does.
bool Summary::IsLauncher(LogEvent const& event, std::size_t log) {
    if (event.process.empty() || event.kind == LogEventKind::NoProgram) {
        return false;
    }
    if (logs[log].items.insert({event.process, event.name}).first->second != event.name) {
        NoteLauncher(event.process, log);
    }
    return logs[log].launchers.count(event.process) != 0;
}

// Takes note that the process is a launcher. So far it has logged lines about one item at
// most, so only there it may have been taken for a link of a chain.
void Summary::NoteLauncher(std::string const& process, std::size_t log) {
    if (process.empty() || !logs[log].launchers.insert(process).second) {
        return;
    }
    auto const entry = logs[log].items.find(process);
    if (entry != logs[log].items.end()) {
        items.at(entry->second).histories.at(log).NoteLauncher(process);
    }
}

void Summary::AddLauncherLine(LogEvent const& event, std::size_t life) {
    auto const [place, is_new] = launcher_places.try_emplace(life, launchers.size());
    if (is_new) {
        launchers.push_back({event.process, event.time, event.time});
    }
    LauncherLines& lines = launchers[place->second];
    lines.last = event.time;
    if (event.kind == LogEventKind::NamelessItem) {
        ++lines.items_without_name;
    } else {
        lines.list_failed = true;
    }
}

Report Summary::At(Time time) {
    now = time;
    Report report;
    report.now = now;
    report.range = range;
    report.lines_without_time = lines_without_time;
    report.launchers = launchers;
    for (auto& [name, item] : items) {
        Row row;
        row.name = name;
        row.last_line = item.last_line;
        for (auto& [log, history] : item.histories) {
            history.SetNow(now);
            AddHistory(row, history, log == item.last_log);
        }
        if (row.ends > 0 || row.IsMarked()) {
            report.items.push_back(row);
        }
    }
    return report;
}

}  // namespace launchlog_report
