#include "harness/log_line.h"

#include <regex>

#include "harness/files.h"

std::optional<LogLine> ParseLogLine(std::string const& line) {
    static std::regex const head(
        R"((\d{4}-\d\d-\d\dT\d\d:\d\d:\d\d\.\d{3}Z) ([A-Z]+) ([1-9]\d*) )",
        std::regex::optimize);
    // The message may be longer than std::regex can search.
    std::string const begin = line.substr(0, 64);
    std::smatch parts;
    if (!std::regex_search(begin, parts, head, std::regex_constants::match_continuous)) {
        return std::nullopt;
    }
    return LogLine{parts[1], parts[2], std::stoi(parts[3]),
                   line.substr(static_cast<std::size_t>(parts.length()))};
}

std::vector<LogLine> ReadLogLines(std::filesystem::path const& file) {
    std::vector<LogLine> lines;
    for (std::string const& text : Lines(ReadFile(file))) {
        if (std::optional<LogLine> line = ParseLogLine(text)) {
            lines.push_back(*std::move(line));
        }
    }
    return lines;
}
