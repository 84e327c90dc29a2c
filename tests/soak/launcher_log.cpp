#include "tests/soak/launcher_log.h"

#include <fstream>
#include <optional>
#include <regex>

#include "harness/log_line.h"

namespace {

// Adds to `log` what the line says. Returns false if the line is not understood.
bool Understand(std::string const& text, pid_t launcher, LauncherLog& log) {
    static std::regex const message_form(
        R"(\[LAUNCHER  \] (?:Start to fork (\w+)|)"
        R"((\w+) (\d+) is killed\. ret = (\d+), status = (\d+)))");
    std::optional<LogLine> const line = ParseLogLine(text);
    std::smatch match;
    if (!line || line->process_id != launcher ||
        !std::regex_match(line->message, match, message_form)) {
        return false;
    }
    if (match[1].matched) {
        Passes& item = log.items[match[1]];
        ++item.starts;
        return line->level == "DEBUG" && item.starts == item.ended.size() + 1;
    }
    Passes& item = log.items[match[2]];
    item.ended.push_back(std::stoi(match[3]));
    item.statuses.push_back(std::stoi(match[5]));
    return line->level == "ERROR" && match[3] == match[4] &&
           item.starts == item.ended.size();
}

}  // namespace

LauncherLog ReadLauncherLog(std::filesystem::path const& file, pid_t launcher) {
    LauncherLog log;
    std::ifstream in(file, std::ios::binary);
    for (std::string line; std::getline(in, line); ++log.lines) {
        // The file ended before the line feed: the last line was cut off.
        if (in.eof() || !Understand(line, launcher, log)) {
            log.not_understood.push_back(line);
        }
    }
    return log;
}
