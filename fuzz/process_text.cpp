// Compares what is read of the texts in /proc with what they were made from. An input is
// a line with the name of a program, a line with a byte for each number of the texts, and
// then any text.

#include "platform/linux/process_text.h"

#include <unistd.h>

#include <csignal>
#include <sstream>

#include "fuzz/fuzzing.h"

namespace {

// The fields of /proc/PID/stat have numbers from 1 on. The first three are the id, the
// name and the state.
constexpr std::size_t kFirstNumber = 4;
constexpr std::size_t kLastNumber = 52;
constexpr std::size_t kState = 3;

constexpr char kStates[] = {'R', 'S', 'D', 'Z', 'T', 't', 'X', 'I'};

// The numbers of the texts: small and large ones.
class Numbers {
  public:
    explicit Numbers(std::string bytes) : given(std::move(bytes)) {}

    unsigned Byte(std::size_t field) const {
        return field < given.size() ? static_cast<unsigned char>(given[field]) : 0U;
    }

    unsigned Number(std::size_t field) const {
        return Byte(field) * Byte(field) * Byte(field);
    }

    char State() const { return kStates[Byte(kState) % sizeof kStates]; }

  private:
    std::string given;
};

void CheckStat(std::string const& name, Numbers const& numbers) {
    std::ostringstream stat;
    stat << "7 (" << name << ") " << numbers.State();
    for (std::size_t field = kFirstNumber; field <= kLastNumber; ++field) {
        stat << " " << numbers.Number(field);
    }
    ProcessInfo process;
    Require(TakeStat(stat.str() + "\n", process), "a whole text can be read");
    char const state = numbers.State();
    Require(process.parent == static_cast<pid_t>(numbers.Number(4)) &&
                process.group == static_cast<pid_t>(numbers.Number(5)) &&
                process.session == static_cast<pid_t>(numbers.Number(6)),
            "the ids are those of the text");
    Require(process.is_zombie == (state == 'Z' || state == 'X') &&
                process.is_stopped == (state == 'T' || state == 't'),
            "the state is that of the text");
    Require(process.has_executed == ((numbers.Number(9) & 0x40U) == 0),
            "the flag is that of the text");
    Require(process.cpu_time == (numbers.Number(14) + 0LL + numbers.Number(15)) * 1000 /
                                    sysconf(_SC_CLK_TCK),
            "the CPU time is that of the text");
    Require(process.threads == static_cast<long>(numbers.Number(20)) &&
                process.start == numbers.Number(22) &&
                process.memory == numbers.Number(24) * sysconf(_SC_PAGESIZE),
            "the other numbers are those of the text");
}

void CheckArguments(std::string const& cmdline) {
    std::string joined;
    for (std::string const& argument : SplitArguments(cmdline)) {
        joined += argument + '\0';
    }
    bool const is_ended = cmdline.empty() || cmdline.back() == '\0';
    Require(joined == (is_ended ? cmdline : cmdline + '\0'),
            "the arguments are all of the text");
}

void CheckThread(Numbers const& numbers, std::string const& wchan) {
    std::ostringstream status;
    status << "Name:\ta\nState:\t" << numbers.State() << " (a)\nSigBlk:\t" << std::hex
           << numbers.Number(9) << "\nSigIgn:\tffff\n";
    ThreadInfo const thread = ThreadOf(status.str(), wchan);
    Require(thread.waits == (numbers.State() == 'S'), "the state is that of the text");
    Require(thread.blocks_sigterm == ((numbers.Number(9) >> (SIGTERM - 1U) & 1U) != 0),
            "the mask is that of the text");
    Require(thread.waits || (!thread.waits_for_thread && !thread.waits_for_child_or_time),
            "who does not wait, waits for nothing");
    if (wchan.empty() || wchan == "0") {
        Require(thread.waits_for_thread == thread.waits &&
                    thread.waits_for_child_or_time == thread.waits,
                "without a function it may wait for anything");
    }
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string text(data, data + size);
    std::string const name = TakeLine(text);
    Numbers const numbers(TakeLine(text));
    CheckStat(name, numbers);
    CheckArguments(text);
    CheckThread(numbers, text);
    ProcessInfo process;
    TakeStat(text, process);
    ThreadOf(text, name);
    return 0;
}
