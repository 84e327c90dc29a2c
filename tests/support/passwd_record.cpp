#include "tests/support/passwd_record.h"

#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "tests/support/system.h"

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
    MountFile(file, place);
}

PasswdRecord::Mount::~Mount() {
    UnmountFile(place);
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
