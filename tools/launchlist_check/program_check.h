// Whether this machine will execute the programs of a launch list.

#ifndef TOOLS_LAUNCHLIST_CHECK_PROGRAM_CHECK_H
#define TOOLS_LAUNCHLIST_CHECK_PROGRAM_CHECK_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/exec_trial.h"

namespace launchlist_check {

// What becomes of a child of the launcher that executes a program.
struct ProgramVerdict {
    enum class End {
        // The program is executed.
        Executed,
        // It is not executed, for `reason`, and the child goes on.
        Refused,
        // It is not executed, because its arguments are too long, and the child goes on.
        ArgumentsTooLong,
        // The system ends the child before the program begins; `reason` names the signal.
        Killed,
    };
    End end = End::Executed;
    std::string reason = {};
    // The error number with which the system refuses the program.
    int error = 0;
};

// How much room arguments take: their number, their bytes with a zero after each, and
// the bytes of the longest of them with its zero.
struct ArgumentSize {
    std::size_t count;
    std::size_t bytes;
    std::size_t longest;
};

// Asks the system whether it would execute programs. If the system does not answer, it
// looks at the files instead.
//
// It does not ask twice if an earlier answer about the same program holds. Smaller
// arguments than accepted ones are accepted; larger ones than those that are too long are
// too long.
class ProgramCheck {
  public:
    // Returns what becomes of an execv of `path` with the argument vector `vector`.
    ProgramVerdict Check(std::string const& path, std::vector<std::string> const& vector);

    // Returns the error number of the first time that the system could not be asked;
    // std::nullopt if it always answered.
    std::optional<int> const& WhyNotAsked() const noexcept { return why_not_asked; }

  private:
    struct Answer {
        ArgumentSize asked;
        ProgramVerdict verdict;
    };

    ProgramVerdict Ask(std::string const& path, std::vector<std::string> vector,
                       ArgumentSize const& size);

    std::map<std::string, std::vector<Answer>> answers;
    std::optional<int> why_not_asked;
};

}  // namespace launchlist_check

#endif
