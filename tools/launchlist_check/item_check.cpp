#include "tools/launchlist_check/item_check.h"

#include <unistd.h>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <utility>
#include <vector>

#include "common/json/json_object.h"
#include "tools/launchlist_check/near_miss.h"
#include "tools/launchlist_check/program_file.h"
#include "tools/shared/printable.h"

namespace {

// The launcher makes no longer argument vector, the program's path included.
constexpr int kMostArguments = (1 << 20) - 1;

// More keys than that are counted, not named.
constexpr std::size_t kMostNamedKeys = 3;

std::string const kChain = "a chain of processes grows, one more every 50 ms";
std::string const kChildAborts =
    "every child ends abnormally before it runs the program, and the next one comes 50 "
    "ms "
    "later";

// Says whether all is digits, and something is there.
bool IsDigits(std::string const& text) {
    return !text.empty() && std::all_of(text.begin(), text.end(), [](char letter) {
        return letter >= '0' && letter <= '9';
    });
}

// Returns what the launcher reads where it wants text; nothing if that throws.
std::optional<std::string> TextOf(Json::Value& value) {
    try {
        return std::string(JsonObject(value));
    } catch (std::exception const&) {
        return std::nullopt;
    }
}

// Returns what the launcher reads where it wants a number; nothing if that throws.
std::optional<int> IntegerOf(Json::Value& value) {
    try {
        return static_cast<int>(JsonObject(value));
    } catch (std::exception const&) {
        return std::nullopt;
    }
}

// Returns the keys for a message: `"0", "1", "2" and 7 more`.
std::string Enumerate(std::vector<std::string> const& keys) {
    std::string text;
    std::size_t const named = std::min(keys.size(), kMostNamedKeys);
    for (std::size_t i = 0; i < named; ++i) {
        text += (i == 0 ? "" : ", ") + Quoted(keys[i]);
    }
    if (named < keys.size()) {
        text += " and " + std::to_string(keys.size() - named) + " more";
    }
    return text;
}

// Orders item numbers by their values, which may have any number of digits.
bool IsSmallerNumber(std::string const& a, std::string const& b) {
    return a.size() != b.size() ? a.size() < b.size() : a < b;
}

class ItemCheck {
  public:
    explicit ItemCheck(Json::Value& checked) : item(checked) {}

    ItemResult Check() {
        CheckName();
        // Of an item without a name the launcher reads nothing else.
        if (result.name) {
            CheckProgram();
            CheckArguments();
        }
        CheckUnknownMembers();
        return std::move(result);
    }

  private:
    void Add(Severity severity, std::string const& kind, std::string const& message) {
        result.findings.push_back({severity, kind, message});
    }
    void AddError(std::string const& kind, std::string const& message) {
        Add(Severity::Error, kind, message);
    }
    void AddWarning(std::string const& kind, std::string const& message) {
        Add(Severity::Warning, kind, message);
    }

    // Warns of a text that the launcher reads otherwise than it is written. `what` names
    // it in the message, and `kind` is for a value of another type.
    void CheckText(Json::Value const& value, std::string const& read_as,
                   std::string const& what, std::string const& kind) {
        if (!value.isString()) {
            AddWarning(kind, what + " is " + TypeName(value) +
                                 ": the launcher takes it as " + Quoted(read_as));
        } else if (value.asString() != read_as) {
            AddWarning("zero-character",
                       what + " is cut at its zero character to " + Quoted(read_as));
        }
    }

    void CheckName() {
        if (!item.isMember("name")) {
            AddError("no-name", R"(no "name": the launcher skips the item)");
            return;
        }
        Json::Value& value = item["name"];
        result.name = TextOf(value);
        if (!result.name) {
            result.ends_walk = true;
            AddError("name-type", R"("name" is )" + TypeName(value) +
                                      ": the launcher ends there, with exit code 0, and "
                                      "stops what it has started");
            return;
        }
        CheckText(value, *result.name, R"("name")", "name-type");
        if (result.name->empty()) {
            AddWarning("empty-name",
                       R"("name" is empty: log lines will not tell what they are about)");
        }
        if (std::any_of(result.name->begin(), result.name->end(),
                        [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; })) {
            AddWarning("name-characters",
                       R"("name" has control characters, which make log lines hard to )"
                       "read, or split them");
        }
    }

