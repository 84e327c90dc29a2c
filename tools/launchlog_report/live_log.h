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
#include "tools/launchlog_report/line_splitter.h"
#include "tools/launchlog_report/log_reader.h"

namespace launchlog_report {

// Reads a log to its end, again and again.
//
// Nothing is lost if the log is rotated between two calls of Read, once or several times,
// as long as the files are still there: Read reads the file that was open to its end, and
// then every rotated file that it does not know. If the log was copied and truncated,
// Read finds the lines that it has not read in the copy.
class LiveLog {
  public:
    LiveLog(std::string log_path, LineTaker const& taker);
    ~LiveLog();
    LiveLog(LiveLog const&) = delete;
    LiveLog& operator=(LiveLog const&) = delete;

    // Opens the file and adds it to `read_files`. If it is there already, Read does
    // nothing. If the file cannot be opened, Problem says why, and Read tries again.
    void Open(ReadFiles& read_files);

    // Returns why the file at the path cannot be read, in words; an empty string if it
    // can. The last call of Open or Read has found that.
    std::string const& Problem() const { return problem; }

    // Returns whether no file was ever open, and the path still has none.
    bool IsMissing() const;

    // Remembers the rotated files that are there now, so that Read does not read them.
    void NoteRotatedFiles();

    // Passes on the lines written since the last call, across rotation and truncation.
    void Read();

    // Passes on a last line without a line feed.
    void Finish() { lines.Finish(); }

  private:
    // A rotated file with this size and time of change is known.
    using KnownFile = std::pair<off_t, std::filesystem::file_time_type>;

    void ReadToEnd();
    void ReadMissedFiles();
    void ReadMissedFile(std::string const& rotated);
    bool WasTruncated() const;
    bool WasReplaced() const;
    void StartAnew();
    bool SwitchToNewFile();
    bool HasChanged(std::string const& rotated);

    std::string const path;
    LineSplitter lines;
    int file = -1;
    std::string problem;
    Content content;
    bool is_read_elsewhere = false;
    std::map<std::pair<dev_t, ino_t>, KnownFile> known_files;
    // What was read of this log's other files.
    std::vector<Content> known_contents;
};

}  // namespace launchlog_report

#endif
