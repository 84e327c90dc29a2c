#include "tools/launchlist_check/list_check.h"

#include <json/reader.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <map>
#include <utility>
#include <vector>

#include "tools/launchlist_check/item_check.h"
#include "tools/launchlist_check/list_file.h"
#include "tools/launchlist_check/source_text.h"
#include "tools/shared/printable.h"

namespace {

std::string const kEnds = "the launcher ends with exit code 0";

// Returns the name of an item for the findings about it, if it has one that is text.
std::string NameOf(Json::Value const& item) {
    return item.isObject() && item["name"].isString() ? item["name"].asString() : "";
}

class ListCheck {
  public:
    explicit ListCheck(std::string const& bytes)
        : whole(bytes), text(bytes.substr(0, bytes.find('\0'))), positions(bytes) {}

    CheckResult Check() {
        if (whole.empty()) {
            AddError("empty",
                     "this is empty: the launcher ends without a word, with exit "
                     "code 0");
        } else if (text.size() < whole.size()) {
            AddErrorAt(text.size(), "zero-byte",
                       "there is a zero byte: the launcher reads nothing from here on");
        }
        if (whole.empty() || !Parse()) {
            return std::move(result);
        }
        CheckTextBehind();
        CheckRepeatedKeys();
        if (!list.isObject()) {
            AddError("not-an-object", "this is " + TypeName(list) +
                                          ", not an object with the keys \"0\", \"1\", "
                                          "...: " +
                                          (list.isNull() ? "nothing is started" : kEnds));
            result.outcome = list.isNull() ? Outcome::Runs : Outcome::Exits;
            return std::move(result);
        }
        CheckItems();
        CheckOtherKeys();
        return std::move(result);
    }

  private:
    Finding& AddError(std::string const& kind, std::string const& message) {
        result.findings.push_back({Severity::Error, kind, message});
        return result.findings.back();
    }
    Finding& AddErrorAt(std::size_t offset, std::string const& kind,
                        std::string const& message) {
        Position const position = positions.Find(offset);
        Finding& finding = AddError(kind, message);
        finding.line = position.line;
        finding.column = position.column;
        return finding;
    }

    bool Parse() {
        Json::Reader reader;
        bool const collect_comments = false;
        try {
            if (reader.parse(text.data(), text.data() + text.size(), list,
                             collect_comments)) {
                return true;
            }
        } catch (std::exception const&) {
            AddError("too-deep", "this is nested too deeply: " + kEnds);
            return false;
        }
        Json::Reader::StructuredError const error = reader.getStructuredErrors().at(0);
        auto const offset = static_cast<std::size_t>(error.offset_start);
        std::string const message = Printable(error.message);
        AddErrorAt(
            offset, "not-json",
            "this is not JSON: " + message.substr(0, message.find_last_not_of('.') + 1) +
                Hint(offset) + ": " + kEnds);
        return false;
    }

    // Returns what is behind the errors that are made most often.
    std::string Hint(std::size_t offset) const {
        if (text.compare(0, 3, "\xEF\xBB\xBF") == 0 && offset < 3) {
            return " (the file begins with a byte-order mark)";
        }
        char const found = offset < text.size() ? text[offset] : '\0';
        if (found == '\'') {
            return " (texts stand in double quotation marks)";
        }
        std::size_t const before = offset == 0
                                       ? std::string::npos
                                       : text.find_last_not_of(" \t\r\n", offset - 1);
        if ((found == '}' || found == ']') && before != std::string::npos &&
            text[before] == ',') {
            return " (the comma before it is one too many)";
        }
        return "";
    }

    void CheckTextBehind() {
        if (!list.isObject() && !list.isArray()) {
            return;
        }
        auto const end = static_cast<std::size_t>(list.getOffsetLimit());
        std::size_t const behind = FindTextBehind(text, end);
        if (behind != std::string::npos) {
            AddErrorAt(behind, "text-behind",
                       "the list has ended before this: the launcher ignores the rest");
        }
    }

