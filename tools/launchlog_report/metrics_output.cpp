#include "tools/launchlog_report/metrics_output.h"
#include "common/config/app_locations.h"

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <set>
#include <utility>

#include "tools/common/printable.h"
#include "tools/launchlog_report/log_files.h"
#include "tools/launchlog_report/logs.h"
#include "tools/launchlog_report/metrics.h"
#include "tools/launchlog_report/output_file.h"
#include "tools/launchlog_report/summary.h"
#include "tools/launchlog_report/terminal.h"
#include "tools/running/item_status.h"
#include "tools/running/survey.h"

namespace launchlog_report {
namespace {

constexpr int kMillisecondsBetweenReads = 1000;
// A file that is older shows that nobody writes it any more.
constexpr Time kLongestAge = 15'000;

using Complain = std::function<void(std::string const& problem)>;

// Reads what the run before has written. Returns std::nullopt if it is something else.
std::optional<Carried> ReadCarried(std::string const& file, Complain const& complain) {
    std::error_code error;
    if (!std::filesystem::exists(file, error)) {
        return Carried();
    }
    std::ifstream stream(file);
    std::string const text{std::istreambuf_iterator<char>(stream), {}};
    if (!stream.good()) {
        complain(file + ": " + std::strerror(errno));
        return std::nullopt;
    }
    std::optional<Carried> carried = ReadMetrics(text);
    if (!carried) {
        complain(file + ": this was not written by --metrics, so it is not replaced");
    }
    return carried;
}

using GivenUpByLog = std::map<std::string, GivenUpItems>;

// The start of a process is known to some milliseconds, and lines may have full seconds.
constexpr Time kTolerance = 1000;

// Returns whether this launcher has given the item up, not an earlier one with the same
// process id.
bool HasGivenUp(GivenUpByLog const& logs, running::Launcher const& launcher,
                std::string const& item) {
    Time const start = launcher.process.start_time - kTolerance;
    return std::any_of(logs.begin(), logs.end(), [&](auto const& log) {
        auto const entry = log.second.items.find(item);
        return entry != log.second.items.end() &&
               entry->second.launcher == std::to_string(launcher.process.id) &&
               entry->second.time.value_or(start) >= start;
    });
}

// Adds what the newest launchers of the logs have given up.
void AddGivenUp(std::map<std::string, ItemState>& states, GivenUpByLog const& logs) {
    for (auto const& [log, given_up] : logs) {
        for (auto const& [name, item] : given_up.items) {
            ItemState& state = states[name];
            state.is_given_up =
                state.is_given_up || item.launcher == given_up.newest_launcher;
        }
    }
}

// Adds what the running launchers do. Returns whether there is one.
bool AddRunning(std::map<std::string, ItemState>& states, GivenUpByLog const& logs,
                std::string const& list) {
    running::Snapshot const now = running::Snapshot::Take();
    std::vector<running::LauncherWithItems> launchers =
        running::FindLaunchersWithItems(now);
    if (!list.empty()) {
        launchers = running::WithList(launchers, list);
    }
    for (running::LauncherWithItems const& it : launchers) {
        running::LogAnswers const log = {[&](std::string const& item) {
                                             return HasGivenUp(logs, it.launcher,
                                                               tools::ToUtf8(item));
                                         },
                                         [](pid_t) { return std::string(); }};
        for (running::ItemStatus const& item :
             running::StatusOf(now, it.launcher, it.list, log).items) {
            ItemState& state = states[tools::ToUtf8(item.item.name)];
            state.is_running = state.is_running || item.state == running::State::Running;
            state.is_chain = state.is_chain || item.state == running::State::Chain;
            state.is_given_up =
                state.is_given_up || item.state == running::State::GivenUp;
        }
    }
    return !launchers.empty();
}

std::string AbsolutePath(std::string const& path) {
    std::error_code error;
    std::filesystem::path const absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.lexically_normal().string();
}

// Reads the logs, and adds up what the metrics need.
class MetricsReader {
  public:
    explicit MetricsReader(Carried const& before)
        : given_up(before.given_up),
          summary(Now()),
          counter(before, [this](std::size_t log) { return PathOf(log); }),
          logs([this](LogEvent const& event, std::size_t log) { Take(event, log); }) {
        logs.SetLineTaker(
            [this](std::string const& line, bool is_understood, std::size_t log) {
                counter.TakeLine(line, is_understood, log);
            });
    }
    MetricsReader(MetricsReader const&) = delete;
    MetricsReader& operator=(MetricsReader const&) = delete;

