// The user's record as the C library finds it: a test says what is in it.
//
//   PasswdEntry const record("/home/of/the/test", "alice");
//   getpwuid(getuid())->pw_dir  -> "/home/of/the/test", here and in programs started now
//
// For programs that run inside tests/support/contained only, whose mounts are their own.

#ifndef HARNESS_PASSWD_ENTRY_H
#define HARNESS_PASSWD_ENTRY_H

#include <string>

#include "harness/files.h"

// Stands in for the system's users as long as it lives; then they are back. Objects that
// live at the same time are destroyed in the reverse order of their making.
class PasswdEntry {
  public:
    // The only record is that of the running user, with this home directory and login
    // name, in which there is no ":". Throws std::logic_error outside the containment,
    // and std::system_error if the file cannot be mounted.
    explicit PasswdEntry(std::string const& home, std::string const& user = "root");

    // No user has a record.
    static PasswdEntry None();

    ~PasswdEntry();
    PasswdEntry(PasswdEntry const&) = delete;
    PasswdEntry& operator=(PasswdEntry const&) = delete;

  private:
    // A file mounted in the place of another. The file must stay as long as the mount, or
    // a second mount cannot be laid over it.
    class Mount {
      public:
        Mount(std::string const& file, char const* place);
        ~Mount();
        Mount(Mount const&) = delete;
        Mount& operator=(Mount const&) = delete;

      private:
        char const* place;
    };

    struct Records {
        std::string text;
    };
    explicit PasswdEntry(Records const& records);

    TempDirectory const directory;
    Mount const sources;
    Mount const users;
};

#endif
