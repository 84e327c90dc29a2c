#include "tools/launchlog_report/follow.h"

#include <cstdio>

#include "tools/common/tool.h"
#include "tools/launchlog_report/terminal.h"

namespace launchlog_report {
namespace {

constexpr int kMillisecondsBetweenReports = 1000;

// Returns the space of the screen, without the line of the cursor after a report.
Space ScreenSpace() {
    Space space = TerminalSize();
    if (space.lines) {
        space.lines = *space.lines > 1 ? *space.lines - 1 : 1;
    }
    return space;
}

}  // namespace

bool Follow(ReportMaker const& make, bool on_screen, std::string const& gap,
            std::string const& program) {
    std::string const clear_screen = "\033[H\033[2J";
    Signals signals;
    std::string shown;
    while (!signals.IsEndAsked()) {
        std::string const text = make(on_screen ? ScreenSpace() : Space());
        bool const is_resized = on_screen && signals.HasCome();
        if (text != shown || is_resized) {
            std::string const before = on_screen       ? clear_screen
                                       : shown.empty() ? ""
                                                       : gap;
            std::fputs((before + text).c_str(), stdout);
            if (!tools::FinishOutput(program)) {
                return false;
            }
        }
        shown = text;
        signals.Wait(kMillisecondsBetweenReports);
    }
    return true;
}

}  // namespace launchlog_report