    void CheckProgram() {
        if (!item.isMember("program")) {
            AddError("no-program",
                     R"(no "program": every 50 ms a child is forked that runs nothing)");
            return;
        }
        Json::Value& value = item["program"];
        std::optional<std::string> const program = TextOf(value);
        if (!program) {
            result.aborts = true;
            AddError(
                "program-type",
                R"("program" is )" + TypeName(value) +
                    ": the launcher itself ends abnormally, and the programs that it "
                    "has started run on");
            return;
        }
        CheckText(value, *program, R"("program")", "program-type");
        if (program->empty()) {
            AddError("no-program",
                     R"("program" is empty: every 50 ms a child is forked that runs )"
                     "nothing");
        } else if (program->front() != '/') {
            AddError(
                "relative-program",
                R"("program" )" + Quoted(*program) +
                    " is no absolute path: it is looked up from the working directory "
                    "of the launcher, and PATH is not searched; if it is not found, " +
                    kChain);
        } else {
            CheckProgramFile(*program);
        }
    }

    void CheckProgramFile(std::string const& program) {
        std::string const reason = WhyNotExecutable(program);
        if (!reason.empty()) {
            AddError("program-file", R"("program" )" + Quoted(program) +
                                         " cannot be executed (" + reason +
                                         "): " + kChain);
        }
    }

    void CheckArguments() {
        bool const has_count = item.isMember("argc");
        int count = 0;
        if (has_count) {
            std::optional<int> const argc = CheckCount(item["argc"]);
            if (!argc) {
                return;
            }
            count = *argc;
        }
        Json::Value nothing;
        Json::Value& args = item.isMember("args") ? item["args"] : nothing;
        if (args.isNull() || args.isObject()) {
            CheckArgumentKeys(args, has_count, count);
            CheckArgumentTexts(args, count);
        } else if (count > 0) {
            AddError("args-type", ArgsHaveWrongType(args) + kChildAborts);
        } else {
            AddWarning("args-type", ArgsHaveWrongType(args) + "it is not looked at, as " +
                                        (has_count ? R"("argc" is not above 0)"
                                                   : R"(there is no "argc")"));
        }
    }

    static std::string ArgsHaveWrongType(Json::Value const& args) {
        return R"("args" is )" + TypeName(args) +
               R"(, not an object with the keys "0", "1", ...: )";
    }

    // Returns the number of arguments that the launcher passes, if it gets that far.
    std::optional<int> CheckCount(Json::Value& value) {
        std::optional<int> const count = IntegerOf(value);
        if (!count) {
            AddError("argc-type",
                     R"("argc" is )" +
                         (value.isNumeric() ? "far out of range" : TypeName(value)) +
                         ": " + kChildAborts);
            return std::nullopt;
        }
        if (!value.isInt()) {
            AddWarning("argc-value", R"("argc" is )" + InexactCount(value) +
                                         ": the launcher reads it as " +
                                         std::to_string(*count));
        }
        if (*count > kMostArguments) {
            AddError("argc-too-large",
                     R"("argc" is )" + std::to_string(*count) + ", more than " +
                         std::to_string(kMostArguments) + ": " + kChildAborts);
            return std::nullopt;
        }
        if (*count < 0) {
            AddError(
                "argc-negative",
                R"("argc" is )" + std::to_string(*count) +
                    ": the program is started without even its own path as its first "
                    "argument, which many programs do not survive");
            return std::nullopt;
        }
        return count;
    }

    static std::string InexactCount(Json::Value const& value) {
        if (!value.isNumeric()) {
            return TypeName(value);
        }
        return value.isIntegral() ? "out of range" : "no integer";
    }

    void CheckArgumentKeys(Json::Value const& args, bool has_count, int count) {
        std::vector<std::string> ignored;
        for (std::string const& key : args.getMemberNames()) {
            if (!IsItemNumber(key)) {
                AddWarning("argument-key",
                           R"("args" has the key )" + Quoted(key) +
                               ", which is no number of an argument: it is ignored");
            } else if (!IsSmallerNumber(key, std::to_string(count))) {
                ignored.push_back(key);
            }
        }
        std::sort(ignored.begin(), ignored.end(), IsSmallerNumber);
        if (!ignored.empty()) {
            AddWarning("ignored-arguments",
                       (has_count ? R"("argc" is )" + std::to_string(count)
                                  : std::string(R"(no "argc")")) +
                           R"(: the program does not get )" + Enumerate(ignored) +
                           R"( of "args")");
        }
    }

