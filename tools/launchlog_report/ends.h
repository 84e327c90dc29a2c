// Each end of a program, with what is known of it.
//
//   Ends ends([](ProgramRunEnd const& end) { ... });
//   ends.Add(event, 0);    // for each line of log number 0
//   ends.Finish();

#ifndef TOOLS_LAUNCHLOG_REPORT_ENDS_H
#define TOOLS_LAUNCHLOG_REPORT_ENDS_H

#include <cstddef>
#include <functional>
#include <map>
#include <optional>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

#include "tools/launchlog_report/launcher_lives.h"
#include "tools/launchlog_report/log_line.h"
#include "tools/launchlog_report/wait_status.h"

namespace launchlog_report {

// How a program ended.
enum class Cause {
    ExitZero,
    ExitCode,  // another exit code
    Signal,
    CoreDump,
    Stop,     // the launcher's last end of the item, by SIGKILL
    Unknown,  // the launcher could not wait for it, or the status is not that of an end
};

constexpr std::size_t kCauses = 6;

// Returns "exit_0", "exit_code", "signal", "core_dump", "stop" or "unknown".
char const* CauseName(Cause cause);

// Returns the cause of an end that is no stop; std::nullopt stands for an end that the
// launcher could not wait for.
Cause CauseOf(std::optional<ProgramEnd> const& status);

// One end of a program.
struct ProgramRunEnd {
    // The item's name, and the number of the log.
    std::string item;
    std::size_t log = 0;
    // The number of its launcher's life; see LauncherLives.
    std::size_t life = 0;
    // The ids of the program's process and of the launcher's; empty if unknown.
    std::string process;
    std::string launcher;
    // When and how it ended.
    std::optional<Time> time;
    Cause cause = Cause::Unknown;
    // std::nullopt if the launcher could not wait for it.
    std::optional<ProgramEnd> status;
    // How long it ran, in milliseconds; std::nullopt if its start is unknown.
    std::optional<Time> uptime;
    // Counts all ends, in the order of their lines.
    long long number = 0;
};

// A run of a program that did not end in the log.
struct OpenProgramRun {
    std::string item;
    // The number of its launcher's life.
    std::size_t life;
    Time start;
    // When another process logged a line of the item: from then on nobody knows.
    std::optional<Time> doubted;
};

// Makes the ends from the lines of logs.
//
// A program started when its launcher logged that, at level DEBUG. At level ERROR it
// started 50 ms after the end before it, if the same launcher logged that. Its start is
// unknown if another process has logged a line of the item since: that is a link of a
// chain, so the program was not executed, or it is another launcher. It is unknown, too,
// if the item has no program.
class Ends {
  public:
    using Taker = std::function<void(ProgramRunEnd const& end)>;

    // An end by SIGKILL is passed on only with the next line of the item: the next end by
    // the same launcher shows that it was no stop, any line by a later launcher with the
    // same process id that it was one. So the ends come in the order of their lines only
    // for one launcher and item.
    explicit Ends(Taker taker) : take(std::move(taker)) {}

    // Takes a line. The lines of one log come in their order. Returns the number of the
    // launcher's life that it belongs to; std::nullopt if its process is not known to be
    // a launcher.
    std::optional<std::size_t> Add(LogEvent const& event, std::size_t log);

    // Passes on the last ends that were stops.
    void Finish();

    // Returns the runs whose starts are known, and that did not end. Call it after
    // Finish.
    std::vector<OpenProgramRun> OpenRuns() const;

  private:
    // The log, the launcher and the item.
    using Key = std::tuple<std::size_t, std::string, std::string>;
    struct Run {
        std::size_t life = 0;
        std::optional<Time> start;
        std::optional<Time> doubted;
        // An end by SIGKILL that may turn out to be a stop.
        std::optional<ProgramRunEnd> possible_stop;
    };

    Run& FindRun(LogEvent const& event, std::size_t log, std::size_t life);
    void AddEnd(LogEvent const& event, std::size_t log, Run& run);
    void AddNoProgram(LogEvent const& event, std::size_t log);
    void PassOnStop(Run& run);

    Taker take;
    LauncherLives lives;
    std::map<Key, Run> runs;
    // Which process logged the last line of an item, by the log and the item.
    std::map<std::pair<std::size_t, std::string>, std::string> last_processes;
    long long ends = 0;
};

}  // namespace launchlog_report

#endif
