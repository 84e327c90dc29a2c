#include "tools/launchlist_check/list_check.h"

#include <json/reader.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <utility>
#include <vector>

#include "tools/launchlist_check/item_keys.h"
#include "tools/launchlist_check/list_file.h"
#include "tools/launchlist_check/list_report.h"
#include "tools/launchlist_check/list_walk.h"
#include "tools/launchlist_check/message.h"
#include "tools/launchlist_check/read_values.h"
#include "tools/launchlist_check/source_text.h"

namespace launchlist_check {

namespace {

// A million items have fewer. The parser takes about 100 bytes of memory for each value.
constexpr std::size_t kMostValues = 8'000'000;

std::string const kEnds = "the launcher ends with exit code 0";

class ListCheck {
  public:
    ListCheck(std::string_view bytes, CheckOptions const& check_options)
        : whole(bytes),
          text(bytes.substr(0, bytes.find('\0'))),
          options(check_options),
          positions(bytes),
          report(positions, check_options.most_of_a_kind) {}

    CheckResult Check() {
        Outcome const outcome = CheckText();
        return {std::move(report.findings), walk.programs, outcome};
    }

  private:
    void AddError(std::string const& kind, std::size_t offset, std::string const& message,
                  Subject const& subject = {}) {
        report.Add(Severity::Error, kind, offset, message, subject);
    }

    Outcome CheckText() {
        if (whole.empty()) {
            AddError("empty", 0,
                     "this is empty: the launcher ends without a word, with exit code 0");
            return Outcome::Exits;
        }
        if (text.size() < whole.size()) {
            AddError("zero-byte", text.size(),
                     "there is a zero byte: the launcher reads nothing from here on");
        }
        bool has_repeated_keys = false;
        KeyScan const scan = ScanKeys(
            text, [&has_repeated_keys](RepeatedKey const&) { has_repeated_keys = true; });
        if (scan.values > kMostValues) {
            AddError("too-large", 0,
                     "this has more than 8 million values, too many for a launch list: "
                     "it is not checked");
            return Outcome::Unknown;
        }
        if (!Parse(scan.deepest)) {
            return Outcome::Exits;
        }
        CheckTextAfterList();
        if (!list.isObject()) {
            return CheckOtherType();
        }
        if (has_repeated_keys) {
            ScanKeys(text,
                     [this](RepeatedKey const& repeated) { CheckRepeatedKey(repeated); });
        }
        walk = WalkItems(list, options.asks_machine, report);
        CheckOtherKeys();
        return walk.outcome;
    }

    // Reports the key only if the launcher looks it up: that of an item, of a member of
    // an item or of an argument.
    void CheckRepeatedKey(RepeatedKey const& repeated) {
        std::size_t const depth = repeated.path.size();
        bool const is_in_list = depth == 0 || IsItemNumber(repeated.path[0]);
        if (is_in_list && (depth < 2 || (depth == 2 && repeated.path[1] == "args"))) {
            Subject const item =
                depth == 0 ? Subject()
                           : Subject{repeated.path[0], NameOf(list[repeated.path[0]])};
            AddError("repeated-key", repeated.offset,
                     "the key " + Quote(repeated.key) +
                         " is here again: what stood there before is ignored",
                     item);
        }
    }

    bool Parse(std::size_t deepest) {
        Json::Reader reader;
        bool const collect_comments = false;
        try {
            if (reader.parse(text.data(), text.data() + text.size(), list,
                             collect_comments)) {
                return true;
            }
        } catch (std::exception const&) {
            AddError("too-deep", deepest, "this is nested too deeply: " + kEnds);
            return false;
        }
        Json::Reader::StructuredError const error = reader.getStructuredErrors().at(0);
        auto const offset = static_cast<std::size_t>(error.offset_start);
        std::string const& message = error.message;
        AddError(
            "not-json", offset,
            "this is not JSON: " + message.substr(0, message.find_last_not_of('.') + 1) +
                Hint(offset) + ": " + kEnds);
        return false;
    }

