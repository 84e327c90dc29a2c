// A log that is being written to, rotated and truncated.

#ifndef TOOLS_LAUNCHLOG_REPORT_LIVE_LOG_H
#define TOOLS_LAUNCHLOG_REPORT_LIVE_LOG_H

#include <sys/types.h>

#include <filesystem>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "tools/launchlog_report/content.h"
#include "tools/launchlog_report/log_reader.h"

// Reads a log from its beginning to its end, again and again.
//
// Lines that came between two calls of Read are found across rotations: the file that was
// open before is read to its end, then every rotated file that is new beside it. So
// several rotations between two calls lose nothing, as long as the files are still there.
// If the log was truncated in its place, what was not read yet is taken from its copy.
class LiveLog {
  public:
    LiveLog(std::string log_path, LineTaker const& take);
    ~LiveLog();
    LiveLog(LiveLog const&) = delete;
    LiveLog& operator=(LiveLog const&) = delete;

    // Opens the file, if it is there and not in `read_files`, to which it is added.
    // Returns what is wrong with it, in words; an empty string if it is open or known.
    std::string Open(ReadFiles& read_files);

    std::string const& Path() const { return path; }

    // Says whether the log was never open and is not there.
    bool IsMissing() const;

    // Takes note of the rotated files that are there now. They are not read.
    void NoteRotatedFiles();

    // Passes on the lines written since the last call, across rotation and truncation.
    void Read();

    // Passes on a last line without a line feed.
    void Finish() { lines.Finish(); }

  private:
    // A rotated file with this size and time of change is known already.
    using KnownFile = std::pair<off_t, std::filesystem::file_time_type>;

    void ReadToEnd();
    void ReadMissedFiles();
    void ReadMissedFile(std::string const& file);
    bool WasTruncated() const;
    bool WasReplaced() const;
    void StartAnew();
    void SwitchToNewFile();
    bool HasChanged(std::string const& rotated);

    std::string const path;
    LineSplitter lines;
    int file = -1;
    Content content;
    bool is_known = false;
    std::map<std::pair<dev_t, ino_t>, KnownFile> known_files;
    // What was read of this log's files, the open one apart.
    std::vector<Content> known_contents;
};

#endif
