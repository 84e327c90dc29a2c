// The names of launcher logs, and of the files that rotation made of them.

#ifndef TOOLS_LAUNCHLOG_REPORT_LOG_FILES_H
#define TOOLS_LAUNCHLOG_REPORT_LOG_FILES_H

#include <string>
#include <vector>

#include "tools/launchlog_report/compression.h"

namespace launchlog_report {

// The path of a log file, and its parts: "a/launcher.log.3.gz" is the third rotated file
// of "a/launcher.log", compressed by gzip.
struct LogName {
    // The whole path.
    std::string path;
    // The path before rotation and compression, normalized: "a/launcher.log".
    std::string original;
    // The number or the date that rotation appended, without the "." or "-" before it:
    // "3". Empty if the file was not rotated.
    std::string mark;
    // How the file is compressed; null if it is not.
    Compression const* compression;

    // Returns whether this is the name of a log itself, neither rotated nor compressed.
    bool IsOriginal() const { return mark.empty() && compression == nullptr; }
};

LogName ParseLogName(std::string const& path);

// Returns the files that logrotate or newsyslog made of `log`, in the same directory, the
// oldest first. They have its name and a number or a date (".0", ".12", "-20261121",
// ".20261121T0000"), and may be compressed (".gz", ".bz2", ".xz", ".zst"). A compressed
// file is left out if the same file is there uncompressed.
std::vector<std::string> RotatedFiles(std::string const& log);

// Orders files by what rotation appended to their names, the oldest first. Leaves out a
// compressed file if the same file is among them uncompressed.
std::vector<std::string> OldestFirst(std::vector<std::string> const& files);

// Returns the launcher logs of the user with this home directory, for every product:
// HOME/Library/Logs/PRODUCT/voplog/launcher.log. A log is found even if only its rotated
// files exist.
std::vector<std::string> FindLogs(std::string const& home);

}  // namespace launchlog_report

#endif
