// A disk for one test, which the test may fill or make read-only.

#ifndef TESTS_SUPPORT_DISK_H
#define TESTS_SUPPORT_DISK_H

#include <gtest/gtest.h>

#include <filesystem>
#include <utility>

#include "harness/system.h"

// A small disk on the directory `mount_point`, which is made if need be. `options` are
// those of a tmpfs. Only inside tests/support/contained. No file on it may be open when
// the object is destroyed.
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

    // Makes the disk read-only, or writable again. Returns false if that fails, as it
    // does while a file is open for writing.
    bool SetReadOnly(bool read_only) const { return SetDiskReadOnly(path, read_only); }

  private:
    std::filesystem::path const path;
};

#endif
