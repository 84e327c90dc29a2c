#include "tools/launchlog_report/log_line.h"

#include <algorithm>
#include <cstddef>
#include <string_view>

namespace {

constexpr std::string_view kTag = "[LAUNCHER  ] ";
constexpr std::string_view kKilled = " is killed. ret = ";
constexpr std::string_view kStatus = ", status = ";
constexpr std::string_view kStartToFork = "Start to fork ";
constexpr std::string_view kFailedToFork = "Failed to fork ";

bool IsDigit(char letter) {
    return letter >= '0' && letter <= '9';
}

bool BeginsWith(std::string_view text, std::string_view beginning) {
    return text.substr(0, beginning.size()) == beginning;
}

// Takes a whole number of at most 18 digits off the beginning of `text`.
std::optional<long long> TakeNumber(std::string_view& text) {
    std::size_t const sign = BeginsWith(text, "-") ? 1 : 0;
    std::size_t end = sign;
    long long value = 0;
    while (end < text.size() && IsDigit(text[end]) && end < sign + 18) {
        value = value * 10 + (text[end] - '0');
        ++end;
    }
    if (end == sign) {
        return std::nullopt;
    }
    text.remove_prefix(end);
    return sign == 1 ? -value : value;
}

// Cuts the process id off the end of `text`; returns false if there is none behind a
// name.
bool CutProcessId(std::string_view& text) {
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
    text = text.substr(0, begin - 1);
    return true;
}

// Reads an end whose " is killed. ret = " is at `place`.
bool ReadEnd(std::string_view message, std::size_t place, LogEvent& event) {
    std::string_view name = message.substr(0, place);
    std::string_view rest = message.substr(place + kKilled.size());
    std::optional<long long> const ret = TakeNumber(rest);
    if (!ret || !BeginsWith(rest, kStatus)) {
        return false;
    }
    rest.remove_prefix(kStatus.size());
    std::optional<long long> const status = TakeNumber(rest);
    if (!status || !CutProcessId(name)) {
        return false;
    }
    event.kind = LogEventKind::End;
    event.name = name;
    event.ret = *ret;
    event.status = *status;
    return true;
}

bool ReadMessage(std::string_view message, LogEvent& event) {
    if (BeginsWith(message, kFailedToFork)) {
        event.kind = LogEventKind::FailedFork;
        event.name = message.substr(kFailedToFork.size());
        return true;
    }
    if (BeginsWith(message, kStartToFork)) {
        return false;
    }
    std::size_t place = message.rfind(kKilled);
    while (place != std::string_view::npos) {
        if (ReadEnd(message, place, event)) {
            return true;
        }
        place = place == 0 ? std::string_view::npos : message.rfind(kKilled, place - 1);
    }
    return false;
}

// Returns the number that ends what stands before the message.
std::string LauncherId(std::string_view head) {
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
    std::size_t const tag = text.find(kTag);
    if (tag == std::string_view::npos) {
        return std::nullopt;
    }
    LogEvent event = {};
    if (!ReadMessage(text.substr(tag + kTag.size()), event)) {
        return std::nullopt;
    }
    event.time = ParseTimeStamp(line);
    event.launcher = LauncherId(text.substr(0, tag));
    return event;
}
