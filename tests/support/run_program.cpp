#include "tests/support/run_program.h"

#include <fcntl.h>
#include <unistd.h>

#include "harness/files.h"
#include "harness/process.h"

ProgramRun RunProgram(std::vector<std::string> const& arguments, std::string const& input,
                      std::function<void()> const& prepare) {
    TempDirectory const directory;
    std::string const streams[] = {directory.Write("input", input),
                                   directory.Write("output", ""),
                                   directory.Write("errors", "")};
    Process program(arguments, [&] {
        for (int i = 0; i < 3; ++i) {
            int const file = open(streams[i].c_str(), i == 0 ? O_RDONLY : O_WRONLY);
            dup2(file, i);
            close(file);
        }
        if (prepare) {
            prepare();
        }
    });
    std::string const end = program.WaitForEnd();
    return {end, ReadFile(streams[1]), ReadFile(streams[2])};
}
