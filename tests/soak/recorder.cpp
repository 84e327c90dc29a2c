// The program that the launcher supervises in the soak: it says that it was started, in
// as little time as a program can take.
//
//   recorder STARTS NAME          stays until it is killed
//   recorder STARTS NAME HOLD     ends at once with exit code 0; once there is a file
//                                 HOLD, it says its line there too and stays
//
// Its line is "NAME PID", in one write, so that lines of many processes never mix.

#include <fcntl.h>
#include <unistd.h>

#include <cstdio>

namespace {

// Appends the line to the file, and says whether that was possible.
bool Say(char const* file, int flags, char const* name) {
    char line[128];
    int const length = std::snprintf(line, sizeof line, "%s %d\n", name, getpid());
    int const out = open(file, O_WRONLY | O_APPEND | O_CLOEXEC | flags, 0666);
    return out >= 0 && write(out, line, static_cast<size_t>(length)) == length;
}

}  // namespace

int main(int argc, char** argv) {
    if (argc < 3 || !Say(argv[1], O_CREAT, argv[2])) {
        _exit(99);
    }
    if (argc > 3 && !Say(argv[3], 0, argv[2])) {
        _exit(0);
    }
    for (;;) {
        pause();
    }
}
