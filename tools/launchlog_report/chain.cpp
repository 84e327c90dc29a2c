#include "tools/launchlog_report/chain.h"

#include <cstddef>
#include <iterator>

namespace launchlog_report {
namespace {

constexpr Time kLongestGap = 5000;
// The pause before a link's first start is 50 ms. A log cuts its times to milliseconds.
constexpr Time kShortestQuickGap = 49;
constexpr Time kLongestQuickGap = 100;
constexpr std::size_t kQuickProcesses = 4;
constexpr std::size_t kProcesses = 10;
// How old the last line of a process may be at its end if its parent logged no line
// before.
constexpr Time kRecent = 10'000;

bool AreFarApart(std::optional<Time> const& a, std::optional<Time> const& b, Time most) {
    return a && b && (*a - *b > most || *b - *a > most);
}

bool IsQuickGap(std::optional<Time> const& before, std::optional<Time> const& time) {
    return before && time && *time - *before >= kShortestQuickGap &&
           *time - *before <= kLongestQuickGap;
}

}  // namespace

void ChainDetector::Add(LogEvent const& event, bool is_launcher) {
    if (event.process.empty()) {
        return;
    }
    ++lines;
    if (event.kind == LogEventKind::Start) {
        AddStart(event, is_launcher);
    } else if (event.kind == LogEventKind::End) {
        AddEnd(event);
    } else if (event.kind == LogEventKind::FailedFork && is_chain) {
        last_sign = event.time;
    }
    last_lines[event.process] = {event.kind, lines, event.time};
}

void ChainDetector::AddStart(LogEvent const& event, bool is_launcher) {
    if (!IsOfANewProcess(event)) {
        return;
    }
    if (IsLongAfterTheLastSign(event)) {
        Reset();
    }
    if (is_launcher) {
        return;
    }
    first_starts[lines] = event.time;
    start_numbers[event.process].push_back(lines);
    last_sign = event.time;
    is_chain = is_chain || LooksLikeAChain();
}

// A process that starts the item again logged an end just before.
bool ChainDetector::IsOfANewProcess(LogEvent const& start) const {
    auto const last = last_lines.find(start.process);
    return last == last_lines.end() || last->second.kind != LogEventKind::End ||
           AreFarApart(last->second.time, start.time, kLongestGap);
}

void ChainDetector::AddEnd(LogEvent const& event) {
    auto const child = last_lines.find(event.child);
    bool const was_link = child != last_lines.end() && WasLink(child->second, event);
    if (child != last_lines.end()) {
        last_lines.erase(child);
    }
    if (was_link) {
        is_chain = true;
        last_sign = event.time;
    } else {
        AddOrdinaryEnd(event);
    }
}

void ChainDetector::AddOrdinaryEnd(LogEvent const& event) {
    if (!is_chain) {
        Forget(event.process);
    } else if (!IsLink(event.process) &&
               (!event.time || !last_sign || IsLongAfterTheLastSign(event))) {
        Reset();
    }
}

// The first process of a chain is the launcher, and no link.
bool ChainDetector::IsLink(std::string const& process) const {
    auto const numbers = start_numbers.find(process);
    return numbers != start_numbers.end() &&
           numbers->second.back() != first_starts.begin()->first;
}

// Process ids are used again, so `child` may be the line of a process of long ago. It is
// the line of this child if it is younger than the last line of its parent.
bool ChainDetector::WasLink(Line const& child, LogEvent const& end) const {
    auto const parent = last_lines.find(end.process);
    if (parent != last_lines.end()) {
        return parent->second.number < child.number;
    }
    return child.time && end.time ? !AreFarApart(child.time, end.time, kRecent)
                                  : child.number == lines - 1;
}

bool ChainDetector::LooksLikeAChain() const {
    if (first_starts.size() >= kProcesses) {
        return true;
    }
    if (first_starts.size() < kQuickProcesses) {
        return false;
    }
    auto const end = first_starts.end();
    for (auto start = std::prev(end, kQuickProcesses - 1); start != end; ++start) {
        if (!IsQuickGap(std::prev(start)->second, start->second)) {
            return false;
        }
    }
    return true;
}

bool ChainDetector::IsLongAfterTheLastSign(LogEvent const& event) const {
    return AreFarApart(last_sign, event.time, kLongestGap);
}

void ChainDetector::Forget(std::string const& launcher) {
    auto const numbers = start_numbers.find(launcher);
    if (numbers == start_numbers.end()) {
        return;
    }
    for (long long const number : numbers->second) {
        first_starts.erase(number);
    }
    start_numbers.erase(numbers);
}

std::optional<long long> ChainDetector::Processes() const {
    if (!is_chain || first_starts.size() < 2) {
        return std::nullopt;
    }
    return static_cast<long long>(first_starts.size());
}

void ChainDetector::Reset() {
    first_starts.clear();
    start_numbers.clear();
    last_sign.reset();
    is_chain = false;
}

}  // namespace launchlog_report