    void Read(std::vector<std::string> const& paths) {
        logs.Read(paths, true);
        counter.FinishFirstRead();
    }
    // Reads what was written since the last call, also to those of the logs that are new.
    void ReadOn(std::vector<std::string> const& paths) {
        logs.ReadOn();
        logs.Read(paths, true);
    }
    std::vector<std::string> Problems() const { return logs.Problems(); }

    Carried Result() const {
        Carried result = counter.Result();
        for (std::size_t const log : seen) {
            result.given_up[PathOf(log)] = summary.GivenUp(log);
        }
        return result;
    }
    std::vector<Row> Items() { return summary.At(Now()).items; }

  private:
    std::string PathOf(std::size_t log) const { return AbsolutePath(logs.Paths()[log]); }

    void Take(LogEvent const& event, std::size_t log) {
        if (seen.insert(log).second) {
            summary.SetGivenUp(log, given_up[PathOf(log)]);
        }
        summary.Add(event, log);
        counter.TakeEvent(event, log);
    }

    // As the run before has left it, by the paths of the logs.
    GivenUpByLog given_up;
    // The logs that have lines.
    std::set<std::size_t> seen;
    Summary summary;
    LineCounter counter;
    Logs logs;
};

Metrics MakeMetrics(MetricsReader& reader, Options const& options) {
    Metrics metrics;
    metrics.counted = reader.Result();
    for (Row const& row : reader.Items()) {
        ItemState& state = metrics.states[tools::ToUtf8(row.name)];
        state.has_no_program = state.has_no_program || row.no_program;
        state.is_chain = state.is_chain || row.chain;
    }
    if (!options.list.empty()) {
        for (running::LaunchItem const& item :
             running::ReadLaunchItems(options.list).items) {
            metrics.states.try_emplace(tools::ToUtf8(item.name));
        }
    }
    metrics.is_launcher_up =
        AddRunning(metrics.states, metrics.counted.given_up, options.list);
    // A launcher that runs is the newest, though it may not have logged a line yet.
    if (!metrics.is_launcher_up) {
        AddGivenUp(metrics.states, metrics.counted.given_up);
    }
    return metrics;
}

// The file of the metrics, written anew if its text has changed or if it is old.
class MetricsFile {
  public:
    MetricsFile(std::string path, Complain const& to)
        : file(std::move(path)), complain(to) {}

    // Returns whether the file is as it should be.
    bool Write(std::string const& text) {
        if (text == written && Now() - time < kLongestAge) {
            return problem.empty();
        }
        std::string const now = ReplaceFile(file, text + WrittenAt(Now()));
        if (!now.empty() && now != problem) {
            complain(file + ": " + now);
        }
        problem = now;
        written = text;
        time = Now();
        return problem.empty();
    }

  private:
    std::string file;
    Complain complain;
    std::string written;
    std::string problem;
    Time time = 0;
};

}  // namespace

int WriteMetrics(std::vector<std::string> const& paths, Options const& options,
                 Complain const& complain) {
    std::optional<Carried> carried = ReadCarried(options.metrics, complain);
    if (!carried) {
        return 1;
    }
    MetricsReader reader(*carried);
    MetricsFile file(options.metrics, complain);
    Signals signals;
    reader.Read(paths);
    for (std::string const& unread : reader.Problems()) {
        complain(unread);
    }
    bool is_written = file.Write(ToText(MakeMetrics(reader, options)));
    while (options.follow && !signals.IsEndAsked()) {
        signals.Wait(kMillisecondsBetweenReads);
        // A launcher makes its log with the first line, which may come late.
        reader.ReadOn(options.logs.empty() ? FindLogs(GetHomePath()) : options.logs);
        is_written = file.Write(ToText(MakeMetrics(reader, options)));
    }
    return is_written && reader.Problems().empty() ? 0 : 1;
}

}  // namespace launchlog_report
