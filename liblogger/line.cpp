#include "liblogger/line.h"

#include <unistd.h>

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <ctime>

#include "common/config/log_levels.h"
#include "liblogger/date.h"

namespace liblogger {

namespace {

char const* WordOf(LOGLEVEL number) noexcept {
    for (log_levels::Level const& level : log_levels::kAll) {
        if (level.number == number) {
            return level.word;
        }
    }
    return "UNKNOWN";
}

bool IsControl(char byte) noexcept {
    auto const value = static_cast<unsigned char>(byte);
    return value < 0x20 || value == 0x7F;
}

// Escapes the control bytes between `begin` and `end`, of which there are `escapes`, as
// \x0A, and returns the new end. Goes from the end to the begin, as the text grows.
char* Escape(char const* begin, char* end, std::size_t escapes) noexcept {
    char const* const digits = "0123456789ABCDEF";
    char* out = end + 3 * escapes;
    char* const new_end = out;
    while (out != end && end != begin) {
        char const byte = *--end;
        if (IsControl(byte)) {
            *--out = digits[byte % 16];
            *--out = digits[byte / 16];
            *--out = 'x';
            *--out = '\\';
        } else {
            *--out = byte;
        }
    }
    return new_end;
}

}  // namespace

// The line feed at the begin is left out of most lines. What is written here is shorter
// than 100 bytes.
Line::Line(LOGLEVEL level) noexcept {
    timespec now = {};
    clock_gettime(CLOCK_REALTIME, &now);
    long long const seconds = now.tv_sec;
    Date const date = DateOfDay(seconds / 86400);
    auto const second = static_cast<int>(seconds % 86400);
    length = static_cast<std::size_t>(std::snprintf(
        buffer.Data(), buffer.Size(), "\n%04d-%02d-%02dT%02d:%02d:%02d.%03dZ %s %d ",
        date.year, date.month, date.day, second / 3600, second / 60 % 60, second % 60,
        static_cast<int>(now.tv_nsec / 1000000), WordOf(level), getpid()));
}

bool Line::AppendMessage(char const* format, va_list arguments) noexcept {
    va_list again;
    va_copy(again, arguments);
    int const result =
        std::vsnprintf(buffer.Data() + length, buffer.Size() - length, format, arguments);
    auto const wanted =
        result < 0 ? std::strlen(format) : static_cast<std::size_t>(result);
    bool const is_complete = result >= 0 && wanted < buffer.Size() - length;
    bool const has_room = buffer.Reserve(length + wanted + 1, length);
    if (has_room && result < 0) {
        std::memcpy(buffer.Data() + length, format, wanted);
    } else if (has_room && !is_complete) {
        std::vsnprintf(buffer.Data() + length, wanted + 1, format, again);
    }
    va_end(again);
    return has_room && EscapeAndEnd(length + wanted);
}

// Escapes the message, which begins at `length`, and appends the line feed.
bool Line::EscapeAndEnd(std::size_t message_end) noexcept {
    auto const escapes = static_cast<std::size_t>(
        std::count_if(buffer.Data() + length, buffer.Data() + message_end, IsControl));
    if (!buffer.Reserve(message_end + 3 * escapes + 1, message_end)) {
        return false;
    }
    char* const begin = buffer.Data();
    char* const new_end = Escape(begin + length, begin + message_end, escapes);
    *new_end = '\n';
    length = static_cast<std::size_t>(new_end + 1 - begin);
    return true;
}

}  // namespace liblogger
