// The text of one line of the log.

#ifndef LIBLOGGER_LINE_H
#define LIBLOGGER_LINE_H

#include <cstdarg>
#include <cstddef>
#include <string_view>

#include "common/config/log.h"
#include "liblogger/line_buffer.h"

namespace liblogger {

// Composes a line such as
//
//   2026-01-31T23:59:59.007Z ERROR 4711 [LAUNCHER  ] agent 4712 is killed. ret = ...
//
// from the time in UTC, the level, the process id and the message. Only a line that is
// longer than the object's own 512 bytes takes memory from the system.
class Line {
  public:
    // Begins the line with everything before the message.
    explicit Line(LOGLEVEL level) noexcept;

    // Appends the message, formatted in the manner of printf, and ends the line. Control
    // bytes are escaped: a line feed becomes \x0A. A message that cannot be formatted
    // becomes its format. Returns false if there is no memory for the line.
    bool AppendMessage(char const* format, va_list arguments) noexcept;

    // Return the line with its line feed; the first also has a line feed before it. Valid
    // as long as the object.
    std::string_view WithLineFeedBefore() noexcept { return {buffer.Data(), length}; }
    std::string_view Alone() noexcept { return {buffer.Data() + 1, length - 1}; }

  private:
    bool EscapeAndEnd(std::size_t message_end) noexcept;

    LineBuffer buffer;
    std::size_t length = 0;
};

}  // namespace liblogger

#endif
