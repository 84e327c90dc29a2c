// The program that the launcher supervises in tests. It writes how it was started to the
// file PID.start in the directory $TEST_PROGRAM_DIR, and then does what its first
// argument says:
//
//   --exit=N       ends with exit code N
//   --raise=N      ends by signal N
//   --until=PATH   ends with exit code 0 as soon as there is a file PATH
//   --unless=PATH  ends with exit code 0; but if there is a file PATH, makes the file
//                  PID.rests and stays
//   anything else  stays until it is killed
//
// The file has a line "NAME VALUE" for each fact, and a line "argument BYTES" for each
// argument, in order, with its bytes in hexadecimal.

#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <string>

namespace {

long long Now() {
    timespec now = {};
    clock_gettime(CLOCK_MONOTONIC, &now);
    return now.tv_sec * 1000000000LL + now.tv_nsec;
}

std::string Environment(char const* name) {
    char const* const value = std::getenv(name);
    return value != nullptr ? value : "";
}

std::string OpenDescriptors() {
    std::string list;
    DIR* const directory = opendir("/proc/self/fd");
    while (dirent const* const entry = readdir(directory)) {
        int const descriptor = std::atoi(entry->d_name);
        if (entry->d_name[0] != '.' && descriptor != dirfd(directory)) {
            list += " " + std::string(entry->d_name);
        }
    }
    closedir(directory);
    return list;
}

std::string Hexadecimal(char const* text) {
    std::string digits;
    for (; *text != '\0'; ++text) {
        char byte[3];
        std::snprintf(byte, sizeof byte, "%02x", static_cast<unsigned char>(*text));
        digits += byte;
    }
    return digits;
}

void Append(std::string const& file, std::string const& text) {
    int const out = open(file.c_str(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (write(out, text.data(), text.size()) != static_cast<ssize_t>(text.size())) {
        _exit(99);
    }
    close(out);
}

void EndAs(std::string const& order, std::string const& base) {
    std::size_t const divider = order.find('=');
    std::string const verb = order.substr(0, divider);
    std::string const value = order.substr(divider + 1);
    if (verb == "--exit") {
        _exit(std::atoi(value.c_str()));
    } else if (verb == "--raise") {
        raise(std::atoi(value.c_str()));
    } else if (verb == "--until") {
        timespec const pause_between = {0, 2000000};
        while (access(value.c_str(), F_OK) != 0) {
            nanosleep(&pause_between, nullptr);
        }
        _exit(0);
    } else if (verb == "--unless") {
        if (access(value.c_str(), F_OK) != 0) {
            _exit(0);
        }
        Append(base + ".rests", "");
    }
}

}  // namespace

int main(int argc, char** argv) {
    std::string text = "start " + std::to_string(Now()) + "\n";
    text += "descriptors" + OpenDescriptors() + "\n";
    text += "parent " + std::to_string(getppid()) + "\n";
    for (int i = 0; i < argc; ++i) {
        text += "argument " + Hexadecimal(argv[i]) + "\n";
    }
    text += "marker " + Environment("TEST_PROGRAM_MARKER") + "\n";

    std::string const base =
        Environment("TEST_PROGRAM_DIR") + "/" + std::to_string(getpid());
    text += "end " + std::to_string(Now()) + "\n";
    Append(base + ".part", text);
    std::rename((base + ".part").c_str(), (base + ".start").c_str());
    EndAs(argc > 1 ? argv[1] : "", base);
    for (;;) {
        pause();
    }
}
