// Takes every input for a launch list and does with it what the launcher does, except
// that it starts no programs: reads the file, walks the items, and makes each program's
// argument vector. Compares the result with a model that reads jsoncpp's values itself,
// with what launchlist-check says, and with the items that launcher-status and
// launcher-stop take for those of the list.

#include <json/reader.h>

#include <algorithm>
#include <cstdio>
#include <exception>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <vector>

#include "common/json/json_object.h"
#include "fuzz/fuzzing.h"
#include "fuzz/input_pipe.h"
#include "launcher/argument_vector.h"
#include "launcher/main.h"
#include "tools/launchlist_check/list_check.h"
#include "tools/launchlist_check/output.h"
#include "tools/running/launch_items.h"

namespace {

using launchlist_check::CheckLaunchList;
using launchlist_check::CheckOptions;
using launchlist_check::CheckResult;
using launchlist_check::Outcome;
using launchlist_check::Severity;
using launchlist_check::ToJson;
using launchlist_check::ToLines;

// What a supervisor reads of its item. A member that cannot be read has no value, and
// neither have those that would be read after it: in the launcher a process ends
// abnormally at that point.
struct Supervised {
    std::string name;
    std::optional<std::string> program;
    std::optional<std::vector<std::string>> arguments;
};

bool operator==(Supervised const& a, Supervised const& b) {
    return a.name == b.name && a.program == b.program && a.arguments == b.arguments;
}

// The result of a walk over a launch list, and whether an exception ended it.
struct Walk {
    std::vector<Supervised> supervised;
    bool failed = false;
};

// What the supervisors that the walk created have read, and the latest one of each name.
std::vector<Supervised> created;
std::map<std::string, ChildProc const*> latest;

// Returns what `read` returns; no value if it throws an error that it may throw.
template <typename Read>
auto Result(Read const& read) -> std::optional<decltype(read())> {
    try {
        return read();
    } catch (AERROR) {
        return std::nullopt;
    } catch (std::exception const&) {
        return std::nullopt;
    }
}

std::vector<std::string> ReadArguments(std::string program, JsonObject& item) {
    ArgumentVector const vector(program, item);
    std::vector<std::string> arguments;
    for (char* const* argument = vector.Data(); *argument != nullptr; ++argument) {
        arguments.emplace_back(*argument);
    }
    return arguments;
}

}  // namespace

// Stands in for the supervisor. It reads what the supervisor and its forked child read,
// in their order, and starts nothing.
ChildProc::ChildProc(std::string launcher_name, JsonObject launch_item)
    : pid(0), running(false), item(nullptr) {
    item = launch_item;
    launcherName = launcher_name;
    name = std::string(item["name"]);

    Supervised supervised;
    supervised.name = name;
    supervised.program = Result([&] { return std::string(item["program"]); });
    if (supervised.program && !supervised.program->empty()) {
        supervised.arguments =
            Result([&] { return ReadArguments(*supervised.program, item); });
    }
    created.push_back(supervised);
    latest[name] = this;
}

ChildProc::~ChildProc() = default;

