#include "tools/launchlist_check/item_check.h"

#include <algorithm>
#include <iterator>
#include <vector>

#include "launcher/list_rules.h"
#include "tools/common/printable.h"
#include "tools/launchlist_check/argument_check.h"
#include "tools/launchlist_check/item_report.h"
#include "tools/launchlist_check/launch_with_check.h"
#include "tools/launchlist_check/message.h"
#include "tools/launchlist_check/near_miss.h"
#include "tools/launchlist_check/read_values.h"

namespace launchlist_check {

namespace {

// Returns what the launcher does at an item that ends its walk.
std::string EndOfWalk(bool after_started) {
    return after_started
               ? "the launcher ends there and stops what it has started, which may have "
                 "no process yet: then SIGKILL goes to the launcher's own process group"
               : "the launcher ends there, with exit code 0";
}

class ItemCheck {
  public:
    ItemCheck(Json::Value& checked, ItemReport item_report, bool starts_were_before,
              ProgramCheck* program_check)
        : item(checked),
          report(item_report),
          after_started(starts_were_before),
          programs(program_check) {}

    // `name` is the item's as the launcher reads it; std::nullopt if it reads none.
    ItemResult Check(std::optional<std::string> const& name) {
        result.name = name;
        CheckName();
        // Without a name the launcher reads no other member of the item, and without a
        // program no arguments.
        std::optional<std::string> const program =
            result.name ? CheckProgram() : std::nullopt;
        if (program) {
            CheckStart(*program);
        }
        CheckUnknownMembers();
        return result;
    }

  private:
    void CheckName() {
        if (!item.isMember("name")) {
            report.ErrorAtKey("no-name", item,
                              R"(no "name": the launcher skips the item)");
            return;
        }
        Json::Value const& value = item["name"];
        if (!result.name) {
            result.ends_walk = true;
            report.Error(
                "name-type", value,
                R"("name" is )" + TypeName(value) + ": " + EndOfWalk(after_started));
            return;
        }
        report.CheckText(value, *result.name, R"("name")", "name-type");
        CheckNameText(value, *result.name);
    }

    void CheckNameText(Json::Value const& value, std::string const& name) {
        if (name.empty()) {
            report.Warning(
                "empty-name", value,
                R"("name" is empty: log lines will not show which item they are about)");
        }
        if (std::any_of(name.begin(), name.end(),
                        [](unsigned char byte) { return byte < 0x20 || byte == 0x7F; })) {
            report.Warning("name-characters", value,
                           R"("name" has control characters, which make log lines hard )"
                           "to read");
        }
        if (!tools::IsUtf8(name)) {
            report.Warning("name-encoding", value,
                           R"("name" is not UTF-8: its bytes are in the log as they )"
                           "are, and other programs show them differently");
        }
    }

    // Returns the program's path; std::nullopt if no child gets as far as to execute it.
    std::optional<std::string> CheckProgram() {
        if (!item.isMember("program")) {
            report.ErrorAtKey(
                "no-program", item,
                R"(no "program": every 50 ms a child is forked that runs nothing)");
            return std::nullopt;
        }
        Json::Value const& value = item["program"];
        std::optional<std::string> program = AsRead(item, launch_list::Program);
        if (!program) {
            result.aborts = true;
            report.Error(
                "program-type", value,
                R"("program" is )" + TypeName(value) +
                    ": the launcher itself ends abnormally, and the programs that it "
                    "has started run on");
            return std::nullopt;
        }
        report.CheckText(value, *program, R"("program")", "program-type");
        if (program->empty()) {
            report.Error(
                "no-program", value,
                R"("program" is empty: every 50 ms a child is forked that runs nothing)");
            return std::nullopt;
        }
        return program;
    }

    void CheckStart(std::string const& program) {
        std::optional<std::vector<std::string>> const arguments =
            CheckArguments(item, program, report);
        if (program.front() != '/') {
            report.Error(
                "relative-program", item["program"],
                R"("program" )" + Quote(program) +
                    " is not an absolute path: it is looked up from the working "
                    "directory "
                    "of the launcher, and PATH is not searched; if it is not found, " +
                    kChain);
        } else if (arguments && programs != nullptr) {
            CheckExecution(program, *arguments);
        }
        if (arguments && IsLaunchWith(program)) {
            result.lock = CheckLaunchWith(item, *arguments, programs, report);
        }
    }

    void CheckExecution(std::string const& program,
                        std::vector<std::string> const& arguments) {
        ProgramVerdict const verdict = programs->Check(program, arguments);
        Json::Value const& value = item["program"];
        switch (verdict.end) {
            case ProgramVerdict::End::Executed:
                break;
            case ProgramVerdict::End::Refused:
                report.Error("program-file", value,
                             R"("program" )" + Quote(program) + " cannot be executed (" +
                                 verdict.reason + "): " + kChain);
                break;
            case ProgramVerdict::End::ArgumentsTooLong:
                report.Error("arguments-size", value,
                             verdict.reason +
                                 ": more than the system takes, so the program cannot be "
                                 "executed, and " +
                                 kChain);
                break;
            case ProgramVerdict::End::Killed:
                report.Error("program-load", value,
                             R"("program" )" + Quote(program) +
                                 " cannot be loaded: the system ends every child by " +
                                 verdict.reason +
                                 " before the program begins, and the next one comes 50 "
                                 "ms later");
                break;
        }
    }

    void CheckUnknownMembers() {
        std::vector<std::string> absent;
        for (char const* const name : launch_list::kMembers) {
            if (!item.isMember(name)) {
                absent.emplace_back(name);
            }
        }
        for (auto member = item.begin(); member != item.end(); ++member) {
            std::string const key = member.name();
            if (std::count(std::begin(launch_list::kMembers),
                           std::end(launch_list::kMembers), key) > 0) {
                continue;
            }
            std::string const meant = NearMiss(key, absent);
            report.WarningAtKey(
                "unknown-member", *member,
                "the member " + Quote(key) + " means nothing to the launcher" +
                    (meant.empty() ? "" : "; did you mean " + Quote(meant) + "?"));
        }
    }

    Json::Value& item;
    ItemReport report;
    bool const after_started;
    ProgramCheck* const programs;
    ItemResult result;
};

}  // namespace

ItemResult CheckItem(Json::Value& item, std::string const& number, bool after_started,
                     ProgramCheck* programs, ListReport& report) {
    std::optional<bool> const has_name = AsRead(item, launch_list::HasName);
    if (item.isObject()) {
        std::optional<std::string> const name =
            has_name.value_or(false) ? AsRead(item, launch_list::Name) : std::nullopt;
        return ItemCheck(item, ItemReport(report, {number, name.value_or("")}),
                         after_started, programs)
            .Check(name);
    }
    ItemReport(report, {number})
        .Error("item-type", item,
               "this is " + TypeName(item) + ", not an object: " +
                   (has_name ? "the launcher skips it" : EndOfWalk(after_started)));
    ItemResult result;
    result.ends_walk = !has_name;
    return result;
}

}  // namespace launchlist_check
