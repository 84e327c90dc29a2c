// A program of which there must be one at a time:
//
//   lone_program NAME FILE KIND
//
// It binds a socket of this name, which the kernel frees when the program has ended. If
// that fails, another copy runs. It adds a line to FILE, "PID alone" or "PID not alone".
// Then it does what KIND says:
//
//   deaf    ignores SIGTERM, and stays
//   works   stays, and ends 20 ms after SIGTERM
//   brief   ends after up to 30 ms
//   family  is deaf, and has a child in a session of its own, whose parent has ended. The
//           child is deaf, and must be the only one of its kind too

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

#include <csignal>
#include <cstdio>
#include <ctime>
#include <string>

namespace {

void Sleep(int milliseconds) {
    timespec const time = {0, milliseconds * 1'000'000L};
    nanosleep(&time, nullptr);
}

bool TakeName(std::string const& name) {
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    name.copy(address.sun_path + 1, sizeof address.sun_path - 1);
    int const held = socket(AF_UNIX, SOCK_DGRAM, 0);
    return bind(held, reinterpret_cast<sockaddr*>(&address), sizeof address) == 0;
}

void BeAlone(std::string const& name, char const* file) {
    bool const is_alone = TakeName(name);
    int const out = open(file, O_WRONLY | O_CREAT | O_APPEND, 0666);
    dprintf(out, "%d %s\n", getpid(), is_alone ? "alone" : "not alone");
    close(out);
}

void EndSoon(int) {
    Sleep(20);
    _exit(0);
}

[[noreturn]] void Stay() {
    for (;;) {
        pause();
    }
}

// Makes a process whose parent has ended.
void MakeChild(std::string const& name, char const* file) {
    if (fork() != 0) {
        return;
    }
    if (fork() != 0) {
        _exit(0);
    }
    setsid();
    BeAlone(name, file);
    Stay();
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 4) {
        return 2;
    }
    std::string const name = argv[1];
    std::string const kind = argv[3];
    std::signal(SIGTERM, kind == "works" ? EndSoon : SIG_IGN);
    BeAlone(name, argv[2]);
    if (kind == "brief") {
        Sleep(getpid() % 30);
        return 0;
    }
    if (kind == "family") {
        MakeChild(name + "/child", argv[2]);
    }
    Stay();
}
