// The passwd record of the user who runs a test, as getpwuid finds it.

#ifndef TESTS_SUPPORT_PASSWD_RECORD_H
#define TESTS_SUPPORT_PASSWD_RECORD_H

#include <string>

#include "tests/support/files.h"

// Mounts a passwd file with one record over the system's, in the mount namespace that
// tests/support/contained has made; undone with the object. Child processes see it too.
class PasswdRecord {
  public:
    // A record of this home directory and login name for the user of this process.
    explicit PasswdRecord(std::string const& home, std::string const& user = "root");

    // No record at all.
    static PasswdRecord None();

    ~PasswdRecord();
    PasswdRecord(PasswdRecord const&) = delete;
    PasswdRecord& operator=(PasswdRecord const&) = delete;

  private:
    struct Content {
        std::string text;
    };
    explicit PasswdRecord(Content const& content);

    TempDirectory const directory;
};

#endif