    // Only what the launcher looks up: items, their members and their arguments.
    void CheckRepeatedKeys() {
        auto const end = static_cast<std::size_t>(list.getOffsetLimit());
        for (RepeatedKey const& repeated : FindRepeatedKeys(text, end)) {
            std::size_t const depth = repeated.path.size();
            bool const is_in_list = depth == 0 || IsItemNumber(repeated.path[0]);
            if (is_in_list && (depth < 2 || (depth == 2 && repeated.path[1] == "args"))) {
                Finding& finding =
                    AddErrorAt(repeated.offset, "repeated-key",
                               "the key " + Quoted(repeated.key) +
                                   " is here again: what stood there before is ignored");
                finding.item = depth > 0 ? repeated.path[0] : "";
            }
        }
    }

    void CheckItems() {
        result.outcome = Outcome::Runs;
        bool is_reached = true;
        // The last item of each name.
        std::map<std::string, std::string> names;
        for (int i = 0; list.isMember(std::to_string(i)); ++i) {
            std::string const number = std::to_string(i);
            ItemResult checked = CheckItem(list[number]);
            if (is_reached && checked.ends_walk) {
                result.outcome = names.empty() ? Outcome::Exits : Outcome::KillsGroup;
                is_reached = false;
            }
            if (is_reached && checked.aborts && result.outcome == Outcome::Runs) {
                result.outcome = Outcome::Aborts;
            }
            if (checked.name) {
                auto const [earlier, is_new] = names.emplace(*checked.name, number);
                if (!is_new) {
                    checked.findings.insert(checked.findings.begin(),
                                            SameName(earlier->second));
                    if (is_reached) {
                        result.outcome = Outcome::KillsGroup;
                    }
                    earlier->second = number;
                }
            }
            for (Finding& finding : checked.findings) {
                finding.item = number;
                finding.name = checked.name.value_or("");
                result.findings.push_back(finding);
            }
        }
        result.programs =
            result.outcome == Outcome::Runs ? static_cast<int>(names.size()) : 0;
    }

    static Finding SameName(std::string const& earlier) {
        return {Severity::Error, "duplicate-name",
                "item " + Quoted(earlier) +
                    " has the same name: this later one wins, and the launcher stops the "
                    "earlier one at once, perhaps by SIGKILL to its whole process group"};
    }

    void CheckOtherKeys() {
        std::string const end = FirstMissingNumber();
        std::vector<std::string> unreached;
        std::vector<std::string> others;
        for (std::string const& key : list.getMemberNames()) {
            if (!IsItemNumber(key)) {
                others.push_back(key);
            } else if (key.size() > end.size() ||
                       (key.size() == end.size() && key > end)) {
                unreached.push_back(key);
            }
        }
        std::stable_sort(
            unreached.begin(), unreached.end(),
            [](auto const& a, auto const& b) { return a.size() < b.size(); });
        for (std::string const& key : unreached) {
            Finding& finding = AddError("unreached",
                                        "never reached: the launcher stops at the first "
                                        "number that is missing, " +
                                            Quoted(end));
            finding.item = key;
            finding.name = NameOf(list[key]);
        }
        for (std::string const& key : others) {
            CheckOtherKey(key);
        }
        if (end == "0" && unreached.empty()) {
            result.findings.push_back(
                {Severity::Warning, "no-items",
                 R"(there is no item "0": the launcher runs and starts nothing)"});
        }
    }

    std::string FirstMissingNumber() const {
        int i = 0;
        while (list.isMember(std::to_string(i))) {
            ++i;
        }
        return std::to_string(i);
    }

    void CheckOtherKey(std::string const& key) {
        if (LooksLikeNumber(key)) {
            Finding& finding = AddError(
                "key-number",
                "this key is no number as the launcher writes it (0, 1, 2, ...): "
                "the item is ignored");
            finding.item = key;
            finding.name = NameOf(list[key]);
        } else if (key != "$schema") {
            result.findings.push_back(
                {Severity::Warning, "unknown-key",
                 "the key " + Quoted(key) +
                     " is no item number: the launcher ignores it"});
        }
    }

    std::string const& whole;
    // What the launcher takes of it.
    std::string const text;
    PositionFinder positions;
    Json::Value list;
    CheckResult result;
};

}  // namespace

CheckResult CheckLaunchList(std::string const& bytes) {
    return ListCheck(bytes).Check();
}

CheckResult CheckLaunchListFile(std::string const& path) {
    CheckResult result;
    std::string bytes;
    if (!ReadListFile(path, bytes, result)) {
        return result;
    }
    return CheckLaunchList(bytes);
}
