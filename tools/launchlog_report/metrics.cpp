#include "tools/launchlog_report/metrics.h"

#include <json/reader.h>
#include <json/value.h>

#include <cstddef>
#include <cstdio>
#include <cstdlib>
#include <sstream>
#include <string_view>

#include "common/json/json_object.h"
#include "tools/common/text.h"

namespace launchlog_report {
namespace {

constexpr std::string_view kFirstLine =
    "# Written by launchlog-report, which reads its totals and its positions in the logs "
    "from here.";
constexpr std::string_view kPosition = "# position ";
constexpr std::string_view kGivenUp = "# given up ";
constexpr std::string_view kEnds = "launcher_item_ends_total";
constexpr std::string_view kRestarts = "launcher_item_restarts_total";
constexpr std::string_view kLastEnd = "launcher_item_last_end_timestamp_seconds";
constexpr std::string_view kNotUnderstood = "launcher_log_lines_not_understood_total";

// Returns the text as the value of a label.
std::string Quoted(std::string const& text) {
    std::string quoted = "\"";
    for (char const letter : text) {
        if (letter == '\n') {
            quoted += "\\n";
        } else {
            quoted += letter == '"' || letter == '\\' ? "\\" : "";
            quoted += letter;
        }
    }
    return quoted + "\"";
}

std::string Header(std::string_view name, char const* type, char const* help) {
    std::string const text(name);
    return "# HELP " + text + " " + help + "\n# TYPE " + text + " " + type + "\n";
}

std::string Sample(std::string_view name, std::string const& labels,
                   std::string const& value) {
    return std::string(name) + labels + " " + value + "\n";
}

std::string Sample(std::string_view name, std::string const& labels, long long value) {
    return Sample(name, labels, std::to_string(value));
}

std::string Label(std::string const& item) {
    return "{item=" + Quoted(item) + "}";
}

// Returns milliseconds as seconds.
std::string Seconds(Time time) {
    char text[32];
    std::snprintf(text, sizeof text, "%lld.%03lld", time / 1000, time % 1000);
    return text;
}

std::string Counters(Totals const& totals) {
    std::string ends = Header(kEnds, "counter", "Ends of the item's program, by cause.");
    std::string restarts =
        Header(kRestarts, "counter", "Restarts of the item's program.");
    std::string last_ends = Header(kLastEnd, "gauge",
                                   "When the item's program last ended, in seconds since "
                                   "1970. Missing if it never ended.");
    for (auto const& [name, item] : totals.items) {
        for (std::size_t i = 0; i < kCauses; ++i) {
            if (static_cast<Cause>(i) != Cause::Stop) {
                std::string const cause = CauseName(static_cast<Cause>(i));
                ends +=
                    Sample(kEnds, "{item=" + Quoted(name) + ",cause=\"" + cause + "\"}",
                           item.ends[i]);
            }
        }
        restarts += Sample(kRestarts, Label(name), item.restarts);
        if (item.last_end) {
            last_ends += Sample(kLastEnd, Label(name), Seconds(*item.last_end));
        }
    }
    return ends + restarts + last_ends;
}

std::string Gauge(Metrics const& metrics, Totals const& totals, char const* name,
                  char const* help, bool ItemState::*state) {
    std::string text = Header(name, "gauge", help);
    for (auto const& [item, ignored] : totals.items) {
        auto const entry = metrics.states.find(item);
        bool const is_true = entry != metrics.states.end() && entry->second.*state;
        text += Sample(name, Label(item), is_true ? 1 : 0);
    }
    return text;
}

std::string PositionLines(std::map<std::string, Position> const& positions) {
    std::string text;
    for (auto const& [log, position] : positions) {
        Json::Value value(Json::objectValue);
        value["log"] = log;
        value["hash"] = std::to_string(position.hash);
        if (position.time) {
            value["time"] = static_cast<Json::Int64>(*position.time);
        }
        text += std::string(kPosition) + JsonObject(value).ToText() + "\n";
    }
    return text;
}

std::string GivenUpLines(std::map<std::string, GivenUpItems> const& logs) {
    std::string text;
    for (auto const& [log, given_up] : logs) {
        Json::Value value(Json::objectValue);
        value["log"] = log;
        value["newest_launcher"] = given_up.newest_launcher;
        value["items"] = Json::Value(Json::objectValue);
        for (auto const& [name, item] : given_up.items) {
            Json::Value& added = value["items"][name];
            added["launcher"] = item.launcher;
            if (item.time) {
                added["time"] = static_cast<Json::Int64>(*item.time);
            }
        }
        text += std::string(kGivenUp) + JsonObject(value).ToText() + "\n";
    }
    return text;
}

// Takes the value of a label off the beginning of `text`, with its quotation marks.
std::optional<std::string> TakeQuoted(std::string_view& text) {
    std::string value;
    std::size_t i = 1;
    while (i < text.size() && text[i] != '"') {
        bool const is_escaped = text[i] == '\\' && i + 1 < text.size();
        i += is_escaped ? 1 : 0;
        value += is_escaped && text[i] == 'n' ? '\n' : text[i];
        ++i;
    }
    if (i >= text.size() || text.front() != '"') {
        return std::nullopt;
    }
    text.remove_prefix(i + 1);
    return value;
}

// Takes the beginning off `text`, if it is that.
bool Take(std::string_view& text, std::string_view beginning) {
    bool const is_there = tools::BeginsWith(text, beginning);
    text.remove_prefix(is_there ? beginning.size() : 0);
    return is_there;
}

bool ReadEnds(std::string_view text, ItemTotals& item) {
    if (!Take(text, ",cause=")) {
        return false;
    }
    std::optional<std::string> const cause = TakeQuoted(text);
    std::optional<long long> const number =
        Take(text, "} ") ? tools::TakeNumber(text) : std::nullopt;
    for (std::size_t i = 0; cause && number && i < kCauses; ++i) {
        if (*cause == CauseName(static_cast<Cause>(i))) {
            item.ends[i] = *number;
            return text.empty();
        }
    }
    return false;
}

bool ReadLastEnd(std::string_view text, ItemTotals& item) {
    std::optional<long long> const seconds = tools::TakeNumber(text);
    std::optional<long long> const rest =
        Take(text, ".") ? tools::TakeNumber(text) : std::nullopt;
    if (seconds && rest) {
        item.last_end = *seconds * 1000 + *rest;
    }
    return item.last_end && text.empty();
}

bool ReadRestarts(std::string_view text, ItemTotals& item) {
    std::optional<long long> const number = tools::TakeNumber(text);
    item.restarts = number.value_or(0);
    return number && text.empty();
}

// Returns the JSON object in the text. If the text has no object, or the object does not
// name a log, returns an empty one.
Json::Value ReadObject(std::string_view text) {
    Json::Value value;
    std::istringstream stream{std::string(text)};
    std::string errors;
    bool const is_json =
        Json::parseFromStream(Json::CharReaderBuilder(), stream, &value, &errors);
    bool const is_about_log = is_json && value.isObject() && value["log"].isString();
    return is_about_log ? value : Json::Value(Json::objectValue);
}

std::optional<Time> TimeIn(Json::Value const& value) {
    return value["time"].isInt64() ? std::optional<Time>(value["time"].asInt64())
                                   : std::nullopt;
}

bool ReadPosition(std::string_view text, std::map<std::string, Position>& positions) {
    Json::Value const value = ReadObject(text);
    if (!value["hash"].isString()) {
        return false;
    }
    positions[value["log"].asString()] = {
        std::strtoull(value["hash"].asCString(), nullptr, 10), TimeIn(value)};
    return true;
}

bool ReadGivenUp(std::string_view text, std::map<std::string, GivenUpItems>& logs) {
    Json::Value const value = ReadObject(text);
    Json::Value const& items = value["items"];
    if (!value["newest_launcher"].isString() || !items.isObject()) {
        return false;
    }
    GivenUpItems& given_up = logs[value["log"].asString()];
    given_up.newest_launcher = value["newest_launcher"].asString();
    for (std::string const& name : items.getMemberNames()) {
        Json::Value const& item = items[name];
        if (!item.isObject() || !item["launcher"].isString()) {
            return false;
        }
        given_up.items[name] = {item["launcher"].asString(), TimeIn(item)};
    }
    return true;
}

bool ReadSample(std::string_view line, Carried& carried) {
    if (Take(line, kPosition)) {
        return ReadPosition(line, carried.positions);
    }
    if (Take(line, kGivenUp)) {
        return ReadGivenUp(line, carried.given_up);
    }
    if (Take(line, kNotUnderstood)) {
        std::optional<long long> const number =
            Take(line, " ") ? tools::TakeNumber(line) : std::nullopt;
        carried.totals.lines_not_understood = number.value_or(0);
        return number.has_value();
    }
    std::string_view name = line.substr(0, line.find('{'));
    if (name != kEnds && name != kRestarts && name != kLastEnd) {
        return true;
    }
    line.remove_prefix(name.size());
    std::optional<std::string> const item =
        Take(line, "{item=") ? TakeQuoted(line) : std::nullopt;
    if (!item) {
        return false;
    }
    ItemTotals& totals = carried.totals.items[*item];
    if (name == kEnds) {
        return ReadEnds(line, totals);
    }
    return Take(line, "} ") &&
           (name == kRestarts ? ReadRestarts(line, totals) : ReadLastEnd(line, totals));
}

}  // namespace

std::string ToText(Metrics const& metrics) {
    Totals totals = metrics.counted.totals;
    for (auto const& [name, state] : metrics.states) {
        totals.items.try_emplace(name);
    }
    return std::string(kFirstLine) + "\n" +
           Header("launcher_up", "gauge", "Whether a launcher runs.") +
           Sample("launcher_up", "", metrics.is_launcher_up ? 1 : 0) + Counters(totals) +
           Gauge(metrics, totals, "launcher_item_running",
                 "Whether the item's program runs.", &ItemState::is_running) +
           Gauge(metrics, totals, "launcher_item_given_up",
                 "Whether the newest launcher has given the item up, because a fork "
                 "failed.",
                 &ItemState::is_given_up) +
           Gauge(metrics, totals, "launcher_item_without_program",
                 "Whether the item has no program.", &ItemState::has_no_program) +
           Gauge(
               metrics, totals, "launcher_item_chain",
               "Whether the item makes a chain of processes, because its program cannot "
               "be executed.",
               &ItemState::is_chain) +
           Header(kNotUnderstood, "counter",
                  "Lines of the logs that are not a launcher's.") +
           Sample(kNotUnderstood, "", totals.lines_not_understood) +
           PositionLines(metrics.counted.positions) +
           GivenUpLines(metrics.counted.given_up);
}

std::string WrittenAt(Time time) {
    constexpr std::string_view name = "launcher_metrics_written_timestamp_seconds";
    return Header(name, "gauge", "When this was written, in seconds since 1970.") +
           Sample(name, "", Seconds(time));
}

std::optional<Carried> ReadMetrics(std::string const& text) {
    Carried carried;
    if (text.empty()) {
        return carried;
    }
    std::istringstream lines(text);
    std::string line;
    if (!std::getline(lines, line) || line != kFirstLine) {
        return std::nullopt;
    }
    while (std::getline(lines, line)) {
        if (!ReadSample(line, carried)) {
            return std::nullopt;
        }
    }
    return carried;
}

}  // namespace launchlog_report
