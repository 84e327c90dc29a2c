#include "tests/support/passwd_record.h"

#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <stdexcept>
#include <system_error>

namespace {

std::string RecordOfRunningUser(std::string const& home, std::string const& user) {
    return user + ":x:" + std::to_string(getuid()) + ":" + std::to_string(getgid()) +
           "::" + home + ":/bin/sh\n";
}

}  // namespace

PasswdRecord::Mount::Mount(std::string const& file, char const* where) : place(where) {
    if (std::getenv("CONTAINED_FROM") == nullptr) {
        throw std::logic_error("a passwd record is mounted inside the containment only");
    }
    if (mount(file.c_str(), place, nullptr, MS_BIND, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), place);
    }
}

PasswdRecord::Mount::~Mount() {
    umount2(place, MNT_DETACH);
}

PasswdRecord::PasswdRecord(std::string const& home, std::string const& user)
    : PasswdRecord(Records{RecordOfRunningUser(home, user)}) {}

PasswdRecord PasswdRecord::None() {
    return PasswdRecord(Records{""});
}

PasswdRecord::PasswdRecord(Records const& records)
    : sources(directory.Write("nsswitch.conf", "passwd: files\n"), "/etc/nsswitch.conf"),
      users(directory.Write("passwd", records.text), "/etc/passwd") {}

PasswdRecord::~PasswdRecord() = default;
