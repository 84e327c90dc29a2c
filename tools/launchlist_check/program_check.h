// Whether this machine will execute the programs of a launch list.

#ifndef TOOLS_LAUNCHLIST_CHECK_PROGRAM_CHECK_H
#define TOOLS_LAUNCHLIST_CHECK_PROGRAM_CHECK_H

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <vector>

#include "platform/exec_trial.h"

// What becomes of a child of the launcher that executes a program.
struct ProgramVerdict {
    enum class End {
        // The program is executed.
        Executed,
        // It is not, for `reason`, and the child goes on.
        Refused,
        // It is not, as the arguments are too long, and the child goes on.
        ArgumentsTooLong,
        // The system ends the child by a signal, for `reason`.
        Killed,
    };
    End end = End::Executed;
    std::string reason = {};
};

// How much room arguments take: their number, their bytes with a zero after each, and
// the bytes of the longest of them with its zero.
struct ArgumentSize {
    std::size_t count;
    std::size_t bytes;
    std::size_t longest;
};

// Asks the system, or looks at the files where it does not answer. It does not ask again
// about a program where an earlier answer holds: arguments that are no larger in any way
// than accepted ones are accepted, and those no smaller than too long ones are too long.
class ProgramCheck {
  public:
    // Returns what becomes of an execv of `path`, with the arguments of `vector`.
    ProgramVerdict Check(std::string const& path, std::vector<std::string> const& vector);

    // Returns why the system could not be asked, the first time that it could not;
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

#endif