    void CheckArgumentTexts(Json::Value& args, int count) {
        std::vector<std::string> missing;
        std::size_t size = 0;
        for (int i = 0; i < count; ++i) {
            std::string const key = std::to_string(i);
            std::string text;
            if (!args.isMember(key)) {
                missing.push_back(key);
            } else if (!CheckArgument(key, args[key], text)) {
                return;
            }
            size += text.size() + 1 + sizeof(char*);
        }
        if (!missing.empty()) {
            AddWarning("missing-arguments",
                       R"("argc" is )" + std::to_string(count) +
                           (item.isMember("args")
                                ? R"(, but "args" has no )" + Enumerate(missing)
                                : R"(, but there is no "args")") +
                           ": the program gets an empty string for each that is missing");
        }
        CheckSize(size);
    }

    // Returns false if the launcher's child does not survive the argument.
    bool CheckArgument(std::string const& key, Json::Value& value, std::string& text) {
        std::string const what = "argument " + Quoted(key);
        std::optional<std::string> const read_as = TextOf(value);
        if (!read_as) {
            AddError("argument-type",
                     what + " is " + TypeName(value) + ": " + kChildAborts);
            return false;
        }
        text = *read_as;
        CheckText(value, text, what, "argument-type");
        return true;
    }

    void CheckSize(std::size_t size) {
        long const limit = sysconf(_SC_ARG_MAX);
        if (limit > 0 && size > static_cast<std::size_t>(limit)) {
            AddError("arguments-size",
                     "the arguments take " + std::to_string(size) +
                         " bytes, and the system allows " + std::to_string(limit) +
                         ": the program cannot be executed, and " + kChain);
        }
    }

    void CheckUnknownMembers() {
        std::vector<std::string> absent;
        for (char const* const name : {"name", "program", "args", "argc"}) {
            if (!item.isMember(name)) {
                absent.emplace_back(name);
            }
        }
        for (std::string const& key : item.getMemberNames()) {
            if (key == "name" || key == "program" || key == "args" || key == "argc") {
                continue;
            }
            std::string const meant = NearMiss(key, absent);
            AddWarning(
                "unknown-member",
                "the member " + Quoted(key) + " means nothing to the launcher" +
                    (meant.empty() ? "" : "; did you mean " + Quoted(meant) + "?"));
        }
    }

    Json::Value& item;
    ItemResult result;
};

}  // namespace

bool IsItemNumber(std::string const& key) {
    return IsDigits(key) && (key.size() == 1 || key.front() != '0');
}

bool LooksLikeNumber(std::string const& key) {
    std::size_t const begin = std::min(key.find_first_not_of(" \t\r\n"), key.size());
    std::string digits = key.substr(begin);
    digits.erase(digits.find_last_not_of(" \t\r\n") + 1);
    if (!digits.empty() && (digits[0] == '+' || digits[0] == '-')) {
        digits.erase(0, 1);
    }
    std::size_t const point = std::min(digits.find('.'), digits.size());
    std::string const fraction = digits.substr(std::min(point + 1, digits.size()));
    return IsDigits(digits.substr(0, point)) && (fraction.empty() || IsDigits(fraction));
}

std::string TypeName(Json::Value const& value) {
    switch (value.type()) {
        case Json::nullValue:
            return "null";
        case Json::booleanValue:
            return value.asBool() ? "true" : "false";
        case Json::stringValue:
            return "a string";
        case Json::arrayValue:
            return "an array";
        case Json::objectValue:
            return "an object";
        default:
            return "a number";
    }
}

ItemResult CheckItem(Json::Value& item) {
    if (item.isObject()) {
        return ItemCheck(item).Check();
    }
    ItemResult result;
    result.ends_walk = !item.isNull();
    result.findings.push_back(
        {Severity::Error, "item-type",
         "this is " + TypeName(item) + ", not an object: the launcher " +
             (item.isNull() ? "skips it"
                            : "ends there, with exit code 0, and stops what it has "
                              "started")});
    return result;
}
