// Program files for launch items: some that run, and all kinds that do not run.

#ifndef TESTS_PREDICTIONS_PROGRAM_FILES_H
#define TESTS_PREDICTIONS_PROGRAM_FILES_H

#include <filesystem>
#include <string>
#include <vector>

#include "tests/predictions/random.h"

// What a program file leads to, if the system executes it.
enum class Executed {
    kTestProgram,       // tests/support/test_program, which reports its arguments
    kMaybeTestProgram,  // the test program with something missing: it may report, or end
                        // by a signal
    kNoTestProgram,     // nothing that reports
};

struct ProgramFile {
    std::string what;  // in words
    // The path for the list. No two program files have the same one.
    std::string path = {};
    Executed executed = Executed::kNoTestProgram;
    // The argument vector of the test program, up to the item's own arguments: the path;
    // for a script its interpreter, the argument of that, and the path.
    std::vector<std::string> first_arguments = {};
};

// Makes program files in a directory. It holds some of them open for writing, as long as
// the object lives.
class ProgramFiles {
  public:
    // `test_program` holds the bytes of tests/support/test_program.
    ProgramFiles(Random& choices, std::filesystem::path place, std::string test_program);
    ~ProgramFiles();
    ProgramFiles(ProgramFiles const&) = delete;
    ProgramFiles& operator=(ProgramFiles const&) = delete;

    // Makes a file that is the test program and can be executed.
    ProgramFile MakeTestProgram();

    // Makes a file of any kind, maybe a good one.
    ProgramFile MakeAny();

  private:
    std::string NewPath();
    std::string WriteProgram(std::string const& content, unsigned mode = 0755);
    ProgramFile Garbage(std::string const& what, std::string const& content);
    ProgramFile MaybeTestProgram(std::string const& what, std::string const& content);

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
    std::string const test_program_bytes;
    int made = 0;
    std::vector<int> descriptors;
};

#endif
