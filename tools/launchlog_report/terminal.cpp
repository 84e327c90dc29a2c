#include "tools/launchlog_report/terminal.h"

#include <fcntl.h>
#include <poll.h>
#include <sys/ioctl.h>
#include <unistd.h>

#include <cerrno>
#include <clocale>
#include <csignal>
#include <cstdlib>

namespace launchlog_report {
namespace {

// A pipe. The handler writes a byte to it, so that poll misses no signal that came
// before.
int wake_up[2] = {-1, -1};
volatile std::sig_atomic_t end_asked = 0;

void TakeSignal(int number) {
    int const error = errno;
    if (number != SIGWINCH) {
        end_asked = 1;
    }
    static_cast<void>(write(wake_up[1], "", 1) == 1);
    errno = error;
}

// Returns the number in this variable; std::nullopt if it is unset or not above 0.
std::optional<std::size_t> FromEnvironment(char const* name) {
    char const* const text = std::getenv(name);
    long const value = text == nullptr ? 0 : std::strtol(text, nullptr, 10);
    return value > 0 ? std::optional<std::size_t>(value) : std::nullopt;
}

std::optional<std::size_t> UnlessZero(unsigned short number) {
    return number > 0 ? std::optional<std::size_t>(number) : std::nullopt;
}

}  // namespace

bool IsOnTerminal() {
    return isatty(STDOUT_FILENO) != 0;
}

Space TerminalSize() {
    if (!IsOnTerminal()) {
        return {};
    }
    struct winsize size = {};
    ioctl(STDOUT_FILENO, TIOCGWINSZ, &size);
    std::optional<std::size_t> const columns = FromEnvironment("COLUMNS");
    std::optional<std::size_t> const lines = FromEnvironment("LINES");
    return {columns ? columns : UnlessZero(size.ws_col),
            lines ? lines : UnlessZero(size.ws_row)};
}

void SetCharacterWidths() {
    for (char const* const name : {"C.UTF-8", "en_US.UTF-8", "UTF-8"}) {
        if (std::setlocale(LC_CTYPE, name) != nullptr) {
            return;
        }
    }
}

Signals::Signals() {
    if (pipe(wake_up) == 0) {
        for (int const end : wake_up) {
            fcntl(end, F_SETFL, O_NONBLOCK);
            fcntl(end, F_SETFD, FD_CLOEXEC);
        }
    }
    struct sigaction action = {};
    action.sa_handler = TakeSignal;
    for (int const number : {SIGINT, SIGTERM, SIGWINCH}) {
        sigaction(number, &action, nullptr);
    }
}

void Signals::Wait(int milliseconds) {
    struct pollfd end = {wake_up[0], POLLIN, 0};
    has_come = poll(&end, 1, milliseconds) != 0;
    char bytes[64];
    while (read(wake_up[0], bytes, sizeof bytes) > 0) {
    }
}

bool Signals::IsEndAsked() const {
    return end_asked != 0;
}

}  // namespace launchlog_report
