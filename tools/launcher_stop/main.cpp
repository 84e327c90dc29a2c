// launcher-stop: stops a launcher, and ends all that it started.

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <optional>
#include <string>
#include <system_error>
#include <vector>

#include "common/config/log.h"
#include "tools/common/printable.h"
#include "tools/common/text.h"
#include "tools/common/tool.h"
#include "tools/launcher_stop/stop.h"
#include "tools/running/family.h"
#include "tools/running/survey.h"

// This program has no log of its own.
ILog* logger = nullptr;

namespace launcher_stop {

namespace {

using running::Family;
using running::LauncherWithItems;
using running::Snapshot;

using Launchers = std::vector<LauncherWithItems>;

char const* const kProgram = "launcher-stop";

char const* const kHelp =
    R"(launcher-stop [LIST.json | PID]
launcher-stop --leftovers LIST.json

Stops your only launcher, the one that runs LIST.json, or the one with the process id PID,
and says what it had to do. It sends SIGTERM to the launcher alone, once that can harm
nobody else, and waits as long as the launcher makes progress: 50 ms for each item. If the
launcher does not end, it sends SIGKILL. After that it ends all that the launcher started
and that still runs: chains, and what programs have started. Programs below launch-with get
their grace, all others get SIGKILL.

  --leftovers  end what launchers left behind when they died, if they ran LIST.json; a
               launcher that runs goes on
  --help       print this
  --version    print the version

Exit code: 0 nothing is left, 1 something is or may be, 2 the command line is wrong or does not say
which launcher, 3 there is no launcher and nothing is left.

Examples:

