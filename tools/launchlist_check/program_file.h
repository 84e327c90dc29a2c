// Will the system execute a file?
//
//   WhyNotExecutable("/bin/sh")       -> ""
//   WhyNotExecutable("/nonexistent")  -> "No such file or directory"
//   WhyNotExecutable("/tmp")          -> "it is a directory"

#ifndef TOOLS_LAUNCHLIST_CHECK_PROGRAM_FILE_H
#define TOOLS_LAUNCHLIST_CHECK_PROGRAM_FILE_H

#include <string>

// Returns why an execv of `path` by the user of this process would fail, or an empty
// string if there is no reason in sight: the file is there, may be executed, and is
// neither empty nor a script that names no interpreter, or none that may be executed.
// Nothing is executed; the beginning of the file is read, and that of its interpreters.
std::string WhyNotExecutable(std::string const& path);

// Returns what the beginning of the file shows it to be: "an ELF file for AArch64", "an
// object file", "a core file", "a Mach-O file", "a program for Windows"; an empty string
// if it is none of them.
std::string FileFormat(std::string const& path);

// Says whether the file begins as a program for this processor does: the program of this
// process is the measure. Returns false where the system does not show that program.
bool IsForThisMachine(std::string const& path);

#endif
