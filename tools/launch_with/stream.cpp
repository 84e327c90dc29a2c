#include "tools/launch_with/stream.h"

#include <fcntl.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <cstring>

namespace launch_with {

namespace {

void CloseOnce(int& descriptor) {
    if (descriptor >= 0) {
        close(descriptor);
        descriptor = -1;
    }
}

}  // namespace

std::size_t AppendToFile(char const* path, char const* text, std::size_t size) noexcept {
    // A pipe without a reader is an error, and not a reason to wait.
    int const file = open(
        path, O_WRONLY | O_APPEND | O_CREAT | O_CLOEXEC | O_NOCTTY | O_NONBLOCK, 0666);
    if (file < 0) {
        return 0;
    }
    std::size_t written = 0;
    while (written < size) {
        ssize_t const count = write(file, text + written, size - written);
        if (count < 0 && errno == EINTR) {
            continue;
        }
        if (count <= 0) {
            break;
        }
        written += static_cast<std::size_t>(count);
    }
    int const error = errno;
    close(file);
    errno = error;
    return written;
}

Stream::~Stream() {
    CloseOnce(read_end);
    CloseOnce(write_end);
}

bool Stream::Open(char const* file_path, long tail_lines) noexcept {
    int ends[2] = {-1, -1};
    if (pipe(ends) != 0) {
        return false;
    }
    read_end = ends[0];
    write_end = ends[1];
    fcntl(read_end, F_SETFD, FD_CLOEXEC);
    fcntl(write_end, F_SETFD, FD_CLOEXEC);
    fcntl(read_end, F_SETFL, O_NONBLOCK);
    path = file_path;
    lines = tail_lines;
    return true;
}

void Stream::CloseWriteEnd() noexcept {
    CloseOnce(write_end);
}

bool Stream::Copy() noexcept {
    if (read_end < 0) {
        return false;
    }
    char chunk[16'384];
    ssize_t const count = read(read_end, chunk, sizeof chunk);
    if (count > 0) {
        Add(chunk, static_cast<std::size_t>(count));
        return true;
    }
    if (count == 0) {
        CloseOnce(read_end);
    }
    return count < 0 && errno == EINTR;
}

void Stream::Add(char const* text, std::size_t size) noexcept {
    if (path == nullptr) {
        return;
    }
    if (lines > 0) {
        Keep(text, size);
    } else {
        Write(text, size);
    }
}

void Stream::Keep(char const* text, std::size_t size) noexcept {
    while (size > 0) {
        std::size_t const place = received % kTailSize;
        std::size_t const count = std::min(size, kTailSize - place);
        std::memcpy(kept + place, text, count);
        received += count;
        text += count;
        size -= count;
    }
}

void Stream::Write(char const* text, std::size_t size) noexcept {
    ReportLoss();
    std::size_t const written = lost == 0 ? AppendToFile(path, text, size) : 0;
    if (written < size) {
        why_lost = lost == 0 ? errno : why_lost;
        lost += size - written;
    }
}

// Tells of what was lost, if that is possible again.
void Stream::ReportLoss() noexcept {
    if (lost == 0) {
        return;
    }
    char note[160];
    int const size = std::snprintf(note, sizeof note,
                                   "\nlaunch-with: %llu bytes of output were lost: %s\n",
                                   lost, std::strerror(why_lost));
    if (AppendToFile(path, note, static_cast<std::size_t>(size)) ==
        static_cast<std::size_t>(size)) {
        lost = 0;
    }
}

void Stream::WriteTail(char const* note) noexcept {
    unsigned long long const oldest = received > kTailSize ? received - kTailSize : 0;
    unsigned long long first = received;
    long wanted = lines;
    // The end of the last line does not begin another one.
    while (first > oldest) {
        bool const is_break = kept[(first - 1) % kTailSize] == '\n' && first != received;
        if (is_break && --wanted == 0) {
            break;
        }
        --first;
    }
    bool const is_line_open = received > 0 && kept[(received - 1) % kTailSize] != '\n';
    while (first < received) {
        std::size_t const place = first % kTailSize;
        std::size_t const count =
            std::min<unsigned long long>(received - first, kTailSize - place);
        Write(kept + place, count);
        first += count;
    }
    received = 0;
    if (*note != '\0') {
        Write("\n", is_line_open ? 1 : 0);
        Write(note, std::strlen(note));
    }
}

}  // namespace launch_with
