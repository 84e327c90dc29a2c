#include "tools/launchlist_check/output.h"

#include <json/value.h>

#include "common/json/json_object.h"
#include "tools/common/printable.h"
#include "tools/launchlist_check/message.h"

namespace launchlist_check {

namespace {

char const* Word(Severity severity) {
    switch (severity) {
        case Severity::Error:
            return "error";
        case Severity::Warning:
            return "warning";
        case Severity::Note:
            break;
    }
    return "note";
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

// Returns the number for people: "99,980".
std::string Digits(std::size_t number) {
    std::string digits = std::to_string(number);
    for (std::size_t i = digits.size(); i > 3; i -= 3) {
        digits.insert(i - 3, ",");
    }
    return digits;
}

// "1 error", "2 errors".
std::string Amount(std::size_t number, std::string const& what) {
    return Digits(number) + " " + what + (number == 1 ? "" : "s");
}

std::string ToLine(std::string const& label, Finding const& finding) {
    std::string about;
    if (!finding.subject.item.empty()) {
        about = "item " + Quote(finding.subject.item);
        if (!finding.subject.name.empty()) {
            about += " (" + Shorten(finding.subject.name) + ")";
        }
        about += ": ";
    }
    return tools::Printable(label) + ":" + std::to_string(finding.position.line) + ":" +
           std::to_string(finding.position.column) + ": " + Word(finding.severity) +
           ": " + tools::Printable(about + finding.message) + " [" + finding.kind + "]\n";
}

std::string Verdict(Findings const& findings, std::size_t programs, bool is_strict) {
    std::size_t const errors = findings.Count(Severity::Error);
    std::size_t const warnings = findings.Count(Severity::Warning);
    bool const is_ok = errors == 0 && (warnings == 0 || !is_strict);
    std::string verdict = is_ok ? "ok, " + Amount(programs, "program") : "";
    if (errors > 0) {
        verdict += Amount(errors, "error");
    }
    if (warnings > 0) {
        verdict += (verdict.empty() ? "" : ", ") + Amount(warnings, "warning");
    }
    return verdict;
}

Json::Value ToValue(Finding const& finding) {
    Json::Value value(Json::objectValue);
    value["severity"] = Word(finding.severity);
    value["kind"] = finding.kind;
    value["message"] = tools::Printable(finding.message);
    value["line"] = finding.position.line;
    value["column"] = finding.position.column;
    if (!finding.subject.item.empty()) {
        value["item"] = finding.subject.item;
    }
    if (!finding.subject.name.empty()) {
        value["name"] = tools::ToUtf8(finding.subject.name);
    }
    return value;
}

Json::Value ToNumber(std::size_t number) {
    return static_cast<Json::UInt64>(number);
}

Json::Value ToValue(CheckedFile const& file) {
    Findings const& findings = file.result.findings;
    Json::Value value(Json::objectValue);
    value["file"] = tools::ToUtf8(file.label);
    value["outcome"] = Word(file.result.outcome);
    value["programs"] = ToNumber(file.result.programs);
    value["errors"] = ToNumber(findings.Count(Severity::Error));
    value["warnings"] = ToNumber(findings.Count(Severity::Warning));
    value["counts"] = Json::Value(Json::objectValue);
    for (auto const& [kind, count] : findings.Counts()) {
        Json::Value& sum = value["counts"][kind.first];
        sum = sum.asUInt64() + count;
    }
    value["findings"] = Json::Value(Json::arrayValue);
    for (Finding const& finding : findings.InOrder()) {
        value["findings"].append(ToValue(finding));
    }
    return value;
}

}  // namespace

std::string ToLines(CheckedFile const& file, bool is_strict) {
    Findings const& findings = file.result.findings;
    std::string lines;
    for (Finding const& finding : findings.InOrder()) {
        lines += ToLine(file.label, finding);
    }
    for (auto const& [kind, count] : findings.LeftOut()) {
        lines += tools::Printable(file.label) + ": ... and " + Digits(count) + " more " +
                 Word(kind.second) + (count == 1 ? "" : "s") + " [" + kind.first +
                 "]; --all shows them\n";
    }
    return lines + tools::Printable(file.label) + ": " +
           Verdict(findings, file.result.programs, is_strict) + "\n";
}

std::string ToJson(std::vector<CheckedFile> const& files) {
    Json::Value document(Json::objectValue);
    document["files"] = Json::Value(Json::arrayValue);
    for (CheckedFile const& file : files) {
        document["files"].append(ToValue(file));
    }
    return JsonObject(document).ToText() + "\n";
}

}  // namespace launchlist_check
