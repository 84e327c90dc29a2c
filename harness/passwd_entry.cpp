#include "harness/passwd_entry.h"

#include <unistd.h>

#include <cstdlib>
#include <stdexcept>

#include "harness/system.h"

namespace {

std::string EntryOfRunningUser(std::string const& home, std::string const& user) {
    return user + ":x:" + std::to_string(getuid()) + ":" + std::to_string(getgid()) +
           "::" + home + ":/bin/sh\n";
}

}  // namespace

PasswdEntry::Mount::Mount(std::string const& file, char const* where) : place(where) {
    if (std::getenv("CONTAINED_FROM") == nullptr) {
        throw std::logic_error(
            "a passwd entry can only be mounted inside tests/support/contained");
    }
    MountFile(file, place);
}

PasswdEntry::Mount::~Mount() {
    UnmountFile(place);
}

PasswdEntry::PasswdEntry(std::string const& home, std::string const& user)
    : PasswdEntry(Entries{EntryOfRunningUser(home, user)}) {}

PasswdEntry PasswdEntry::None() {
    return PasswdEntry(Entries{""});
}

PasswdEntry::PasswdEntry(Entries const& entries)
    : sources(directory.Write("nsswitch.conf", "passwd: files\n"), "/etc/nsswitch.conf"),
      users(directory.Write("passwd", entries.text), "/etc/passwd") {}

PasswdEntry::~PasswdEntry() = default;
