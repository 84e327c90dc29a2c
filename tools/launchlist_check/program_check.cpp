#include "tools/launchlist_check/program_check.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/common/command_line.h"
#include "tools/launchlist_check/program_file.h"

// NOLINTNEXTLINE(readability-redundant-declaration): not every system declares it.
extern char** environ;

namespace launchlist_check {

namespace {

using End = ProgramVerdict::End;

// Linux takes no longer string among the arguments, its zero included.
constexpr std::size_t kLongestArgument = 131'072;

ArgumentSize SizeOf(std::vector<std::string> const& texts) {
    ArgumentSize size = {texts.size(), 0, 0};
    for (std::string const& text : texts) {
        size.bytes += text.size() + 1;
        size.longest = std::max(size.longest, text.size() + 1);
    }
    return size;
}

bool IsWithin(ArgumentSize const& size, ArgumentSize const& limit) {
    return size.count <= limit.count && size.bytes <= limit.bytes &&
           size.longest <= limit.longest;
}

std::vector<std::string> Environment() {
    std::vector<std::string> variables;
    for (char** variable = environ; variable != nullptr && *variable != nullptr;
         ++variable) {
        variables.emplace_back(*variable);
    }
    return variables;
}

ProgramVerdict TooLong(ArgumentSize const& size) {
    return {End::ArgumentsTooLong,
            "the arguments take " + std::to_string(size.bytes) + " bytes, the longest " +
                std::to_string(size.longest) + ", and the environment " +
                std::to_string(SizeOf(Environment()).bytes)};
}

// Returns true if the answer about arguments of the size `asked` also holds for `size`.
bool HoldsFor(ArgumentSize const& size, ArgumentSize const& asked, End answer) {
    switch (answer) {
        case End::Executed:
        case End::Refused:
            return IsWithin(size, asked);
        case End::ArgumentsTooLong:
            return IsWithin(asked, size);
        case End::Killed:
            break;
    }
    // Maybe the program's stack had no room for just these arguments.
    return IsWithin(size, asked) && IsWithin(asked, size);
}

// Judges by the files and the sizes alone, if the system cannot be asked.
ProgramVerdict Look(std::string const& path, ArgumentSize const& arguments) {
    std::string const reason = WhyNotExecutable(path);
    if (!reason.empty()) {
        return {End::Refused, reason};
    }
    ArgumentSize const environment = SizeOf(Environment());
    std::size_t const size = arguments.bytes + environment.bytes + path.size() + 1 +
                             (arguments.count + environment.count) * sizeof(char*);
    long const limit = sysconf(_SC_ARG_MAX);
    bool const is_too_long = limit > 0 && size > static_cast<std::size_t>(limit);
    return is_too_long || arguments.longest > kLongestArgument ? TooLong(arguments)
                                                               : ProgramVerdict();
}

// Returns why the system refused `path` with `error`: what the file shows, or else the
// system's own text.
std::string WhyRefused(std::string const& path, int error) {
    std::string reason = WhyNotExecutable(path);
    if (!reason.empty()) {
        return reason;
    }
    std::string const format = FileFormat(path);
    std::string const text = std::strerror(error);
    switch (error) {
        case ENOENT:
            return text +
                   ": the file is there, but not the loader or interpreter that "
                   "it needs";
        case ELOOP:
            return text + ": scripts interpret scripts, too many or in a circle";
        case ETXTBSY:
            return text + ": it is open for writing";
        case ENOEXEC:
            if (IsForThisMachine(path)) {
                return text + ": it is " + format + ", but damaged or cut short";
            }
            [[fallthrough]];
        default:
            return format.empty() ? text : text + ": it is " + format;
    }
}

}  // namespace

ProgramVerdict ProgramCheck::Check(std::string const& path,
                                   std::vector<std::string> const& vector) {
    ArgumentSize const size = SizeOf(vector);
    std::vector<Answer>& known = answers[path];
    for (Answer const& answer : known) {
        if (HoldsFor(size, answer.asked, answer.verdict.end)) {
            return answer.verdict.end == End::ArgumentsTooLong ? TooLong(size)
                                                               : answer.verdict;
        }
    }
    known.push_back({size, Ask(path, vector, size)});
    return known.back().verdict;
}

ProgramVerdict ProgramCheck::Ask(std::string const& path, std::vector<std::string> vector,
                                 ArgumentSize const& size) {
    std::vector<char*> pointers = tools::Pointers(vector);
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return {End::Refused, std::strerror(errno), errno};
    }
    ExecTrial const trial = TryExec(path.c_str(), pointers.data());
    switch (trial.answer) {
        case ExecTrial::Answer::Accepted:
            return {};
        case ExecTrial::Answer::Refused:
            return trial.error == E2BIG
                       ? TooLong(size)
                       : ProgramVerdict{End::Refused, WhyRefused(path, trial.error),
                                        trial.error};
        case ExecTrial::Answer::Killed:
            return {End::Killed, "signal " + std::to_string(trial.error)};
        case ExecTrial::Answer::NotAsked:
            break;
    }
    if (!why_not_asked) {
        why_not_asked = trial.error;
    }
    return Look(path, size);
}

}  // namespace launchlist_check
