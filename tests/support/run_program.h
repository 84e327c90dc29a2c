// Runs a program to its end, as a user or a shell does.
//
//   RunProgram({"/bin/cat"}, "text").output  -> "text"

#ifndef TESTS_SUPPORT_RUN_PROGRAM_H
#define TESTS_SUPPORT_RUN_PROGRAM_H

#include <functional>
#include <string>
#include <vector>

struct ProgramRun {
    std::string end;     // "exit 0", "signal 11"
    std::string output;  // what it wrote to the standard output
    std::string errors;  // what it wrote to the standard error
};

// Runs arguments[0], a path, with `input` as its standard input, in a child that has
// called `prepare` before. Waits for its end as Process does.
ProgramRun RunProgram(std::vector<std::string> const& arguments,
                      std::string const& input = "",
                      std::function<void()> const& prepare = {});

#endif
