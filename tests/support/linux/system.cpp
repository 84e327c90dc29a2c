#include "tests/support/system.h"

#include <sys/mount.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <filesystem>
#include <system_error>

#include "tests/support/files.h"

void CloseDescriptorsFrom(int first) {
    close_range(static_cast<unsigned int>(first), ~0U, 0);
}

void MountFile(std::string const& file, char const* place) {
    if (mount(file.c_str(), place, nullptr, MS_BIND, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), place);
    }
}

void UnmountFile(char const* place) noexcept {
    umount2(place, MNT_DETACH);
}

int CountOpeningThreads(pid_t process) {
    std::string const opening = std::to_string(SYS_openat) + " ";
    int count = 0;
    std::error_code error;
    std::filesystem::path const tasks = "/proc/" + std::to_string(process) + "/task";
    for (auto const& task : std::filesystem::directory_iterator(tasks, error)) {
        std::string const call = ReadFile(task.path() / "syscall");
        count += call.compare(0, opening.size(), opening) == 0 ? 1 : 0;
    }
    return count;
}
