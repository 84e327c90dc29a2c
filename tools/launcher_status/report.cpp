#include "tools/launcher_status/report.h"

#include <json/value.h>

#include <algorithm>
#include <cstdio>

#include "common/json/json_object.h"
#include "tools/common/printable.h"
#include "tools/launchlog_report/time_stamp.h"

namespace launcher_status {

namespace {

using running::ItemStatus;
using running::State;

using Cells = std::vector<std::string>;

constexpr std::size_t kGap = 2;
// The columns that hold numbers.
constexpr std::size_t kFirstNumber = 4;
constexpr std::size_t kLastNumber = 6;

Cells const& Titles() {
    static Cells const titles = {"  ITEM", "STATE",  "PID",      "SINCE",
                                 "CPU",    "MEMORY", "RESTARTS", "LAST END"};
    return titles;
}

// Returns "0.05 s", "59.99 s", "12:05" or "100:00:01".
std::string CpuTime(long long milliseconds) {
    char text[32];
    long long const seconds = milliseconds / 1000;
    if (seconds < 60) {
        std::snprintf(text, sizeof text, "%lld.%02lld s", seconds,
                      milliseconds % 1000 / 10);
    } else if (seconds < 3600) {
        std::snprintf(text, sizeof text, "%lld:%02lld", seconds / 60, seconds % 60);
    } else {
        std::snprintf(text, sizeof text, "%lld:%02lld:%02lld", seconds / 3600,
                      seconds / 60 % 60, seconds % 60);
    }
    return text;
}

// Returns "812 KiB" or "12.5 MiB".
std::string Memory(long long bytes) {
    char text[32];
    constexpr long long kMebibyte = 1LL << 20U;
    if (bytes < kMebibyte) {
        std::snprintf(text, sizeof text, "%lld KiB", bytes / 1024);
    } else {
        std::snprintf(text, sizeof text, "%.1f MiB",
                      static_cast<double>(bytes) / static_cast<double>(kMebibyte));
    }
    return text;
}

std::string StateText(ItemStatus const& item) {
    return item.state == State::Chain
               ? "in a chain of " + std::to_string(item.links) + " processes"
               : Describe(item.state);
}

char const* Mark(State state) {
    return state == State::Running ? "  " : state == State::Unknown ? "? " : "! ";
}

std::string NameText(std::string const& name) {
    return name.empty() ? tools::Quoted("") : tools::Printable(name);
}

Cells CellsOf(ItemStatus const& item, ItemLog const* log) {
    bool const has_process = item.process.id > 0;
    bool const has_sums = has_process || item.links > 0;
    return {Mark(item.state) + NameText(item.item.name),
            StateText(item),
            has_process ? (item.is_certain ? "" : "~") + std::to_string(item.process.id)
                        : "-",
            has_process ? launchlog_report::FormatTime(item.process.start_time) : "-",
            has_sums ? CpuTime(item.cpu_time) : "-",
            has_sums ? Memory(item.memory) : "-",
            log != nullptr ? std::to_string(log->restarts) : "0",
            log != nullptr && !log->last_end.empty() ? log->last_end : "-"};
}

std::string Align(std::vector<Cells> const& lines) {
    std::vector<std::size_t> widths(Titles().size());
    for (Cells const& cells : lines) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            widths[i] = std::max(widths[i], tools::CountColumns(cells[i]));
        }
    }
    std::string text;
    for (Cells const& cells : lines) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            std::string const padding(widths[i] - tools::CountColumns(cells[i]), ' ');
            bool const is_number = i >= kFirstNumber && i <= kLastNumber;
            bool const is_last = i + 1 == cells.size();
            text += is_number ? padding + cells[i] : cells[i] + (is_last ? "" : padding);
            text += is_last ? "\n" : std::string(kGap, ' ');
        }
    }
    return text;
}

std::string Paragraph(LauncherReport const& report) {
    running::Launcher const& launcher = report.launcher;
    std::string text = "launcher " + std::to_string(launcher.process.id) + " (" +
                       tools::Printable(launcher.name) + "), list " +
                       tools::Printable(launcher.list) + ", since " +
                       launchlog_report::FormatTime(launcher.process.start_time) + "\n";
    if (launcher.process.is_stopped) {
        text += "it is suspended: it does not start programs again, and does not stop\n";
    }
    for (std::string const& line : {report.problem, report.note}) {
        text += line.empty() ? "" : line + "\n";
    }
    std::vector<Cells> lines = {Titles()};
    bool is_certain = true;
    for (ItemStatus const& item : report.status.items) {
        auto const log = report.logs.find(item.item.name);
        lines.push_back(CellsOf(item, log == report.logs.end() ? nullptr : &log->second));
        is_certain = is_certain && item.is_certain;
    }
    return text + (lines.size() > 1 ? Align(lines) : "it has no items\n") +
           (is_certain ? "" : "~ perhaps the process of another item with \"~\"\n");
}

