// Reading files that nobody writes to.

#ifndef TOOLS_LAUNCHLOG_REPORT_LOG_READER_H
#define TOOLS_LAUNCHLOG_REPORT_LOG_READER_H

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <utility>

#include "tools/launchlog_report/line_splitter.h"

namespace launchlog_report {

// Takes some bytes. Returns false to end the reading.
using ByteTaker = std::function<bool(char const* bytes, std::size_t size)>;

// The files that have been read, so that a file with two names is read once.
class ReadFiles {
  public:
    // Adds an open file. Returns false if it has been added before. Only regular files
    // are remembered: others do not give the same bytes again.
    bool Add(int file);

  private:
    std::set<std::pair<dev_t, ino_t>> files;
};

// Returns why the open file cannot be a log, in words; an empty string if it can.
std::string WhyNotALog(int file);

// Reads a file from its beginning to its end, and decompresses it if its name says that
// it is compressed; "-" is the standard input. Returns what went wrong, in words; an
// empty string if `take` got all that it wanted.
std::string ReadBytes(std::string const& path, ByteTaker const& take);

// Reads a file as ReadBytes does, by lines, and adds it to `read_files`. Skips it if it
// is there already.
std::string ReadLines(std::string const& path, LineTaker const& take,
                      ReadFiles& read_files);

}  // namespace launchlog_report

#endif
