// Where launcher logs are, and what became of the older parts of them.

#ifndef TOOLS_LAUNCHLOG_REPORT_LOG_FILES_H
#define TOOLS_LAUNCHLOG_REPORT_LOG_FILES_H

#include <string>
#include <vector>

// Returns the files beside `log` that logrotate or newsyslog made of it, the oldest
// first: those with its name and a number or a date (".0", ".12", "-20261121",
// ".20261121T0000"), perhaps packed (".gz", ".bz2", ".xz", ".zst"). Of a file that is
// there both packed and not, only the latter.
std::vector<std::string> RotatedFiles(std::string const& log);

// Returns the files with the oldest first, by what rotation appended to their names, and
// without packed ones whose originals are among them.
std::vector<std::string> OldestFirst(std::vector<std::string> const& files);

// Returns the name that the file had before rotation and packing: "launcher.log" for
// "launcher.log.3.gz".
std::string OriginalName(std::string const& path);

// Says whether the file has the name of one that rotation made: "launcher.log.3.gz".
bool IsRotated(std::string const& path);

// Returns the launcher logs under the home directory, whatever the product's name:
// HOME/Library/Logs/PRODUCT/voplog/launcher.log.
std::vector<std::string> FindLogs(std::string const& home);

// Returns the command that unpacks its standard input, if the file has the name of a
// packed one, else an empty string.
std::string UnpackingCommand(std::string const& path);

// The same by what the file holds, whatever its name.
std::string UnpackingCommandFor(std::string const& content);

#endif
