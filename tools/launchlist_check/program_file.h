// Will the system execute a file?
//
//   WhyNotExecutable("/bin/sh")       -> ""
//   WhyNotExecutable("/nonexistent")  -> "No such file or directory"
//   WhyNotExecutable("/tmp")          -> "it is a directory"

#ifndef TOOLS_LAUNCHLIST_CHECK_PROGRAM_FILE_H
#define TOOLS_LAUNCHLIST_CHECK_PROGRAM_FILE_H

#include <string>

namespace launchlist_check {

// Returns why an execv of `path` by the user of this process would fail; an empty string
// if nothing speaks against it. Reasons are: the file is missing, may not be executed or
// is empty; or it is a script whose interpreter is not named, or cannot be executed
// itself. Nothing is executed; only the beginnings of the files are read.
std::string WhyNotExecutable(std::string const& path);

// Returns what the beginning of the file shows it to be: "an ELF file for AArch64", "an
// object file", "a core file", "a Mach-O file", "a program for Windows"; an empty string
// for all others.
std::string FileFormat(std::string const& path);

// Returns true if the file begins like the program of this process: it is for the same
// processor. Returns false if the system does not show that program.
bool IsForThisMachine(std::string const& path);

}  // namespace launchlist_check

#endif
