#include "tools/launchlog_report/log_line.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

#include "tools/common/text.h"

namespace launchlog_report {
namespace {

using tools::BeginsWith;
using tools::IsDigit;

constexpr std::string_view kTag = "[LAUNCHER  ] ";
constexpr std::string_view kServiceTag = "[SERVICE   ] ";
constexpr std::string_view kKilled = " is killed. ret = ";
constexpr std::string_view kStatus = ", status = ";
constexpr std::string_view kStartToFork = "Start to fork ";
constexpr std::string_view kFailedToFork = "Failed to fork ";
constexpr std::string_view kProgramPathOf = "program path of ";
constexpr std::string_view kIsEmpty = " is empty";
constexpr std::string_view kNamelessItem = "There is an item has no name.";
constexpr std::string_view kUnreadableList = "Error while parsing saved json string.";

bool EndsWith(std::string_view text, std::string_view end) {
    return text.size() >= end.size() && text.substr(text.size() - end.size()) == end;
}

// Takes a whole number, which may be negative, off the beginning of `text`. Returns
// std::nullopt if there is none.
std::optional<long long> TakeSigned(std::string_view& text) {
    bool const is_negative = BeginsWith(text, "-");
    std::string_view rest = text.substr(is_negative ? 1 : 0);
    std::optional<long long> const number = tools::TakeNumber(rest);
    if (!number) {
        return std::nullopt;
    }
    text = rest;
    return is_negative ? -*number : *number;
}

// Cuts the process id off the end of `text`, so that the name is left. Returns false if
// there is no name with a process id after it.
bool CutProcessId(std::string_view& text, std::string_view& id) {
    std::size_t begin = text.size();
    while (begin > 0 && IsDigit(text[begin - 1])) {
        --begin;
    }
    if (begin == text.size()) {
        return false;
    }
    if (begin > 0 && text[begin - 1] == '-') {
        --begin;
    }
    if (begin == 0 || text[begin - 1] != ' ') {
        return false;
    }
    id = text.substr(begin);
    text = text.substr(0, begin - 1);
    return true;
}

// Reads an end whose " is killed. ret = " is at `place`.
bool ReadEnd(std::string_view message, std::size_t place, LogEvent& event) {
    std::string_view name = message.substr(0, place);
    std::string_view rest = message.substr(place + kKilled.size());
    std::optional<long long> const ret = TakeSigned(rest);
    if (!ret || !BeginsWith(rest, kStatus)) {
        return false;
    }
    rest.remove_prefix(kStatus.size());
    std::optional<long long> const status = TakeSigned(rest);
    std::string_view child;
    if (!status || !CutProcessId(name, child)) {
        return false;
    }
    event.kind = LogEventKind::End;
    event.child = child;
    event.name = name;
    event.ret = *ret;
    event.status = *status;
    return true;
}

// Reads an end, wherever its words are in the message. If there are several, the last
// counts.
bool FindEnd(std::string_view message, LogEvent& event) {
    std::size_t place = message.rfind(kKilled);
    while (place != std::string_view::npos) {
        if (ReadEnd(message, place, event)) {
            return true;
        }
        place = place == 0 ? std::string_view::npos : message.rfind(kKilled, place - 1);
    }
    return false;
}

// Reads a message of this beginning and a name.
bool ReadName(std::string_view message, std::string_view beginning, LogEventKind kind,
              LogEvent& event) {
    if (!BeginsWith(message, beginning)) {
        return false;
    }
    event.kind = kind;
    event.name = message.substr(beginning.size());
    return true;
}

bool ReadNoProgram(std::string_view message, LogEvent& event) {
    std::size_t const end = message.rfind(kIsEmpty);
    if (end == std::string_view::npos || end < kProgramPathOf.size()) {
        return false;
    }
    return ReadName(message.substr(0, end), kProgramPathOf, LogEventKind::NoProgram,
                    event);
}

void ReadMessage(std::string_view message, LogEvent& event) {
    if (ReadName(message, kFailedToFork, LogEventKind::FailedFork, event) ||
        ReadName(message, kStartToFork, LogEventKind::Start, event) ||
        (EndsWith(message, kIsEmpty) && ReadNoProgram(message, event)) ||
        FindEnd(message, event) || ReadNoProgram(message, event)) {
        return;
    }
    if (BeginsWith(message, kNamelessItem)) {
        event.kind = LogEventKind::NamelessItem;
    } else if (BeginsWith(message, kUnreadableList)) {
        event.kind = LogEventKind::UnreadableList;
    }
}

// Returns the number at the end of what stands before the message; an empty string if
// there is none.
std::string ProcessId(std::string_view head) {
    while (!head.empty() && head.back() == ' ') {
        head.remove_suffix(1);
    }
    std::size_t begin = head.size();
    while (begin > 0 && IsDigit(head[begin - 1])) {
        --begin;
    }
    bool const is_word = begin == 0 || head[begin - 1] == ' ';
    return is_word ? std::string(head.substr(begin)) : "";
}

}  // namespace

std::optional<LogEvent> ParseLogLine(std::string const& line) {
    std::string_view text = line;
    if (!text.empty() && text.back() == '\r') {
        text.remove_suffix(1);
    }
    LogEvent event;
    std::size_t const tag = text.find(kTag);
    if (tag != std::string_view::npos) {
        ReadMessage(text.substr(tag + kTag.size()), event);
        event.process = ProcessId(text.substr(0, tag));
    } else if (text.find(kServiceTag) == std::string_view::npos) {
        return std::nullopt;
    }
    event.time = ParseTimeStamp(line);
    return event;
}

std::optional<ProgramEnd> StatusOf(LogEvent const& end) {
    if (end.ret == -1) {
        return std::nullopt;
    }
    return DecodeWaitStatus(end.status);
}

}  // namespace launchlog_report
