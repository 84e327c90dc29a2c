#include "tests/support/passwd_record.h"

#include <sys/mount.h>
#include <unistd.h>

#include <cerrno>
#include <system_error>

namespace {

char const kPasswd[] = "/etc/passwd";
char const kSwitch[] = "/etc/nsswitch.conf";

void Mount(std::filesystem::path const& file, char const* target) {
    if (mount(file.c_str(), target, nullptr, MS_BIND, nullptr) != 0) {
        throw std::system_error(errno, std::generic_category(), target);
    }
}

}  // namespace

PasswdRecord::PasswdRecord(std::string const& home, std::string const& user)
    : PasswdRecord(Content{user + ":x:" + std::to_string(getuid()) + ":0::" + home +
                           ":/bin/sh\n"}) {}

PasswdRecord PasswdRecord::None() {
    return PasswdRecord(Content{""});
}

PasswdRecord::PasswdRecord(Content const& content) {
    WriteFile(directory.Path() / "passwd", content.text);
    WriteFile(directory.Path() / "switch", "passwd: files\n");
    Mount(directory.Path() / "passwd", kPasswd);
    Mount(directory.Path() / "switch", kSwitch);
}

PasswdRecord::~PasswdRecord() {
    umount(kPasswd);
    umount(kSwitch);
}
