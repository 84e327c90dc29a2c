#include "tests/predictions/trial.h"

#include <fcntl.h>
#include <grp.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <sstream>
#include <system_error>

#include "harness/proc.h"
#include "harness/process.h"
#include "tests/predictions/observation.h"
#include "tests/predictions/random_list.h"
#include "tests/support/limited_user.h"
#include "tests/support/run_program.h"

namespace {

// Where each list has its files, on a disk of its own: the same seed makes the same list.
std::filesystem::path const kPlace = "/mnt";

void Require(bool done, char const* what) {
    if (!done) {
        throw std::system_error(errno, std::generic_category(), what);
    }
}

// Returns the text with long runs of one letter cut short: "xxxxx...(131071 in all)".
std::string Shortened(std::string const& text) {
    std::size_t const longest_run = 60;
    std::string shortened;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t const next =
            std::min(text.find_first_not_of(text[i], i), text.size());
        std::size_t const run = next - i;
        shortened += run > longest_run ? std::string(5, text[i]) + "...(" +
                                             std::to_string(run) + " in all)"
                                       : text.substr(i, run);
        i = next;
    }
    return shortened;
}

std::string Variable(char const* name) {
    char const* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

// Keeps only the options of sanitizers. Their search for leaks needs a process, and is
// left out if there are few.
void ClearEnvironment(bool has_few_processes) {
    std::string const address_options =
        Variable("ASAN_OPTIONS") + (has_few_processes ? ":detect_leaks=0" : "");
    std::string const undefined_options = Variable("UBSAN_OPTIONS");
    clearenv();
    setenv("ASAN_OPTIONS", address_options.c_str(), 1);
    setenv("UBSAN_OPTIONS", undefined_options.c_str(), 1);
}

std::filesystem::path CopyBundle(std::filesystem::path const& directory) {
    std::filesystem::copy(std::filesystem::path(BUNDLE).parent_path(),
                          directory / "Tamlin.app",
                          std::filesystem::copy_options::recursive);
    return directory / "Tamlin.app/Contents/MacOS/launcher";
}

std::filesystem::path CopyTool(std::filesystem::path const& tool,
                               std::filesystem::path const& directory) {
    std::filesystem::copy(tool, directory / tool.filename());
    return directory / tool.filename();
}

// Returns the list and its conditions in words.
std::string Describe(RandomList const& list) {
    std::string text = list.as_root ? "as root" : "as another user";
    text += ", PADDING of " + std::to_string(list.padding) + " bytes, stack of " +
            std::to_string(list.stack) + " bytes";
    text += list.processes == 0
                ? ""
                : ", at most " + std::to_string(list.processes) + " processes";
    text += list.wrong_file.empty() ? "" : ", the file is " + list.wrong_file;
    text += list.is_scrambled ? ", scrambled" : "";
    text += "\nthe list:\n" + Shortened(list.text) + "\n";
    for (auto const& [key, item] : list.items) {
        text += "item \"" + key + "\": " + item.program.what + "\n";
    }
    return text;
}

// Runs as the first process of its PID namespace, with a new disk at kPlace.
class Trial {
  public:
    explicit Trial(Tools const& programs)
        : tools(programs),
          places({tools.launcher, kPlace / "home/Library/Logs/Tamlin/voplog/launcher.log",
                  kPlace / "starts"}) {
        std::filesystem::create_directories(places.log.parent_path());
        std::filesystem::create_directories(places.starts);
        WriteFile(kPlace / "home/Library/Application Support/Tamlin/log.ini",
                  "[LOG]\nLEVEL=DEBUG\n");
        for (std::filesystem::path const& directory :
             {kPlace, places.starts, places.log.parent_path()}) {
            std::filesystem::permissions(directory, std::filesystem::perms(0777));
        }
    }

    TrialResult Run(std::uint64_t seed) const {
        Random random(seed);
        RandomListMaker maker(random, kPlace, tools.test_program);
        RandomList list = maker.Make();
        if (!HasLimitedUser()) {
            list.as_root = true;
            list.processes = 0;
        }
        Prediction const prediction = Predict(list);
        Process launcher({tools.launcher, "random", list.path},
                         [&] { Prepare(list, "/dev/null"); });
        // The first stop is by hand, the next by launcher-stop.
        bool const by_hand = seed % 2 == 0;
        Observation seen =
            Observe(launcher, places, by_hand && list.is_steady, [&](Observation& it) {
                if (list.processes == 0) {
                    it.status = Ask(list, {tools.status, "--json"}).output;
                }
            });
        if (!launcher.HasEnded()) {
            Stop(launcher, seen);
        }
        return {seen.launcher, Compare(list, prediction, seen),
                Describe(list) + "the prediction:\n" + prediction.output +
                    "launcher-status:\n" + seen.status +
                    "launcher-stop: " + seen.stop_end + "\n" + seen.stop_output +
                    "the launcher: " + seen.launcher + "; its log:\n" +
                    Shortened(seen.log)};
    }

  private:
    Prediction Predict(RandomList const& list) const {
        return Ask(list, {tools.checker, "--json", "--all", list.path});
    }

    // Runs a tool where the launcher runs, as its user.
    Prediction Ask(RandomList const& list,
                   std::vector<std::string> const& command) const {
        std::string const output = kPlace / "answer";
        WriteFile(output, "");
        Process tool(command, [&] { Prepare(list, output); });
        std::string const end = tool.WaitForEnd();
        return {end, ReadFile(output)};
    }

    // Root may stop every launcher, and always has a process left.
    void Stop(Process& launcher, Observation& seen) const {
        ProgramRun const run = RunProgram({tools.stop, std::to_string(launcher.Pid())});
        seen.stop_end = run.end;
        seen.stop_output = run.output + run.errors;
        for (pid_t const pid : AllProcesses()) {
            seen.left_by_stop += pid != getpid() && !IsGone(pid) ? 1 : 0;
        }
    }

    // Makes this process one that checks or launches the list.
    void Prepare(RandomList const& list, std::string const& output) const {
        int const file = open(output.c_str(), O_WRONLY);
        dup2(file, STDOUT_FILENO);
        close(file);
        ClearEnvironment(list.processes > 0);
        setenv("HOME", (kPlace / "home").c_str(), 1);
        setenv("TEST_PROGRAM_DIR", places.starts.c_str(), 1);
        setenv("PADDING", std::string(list.padding, 'p').c_str(), 1);
        rlimit const no_core = {0, 0};
        rlimit const stack = {list.stack, RLIM_INFINITY};
        if (chdir("/") != 0 || setrlimit(RLIMIT_CORE, &no_core) != 0 ||
            setrlimit(RLIMIT_STACK, &stack) != 0) {
            _exit(125);
        }
        if (!list.as_root) {
            rlimit processes = {};
            Require(
                setgroups(0, nullptr) == 0 && getrlimit(RLIMIT_NPROC, &processes) == 0,
                "another user");
            BecomeLimitedUser(list.processes == 0 ? processes.rlim_max : list.processes);
        }
    }

    Tools const& tools;
    ObservedPlaces const places;
};

// The parts of a result stand in the file one after the other, with a line for each that
// says what it is and how many bytes it has.
void WritePart(std::string& text, std::string const& key, std::string const& value) {
    text += key + " " + std::to_string(value.size()) + "\n" + value + "\n";
}

void WriteResult(std::string const& file, TrialResult const& result) {
    std::string text;
    WritePart(text, "launcher", result.launcher);
    for (std::string const& difference : result.comparison.differences) {
        WritePart(text, "difference", difference);
    }
    for (std::string const& kind : result.comparison.kinds) {
        WritePart(text, "kind", kind);
    }
    WritePart(text, "description", result.description);
    WriteFile(file, text);
}

// The first process of a new PID namespace: tries the list and writes the result.
void TryAsFirstProcess(Tools const& tools, std::uint64_t seed,
                       std::string const& result_file) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    umask(0);
    try {
        Require(mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) == 0, "/");
        Require(mount("proc", "/proc", "proc", 0, nullptr) == 0, "/proc");
        Require(mount("none", kPlace.c_str(), "tmpfs", 0, "mode=0777") == 0, "a disk");
        WriteResult(result_file, Trial(tools).Run(seed));
    } catch (std::exception const& error) {
        WriteResult(result_file, {"failed", {{error.what()}}, ""});
    }
}

}  // namespace

