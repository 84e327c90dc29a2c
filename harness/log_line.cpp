#include "harness/log_line.h"

#include <sstream>

#include "harness/files.h"

namespace {

bool IsOf(std::string const& text, char const* characters) {
    return !text.empty() && text.find_first_not_of(characters) == std::string::npos;
}

// Returns true if the text is like "2026-01-31T23:59:59.007Z".
bool IsTime(std::string text) {
    for (char& character : text) {
        if (character >= '0' && character <= '9') {
            character = '0';
        }
    }
    return text == "0000-00-00T00:00:00.000Z";
}

}  // namespace

std::optional<LogLine> ParseLogLine(std::string const& line) {
    std::istringstream in(line);
    LogLine parts;
    std::string process_id;
    std::getline(in, parts.time, ' ');
    std::getline(in, parts.level, ' ');
    std::getline(in, process_id, ' ');
    // A line that ends here has no blank after the process id.
    if (!in.good() || !IsTime(parts.time) ||
        !IsOf(parts.level, "ABCDEFGHIJKLMNOPQRSTUVWXYZ") ||
        !IsOf(process_id, "0123456789") || process_id[0] == '0') {
        return std::nullopt;
    }
    parts.process_id = std::stoi(process_id);
    parts.message = line.substr(static_cast<std::size_t>(in.tellg()));
    return parts;
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
