#include "tools/launchlog_report/wait_status.h"

#include "tools/common/signal_names.h"

namespace launchlog_report {

ProgramEnd DecodeWaitStatus(long long status) {
    // The system's macros ignore the bit of a core dump, and accept any bits.
    constexpr int kCoreDump = 0x80;
    ProgramEnd end = {status, std::nullopt, std::nullopt, false};
    if (status < 0 || status > 0xFFFF) {
        return end;
    }
    int const low = static_cast<int>(status & 0xFF);
    int const high = static_cast<int>(status >> 8);
    int const signal = low & ~kCoreDump;
    if (low == 0) {
        end.exit_code = high;
    } else if (high == 0 && signal != 0 && signal != 0x7F) {
        end.signal = signal;
        end.core_dumped = (low & kCoreDump) != 0;
    }
    return end;
}

std::string SignalName(int number) {
    char const* const name = tools::NameOfSignal(number);
    return name != nullptr ? name : "signal " + std::to_string(number);
}

std::string Describe(ProgramEnd const& end) {
    if (end.exit_code) {
        return "exit " + std::to_string(*end.exit_code);
    }
    if (end.signal) {
        return "killed by " + SignalName(*end.signal) +
               (end.core_dumped ? ", core dumped" : "");
    }
    return "status " + std::to_string(end.wait_status);
}

std::string DescribeStatus(std::optional<ProgramEnd> const& end) {
    return end ? Describe(*end) : "unknown, waitpid failed";
}

}  // namespace launchlog_report
