// The names of signals, with the numbers of the system on which this runs.
//
//   tools::NameOfSignal(SIGTERM)     -> "SIGTERM"
//   tools::SignalNamed("SIGTERM")    -> SIGTERM
//   tools::SignalNamed("TERM")       -> SIGTERM

#ifndef TOOLS_COMMON_SIGNAL_NAMES_H
#define TOOLS_COMMON_SIGNAL_NAMES_H

#include <csignal>
#include <string_view>

namespace tools {

// The number of a signal on this system, and its name with "SIG", a literal.
struct NamedSignal {
    int number;
    char const* name;
};

// The signals that every system has.
constexpr NamedSignal kSignals[] = {
    {SIGABRT, "SIGABRT"}, {SIGALRM, "SIGALRM"},     {SIGBUS, "SIGBUS"},
    {SIGCHLD, "SIGCHLD"}, {SIGCONT, "SIGCONT"},     {SIGFPE, "SIGFPE"},
    {SIGHUP, "SIGHUP"},   {SIGILL, "SIGILL"},       {SIGINT, "SIGINT"},
    {SIGKILL, "SIGKILL"}, {SIGPIPE, "SIGPIPE"},     {SIGPROF, "SIGPROF"},
    {SIGQUIT, "SIGQUIT"}, {SIGSEGV, "SIGSEGV"},     {SIGSTOP, "SIGSTOP"},
    {SIGSYS, "SIGSYS"},   {SIGTERM, "SIGTERM"},     {SIGTRAP, "SIGTRAP"},
    {SIGTSTP, "SIGTSTP"}, {SIGTTIN, "SIGTTIN"},     {SIGTTOU, "SIGTTOU"},
    {SIGURG, "SIGURG"},   {SIGUSR1, "SIGUSR1"},     {SIGUSR2, "SIGUSR2"},
    {SIGXCPU, "SIGXCPU"}, {SIGVTALRM, "SIGVTALRM"}, {SIGXFSZ, "SIGXFSZ"},
};

// Returns the name of a signal; null if it has none.
constexpr char const* NameOfSignal(int number) {
    for (NamedSignal const& it : kSignals) {
        if (it.number == number) {
            return it.name;
        }
    }
    return nullptr;
}

// Returns the number of the signal with this name, written with or without "SIG"; 0 if
// there is none.
constexpr int SignalNamed(std::string_view name) {
    for (NamedSignal const& it : kSignals) {
        std::string_view shorter = it.name;
        shorter.remove_prefix(3);
        if (name == it.name || name == shorter) {
            return it.number;
        }
    }
    return 0;
}

}  // namespace tools

#endif
