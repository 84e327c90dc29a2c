#include "tools/launchlog_report/metrics_output.h"
#include "common/config/app_locations.h"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
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

// Adds what the running launchers do. Returns whether there is one.
bool AddRunning(std::map<std::string, ItemState>& states, std::string const& list) {
    running::Snapshot const now = running::Snapshot::Take();
    std::vector<running::LauncherWithItems> launchers =
        running::FindLaunchersWithItems(now);
    if (!list.empty()) {
        launchers = running::WithList(launchers, list);
    }
    running::LogAnswers const log = {
        [&states](std::string const& item) {
            auto const entry = states.find(tools::ToUtf8(item));
            return entry != states.end() && entry->second.is_given_up;
        },
        [](pid_t) { return std::string(); }};
    for (running::LauncherWithItems const& it : launchers) {
        for (running::ItemStatus const& item :
             running::StatusOf(now, it.launcher, it.list, log).items) {
            ItemState& state = states[tools::ToUtf8(item.item.name)];
            state.is_running = state.is_running || item.state == running::State::Running;
            state.is_chain = state.is_chain || item.state == running::State::Chain;
        }
    }
    return !launchers.empty();
}

Metrics MakeMetrics(LineCounter const& counter, Summary& summary,
                    Options const& options) {
    Metrics metrics;
    metrics.counted = counter.Result();
    for (Row const& row : summary.At(Now()).items) {
        ItemState& state = metrics.states[tools::ToUtf8(row.name)];
        state.is_given_up = state.is_given_up || row.given_up;
        state.has_no_program = state.has_no_program || row.no_program;
        state.is_chain = state.is_chain || row.chain;
    }
    if (!options.list.empty()) {
        for (running::LaunchItem const& item :
             running::ReadLaunchItems(options.list).items) {
            metrics.states.try_emplace(tools::ToUtf8(item.name));
        }
    }
    metrics.is_launcher_up = AddRunning(metrics.states, options.list);
    return metrics;
}

// Writes a text to a file if it has changed, or if the file is old.
class Writer {
  public:
    Writer(std::string path, Complain const& to) : file(std::move(path)), complain(to) {}

    // Returns whether the file is as it should be.
    bool Write(std::string const& text) {
        if (text == written && Now() - time < kLongestAge) {
            return problem.empty();
        }
        std::string const now = ReplaceFile(file, text);
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

std::string AbsolutePath(std::string const& path) {
    std::error_code error;
    std::filesystem::path const absolute = std::filesystem::absolute(path, error);
    return error ? path : absolute.lexically_normal().string();
}

}  // namespace

int WriteMetrics(std::vector<std::string> paths, Options const& options,
                 Complain const& complain) {
    std::optional<Carried> carried = ReadCarried(options.metrics, complain);
    if (!carried) {
        return 1;
    }
    Summary summary(Now());
    Logs* all = nullptr;
    LineCounter counter(std::move(*carried), [&all](std::size_t log) {
        return AbsolutePath(all->Paths()[log]);
    });
    Logs logs([&](LogEvent const& event, std::size_t log) {
        summary.Add(event, log);
        counter.TakeEvent(event, log);
    });
    all = &logs;
    logs.SetLineTaker(
        [&counter](std::string const& line, bool is_understood, std::size_t log) {
            counter.TakeLine(line, is_understood, log);
        });
    Writer writer(options.metrics, complain);
    Signals signals;
    // A launcher makes its log with the first line, which may come late.
    while (options.follow && paths.empty() && !signals.IsEndAsked()) {
        writer.Write(ToText(MakeMetrics(counter, summary, options)));
        signals.Wait(kMillisecondsBetweenReads);
        paths = FindLogs(GetHomePath());
    }
    logs.Read(paths, true);
    counter.FinishFirstRead();
    for (std::string const& unread : logs.Problems()) {
        complain(unread);
    }
    bool is_written = writer.Write(ToText(MakeMetrics(counter, summary, options)));
    if (options.follow) {
        while (!signals.IsEndAsked()) {
            signals.Wait(kMillisecondsBetweenReads);
            logs.ReadOn();
            is_written = writer.Write(ToText(MakeMetrics(counter, summary, options)));
        }
    }
    return is_written && logs.Problems().empty() ? 0 : 1;
}

}  // namespace launchlog_report
