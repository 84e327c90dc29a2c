// A disk of a test's own, to be filled or write-protected.

#ifndef TESTS_SUPPORT_DISK_H
#define TESTS_SUPPORT_DISK_H

#include <gtest/gtest.h>
#include <sys/mount.h>

#include <cerrno>
#include <filesystem>
#include <utility>

// A small disk on the directory `path`, which is made if need be: inside
// tests/support/contained only. `flags` and `options` are those of mount(2) for a tmpfs.
// No file on it may be open when the object goes.
class Disk {
  public:
    Disk(std::filesystem::path mount_point, unsigned long flags, char const* options)
        : path(std::move(mount_point)) {
        std::filesystem::create_directories(path);
        EXPECT_EQ(mount("none", path.c_str(), "tmpfs", flags, options), 0) << errno;
    }
    ~Disk() { EXPECT_EQ(umount(path.c_str()), 0); }
    Disk(Disk const&) = delete;
    Disk& operator=(Disk const&) = delete;

    std::filesystem::path const& Path() const { return path; }

    // Forbids writing to the disk, or allows it again. Returns whether that was possible:
    // not while a file is open for writing.
    bool SetReadOnly(bool read_only) const {
        unsigned long const flags = MS_REMOUNT | (read_only ? MS_RDONLY : 0);
        return mount(nullptr, path.c_str(), nullptr, flags, "") == 0;
    }

  private:
    std::filesystem::path const path;
};

#endif
