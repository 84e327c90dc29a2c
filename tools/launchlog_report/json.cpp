#include "tools/launchlog_report/json.h"

#include <json/value.h>

#include <optional>
#include <vector>

#include "common/json/json_object.h"
#include "tools/common/printable.h"

namespace launchlog_report {
namespace {

Json::Value NumberOrNull(std::optional<long long> const& number) {
    return number ? Json::Value(static_cast<Json::Int64>(*number)) : Json::Value();
}

Json::Value TimeOrNull(std::optional<Time> const& time) {
    return time ? Json::Value(FormatTime(*time)) : Json::Value();
}

Json::Value TextOrNull(std::string const& text) {
    return text.empty() ? Json::Value() : Json::Value(text);
}

Json::Value ToValue(ProgramEnd const& end) {
    Json::Value value(Json::objectValue);
    value["wait_status"] = static_cast<Json::Int64>(end.wait_status);
    if (end.exit_code) {
        value["exit_code"] = *end.exit_code;
    }
    if (end.signal) {
        value["signal"] = *end.signal;
        value["signal_name"] = SignalName(*end.signal);
        value["core_dumped"] = end.core_dumped;
    }
    return value;
}

Json::Value ToValue(LauncherLines const& lines) {
    Json::Value value(Json::objectValue);
    value["process_id"] = TextOrNull(lines.process);
    value["first_line"] = TimeOrNull(lines.first);
    value["last_line"] = TimeOrNull(lines.last);
    value["items_without_name"] = static_cast<Json::Int64>(lines.items_without_name);
    value["list_failed"] = lines.list_failed;
    return value;
}

template <typename Value>
Json::Value ToArray(std::vector<Value> const& values) {
    Json::Value array(Json::arrayValue);
    for (Value const& value : values) {
        array.append(ToValue(value));
    }
    return array;
}

}  // namespace

Json::Value ToValue(Row const& row) {
    Json::Value value(Json::objectValue);
    value["name"] = tools::ToUtf8(row.name);
    value["ends"] = static_cast<Json::Int64>(row.ends);
    value["restarts"] = static_cast<Json::Int64>(row.restarts);
    value["restarts_per_minute"] = NumberOrNull(row.restarts_per_minute);
    value["restarts_often"] = row.RestartsOften();
    value["first_end"] = TimeOrNull(row.first_end);
    value["last_end"] = TimeOrNull(row.last_end);
    value["last_status"] = row.last_status ? ToValue(*row.last_status) : Json::Value();
    value["last_status_text"] = DescribeLastStatus(row);
    value["given_up"] = row.given_up;
    value["no_program"] = row.no_program;
    value["chain"] = row.chain;
    value["chain_processes"] = NumberOrNull(row.chain_processes);
    value["marked"] = row.IsMarked();
    value["last_line"] = TimeOrNull(row.last_line);
    return value;
}

std::string ToJson(Report const& report) {
    Json::Value document(Json::objectValue);
    document["items"] = ToArray(report.items);
    document["launchers"] = ToArray(report.launchers);
    document["cut_lines"] = static_cast<Json::Int64>(report.cut_lines);
    document["lines_without_time"] = static_cast<Json::Int64>(report.lines_without_time);
    document["since"] = TimeOrNull(report.range.since);
    document["until"] = TimeOrNull(report.range.until);
    return JsonObject(document).ToText() + "\n";
}

std::string ToJson(ProgramRunEnd const& end) {
    Json::Value value(Json::objectValue);
    value["name"] = tools::ToUtf8(end.item);
    value["time"] = end.time ? Json::Value(FormatExactTime(*end.time)) : Json::Value();
    value["cause"] = CauseName(end.cause);
    value["status"] = end.status ? ToValue(*end.status) : Json::Value();
    value["status_text"] = DescribeStatus(end.status);
    value["process_id"] = TextOrNull(end.process);
    value["launcher_process_id"] = TextOrNull(end.launcher);
    value["uptime_ms"] = NumberOrNull(end.uptime);
    return JsonObject(value).ToText() + "\n";
}

}  // namespace launchlog_report
