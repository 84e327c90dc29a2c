// Reading the bytes of a log, and making lines of them.

#ifndef TOOLS_LAUNCHLOG_REPORT_LOG_READER_H
#define TOOLS_LAUNCHLOG_REPORT_LOG_READER_H

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <utility>

// Takes one line, without its line feed, and whether only its beginning.
using LineTaker = std::function<void(std::string const& line, bool is_cut)>;

// Takes some bytes; returns false to end the reading.
using ByteTaker = std::function<bool(char const* bytes, std::size_t size)>;

// Files that have been read, so that a file with two names is read once.
using ReadFiles = std::set<std::pair<dev_t, ino_t>>;

// Makes lines of pieces of text.
class LineSplitter {
  public:
    explicit LineSplitter(LineTaker taker) : take(std::move(taker)) {}

    // Hands on the lines that end in these bytes. What is behind the first million bytes
    // of a line is dropped.
    void Add(char const* bytes, std::size_t size);

    // Hands on the beginning of a line that will not end.
    void Finish();

  private:
    void HandOn();

    LineTaker take;
    std::string line;
    bool is_cut = false;
};

// Returns why the open file cannot be read, in words; an empty string if it can, or if it
// is in `read_files`, which sets `is_known`. A file that is not in there is added.
std::string Examine(int file, ReadFiles& read_files, bool& is_known);

// Reads a file that nobody writes to, unpacking it by the command that its name asks for;
// "-" is the standard input. Returns what went wrong, in words; an empty string if all
// was read, or as much as `take` wanted.
std::string ReadBytes(std::string const& path, ByteTaker const& take);

// The same by lines. A file that is in `read_files` is skipped, and one that is not is
// added.
std::string ReadLines(std::string const& path, LineTaker const& take,
                      ReadFiles& read_files);

#endif
