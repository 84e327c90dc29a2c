#include "tools/launchlist_check/argument_check.h"

#include <algorithm>
#include <cstddef>
#include <map>

#include "launcher/list_rules.h"
#include "tools/launchlist_check/item_keys.h"
#include "tools/launchlist_check/message.h"
#include "tools/launchlist_check/read_values.h"

namespace launchlist_check {

namespace {

class ArgumentCheck {
  public:
    ArgumentCheck(Json::Value& checked, std::string const& path, ItemReport& item_report)
        : item(checked),
          program(path),
          report(item_report),
          has_count(item.isMember("argc")) {}

    // Returns the argument vector, or std::nullopt if the child aborts.
    std::optional<std::vector<std::string>> Check() {
        if (has_count && !CheckCount(item["argc"])) {
            return std::nullopt;
        }
        if (count < 0) {
            return std::vector<std::string>();
        }
        Json::Value const nothing;
        Json::Value const& args = item.isMember("args") ? item["args"] : nothing;
        if (!args.isNull() && !args.isObject()) {
            return CheckWrongType(args);
        }
        return CheckTexts(CheckKeys(args));
    }

  private:
    // Sets the count as the launcher reads it. Returns false if its child aborts there.
    bool CheckCount(Json::Value const& value) {
        std::optional<int> const read_as = AsRead(item, launch_list::ArgumentCount);
        if (!read_as) {
            report.Error("argc-type", value,
                         R"("argc" is )" +
                             (value.isNumeric() ? "far out of range" : TypeName(value)) +
                             ": " + kChildAborts);
            return false;
        }
        count = *read_as;
        if (!value.isInt()) {
            report.Warning("argc-value", value,
                           R"("argc" is )" + InexactCount(value) +
                               ": the launcher reads it as " + std::to_string(count));
        }
        if (count > launch_list::kMostArguments) {
            report.Error("argc-too-large", value,
                         R"("argc" is )" + std::to_string(count) + ", more than " +
                             std::to_string(launch_list::kMostArguments) + ": " +
                             kChildAborts);
            return false;
        }
        if (count < 0) {
            report.Error(
                "argc-negative", value,
                R"("argc" is )" + std::to_string(count) +
                    ": the program is started without even its own path as its first "
                    "argument, which many programs do not survive");
        }
        return true;
    }

    static std::string InexactCount(Json::Value const& value) {
        if (!value.isNumeric()) {
            return TypeName(value);
        }
        return value.isIntegral() ? "out of range" : "not an integer";
    }

    std::optional<std::vector<std::string>> CheckWrongType(Json::Value const& args) {
        std::string const text = R"("args" is )" + TypeName(args) +
                                 R"(, not an object with the keys "0", "1", ...: )";
        if (count > 0) {
            report.Error("args-type", args, text + kChildAborts);
            return std::nullopt;
        }
        report.Warning(
            "args-type", args,
            text + "it is not looked at, as " +
                (has_count ? R"("argc" is not above 0)" : R"(there is no "argc")"));
        return std::vector<std::string>{program};
    }

    // Returns the arguments that the launcher finds, by their numbers.
    std::map<int, Json::Value const*> CheckKeys(Json::Value const& args) {
        std::map<int, Json::Value const*> found;
        std::vector<std::string> ignored;
        std::string const end = std::to_string(count);
        for (auto member = args.begin(); member != args.end(); ++member) {
            std::string const key = member.name();
            if (!IsItemNumber(key)) {
                report.WarningAtKey(
                    "argument-key", *member,
                    R"("args" has the key )" + Quote(key) +
                        ", which is not an argument's number: it is ignored");
            } else if (IsSmallerNumber(key, end)) {
                found[std::stoi(key)] = &*member;
            } else {
                ignored.push_back(key);
            }
        }
        if (!ignored.empty()) {
            ReportIgnored(args, ignored);
        }
        return found;
    }

    void ReportIgnored(Json::Value const& args, std::vector<std::string>& ignored) {
        std::sort(ignored.begin(), ignored.end(), IsSmallerNumber);
        KeyList keys;
        for (std::string const& key : ignored) {
            keys.Add(key);
        }
        report.WarningAtKey("ignored-arguments", args[ignored.front()],
                            (has_count ? R"("argc" is )" + std::to_string(count)
                                       : std::string(R"(no "argc")")) +
                                ": the program does not get " + keys.Text() +
                                R"( of "args")");
    }

    std::optional<std::vector<std::string>> CheckTexts(
        std::map<int, Json::Value const*> const& found) {
        std::vector<std::string> texts(static_cast<std::size_t>(count) + 1);
        texts[0] = program;
        KeyList missing;
        int next = 0;
        for (auto const& [number, value] : found) {
            missing.AddNumbers(next, number);
            next = number + 1;
            if (!CheckText(number, *value, texts[static_cast<std::size_t>(next)])) {
                return std::nullopt;
            }
        }
        missing.AddNumbers(next, count);
        if (!missing.IsEmpty()) {
            report.Warning(
                "missing-arguments", item["argc"],
                R"("argc" is )" + std::to_string(count) +
                    (item.isMember("args") ? R"(, but "args" has no )" + missing.Text()
                                           : R"(, but there is no "args")") +
                    ": the program gets an empty string for each that is missing");
        }
        return texts;
    }

    // Sets `text` to the argument as the launcher reads it. Returns false if its child
    // aborts there.
    bool CheckText(int number, Json::Value const& value, std::string& text) {
        std::string const what = "argument " + Quote(std::to_string(number));
        std::optional<std::string> const read_as =
            AsRead(item, launch_list::Argument, number);
        if (!read_as) {
            report.Error("argument-type", value,
                         what + " is " + TypeName(value) + ": " + kChildAborts);
            return false;
        }
        text = *read_as;
        report.CheckText(value, text, what, "argument-type");
        return true;
    }

    Json::Value& item;
    std::string const& program;
    ItemReport& report;
    bool const has_count;
    int count = 0;
};

}  // namespace

std::optional<std::vector<std::string>> CheckArguments(Json::Value& item,
                                                       std::string const& program,
                                                       ItemReport& report) {
    return ArgumentCheck(item, program, report).Check();
}

}  // namespace launchlist_check
