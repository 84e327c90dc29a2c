#include "tools/launchlist_check/program_check.h"

#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

#include "tools/launchlist_check/program_file.h"

// NOLINTNEXTLINE(readability-redundant-declaration): not every system declares it.
extern char** environ;

namespace {

using End = ProgramVerdict::End;

// Linux takes no longer string among the arguments, its zero included.
constexpr std::size_t kLongestArgument = 131'072;

std::size_t SizeOf(std::string const& text) {
    return text.size() + 1;
}

std::size_t TotalSize(std::vector<std::string> const& texts) {
    std::size_t sum = 0;
    for (std::string const& text : texts) {
        sum += SizeOf(text);
    }
    return sum;
}

std::size_t LongestSize(std::vector<std::string> const& texts) {
    std::size_t longest = 0;
    for (std::string const& text : texts) {
        longest = std::max(longest, SizeOf(text));
    }
    return longest;
}

std::vector<std::string> Environment() {
    std::vector<std::string> variables;
    for (char** variable = environ; variable != nullptr && *variable != nullptr;
         ++variable) {
        variables.emplace_back(*variable);
    }
    return variables;
}

ProgramVerdict TooLong(std::vector<std::string> const& vector) {
    std::vector<std::string> const environment = Environment();
    return {End::ArgumentsTooLong,
            "the arguments take " + std::to_string(TotalSize(vector)) +
                " bytes, the longest " + std::to_string(LongestSize(vector)) +
                ", and the environment " + std::to_string(TotalSize(environment))};
}

// The look at the files, where the system cannot be asked.
ProgramVerdict Look(std::string const& path, std::vector<std::string> const& vector) {
    std::string const reason = WhyNotExecutable(path);
    if (!reason.empty()) {
        return {End::Refused, reason};
    }
    std::vector<std::string> const environment = Environment();
    std::size_t const size = TotalSize(vector) + TotalSize(environment) + SizeOf(path) +
                             (vector.size() + environment.size()) * sizeof(char*);
    long const limit = sysconf(_SC_ARG_MAX);
    bool const is_too_long = limit > 0 && size > static_cast<std::size_t>(limit);
    return is_too_long || LongestSize(vector) > kLongestArgument ? TooLong(vector)
                                                                 : ProgramVerdict();
}

// Returns the reason in the words of the look at the file, if it knows one.
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
        default:
            return format.empty() ? text : text + ": it is " + format;
    }
}

}  // namespace

ProgramVerdict ProgramCheck::Check(std::string const& path,
                                   std::vector<std::string> vector) {
    std::size_t const bytes = TotalSize(vector);
    std::size_t const longest = LongestSize(vector);
    auto const known = asked.find(path);
    if (known != asked.end() && vector.size() <= known->second.count &&
        bytes <= known->second.bytes && longest <= known->second.longest &&
        known->second.verdict.end != End::ArgumentsTooLong) {
        return known->second.verdict;
    }
    ProgramVerdict verdict = Ask(path, vector);
    asked[path] = {vector.size(), bytes, longest, verdict};
    return verdict;
}

ProgramVerdict ProgramCheck::Ask(std::string const& path,
                                 std::vector<std::string>& vector) {
    std::vector<char*> pointers;
    pointers.reserve(vector.size() + 1);
    for (std::string& text : vector) {
        pointers.push_back(text.data());
    }
    pointers.push_back(nullptr);
    struct stat status = {};
    if (stat(path.c_str(), &status) != 0) {
        return {End::Refused, std::strerror(errno)};
    }
    ExecTrial const trial = TryExec(path.c_str(), pointers.data());
    switch (trial.answer) {
        case ExecTrial::Answer::Accepted:
            return {};
        case ExecTrial::Answer::Refused:
            return trial.error == E2BIG
                       ? TooLong(vector)
                       : ProgramVerdict{End::Refused, WhyRefused(path, trial.error)};
        case ExecTrial::Answer::Killed:
            return {End::Killed, "signal " + std::to_string(trial.error)};
        case ExecTrial::Answer::NotAsked:
            break;
    }
    if (!why_not_asked) {
        why_not_asked = trial.error;
    }
    return Look(path, vector);
}
