// Reading the lines of logs, once or as they come.

#ifndef TOOLS_LAUNCHLOG_REPORT_LOG_READER_H
#define TOOLS_LAUNCHLOG_REPORT_LOG_READER_H

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <set>
#include <string>
#include <utility>

// Takes one line, without its line feed.
using LineTaker = std::function<void(std::string const&)>;

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
    LineTaker take;
    std::string line;
};

// Reads a file that nobody writes to, unpacking it by the command that its name asks for;
// "-" is the standard input. A file that is in `read_files` is passed over, and one that
// is not is added. Returns what went wrong, in words; nothing if all was read.
std::string ReadLines(std::string const& path, LineTaker const& take,
                      ReadFiles& read_files);

// A log that is being written to, and rotated.
class LiveLog {
  public:
    LiveLog(std::string log_path, LineTaker const& take);
    ~LiveLog();
    LiveLog(LiveLog const&) = delete;
    LiveLog& operator=(LiveLog const&) = delete;

    // Opens the file, if it is there and not in `read_files`, to which it is added.
    // Returns what is wrong with it, in words; nothing if it is open or passed over.
    std::string Open(ReadFiles& read_files);

    // Hands on the lines that have come since the last call; from the file that is now at
    // the path, too, if that is another one than before, or has become shorter.
    void Read();

    // Hands on a last line without a line feed.
    void Finish() { lines.Finish(); }

  private:
    void ReadToEnd();
    bool WasReplaced() const;
    void Close();

    std::string const path;
    LineSplitter lines;
    int file = -1;
    off_t offset = 0;
    bool is_passed_over = false;
};

#endif
