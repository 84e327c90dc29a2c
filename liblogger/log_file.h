// The log file, opened for one line.

#ifndef LIBLOGGER_LOG_FILE_H
#define LIBLOGGER_LOG_FILE_H

#include <sys/types.h>

#include <cstddef>
#include <string>

namespace liblogger {

// Opens the file at `path` for appending, creates it if it is missing, and closes it with
// the object. No program that this process starts inherits it, and its descriptor is
// never 0, 1 or 2.
class LogFile {
  public:
    explicit LogFile(std::string const& path) noexcept;
    ~LogFile();
    LogFile(LogFile const&) = delete;
    LogFile& operator=(LogFile const&) = delete;

    // Appends the text with a single write. Returns the number of bytes written, which is
    // smaller than `length` on a full disk, or -1 if the file is not open or the write
    // fails.
    ssize_t Write(char const* text, std::size_t length) const noexcept;

  private:
    int descriptor;
};

}  // namespace liblogger

#endif
