#include "tools/launchlog_report/page.h"

#include <json/value.h>

#include <algorithm>
#include <cstdio>
#include <random>

#include "common/json/json_object.h"
#include "tools/common/printable.h"
#include "tools/launchlog_report/json.h"
#include "tools/launchlog_report/page_template.h"

namespace launchlog_report {
namespace {

Json::Value Number(long long number) {
    return static_cast<Json::Int64>(number);
}

Json::Value Counts(CauseCounts const& causes) {
    Json::Value counts(Json::arrayValue);
    for (long long const count : causes) {
        counts.append(Number(count));
    }
    return counts;
}

std::size_t CauseOf(Mark const& mark) {
    std::size_t cause = 0;
    while (mark.causes[cause] == 0) {
        ++cause;
    }
    return cause;
}

// Returns a mark as an array, which is short: the time since the mark before, and how
// long before it the program is known to have run from (null if that is unknown). Then
// for one end its cause, its status and its process; for several the time from the first
// to the last, the counts of the causes, and how long after the first the known run ends.
Json::Value ToArray(Mark const& mark, Time before) {
    Json::Value value(Json::arrayValue);
    value.append(Number(mark.first - before));
    value.append(mark.start ? Number(mark.first - *mark.start) : Json::Value());
    if (mark.Ends() == 1) {
        value.append(static_cast<Json::Int>(CauseOf(mark)));
        value.append(mark.status);
        value.append(mark.process);
    } else {
        value.append(Number(mark.last - mark.first));
        value.append(Counts(mark.causes));
        value.append(Number(mark.until - mark.first));
    }
    return value;
}

// Returns an array of all marks, with the times counted from `from`.
Json::Value ToArray(std::vector<Mark> const& marks, Time from) {
    Json::Value values(Json::arrayValue);
    for (Mark const& mark : marks) {
        values.append(ToArray(mark, from));
        from = mark.first;
    }
    return values;
}

Json::Value ToArray(std::vector<OpenRun> const& runs, Time from) {
    Json::Value values(Json::arrayValue);
    for (OpenRun const& run : runs) {
        Json::Value value(Json::arrayValue);
        value.append(Number(run.from - from));
        value.append(Number(run.to - from));
        values.append(value);
    }
    return values;
}

Json::Value ItemValue(Row const& row, Timeline const& timeline, Time from) {
    Json::Value value = ToValue(row);
    value["shown"] = row.name.empty() ? tools::Quoted("") : tools::Printable(row.name);
    auto const entry = timeline.Items().find(row.name);
    ItemTimeline const item =
        entry == timeline.Items().end() ? ItemTimeline() : entry->second;
    value["causes"] = Counts(item.causes);
    value["marks"] = ToArray(item.marks.List(), from);
    value["open_runs"] = ToArray(item.open_runs, from);
    return value;
}

Json::Value ToValue(LauncherLife const& life) {
    Json::Value value(Json::objectValue);
    value["log"] = static_cast<Json::UInt64>(life.log);
    value["process_id"] = life.process;
    value["first"] = Number(life.first);
    value["last"] = Number(life.last);
    value["stopped"] = life.is_stopped;
    return value;
}

Json::Value MakeDocument(Report const& report, Timeline const& timeline,
                         std::vector<std::string> const& logs) {
    Json::Value document(Json::objectValue);
    Time const last = timeline.LastLine().value_or(report.now);
    Time const from = report.range.since.value_or(
        std::min(timeline.FirstLine().value_or(last), report.now));
    document["from"] = Number(from);
    document["to"] = Number(std::max(report.range.until.value_or(report.now), last));
    document["last_line"] = Number(last);
    document["now"] = Number(report.now);
    document["cut_lines"] = Number(report.cut_lines);
    document["lines_without_time"] = Number(report.lines_without_time);
    document["items"] = Json::Value(Json::arrayValue);
    for (Row const& row : report.items) {
        document["items"].append(ItemValue(row, timeline, from));
    }
    document["launchers"] = Json::Value(Json::arrayValue);
    for (LauncherLife const& life : timeline.Launchers()) {
        document["launchers"].append(ToValue(life));
    }
    document["logs"] = Json::Value(Json::arrayValue);
    for (std::string const& log : logs) {
        document["logs"].append(tools::Printable(log));
    }
    return document;
}

// Returns a JSON text, which is ASCII, without the characters that mean something in
// HTML. They can only be in its strings.
std::string ForHtml(std::string const& json) {
    std::string text;
    for (char const letter : json) {
        if (letter == '<' || letter == '>' || letter == '&') {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", letter);
            text += escaped;
        } else {
            text += letter;
        }
    }
    return text;
}

// Replaces the first `mark` in `text`.
void Fill(std::string& text, std::string const& mark, std::string const& value) {
    text.replace(text.find(mark), mark.size(), value);
}

// Returns a number that nobody can know who writes a log.
std::string RandomNumber() {
    std::random_device random;
    std::string text;
    for (int i = 0; i < 4; ++i) {
        char digits[16];
        std::snprintf(digits, sizeof digits, "%08x", static_cast<unsigned>(random()));
        text += digits;
    }
    return text;
}

}  // namespace

std::string ToPage(Report const& report, Timeline const& timeline,
                   std::vector<std::string> const& logs) {
    std::string page = kPageTemplate;
    std::string const number = RandomNumber();
    Fill(page, "{{policy}}",
         "default-src 'none'; script-src 'nonce-" + number + "'; style-src 'nonce-" +
             number +
             "'; base-uri 'none'; form-action 'none'; require-trusted-types-for "
             "'script'; trusted-types");
    Fill(page, "{{style number}}", number);
    Fill(page, "{{script number}}", number);
    Json::Value document = MakeDocument(report, timeline, logs);
    Fill(page, "{{report}}", ForHtml(JsonObject(document).ToText()));
    return page;
}

}  // namespace launchlog_report