Tools::Tools()
    : launcher(CopyBundle(directory.Path())),
      checker(CopyTool(LAUNCHLIST_CHECK, directory.Path())),
      status(CopyTool(LAUNCHER_STATUS, directory.Path())),
      stop(CopyTool(LAUNCHER_STOP, directory.Path())),
      test_program(ReadFile(TEST_PROGRAM)) {}

int Try(Tools const& tools, std::uint64_t seed, std::string const& result_file) {
    if (unshare(CLONE_NEWPID | CLONE_NEWNS) != 0) {
        return 1;
    }
    pid_t const first = fork();
    if (first == 0) {
        TryAsFirstProcess(tools, seed, result_file);
        _exit(0);
    }
    int status = 0;
    return waitpid(first, &status, 0) == first && status == 0 ? 0 : 1;
}

TrialResult ReadResult(std::string const& result_file) {
    TrialResult result;
    std::istringstream text(ReadFile(result_file));
    std::string key;
    std::size_t size = 0;
    while (text >> key >> size && text.get() == '\n') {
        std::string value(size, '\0');
        text.read(value.data(), static_cast<std::streamsize>(size));
        if (key == "launcher") {
            result.launcher = value;
        } else if (key == "difference") {
            result.comparison.differences.push_back(value);
        } else if (key == "kind") {
            result.comparison.kinds.insert(value);
        } else {
            result.description = value;
        }
    }
    if (result.launcher.empty()) {
        return {"failed", {{"there is no result"}}, ""};
    }
    return result;
}
