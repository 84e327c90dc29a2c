// Reads any text as a log of launchers. What a line says must stand in it, and a line
// that is made from that must say the same. LauncherLog must know of each item what the
// lines of its launcher say.

#include "tools/launchlog_report/log_line.h"

#include <pwd.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <map>
#include <optional>
#include <vector>

#include "common/config/log.h"
#include "fuzz/fuzzing.h"
#include "harness/files.h"
#include "tools/launchlog_report/line_splitter.h"
#include "tools/running/launcher_log.h"

ILog* logger = nullptr;

namespace {

using launchlog_report::LogEvent;
using launchlog_report::LogEventKind;

// The launcher of the logs.
constexpr pid_t kLauncher = 181;

bool Has(std::string const& text, std::string const& part) {
    return text.find(part) != std::string::npos;
}

// Returns the message of an event; an empty string if it has no name.
std::string MessageOf(LogEvent const& event) {
    switch (event.kind) {
        case LogEventKind::Start:
            return "Start to fork " + event.name;
        case LogEventKind::FailedFork:
            return "Failed to fork " + event.name;
        case LogEventKind::NoProgram:
            return "program path of " + event.name + " is empty";
        case LogEventKind::End:
            return event.name + " " + event.child +
                   " is killed. ret = " + std::to_string(event.ret) +
                   ", status = " + std::to_string(event.status);
        default:
            return "";
    }
}

bool IsSame(LogEvent const& a, LogEvent const& b) {
    return a.kind == b.kind && a.name == b.name && a.child == b.child && a.ret == b.ret &&
           a.status == b.status && a.process == b.process && a.time == b.time;
}

void CheckLine(std::string const& line) {
    std::optional<LogEvent> const event = launchlog_report::ParseLogLine(line);
    if (!event) {
        Require(!Has(line, "[LAUNCHER  ] "), "a line with the tag is understood");
        return;
    }
    Require(
        Has(line, event->name) && Has(line, event->child) && Has(line, event->process),
        "what the line says stands in it");
    std::string const message = MessageOf(*event);
    if (!message.empty() && event->time) {
        // What stands before the tag keeps the time and the process.
        std::string const head = line.substr(0, line.find("[LAUNCHER  ] "));
        auto const again =
            launchlog_report::ParseLogLine(head + "[LAUNCHER  ] " + message + "\r");
        Require(again && IsSame(*event, *again), "a line made from it says the same");
    }
}

std::vector<std::string> SplitLines(std::string const& log, std::size_t piece) {
    std::vector<std::string> lines;
    launchlog_report::LineSplitter splitter(
        [&lines](std::string const& line, bool is_cut) {
            Require(!is_cut, "no line here is too long");
            lines.push_back(line);
        });
    for (std::size_t at = 0; at < log.size(); at += piece) {
        splitter.Add(log.data() + at, std::min(piece, log.size() - at));
    }
    splitter.Finish();
    return lines;
}

// What the lines of the launcher say, counted here.
struct Counts {
    std::map<std::string, long long> ends;
    std::map<std::string, std::string> links;
    bool has_failed_fork = false;
};

Counts CountLines(std::vector<std::string> const& lines) {
    Counts counts;
    for (std::string const& line : lines) {
        std::optional<LogEvent> const event = launchlog_report::ParseLogLine(line);
        if (!event) {
            continue;
        }
        bool const has_its_id = event->process == std::to_string(kLauncher);
        bool const is_own = has_its_id || event->process.empty();
        bool const is_old = event->time && *event->time < -1000;
        counts.has_failed_fork =
            counts.has_failed_fork || (event->kind == LogEventKind::FailedFork &&
                                       (has_its_id || (is_own && !is_old)));
        if (is_old) {
            continue;
        }
        if (is_own && event->kind == LogEventKind::End) {
            ++counts.ends[event->name];
        }
        if (!is_own && event->kind == LogEventKind::Start) {
            counts.links[event->process] = event->name;
        }
    }
    return counts;
}

// The home of a user whose only log is the input.
class Home {
  public:
    Home() : log(directory.Path() / "Library/Logs/Tamlin/voplog/launcher.log") {
        WriteFile(log, "");
    }

    std::string Path() const { return directory.Path(); }

    void Write(std::string const& text) const {
        std::ofstream(log, std::ios::binary) << text;
    }

    void Append(std::string const& text) const {
        std::ofstream(log, std::ios::binary | std::ios::app) << text;
    }

  private:
    TempDirectory directory;
    std::filesystem::path log;
};

Home const& TheHome() {
    static Home const home;
    return home;
}

void CheckLauncherLog(std::string const& text) {
    std::size_t const half = text.find('\n', text.size() / 2);
    std::string const first = text.substr(0, half == std::string::npos ? 0 : half + 1);
    TheHome().Write(first);
    running::Launcher launcher;
    launcher.process.id = kLauncher;
    launcher.process.user = geteuid() + 1;
    running::LauncherLog log(launcher);
    TheHome().Append(text.substr(first.size()) + "\n");
    log.ReadOn();

    Counts const counts = CountLines(SplitLines(text + "\n", 1));
    Require(log.HasFailedFork() == counts.has_failed_fork, "a failed fork is seen");
    for (auto const& [name, ends] : counts.ends) {
        auto const* const item = log.Find(name);
        Require(item != nullptr && item->Ends() == ends, "all ends of an item count");
    }
    for (auto const& [process, name] : counts.links) {
        if (process.size() < 9 && process[0] != '0') {
            Require(log.ItemOfLink(std::stoi(process)) == name, "the last start counts");
        }
    }
}

}  // namespace

// Stands in for the system's users: all have this home.
passwd* getpwuid(uid_t /*user*/) {
    static std::string home = TheHome().Path();
    static passwd entry = {};
    entry.pw_dir = home.data();
    return &entry;
}

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const text(data, data + size);
    std::vector<std::string> const lines = SplitLines(text, text.size() + 1);
    Require(lines == SplitLines(text, 3), "the lines are the same in any pieces");
    for (std::string const& line : lines) {
        CheckLine(line);
    }
    CheckLauncherLog(text);
    return 0;
}
