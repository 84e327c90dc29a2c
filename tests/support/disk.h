// A disk of a test's own, to be filled or write-protected.

#ifndef TESTS_SUPPORT_DISK_H
#define TESTS_SUPPORT_DISK_H

#include <gtest/gtest.h>

#include <filesystem>
#include <utility>

#include "harness/system.h"

// A small disk on the directory `path`, which is made if need be: inside
// tests/support/contained only. `options` are those of a tmpfs.
// No file on it may be open when the object goes.
class Disk {
  public:
    // Throws std::system_error if the disk cannot be mounted.
    Disk(std::filesystem::path mount_point, char const* options)
        : path(std::move(mount_point)) {
        std::filesystem::create_directories(path);
        MountDisk(path, options);
    }
    ~Disk() { EXPECT_TRUE(UnmountDisk(path)); }
    Disk(Disk const&) = delete;
    Disk& operator=(Disk const&) = delete;

    std::filesystem::path const& Path() const { return path; }

    // Forbids writing to the disk, or allows it again. Returns whether that was possible:
    // not while a file is open for writing.
    bool SetReadOnly(bool read_only) const { return SetDiskReadOnly(path, read_only); }

  private:
    std::filesystem::path const path;
};

#endif
