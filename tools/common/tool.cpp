#include "tools/common/tool.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

namespace tools {

std::optional<int> AnswerForTool(CommandLine const& line, std::string const& program,
                                 std::string const& help) {
    if (line.Has("help")) {
        Write(help);
    } else if (line.Has("version")) {
        Write(program + " " + PROJECT_VERSION + "\n");
    } else if (!line.error.empty()) {
        std::fprintf(stderr, "%s: %s; --help tells more\n", program.c_str(),
                     line.error.c_str());
        return 2;
    } else {
        return std::nullopt;
    }
    return FinishOutput(program) ? 0 : 1;
}

void Write(std::string const& text) {
    std::fwrite(text.data(), 1, text.size(), stdout);
}

bool FinishOutput(std::string const& program) {
    bool const failed_before = std::ferror(stdout) != 0;
    if (std::fflush(stdout) == 0 && !failed_before) {
        return true;
    }
    std::fprintf(stderr, "%s: the output could not be written: %s\n", program.c_str(),
                 std::strerror(errno));
    return false;
}

}  // namespace tools
