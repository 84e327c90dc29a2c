// Files that others read while they are written.

#ifndef TOOLS_LAUNCHLOG_REPORT_OUTPUT_FILE_H
#define TOOLS_LAUNCHLOG_REPORT_OUTPUT_FILE_H

#include <string>

namespace launchlog_report {

// Writes `text` to a new file beside `path`, which then replaces the one at `path`. So a
// reader sees the old text or the new one, and never a part of it. The new file has the
// permissions of the old one, or those of any new file. A link stays; the file at its
// target is replaced. A device or a pipe is written to.
//
// Returns what failed, in words; an empty string if nothing did. Then the file at `path`
// is the old one.
std::string ReplaceFile(std::string const& path, std::string const& text);

}  // namespace launchlog_report

#endif
