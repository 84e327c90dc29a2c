// The user's passwd entry as the C library finds it: a test decides what is in it.
//
//   PasswdEntry const entry("/home/of/the/test", "alice");
//   getpwuid(getuid())->pw_dir  -> "/home/of/the/test", here and in programs started now
//
// Only for programs that run inside tests/support/contained, whose mounts are their own.

#ifndef HARNESS_PASSWD_ENTRY_H
#define HARNESS_PASSWD_ENTRY_H

#include <string>

#include "harness/files.h"

// Replaces the system's users as long as it lives. Objects that live at the same time are
// destroyed in the reverse order of their making.
class PasswdEntry {
  public:
    // The only entry is that of the running user, with this home directory and login
    // name, neither with a ":" in it. Throws std::logic_error outside
    // tests/support/contained, and std::system_error if the file cannot be mounted.
    explicit PasswdEntry(std::string const& home, std::string const& user = "root");

    // No user has an entry.
    static PasswdEntry None();

    ~PasswdEntry();
    PasswdEntry(PasswdEntry const&) = delete;
    PasswdEntry& operator=(PasswdEntry const&) = delete;

  private:
    // A file mounted on another. The file must stay as long as the mount, or a second one
    // cannot be mounted on it.
    class Mount {
      public:
        Mount(std::string const& file, char const* place);
        ~Mount();
        Mount(Mount const&) = delete;
        Mount& operator=(Mount const&) = delete;

      private:
        char const* place;
    };

    struct Entries {
        std::string text;
    };
    explicit PasswdEntry(Entries const& entries);

    TempDirectory const directory;
    Mount const sources;
    Mount const users;
};

#endif
