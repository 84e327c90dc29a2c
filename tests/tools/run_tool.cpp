#include "tests/tools/run_tool.h"

#include <fcntl.h>
#include <unistd.h>

#include "tests/support/files.h"
#include "tests/support/process.h"

ToolRun RunTool(std::vector<std::string> const& arguments, std::string const& input) {
    TempDirectory const directory;
    std::string const streams[] = {directory.Write("input", input),
                                   directory.Write("output", ""),
                                   directory.Write("errors", "")};
    Process tool(arguments, [&streams] {
        for (int i = 0; i < 3; ++i) {
            int const file = open(streams[i].c_str(), i == 0 ? O_RDONLY : O_WRONLY);
            dup2(file, i);
            close(file);
        }
    });
    std::string const end = tool.WaitForEnd();
    return {end, ReadFile(streams[1]), ReadFile(streams[2])};
}
