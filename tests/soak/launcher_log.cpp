#include "tests/soak/launcher_log.h"

#include <fstream>
#include <regex>

namespace {

// Adds to `log` what the line says, and says whether it could be understood.
bool Understand(std::string const& line, std::string const& launcher, LauncherLog& log) {
    static std::regex const kLine(
        R"(\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z (?:)"
        R"(DEBUG (\d+) \[LAUNCHER  \] Start to fork (\w+)|)"
        R"(ERROR (\d+) \[LAUNCHER  \] (\w+) (\d+) is killed\. ret = (\d+), status = (\d+)))");
    std::smatch match;
    if (!std::regex_match(line, match, kLine)) {
        return false;
    }
    if (match[2].matched) {
        Passes& item = log.items[match[2]];
        ++item.starts;
        return match[1] == launcher && item.starts == item.ended.size() + 1;
    }
    Passes& item = log.items[match[4]];
    item.ended.push_back(std::stoi(match[5]));
    item.statuses.push_back(std::stoi(match[7]));
    return match[3] == launcher && match[5] == match[6] &&
           item.starts == item.ended.size();
}

}  // namespace

LauncherLog ReadLauncherLog(std::filesystem::path const& file, pid_t launcher) {
    LauncherLog log;
    std::ifstream in(file, std::ios::binary);
    for (std::string line; std::getline(in, line); ++log.lines) {
        // The end of the file before the line feed: the last line was cut off.
        if (in.eof() || !Understand(line, std::to_string(launcher), log)) {
            log.not_understood.push_back(line);
        }
    }
    return log;
}
