#include "tests/support/system_log.h"

#include <fcntl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

#include <cstring>
#include <stdexcept>

namespace {

char const kAddress[] = "/dev/log";

}  // namespace

SystemLog::SystemLog() : socket_descriptor(socket(AF_UNIX, SOCK_DGRAM, 0)) {
    fcntl(socket_descriptor, F_SETFD, FD_CLOEXEC);
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    std::memcpy(address.sun_path, kAddress, sizeof kAddress);
    if (bind(socket_descriptor, reinterpret_cast<sockaddr*>(&address), sizeof address) !=
            0 ||
        chmod(kAddress, 0666) != 0) {
        throw std::runtime_error("cannot listen on /dev/log");
    }
}

SystemLog::~SystemLog() {
    close(socket_descriptor);
    unlink(kAddress);
}

std::vector<std::string> SystemLog::Received() const {
    std::vector<std::string> datagrams;
    char buffer[8192];
    for (;;) {
        ssize_t const size = recv(socket_descriptor, buffer, sizeof buffer, MSG_DONTWAIT);
        if (size < 0) {
            return datagrams;
        }
        datagrams.emplace_back(buffer, static_cast<std::size_t>(size));
    }
}
