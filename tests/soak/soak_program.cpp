// The program that the launcher supervises in the soak. It appends a line to the file
// STARTS, in as little time as a program can take:
//
//   soak_program STARTS NAME        stays until it is killed
//   soak_program STARTS NAME HOLD   ends at once with exit code 0; but if the file HOLD
//                                   exists, appends its line there too and stays
//
// The line is "NAME PID". It is one write, so lines of many processes never mix.

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace {

// Appends the line to the file. Returns false if that is not possible.
bool AppendLine(char const* file, int flags, char const* name) {
    char line[128];
    int const length = std::snprintf(line, sizeof line, "%s %d\n", name, getpid());
    int const out = open(file, O_WRONLY | O_APPEND | O_CLOEXEC | flags, 0666);
    return out >= 0 && write(out, line, static_cast<size_t>(length)) == length;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3 || !AppendLine(argv[1], O_CREAT, argv[2])) {
        _exit(99);
    }
    if (argc > 3 && !AppendLine(argv[3], 0, argv[2])) {
        _exit(0);
    }
    for (;;) {
        pause();
    }
}
