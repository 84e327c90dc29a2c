#include "harness/system.h"

#include <unistd.h>

#include <stdexcept>

void CloseDescriptorsFrom(int first) {
    int const end = getdtablesize();
    for (int descriptor = first; descriptor < end; ++descriptor) {
        close(descriptor);
    }
}

void MountFile(std::string const& /*file*/, char const* /*place*/) {
    throw std::logic_error("files are mounted on Linux only");
}

void UnmountFile(char const* /*place*/) noexcept {}

void MountDisk(std::string const& /*place*/, char const* /*options*/) {
    throw std::logic_error("disks are mounted on Linux only");
}

bool SetDiskReadOnly(std::string const& /*place*/, bool /*read_only*/) {
    throw std::logic_error("disks are mounted on Linux only");
}

bool UnmountDisk(std::string const& /*place*/) noexcept {
    return false;
}

void LimitDescriptors(pid_t /*process*/, unsigned long /*number*/) {
    throw std::logic_error("other processes are limited on Linux only");
}

pid_t CurrentThread() {
    throw std::logic_error("threads have the ids of processes on Linux only");
}
