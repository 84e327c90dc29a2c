#include "tools/launchlog_report/output.h"

#include <json/value.h>

#include <algorithm>
#include <cstddef>

#include "common/json/json_object.h"
#include "tools/shared/printable.h"

namespace {

using Cells = std::vector<std::string>;

Json::Value TimeOrNull(std::optional<Time> const& time) {
    return time ? Json::Value(FormatTime(*time)) : Json::Value();
}

Cells ToCells(Row const& row) {
    std::string const no_value = "-";
    return {(row.RestartsOften() ? "! " : "  ") + Printable(row.name),
            std::to_string(row.restarts),
            row.restarts_per_minute ? std::to_string(*row.restarts_per_minute) : no_value,
            row.first_end ? FormatTime(*row.first_end) : no_value,
            row.last_end ? FormatTime(*row.last_end) : no_value,
            DescribeLastStatus(row)};
}

// Returns the cells of each line, padded to their columns. Numbers stand on the right.
std::string Align(std::vector<Cells> const& lines) {
    std::vector<std::size_t> widths(lines[0].size());
    for (Cells const& cells : lines) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            widths[i] = std::max(widths[i], CountCharacters(cells[i]));
        }
    }
    std::string text;
    for (Cells const& cells : lines) {
        for (std::size_t i = 0; i < cells.size(); ++i) {
            bool const is_last = i + 1 == cells.size();
            bool const is_number = i == 1 || i == 2;
            std::string const padding(is_last ? 0 : widths[i] - CountCharacters(cells[i]),
                                      ' ');
            text += is_number ? padding + cells[i] : cells[i] + padding;
            text += is_last ? "\n" : "  ";
        }
    }
    return text;
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

Json::Value ToValue(Row const& row) {
    Json::Value value(Json::objectValue);
    value["name"] = row.name;
    value["ends"] = static_cast<Json::Int64>(row.ends);
    value["restarts"] = static_cast<Json::Int64>(row.restarts);
    value["restarts_per_minute"] =
        row.restarts_per_minute
            ? Json::Value(static_cast<Json::Int64>(*row.restarts_per_minute))
            : Json::Value();
    value["restarts_often"] = row.RestartsOften();
    value["first_end"] = TimeOrNull(row.first_end);
    value["last_end"] = TimeOrNull(row.last_end);
    value["last_status"] = row.last_status ? ToValue(*row.last_status) : Json::Value();
    value["last_status_text"] = DescribeLastStatus(row);
    value["given_up"] = row.given_up;
    return value;
}

}  // namespace

std::string ToTable(std::vector<Row> const& rows) {
    if (rows.empty()) {
        return "no program has ended\n";
    }
    std::vector<Cells> lines = {
        {"  NAME", "RESTARTS", "PER MINUTE", "FIRST END", "LAST END", "LAST STATUS"}};
    bool is_one_marked = false;
    for (Row const& row : rows) {
        lines.push_back(ToCells(row));
        is_one_marked = is_one_marked || row.RestartsOften();
    }
    return Align(lines) +
           (is_one_marked ? "! more than ten restarts in the last minute\n" : "");
}

std::string ToJson(std::vector<Row> const& rows) {
    Json::Value document(Json::objectValue);
    document["items"] = Json::Value(Json::arrayValue);
    for (Row const& row : rows) {
        document["items"].append(ToValue(row));
    }
    return JsonObject(document).ToText() + "\n";
}