    // Returns how to mend the mistakes that are made most often; an empty string for
    // others.
    std::string Hint(std::size_t offset) const {
        if (text.compare(0, 3, "\xEF\xBB\xBF") == 0 && offset < 3) {
            return " (the file begins with a byte-order mark)";
        }
        char const found = offset < text.size() ? text[offset] : '\0';
        if (found == '\'') {
            return " (strings need double quotation marks)";
        }
        std::size_t const before = offset == 0
                                       ? std::string_view::npos
                                       : text.find_last_not_of(" \t\r\n", offset - 1);
        if ((found == '}' || found == ']') && before != std::string_view::npos &&
            text[before] == ',') {
            return " (remove the comma before it)";
        }
        return "";
    }

    void CheckTextAfterList() {
        if (!list.isObject() && !list.isArray()) {
            return;
        }
        auto const end = static_cast<std::size_t>(list.getOffsetLimit());
        std::size_t const rest = FindTextAfter(text, end);
        if (rest != std::string_view::npos) {
            AddError("text-behind", rest,
                     "the list has ended before this: the launcher ignores the rest");
        }
    }

    Outcome CheckOtherType() {
        AddError("not-an-object", ListReport::ValueOffset(list),
                 "this is " + TypeName(list) +
                     R"(, not an object with the keys "0", "1", ...: )" +
                     (list.isNull() ? "nothing is started" : kEnds));
        return list.isNull() ? Outcome::Runs : Outcome::Exits;
    }

    void CheckOtherKeys() {
        std::vector<Json::Value::const_iterator> others;
        bool has_unreached = false;
        for (auto member = std::as_const(list).begin();
             member != std::as_const(list).end(); ++member) {
            std::string const key = member.name();
            bool const is_number = IsItemNumber(key);
            if (!is_number || !IsSmallerNumber(key, walk.end)) {
                others.push_back(member);
                has_unreached = has_unreached || is_number;
            }
        }
        std::sort(others.begin(), others.end(), [](auto const& a, auto const& b) {
            return ListReport::ValueOffset(*a) < ListReport::ValueOffset(*b);
        });
        for (auto const& member : others) {
            CheckOtherKey(member.name(), *member);
        }
        if (walk.end == "0" && !has_unreached) {
            report.Add(Severity::Warning, "no-items", ListReport::ValueOffset(list),
                       R"(there is no item "0": the launcher runs and starts nothing)");
        }
    }

    void CheckOtherKey(std::string const& key, Json::Value const& value) {
        std::size_t const offset = report.KeyOffset(value);
        if (IsItemNumber(key)) {
            AddError("unreached", offset,
                     "never reached: the launcher stops at the first number that is "
                     "missing, " +
                         Quote(walk.end),
                     {key, NameOf(value)});
        } else if (LooksLikeNumber(key)) {
            AddError("key-number", offset,
                     "the launcher writes its numbers as 0, 1, 2, ..., so it ignores "
                     "this item",
                     {key, NameOf(value)});
        } else if (key != "$schema") {
            report.Add(Severity::Warning, "unknown-key", offset,
                       "the key " + Quote(key) +
                           " is not an item number: the launcher ignores it");
        }
    }

    std::string_view const whole;
    // The part of it that the launcher reads.
    std::string_view const text;
    CheckOptions const& options;
    Positions const positions;
    ListReport report;
    Json::Value list;
    WalkResult walk;
};

}  // namespace

CheckResult CheckLaunchList(std::string_view bytes, CheckOptions const& options) {
    return ListCheck(bytes, options).Check();
}

CheckResult CheckLaunchListFile(std::string const& path, CheckOptions const& options) {
    std::string bytes;
    CheckResult result = {Findings(options.most_of_a_kind)};
    if (!ReadListFile(path, bytes, result)) {
        return result;
    }
    return CheckLaunchList(bytes, options);
}

}  // namespace launchlist_check
