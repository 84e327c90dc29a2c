// How log files are compressed.

#ifndef TOOLS_LAUNCHLOG_REPORT_COMPRESSION_H
#define TOOLS_LAUNCHLOG_REPORT_COMPRESSION_H

#include <string>

namespace launchlog_report {

// A way to compress files that this program can read.
struct Compression {
    // What the name of a compressed file ends with: ".gz".
    char const* suffix;
    // The command that decompresses its standard input: "gzip -dc".
    char const* command;
    // What a compressed file begins with.
    char const* first_bytes;
};

// Returns how a file of this name is compressed; null if it is not.
Compression const* CompressionOfName(std::string const& name);

// Returns how a file that begins with these bytes is compressed, whatever its name; null
// if it is not.
Compression const* CompressionOfContent(std::string const& beginning);

}  // namespace launchlog_report

#endif