namespace {

std::string UpToNul(std::string const& text) {
    return text.substr(0, text.find('\0'));
}

// Does with `content` what main does with the file of the launch list.
Walk WalkAsTheLauncherDoes(std::string const& content) {
    std::string text = "before";
    if (!ReadData(InputPipe(content).Path(), text)) {
        Require(content.empty() && text == "before", "only an empty list is not read");
        return {};
    }
    Require(text == UpToNul(content), "a list is read up to its first NUL");

    created.clear();
    latest.clear();
    g_child_map.clear();
    auto const start = [&text] {
        StartItems("fuzz", text);
        return true;
    };
    bool const failed = !Result(start);
    return {created, failed};
}

// The model. A value of the wrong type throws here as it does in the launcher, because
// jsoncpp throws in both. But the model adds no members to what it reads.
Json::Value Member(Json::Value const& object, std::string const& name) {
    return object.isMember(name) ? object[name] : Json::Value();
}

std::string Text(Json::Value const& value) {
    return UpToNul(value.asString());
}

// The low 32 bits of "argc". What jsoncpp makes of 2 to the power of 63 is undefined.
std::int32_t CountModel(Json::Value const& item) {
    Json::Value const count = Member(item, "argc");
    if (count.type() == Json::realValue && count.asDouble() == 0x1p63) {
        throw std::out_of_range("argc");
    }
    return static_cast<std::int32_t>(count.asInt64());
}

std::vector<std::string> ArgumentsModel(Json::Value const& item) {
    std::int32_t const count = CountModel(item);
    if (count < 0) {
        return {};
    }
    if (count >= 1 << 20) {
        throw std::length_error("too many arguments");
    }
    std::vector<std::string> arguments{Text(item["program"])};
    for (std::int32_t i = 0; i < count; ++i) {
        arguments.push_back(Text(Member(Member(item, "args"), std::to_string(i))));
    }
    return arguments;
}

Supervised SupervisedModel(Json::Value const& item) {
    Supervised supervised;
    supervised.name = Text(item["name"]);
    supervised.program = Result([&] { return Text(Member(item, "program")); });
    if (supervised.program && !supervised.program->empty()) {
        supervised.arguments = Result([&] { return ArgumentsModel(item); });
    }
    return supervised;
}

Walk WalkModel(Json::Value const& list) {
    Walk walk;
    auto const read_items = [&] {
        for (int i = 0; list.isMember(std::to_string(i)); ++i) {
            Json::Value const& item = list[std::to_string(i)];
            if (item.isMember("name")) {
                walk.supervised.push_back(SupervisedModel(item));
            }
        }
        return true;
    };
    walk.failed = !Result(read_items);
    return walk;
}

// Parses the text; returns no value if it is not JSON.
std::optional<Json::Value> Parsed(std::string const& text) {
    Json::Value value;
    auto const parse = [&] { return Json::Reader().parse(text, value, false); };
    return Result(parse).value_or(false) ? std::optional<Json::Value>(value)
                                         : std::nullopt;
}

// Returns true for a list that is left out, because reading the arguments of an item
// would take too long.
bool IsTooMuch(Json::Value const& list) {
    if (!list.isObject()) {
        return false;
    }
    for (Json::Value const& item : list) {
        std::int32_t const count = Result([&] { return CountModel(item); }).value_or(0);
        if (count > 1000 && count < 1 << 20) {
            return true;
        }
    }
    return false;
}

void CheckTable() {
    Require(g_child_map.size() == latest.size(), "there is one supervisor for each name");
    for (auto const& [name, supervisor] : latest) {
        Require(g_child_map[name].get() == supervisor, "the latest of a name stays");
    }
}

// What becomes of the launcher after this walk.
Outcome OutcomeOf(Walk const& walk) {
    if (walk.supervised.size() > latest.size()) {
        return Outcome::KillsGroup;
    }
    if (walk.failed) {
        return walk.supervised.empty() ? Outcome::Exits : Outcome::KillsGroup;
    }
    bool const aborts = std::any_of(walk.supervised.begin(), walk.supervised.end(),
                                    [](Supervised const& item) { return !item.program; });
    return aborts ? Outcome::Aborts : Outcome::Runs;
}

// Returns true if there is an error of one of these kinds.
bool HasFinding(CheckResult const& result, std::vector<std::string> const& kinds) {
    return std::any_of(kinds.begin(), kinds.end(), [&result](std::string const& kind) {
        return result.findings.Counts().count({kind, Severity::Error}) != 0;
    });
}

// Compares what the check says with what has happened.
void CheckTheCheck(std::string const& content, Walk const& walk) {
    CheckOptions options;
    options.asks_machine = false;
    CheckResult const result = CheckLaunchList(content, options);
    Require(result.outcome == OutcomeOf(walk), "the check knows what becomes of it");
    if (result.outcome == Outcome::Runs) {
        Require(result.programs == latest.size(), "the check counts the programs");
        bool const has_aborting_child = std::any_of(
            walk.supervised.begin(), walk.supervised.end(), [](Supervised const& item) {
                return !item.program->empty() && !item.arguments;
            });
        Require(HasFinding(result, {"argc-type", "argc-too-large", "args-type",
                                    "argument-type"}) == has_aborting_child,
                "the check knows whose children abort");
    }
    std::istringstream lines(ToLines({"fuzz", result}));
    for (std::string line; std::getline(lines, line);) {
        Require(line.rfind("fuzz:", 0) == 0, "each line begins with the file's name");
    }
    JsonObject document(ToJson({{"fuzz", result}}).c_str());
    Require(document["files"][0]["findings"].GetArraySize() ==
                result.findings.InOrder().size(),
            "all findings are in the JSON");
}

// Returns the items of the list in a regular file that holds `content`.
running::LaunchItems ItemsIn(std::string const& content) {
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> const file(std::tmpfile(),
                                                               std::fclose);
    Require(file != nullptr && std::fwrite(content.data(), 1, content.size(),
                                           file.get()) == content.size(),
            "a file can be written");
    std::rewind(file.get());
    return running::ReadLaunchItems("/dev/fd/" + std::to_string(fileno(file.get())));
}

// Of two items with one name the later stays. An item without arguments gets an empty one
// from the system.
void CheckItems(std::string const& content, Walk const& walk) {
    running::LaunchItems const found = ItemsIn(content);
    std::vector<Supervised> expected;
    bool is_whole = !walk.failed;
    for (Supervised const& item : walk.supervised) {
        if (!item.program) {
            is_whole = false;
            break;
        }
        expected.erase(std::remove_if(expected.begin(), expected.end(),
                                      [&item](Supervised const& it) {
                                          return it.name == item.name;
                                      }),
                       expected.end());
        expected.push_back(item);
    }
    Require(found.problem.empty() == is_whole,
            "a list that is not read whole is a problem");
    Require(found.items.size() == expected.size(), "the items are those that stay");
    for (std::size_t i = 0; i < expected.size(); ++i) {
        std::vector<std::string> arguments =
            expected[i].arguments.value_or(std::vector<std::string>());
        if (expected[i].arguments && arguments.empty()) {
            arguments = {""};
        }
        Require(found.items[i].name == expected[i].name &&
                    found.items[i].program == *expected[i].program &&
                    found.items[i].arguments == arguments,
                "each item is read as the launcher reads it");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string const content(data, data + size);
    std::optional<Json::Value> const list = Parsed(UpToNul(content));
    if (content.size() > InputPipe::kCapacity || (list && IsTooMuch(*list))) {
        return 0;
    }
    Walk const walk = WalkAsTheLauncherDoes(content);
    if (content.empty()) {
        return 0;
    }
    CheckTheCheck(content, walk);
    CheckItems(content, walk);
    if (!list) {
        Require(walk.failed && walk.supervised.empty(), "what is no JSON fails");
        return 0;
    }
    Walk const expected = WalkModel(*list);
    Require(walk.failed == expected.failed, "a wrong type ends the walk, and only that");
    Require(walk.supervised == expected.supervised,
            "all items are read as the model does");
    CheckTable();
    return 0;
}
