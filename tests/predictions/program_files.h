// Program files for launch items: some that run, and all kinds that do not.

#ifndef TESTS_PREDICTIONS_PROGRAM_FILES_H
#define TESTS_PREDICTIONS_PROGRAM_FILES_H

#include <filesystem>
#include <string>
#include <vector>

#include "tests/predictions/random.h"

// What a program file leads to, if the system executes it.
enum class Executed {
    kProbe,       // tests/support/probe, which reports its arguments
    kMaybeProbe,  // the probe with something missing: it may report, or end by a signal
    kNoProbe,     // nothing that reports
};

struct ProgramFile {
    std::string what;  // in words
    // What is to stand in the list; no other program file has this path.
    std::string path = {};
    Executed executed = Executed::kNoProbe;
    // The argument vector that the system gives the probe, up to the item's own
    // arguments: the path, or for a script its interpreter and what comes between.
    std::vector<std::string> first_arguments = {};
};

// Makes program files in a directory. Some are also held open for writing, as long as the
// object lives.
class ProgramFiles {
  public:
    // `probe` holds the bytes of tests/support/probe.
    ProgramFiles(Random& choices, std::filesystem::path place, std::string probe);
    ~ProgramFiles();
    ProgramFiles(ProgramFiles const&) = delete;
    ProgramFiles& operator=(ProgramFiles const&) = delete;

    // Makes a file that is the probe and can be executed.
    ProgramFile MakeProbe();

    // Makes one of all kinds, good ones included.
    ProgramFile MakeAny();

  private:
    std::string NewPath();
    std::string WriteProgram(std::string const& content, unsigned mode = 0755);
    ProgramFile Garbage(std::string const& what, std::string const& content);
    ProgramFile MaybeProbe(std::string const& what, std::string const& content);

    ProgramFile MakeLinked();
    ProgramFile MakeScripts();
    ProgramFile MakeOddScript();
    ProgramFile MakeOddMode();
    ProgramFile MakePatched();
    ProgramFile MakeTruncated();
    ProgramFile MakeForeign();
    ProgramFile MakeText();
    ProgramFile MakeSpecial();
    ProgramFile MakeWrongPath();
    ProgramFile MakeOpenForWriting();
    ProgramFile MakeOnMount();
    ProgramFile MakeInDirectory();

    Random& random;
    std::filesystem::path const directory;
    std::string const probe_bytes;
    int made = 0;
    std::vector<int> descriptors;
};

#endif