  launcher-stop
  launcher-stop list.json
  launcher-stop --leftovers list.json

It must not be one of the launcher's programs itself. launcher-stop(1) tells more.
)";

enum ExitCode { kNothingLeft = 0, kLeft = 1, kWrongUse = 2, kNoLauncher = 3 };

void SayLine(std::string const& line) {
    tools::Write(line + "\n");
    std::fflush(stdout);
}

int Complain(ExitCode code, std::string const& problem) {
    std::fprintf(stderr, "%s: %s\n", kProgram, problem.c_str());
    return code;
}

std::string Title(LauncherWithItems const& it) {
    return std::to_string(it.launcher.process.id) + " (" +
           tools::Printable(it.launcher.name) + "), list " +
           tools::Printable(it.launcher.list);
}

// Returns true if this process is the launcher's own, or below it: it would not outlive
// the stop.
bool IsBelow(Snapshot const& snapshot, LauncherWithItems const& launcher) {
    ProcessInfo const* const self = snapshot.Find(getpid());
    if (self == nullptr) {
        return false;
    }
    std::vector<ProcessInfo const*> const ancestors = snapshot.AncestorsOf(*self);
    return std::any_of(ancestors.begin(), ancestors.end(),
                       [&launcher](ProcessInfo const* ancestor) {
                           return ancestor->id == launcher.launcher.process.id;
                       });
}

// Returns the launchers without this one.
Launchers Without(Launchers launchers, LauncherWithItems const& left_out) {
    launchers.erase(std::remove_if(launchers.begin(), launchers.end(),
                                   [&left_out](LauncherWithItems const& it) {
                                       return it.launcher.process.id ==
                                              left_out.launcher.process.id;
                                   }),
                    launchers.end());
    return launchers;
}

// What launchers that died have left.
struct Leftovers {
    std::size_t processes = 0;
    // Why there may be more, in words; empty if there are no more.
    std::string doubt;
};

// Returns true if launchers never end reading the list, and so start nothing: it is a
// directory or a device, or reading it fails.
bool IsReadForEver(std::string const& list) {
    std::error_code error;
    if (!std::filesystem::is_regular_file(list, error)) {
        return std::filesystem::is_directory(list, error) ||
               std::filesystem::is_character_file(list, error);
    }
    std::unique_ptr<std::FILE, int (*)(std::FILE*)> const file(
        std::fopen(list.c_str(), "re"), std::fclose);
    return file && std::fgetc(file.get()) == EOF && std::ferror(file.get()) != 0;
}

// Returns why not all that launchers with this list have left is found; an empty string
// if all is.
std::string DoubtOf(std::string const& list, running::LaunchItems const& items) {
    return items.problem.empty() || IsReadForEver(list)
               ? ""
               : tools::Printable(list) + ": " + items.problem +
                     ", so not all that launchers have left is found";
}

Leftovers FindLeftovers(std::string const& list, Launchers const& launchers) {
    running::LaunchItems const items = running::ReadLaunchItems(list);
    Snapshot const snapshot = Snapshot::Take();
    Family family(list, items, geteuid(), launchers);
    family.Follow(snapshot);
    return {family.MembersIn(snapshot).size(), DoubtOf(list, items)};
}

// Returns the exit code, after a complaint if something is left or may be left.
int TellOfLeftovers(std::string const& list, Leftovers const& left) {
    if (left.processes > 0) {
        return Complain(kLeft, "launchers that died have left " +
                                   std::to_string(left.processes) +
                                   (left.processes == 1 ? " process" : " processes") +
                                   ": " + kProgram + " --leftovers " +
                                   tools::Printable(list) + " ends them");
    }
    return left.doubt.empty() ? kNothingLeft : Complain(kLeft, left.doubt);
}

// Says the last line. Returns the exit code.
int SayWhatIsLeft(std::string const& list, bool is_done, Leftovers const& left) {
    if (!is_done) {
        SayLine("something is left");
        return kLeft;
    }
    SayLine(left.processes > 0   ? "something is left"
            : left.doubt.empty() ? "nothing is left"
                                 : "something may be left");
    return TellOfLeftovers(list, left);
}

int Stop(Snapshot const& snapshot, LauncherWithItems const& launcher,
         Launchers const& all) {
    if (launcher.launcher.process.id == 1) {
        return Complain(kWrongUse,
                        "the launcher is the first process, which adopts the "
                        "orphans of all others");
    }
    if (IsBelow(snapshot, launcher)) {
        return Complain(kWrongUse, "this is a program of the launcher " +
                                       Title(launcher) + ", and would end with it");
    }
    Launchers const others = Without(all, launcher);
    bool const is_done = StopLauncher(launcher, others, SayLine);
    std::string const& list = launcher.launcher.list;
    return SayWhatIsLeft(list, is_done, FindLeftovers(list, others));
}

// Returns the id if the text is one; 0 if it is a number that cannot be one.
std::optional<pid_t> ReadId(std::string const& text) {
    if (!tools::IsDigits(text)) {
        return std::nullopt;
    }
    long const id = text.size() < 10 ? std::atol(text.c_str()) : 0;
    return static_cast<pid_t>(id);
}

int StopById(Snapshot const& snapshot, pid_t id, Launchers const& all) {
    if (id <= 1 || id == getpid()) {
        return Complain(kWrongUse, "this is not the process id of a launcher");
    }
    for (LauncherWithItems const& launcher : all) {
        if (launcher.launcher.process.id == id) {
            return Stop(snapshot, launcher, all);
        }
    }
    ProcessInfo const* const process = snapshot.Find(id);
    if (process == nullptr) {
        return Complain(kNoLauncher, "there is no process " + std::to_string(id));
    }
    return Complain(
        kWrongUse, running::IsFork(*process)
                       ? "process " + std::to_string(id) +
                             " is a fork of a launcher, perhaps a link of a chain"
                       : "process " + std::to_string(id) + " is not a launcher of yours");
}

int StopByList(Snapshot const& snapshot, std::optional<std::string> const& list,
               Launchers const& all) {
    Launchers const chosen = list ? running::WithList(all, *list) : all;
    if (chosen.size() == 1) {
        return Stop(snapshot, chosen[0], all);
    }
    if (chosen.size() > 1) {
        std::string names;
        for (LauncherWithItems const& launcher : chosen) {
            names += "\n  " + Title(launcher);
        }
        return Complain(kWrongUse,
                        "there are several launchers; name the process id or "
                        "the list of one of them:" +
                            names);
    }
    bool is_left = false;
    for (std::string const& it :
         list ? std::vector<std::string>{*list} : running::ListsOfOrphans(snapshot)) {
        is_left = TellOfLeftovers(it, FindLeftovers(it, all)) == kLeft || is_left;
    }
    return is_left ? kLeft
                   : Complain(kNoLauncher, list ? "no launcher of yours runs " +
                                                      tools::Printable(*list)
                                                : "no launcher of yours is running");
}

int EndLeftovers(std::string const& list, Launchers const& launchers) {
    running::LaunchItems const items = running::ReadLaunchItems(list);
    Family family(list, items, geteuid(), launchers);
    bool const is_done = EndFamily(family, SayLine);
    return SayWhatIsLeft(list, is_done, {0, DoubtOf(list, items)});
}

std::string FindError(tools::CommandLine const& line) {
    if (!line.error.empty()) {
        return line.error;
    }
    if (line.operands.size() > 1) {
        return "it takes one launch list or process id";
    }
    return line.Has("leftovers") && line.operands.empty()
               ? "--leftovers needs a launch list"
               : "";
}

int Main(int argc, char** argv) {
    tools::CommandLine line = tools::ReadCommandLine(argc, argv, {{"leftovers"}});
    line.error = FindError(line);
    if (std::optional<int> const code = tools::AnswerForTool(line, kProgram, kHelp)) {
        return *code;
    }
    Snapshot const snapshot = Snapshot::Take();
    Launchers const launchers = running::FindLaunchersWithItems(snapshot);
    if (line.Has("leftovers")) {
        return EndLeftovers(line.operands[0], launchers);
    }
    if (line.operands.empty()) {
        return StopByList(snapshot, std::nullopt, launchers);
    }
    std::optional<pid_t> const id = ReadId(line.operands[0]);
    return id ? StopById(snapshot, *id, launchers)
              : StopByList(snapshot, line.operands[0], launchers);
}

}  // namespace

}  // namespace launcher_stop

int main(int argc, char** argv) {
    return launcher_stop::Main(argc, argv);
}
