#include "tests/support/system.h"

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
