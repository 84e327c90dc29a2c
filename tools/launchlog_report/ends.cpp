#include "tools/launchlog_report/ends.h"

#include <csignal>

namespace launchlog_report {
namespace {

// What the launcher waits between an end and the next start.
constexpr Time kPause = 50;

ProgramRunEnd MakeEnd(LogEvent const& event, std::optional<Time> const& start,
                      long long number) {
    ProgramRunEnd end;
    end.item = event.name;
    end.process = event.child;
    end.launcher = event.process;
    end.time = event.time;
    end.status = StatusOf(event);
    end.cause = CauseOf(end.status);
    // If the clock was set back, nobody knows.
    if (start && event.time && *event.time >= *start) {
        end.uptime = *event.time - *start;
    }
    end.number = number;
    return end;
}

}  // namespace

Cause CauseOf(std::optional<ProgramEnd> const& status) {
    if (!status || (!status->exit_code && !status->signal)) {
        return Cause::Unknown;
    }
    if (status->exit_code) {
        return *status->exit_code == 0 ? Cause::ExitZero : Cause::ExitCode;
    }
    return status->core_dumped ? Cause::CoreDump : Cause::Signal;
}

char const* CauseName(Cause cause) {
    switch (cause) {
        case Cause::ExitZero:
            return "exit_0";
        case Cause::ExitCode:
            return "exit_code";
        case Cause::Signal:
            return "signal";
        case Cause::CoreDump:
            return "core_dump";
        case Cause::Stop:
            return "stop";
        case Cause::Unknown:
            break;
    }
    return "unknown";
}

std::optional<std::size_t> Ends::Add(LogEvent const& event, std::size_t log) {
    std::optional<std::size_t> const life = lives.Add(event, log);
    if (event.kind == LogEventKind::NoProgram) {
        AddNoProgram(event, log);
    }
    if (event.kind != LogEventKind::Start && event.kind != LogEventKind::End &&
        event.kind != LogEventKind::FailedFork) {
        return life;
    }
    Run& run = FindRun(event, log, *life);
    if (event.kind == LogEventKind::End) {
        AddEnd(event, log, run);
    } else {
        run.start.reset();
        if (event.kind == LogEventKind::Start) {
            run.start = event.time;
        }
    }
    return life;
}

// Returns the run that the line is about. Its start is unknown if another process has
// logged a line of the item since.
Ends::Run& Ends::FindRun(LogEvent const& event, std::size_t log, std::size_t life) {
    std::string& last =
        last_processes.try_emplace({log, event.name}, event.process).first->second;
    if (last != event.process) {
        Run& doubtful = runs[{log, last, event.name}];
        doubtful.doubted = doubtful.doubted ? doubtful.doubted : event.time.value_or(0);
        last = event.process;
    }
    Run& run = runs[{log, event.process, event.name}];
    if (run.life != life) {
        PassOnStop(run);
    }
    if (run.doubted || run.life != life) {
        run.start.reset();
    }
    run.doubted.reset();
    run.life = life;
    return run;
}

// The line is of the child that the item's last process forked. It ends without a
// program.
void Ends::AddNoProgram(LogEvent const& event, std::size_t log) {
    auto const last = last_processes.find({log, event.name});
    if (last != last_processes.end()) {
        runs[{log, last->second, event.name}].start.reset();
    }
}

void Ends::AddEnd(LogEvent const& event, std::size_t log, Run& run) {
    if (run.possible_stop) {
        take(*run.possible_stop);
        run.possible_stop.reset();
    }
    ProgramRunEnd end = MakeEnd(event, run.start, ++ends);
    end.log = log;
    end.life = run.life;
    run.start.reset();
    if (event.time) {
        run.start = *event.time + kPause;
    }
    if (end.status && end.status->signal == SIGKILL) {
        run.possible_stop = end;
    } else {
        take(end);
    }
}

void Ends::Finish() {
    for (auto& [key, run] : runs) {
        PassOnStop(run);
    }
}

// Passes on the last end, if there was one by SIGKILL, as a stop.
void Ends::PassOnStop(Run& run) {
    if (run.possible_stop) {
        run.possible_stop->cause = Cause::Stop;
        take(*run.possible_stop);
        run.possible_stop.reset();
        run.start.reset();
    }
}

std::vector<OpenProgramRun> Ends::OpenRuns() const {
    std::vector<OpenProgramRun> open_runs;
    for (auto const& [key, run] : runs) {
        if (run.start) {
            open_runs.push_back({std::get<2>(key), run.life, *run.start, run.doubted});
        }
    }
    return open_runs;
}

}  // namespace launchlog_report
