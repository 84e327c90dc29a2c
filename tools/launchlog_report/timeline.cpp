#include "tools/launchlog_report/timeline.h"

#include <algorithm>
#include <numeric>
#include <tuple>

namespace launchlog_report {
namespace {

// The most marks of an item while lines are read.
constexpr std::size_t kMostMarks = 2000;
constexpr std::size_t kMostOpenRuns = 200;
constexpr std::size_t kMostLaunchers = 500;
// A launcher starts a program again after 50 ms, on a busy machine later. After a longer
// time the machine slept, or lines are missing.
constexpr Time kLongestPause = 1000;

Mark MakeMark(ProgramRunEnd const& end) {
    Mark mark;
    mark.first = mark.last = mark.until = end.time.value_or(0);
    mark.life = end.life;
    if (end.uptime) {
        mark.start = mark.first - *end.uptime;
    }
    mark.causes[static_cast<std::size_t>(end.cause)] = 1;
    mark.process = end.process;
    mark.status = DescribeStatus(end.status);
    return mark;
}

// Leaves in `mark` the longest known run of the two. Runs become one only if they
// overlap, or if nothing is between them but the pause of one launcher.
void JoinRuns(Mark& mark, Mark const& other) {
    if (!other.start) {
        return;
    }
    bool const do_overlap =
        mark.start && *other.start <= mark.until && *mark.start <= other.until;
    bool const is_next = mark.start && mark.life == other.life &&
                         *other.start > mark.until &&
                         *other.start - mark.until <= kLongestPause;
    if (do_overlap || is_next) {
        mark.start = std::min(*mark.start, *other.start);
        mark.until = std::max(mark.until, other.until);
    } else if (!mark.start || other.until - *other.start > mark.until - *mark.start) {
        mark.start = other.start;
        mark.until = other.until;
        mark.life = other.life;
    }
}

// Leaves the `most` longest, in any order. `Length` returns the length of one.
template <typename Value, typename Length>
void KeepLongest(std::vector<Value>& values, std::size_t most, Length length) {
    if (values.size() > most) {
        std::nth_element(
            values.begin(), values.begin() + static_cast<long>(most), values.end(),
            [&length](Value const& a, Value const& b) { return length(a) > length(b); });
        values.erase(values.begin() + static_cast<long>(most), values.end());
    }
}

}  // namespace

long long Mark::Ends() const {
    return std::accumulate(causes.begin(), causes.end(), 0LL);
}

void Marks::Add(Mark const& end) {
    if (IsCloseToLast(end)) {
        MergeIntoLast(end);
        return;
    }
    marks.push_back(end);
    for (Time next = std::max<Time>(span, 1); marks.size() > kMostMarks; next *= 2) {
        Merge(next);
    }
}

void Marks::Merge(Time new_span) {
    span = new_span;
    std::vector<Mark> all;
    all.swap(marks);
    std::stable_sort(all.begin(), all.end(),
                     [](Mark const& a, Mark const& b) { return a.first < b.first; });
    for (Mark const& mark : all) {
        if (IsCloseToLast(mark)) {
            MergeIntoLast(mark);
        } else {
            marks.push_back(mark);
        }
    }
}

bool Marks::IsCloseToLast(Mark const& mark) const {
    return span > 0 && !marks.empty() && marks.back().first / span == mark.first / span;
}

void Marks::MergeIntoLast(Mark const& mark) {
    Mark& last = marks.back();
    JoinRuns(last, mark);
    last.first = std::min(last.first, mark.first);
    last.last = std::max(last.last, mark.last);
    for (std::size_t i = 0; i < kCauses; ++i) {
        last.causes[i] += mark.causes[i];
    }
    last.process.clear();
    last.status.clear();
}

Timeline::Timeline(TimeRange const& covered)
    : range(covered), ends([this](ProgramRunEnd const& end) { AddEnd(end); }) {}

void Timeline::Add(LogEvent const& event, std::size_t log) {
    if (!range.IsNotAfter(event)) {
        return;
    }
    std::optional<std::size_t> const life = ends.Add(event, log);
    if (range.Has(event.time) && event.time) {
        first_line = std::min(first_line.value_or(*event.time), *event.time);
        last_line = std::max(last_line.value_or(*event.time), *event.time);
    }
    if (life && event.time && !event.process.empty()) {
        AddLife(event, log, *life);
    }
}

void Timeline::AddEnd(ProgramRunEnd const& end) {
    if (!range.Has(end.time)) {
        return;
    }
    ItemTimeline& item = items[end.item];
    ++item.causes[static_cast<std::size_t>(end.cause)];
    if (end.time) {
        item.marks.Add(MakeMark(end));
    }
    auto const life = lives.find(end.life);
    if (end.cause == Cause::Stop && life != lives.end()) {
        life->second.last_stop = std::max(life->second.last_stop, end.time);
    }
}

void Timeline::AddLife(LogEvent const& event, std::size_t log, std::size_t number) {
    Life const begun = {{log, event.process, *event.time, *event.time, false}, false, {}};
    Life& life = lives.try_emplace(number, begun).first->second;
    life.drawn.last = std::max(life.drawn.last, *event.time);
    life.is_launcher = life.is_launcher || event.kind == LogEventKind::End ||
                       event.kind == LogEventKind::NamelessItem ||
                       event.kind == LogEventKind::UnreadableList;
}

// A program runs at least until the last line of its launcher.
void Timeline::AddOpenRun(OpenProgramRun const& run) {
    auto const life = lives.find(run.life);
    if (life == lives.end()) {
        return;
    }
    Time const last = life->second.drawn.last;
    bool const is_doubtful = run.doubted && *run.doubted <= last;
    if (last <= run.start || is_doubtful || !range.IsNotBefore(last)) {
        return;
    }
    std::vector<OpenRun>& open_runs = items[run.item].open_runs;
    open_runs.push_back({run.start, last});
    if (open_runs.size() > 2 * kMostOpenRuns) {
        KeepLongest(open_runs, kMostOpenRuns,
                    [](OpenRun const& it) { return it.to - it.from; });
    }
}

void Timeline::Finish() {
    ends.Finish();
    for (OpenProgramRun const& run : ends.OpenRuns()) {
        AddOpenRun(run);
    }
    MakeLaunchers();
}

void Timeline::MakeLaunchers() {
    for (auto const& [number, life] : lives) {
        if (life.is_launcher && range.IsNotBefore(life.drawn.last)) {
            launchers.push_back(life.drawn);
            launchers.back().is_stopped = life.last_stop == life.drawn.last;
        }
    }
    KeepLongest(launchers, kMostLaunchers,
                [](LauncherLife const& it) { return it.last - it.first; });
    std::stable_sort(launchers.begin(), launchers.end(),
                     [](LauncherLife const& a, LauncherLife const& b) {
                         return std::tie(a.log, a.first) < std::tie(b.log, b.first);
                     });
}

std::size_t Timeline::CountMarks() const {
    std::size_t count = 0;
    for (auto const& [name, item] : items) {
        count += item.marks.List().size();
    }
    return count;
}

void Timeline::Limit(std::size_t most) {
    for (auto& [name, item] : items) {
        item.marks.Merge(item.marks.Span());
    }
    constexpr Time kLongestSpan = Time{1} << 40;
    for (Time span = 1; CountMarks() > most && span < kLongestSpan; span *= 2) {
        for (auto& [name, item] : items) {
            if (item.marks.Span() < span) {
                item.marks.Merge(span);
            }
        }
    }
}

}  // namespace launchlog_report