std::string Paragraph(Leftovers const& left) {
    std::string text =
        "left behind by a launcher that died, list " + tools::Printable(left.list) + "\n";
    std::vector<Cells> lines = {Titles()};
    for (ItemStatus const& item : left.items) {
        lines.push_back(CellsOf(item, nullptr));
    }
    text += left.items.empty() ? "" : Align(lines);
    return text + (left.links == 0
                       ? ""
                       : "! " + std::to_string(left.links) + " processes of chains\n");
}

std::string Cut(std::string const& text, std::optional<std::size_t> columns) {
    std::string cut;
    for (std::size_t at = 0; at < text.size();) {
        std::size_t const end = text.find('\n', at);
        std::string const line = text.substr(at, end - at);
        cut += (columns ? tools::CutToColumns(line, *columns) : line) + "\n";
        at = end + 1;
    }
    return cut;
}

Json::Value TimeValue(long long time) {
    return launchlog_report::FormatTime(time);
}

Json::Value ToValue(ItemStatus const& item, ItemLog const* log) {
    static std::map<State, char const*> const words = {
        {State::Running, "running"},      {State::Waiting, "waiting"},
        {State::Chain, "chain"},          {State::GivenUp, "given_up"},
        {State::NoProgram, "no_program"}, {State::LeftBehind, "left_behind"},
        {State::Unknown, "unknown"}};
    bool const has_process = item.process.id > 0;
    Json::Value value(Json::objectValue);
    value["name"] = tools::ToUtf8(item.item.name);
    value["state"] = words.at(item.state);
    value["pid"] = has_process ? Json::Value(item.process.id) : Json::Value();
    value["pid_certain"] = item.is_certain;
    value["since"] = has_process ? TimeValue(item.process.start_time) : Json::Value();
    value["cpu_milliseconds"] = static_cast<Json::Int64>(item.cpu_time);
    value["memory_bytes"] = static_cast<Json::Int64>(item.memory);
    value["chain_processes"] = static_cast<Json::UInt64>(item.links);
    value["restarts"] = static_cast<Json::Int64>(log != nullptr ? log->restarts : 0);
    value["last_end"] = log != nullptr && !log->last_end.empty()
                            ? Json::Value(log->last_end)
                            : Json::Value();
    return value;
}

Json::Value ToValue(LauncherReport const& report) {
    running::Launcher const& launcher = report.launcher;
    Json::Value value(Json::objectValue);
    value["pid"] = launcher.process.id;
    value["name"] = tools::ToUtf8(launcher.name);
    value["list"] = tools::ToUtf8(launcher.list);
    value["since"] = TimeValue(launcher.process.start_time);
    value["suspended"] = launcher.process.is_stopped;
    value["problem"] =
        report.problem.empty() ? Json::Value() : Json::Value(report.problem);
    value["note"] = report.note.empty() ? Json::Value() : Json::Value(report.note);
    value["not_running"] = static_cast<Json::UInt64>(report.status.not_running);
    value["items"] = Json::Value(Json::arrayValue);
    for (ItemStatus const& item : report.status.items) {
        auto const log = report.logs.find(item.item.name);
        value["items"].append(
            ToValue(item, log == report.logs.end() ? nullptr : &log->second));
    }
    return value;
}

Json::Value ToValue(Leftovers const& left) {
    Json::Value value(Json::objectValue);
    value["list"] = tools::ToUtf8(left.list);
    value["chain_processes"] = static_cast<Json::UInt64>(left.links);
    value["items"] = Json::Value(Json::arrayValue);
    for (ItemStatus const& item : left.items) {
        value["items"].append(ToValue(item, nullptr));
    }
    return value;
}

}  // namespace

int ExitCodeOf(Report const& report) {
    if (report.launchers.empty()) {
        return 3;
    }
    bool is_unknown = false;
    for (LauncherReport const& launcher : report.launchers) {
        if (launcher.status.not_running > 0) {
            return 1;
        }
        std::vector<ItemStatus> const& items = launcher.status.items;
        is_unknown = is_unknown || !launcher.problem.empty() ||
                     std::any_of(items.begin(), items.end(), [](ItemStatus const& item) {
                         return item.state == State::Unknown;
                     });
    }
    return is_unknown ? 4 : 0;
}

std::string ToTable(Report const& report, launchlog_report::Space const& space) {
    std::string text;
    for (LauncherReport const& launcher : report.launchers) {
        text += (text.empty() ? "" : "\n") + Paragraph(launcher);
    }
    text += report.launchers.empty() ? "no launcher is running\n" : "";
    for (Leftovers const& left : report.left) {
        text += "\n" + Paragraph(left);
    }
    return Cut(text, space.columns);
}

std::string ToJson(Report const& report) {
    Json::Value document(Json::objectValue);
    document["launchers"] = Json::Value(Json::arrayValue);
    for (LauncherReport const& launcher : report.launchers) {
        document["launchers"].append(ToValue(launcher));
    }
    document["left_behind"] = Json::Value(Json::arrayValue);
    for (Leftovers const& left : report.left) {
        document["left_behind"].append(ToValue(left));
    }
    return JsonObject(document).ToText() + "\n";
}

}  // namespace launcher_status
