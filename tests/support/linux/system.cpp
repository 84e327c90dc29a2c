#include "tests/support/system.h"

#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

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
