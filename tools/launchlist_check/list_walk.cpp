#include "tools/launchlist_check/list_walk.h"

#include <unistd.h>

#include <cstring>
#include <optional>
#include <unordered_map>

#include "launcher/list_rules.h"
#include "platform/user_processes.h"
#include "tools/launchlist_check/item_check.h"
#include "tools/launchlist_check/message.h"
#include "tools/launchlist_check/program_check.h"
#include "tools/launchlist_check/read_values.h"

namespace launchlist_check {

namespace {

// What an item with launch-with takes besides: its second process, and the program.
constexpr int kMoreWithLaunchWith = 2;

class ListWalk {
  public:
    ListWalk(Json::Value& walked, bool asks_machine, ListReport& list_report)
        : list(walked),
          report(list_report),
          programs(asks_machine ? &program_check : nullptr),
          processes(asks_machine ? CountProcessesOf(getpid()) : std::nullopt) {}

    WalkResult Walk() {
        int i = 0;
        for (JsonObject items(list); launch_list::HasItem(items, i); ++i) {
            Visit(std::to_string(i));
        }
        result.end = std::to_string(i);
        CheckProcesses();
        NoteWhatWasNotAsked();
        result.programs = result.outcome == Outcome::Runs ? names.size() : 0;
        return result;
    }

  private:
    void Visit(std::string const& number) {
        Json::Value& item = list[number];
        if (!ends_at.empty()) {
            report.Add(Severity::Error, "unreached", report.KeyOffset(item),
                       "never reached: the launcher ends at item " + Quote(ends_at),
                       {number, NameOf(item)});
            return;
        }
        bool const after_started = !names.empty();
        ItemResult const checked =
            CheckItem(item, number, after_started, programs, report);
        if (checked.ends_walk) {
            Raise(after_started ? Outcome::KillsGroup : Outcome::Exits);
            ends_at = number;
        }
        if (checked.aborts) {
            Raise(Outcome::Aborts);
        }
        if (checked.name) {
            // Without a lock launch-with ends before it starts anything.
            more_processes += checked.lock.empty() ? 0 : kMoreWithLaunchWith;
            CheckName(number, *checked.name, item);
            CheckLock(number, *checked.name, checked.lock, item);
        }
    }

    // Of two items that need the same lock of launch-with, one never runs.
    void CheckLock(std::string const& number, std::string const& name,
                   std::string const& lock, Json::Value const& item) {
        if (lock.empty()) {
            return;
        }
        auto const [earlier, is_new] = locks.emplace(lock, number);
        if (!is_new) {
            report.Add(
                Severity::Error, "launch-with-lock",
                ListReport::ValueOffset(item["args"]),
                "launch-with starts one program at a time for the same command line "
                "or --lock, and item " +
                    Quote(earlier->second) +
                    " has the same: one of them waits for ever; --lock gives each "
                    "a name of its own",
                {number, name});
        }
    }

    // Sets the outcome, unless it is the worst one already.
    void Raise(Outcome outcome) {
        if (result.outcome != Outcome::KillsGroup) {
            result.outcome = outcome;
        }
    }

    void CheckName(std::string const& number, std::string const& name,
                   Json::Value const& item) {
        auto const [earlier, is_new] = names.emplace(name, number);
        if (!is_new) {
            report.Add(Severity::Error, "duplicate-name",
                       ListReport::ValueOffset(item["name"]),
                       "item " + Quote(earlier->second) +
                           " has the same name: this later one wins. The launcher "
                           "stops the earlier one at once, and if that has no process "
                           "yet, SIGKILL goes to the launcher's own process group",
                       {number, name});
            earlier->second = number;
            Raise(Outcome::KillsGroup);
        } else if (first_without_process.item.empty() && processes &&
                   !HasRoom(Needed())) {
            first_without_process = {number, name};
        }
    }

    // Returns how many processes the launcher forks itself, with its threads.
    long NeededByLauncher() const {
        return static_cast<long>(names.size()) * ProcessesOfAnItem();
    }

    long Needed() const { return NeededByLauncher() + more_processes; }

    // This process is counted where the launcher will be.
    bool HasRoom(long needed) const {
        return processes->running + needed <= processes->limit;
    }

    void CheckProcesses() {
        if (first_without_process.item.empty()) {
            return;
        }
        long const room = processes->limit - processes->running;
        report.Add(
            Severity::Error, "process-limit",
            report.KeyOffset(list[first_without_process.item]),
            "the list needs " + std::to_string(Needed()) +
                " processes, threads included, and this " +
                (processes->is_of_group ? "control group" : "user") + " may have " +
                std::to_string(room > 0 ? room : 0) + " more (limit " +
                std::to_string(processes->limit) + ", " +
                std::to_string(processes->running) + " in use): " +
                (HasRoom(NeededByLauncher()) ? "launch-with cannot start a program, or "
                                             : "") +
                "items are given up, and the stop sends SIGKILL to every "
                "process of the user; or the launcher ends at once, with SIGKILL to its "
                "own process group",
            first_without_process);
        Raise(Outcome::KillsGroup);
    }

    void NoteWhatWasNotAsked() {
        if (program_check.WhyNotAsked()) {
            report.Add(
                Severity::Note, "static-check", ListReport::ValueOffset(list),
                std::string("the system does not let a program be tried here (") +
                    std::strerror(*program_check.WhyNotAsked()) +
                    "): only the programs' files were looked at, which finds less");
        }
    }

    Json::Value& list;
    ListReport& report;
    ProgramCheck program_check;
    ProgramCheck* const programs;
    std::optional<UserProcesses> const processes;
    WalkResult result;
    // The last item of each name.
    std::unordered_map<std::string, std::string> names;
    // How many processes launch-with takes besides those of its items.
    long more_processes = 0;
    // The first item that needs each lock of launch-with.
    std::unordered_map<std::string, std::string> locks;
    // The item at which the launcher ends its walk; empty until then.
    std::string ends_at;
    Subject first_without_process;
};

}  // namespace

WalkResult WalkItems(Json::Value& list, bool asks_machine, ListReport& report) {
    return ListWalk(list, asks_machine, report).Walk();
}

}  // namespace launchlist_check
