#include "tools/launchlist_check/output.h"

#include <json/value.h>

#include <algorithm>

#include "common/json/json_object.h"
#include "tools/shared/printable.h"

namespace {

char const* Keyword(Severity severity) {
    return severity == Severity::Error ? "error" : "warning";
}

char const* Word(Outcome outcome) {
    switch (outcome) {
        case Outcome::Runs:
            return "runs";
        case Outcome::Exits:
            return "exits";
        case Outcome::KillsGroup:
            return "kills-group";
        case Outcome::Aborts:
            return "aborts";
        case Outcome::Hangs:
            return "hangs";
        case Outcome::Unknown:
            break;
    }
    return "unknown";
}

std::string ToLine(std::string const& label, Finding const& finding) {
    std::string line = Printable(label) + ":";
    if (finding.line > 0) {
        line += std::to_string(finding.line) + ":" + std::to_string(finding.column) + ":";
    }
    line += " ";
    if (!finding.item.empty()) {
        line += "item " + Quoted(finding.item);
        if (!finding.name.empty()) {
            line += " (" + Printable(finding.name) + ")";
        }
        line += ": ";
    }
    return line + Keyword(finding.severity) + ": " + finding.message + " [" +
           finding.kind + "]\n";
}

Json::Value ToValue(Finding const& finding) {
    Json::Value value(Json::objectValue);
    value["severity"] = Keyword(finding.severity);
    value["kind"] = finding.kind;
    value["message"] = finding.message;
    if (!finding.item.empty()) {
        value["item"] = finding.item;
    }
    if (!finding.name.empty()) {
        value["name"] = finding.name;
    }
    if (finding.line > 0) {
        value["line"] = finding.line;
        value["column"] = finding.column;
    }
    return value;
}

Json::Value ToValue(CheckedFile const& file) {
    Findings const& findings = file.result.findings;
    Json::Value value(Json::objectValue);
    value["file"] = file.label;
    value["outcome"] = Word(file.result.outcome);
    value["programs"] = file.result.programs;
    value["errors"] = Count(findings, Severity::Error);
    value["warnings"] = Count(findings, Severity::Warning);
    value["findings"] = Json::Value(Json::arrayValue);
    for (Finding const& finding : findings) {
        value["findings"].append(ToValue(finding));
    }
    return value;
}

}  // namespace

int Count(Findings const& findings, Severity severity) {
    return static_cast<int>(std::count_if(
        findings.begin(), findings.end(),
        [severity](Finding const& finding) { return finding.severity == severity; }));
}

std::string ToLines(std::vector<CheckedFile> const& files) {
    std::string lines;
    for (CheckedFile const& file : files) {
        for (Finding const& finding : file.result.findings) {
            lines += ToLine(file.label, finding);
        }
        if (file.result.findings.empty()) {
            lines += (files.size() > 1 ? Printable(file.label) + ": " : "") +
                     "ok: " + std::to_string(file.result.programs) + " programs\n";
        }
    }
    return lines;
}

std::string ToJson(std::vector<CheckedFile> const& files) {
    Json::Value document(Json::objectValue);
    document["files"] = Json::Value(Json::arrayValue);
    for (CheckedFile const& file : files) {
        document["files"].append(ToValue(file));
    }
    return JsonObject(document).ToText() + "\n";
}
