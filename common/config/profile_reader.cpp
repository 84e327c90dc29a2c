#include "common/config/profile_reader.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <locale>
#include <memory>
#include <optional>

#include "common/strings/trim.h"

namespace {

using File = std::unique_ptr<std::FILE, int (*)(std::FILE*)>;

File OpenFile(std::string const& path) {
    return {std::fopen(path.c_str(), "r"), fclose};
}

// Reads and trims the next line. Returns false at the end of the file or on an error.
bool ReadLine(std::FILE* file, std::string& line) {
    // Contract: a longer line is read in pieces, and each counts as a line.
    char buffer[2048];
    if (std::fgets(buffer, sizeof buffer, file) == nullptr) {
        return false;
    }
    line = buffer;
    trim(line);
    return true;
}

std::string Lowered(std::string text) {
    std::locale const& classic = std::locale::classic();
    std::transform(text.begin(), text.end(), text.begin(),
                   [&classic](char c) { return std::tolower(c, classic); });
    return text;
}

bool IsHeaderOf(std::string const& line, std::string const& lowered_section) {
    if (line.size() < 3 || line.front() != '[' || line.back() != ']') {
        return false;
    }
    std::string name = line.substr(1, line.size() - 2);
    return Lowered(trim(name)) == lowered_section;
}

struct Entry {
    std::string key;
    std::string value;
};

// Contract: "k=a=b" has the value "a", "k=" is not an entry, and nothing is trimmed here.
//
// Cuts a line at its first two "=". split() would compile a regular expression for each
// line, which takes longer than everything else here.
std::optional<Entry> CutEntry(std::string const& line) {
    std::size_t const first = line.find('=');
    if (first == std::string::npos || first + 1 == line.size()) {
        return std::nullopt;
    }
    std::size_t const begin = first + 1;
    return Entry{line.substr(0, first),
                 line.substr(begin, line.find('=', begin) - begin)};
}

// Searches from the line after a section's header to the end of the section.
std::optional<std::string> FindInSection(std::FILE* file, std::string const& key) {
    std::string const lowered_key = Lowered(key);
    std::string line;
    while (ReadLine(file, line)) {
        if (line.empty()) {
            continue;
        }
        // Contract: a closing bracket is not needed to end the section.
        if (line.front() == '[') {
            return std::nullopt;
        }
        std::optional<Entry> entry = CutEntry(line);
        if (entry && Lowered(entry->key) == lowered_key) {
            return entry->value;
        }
    }
    return std::nullopt;
}

std::optional<std::string> FindValue(std::FILE* file, std::string section,
                                     std::string const& key) {
    std::string const lowered_section = Lowered(trim(section));
    std::string line;
    while (ReadLine(file, line)) {
        if (IsHeaderOf(line, lowered_section)) {
            // Contract: later sections of the same name are not searched.
            return FindInSection(file, key);
        }
    }
    return std::nullopt;
}

// Copies `text` and a NUL if they fit, and returns the length of the text that was
// copied.
std::size_t CopyIfItFits(std::string const& text, char* buffer, int size) {
    if (static_cast<long long>(text.size()) >= size) {
        return 0;
    }
    std::memcpy(buffer, text.c_str(), text.size() + 1);
    return text.size();
}

}  // namespace

std::size_t GetPrivateProfileString(std::string section, std::string key,
                                    std::string fallback, char* buffer, int size,
                                    std::string path) {
    if (buffer == nullptr || size == 0) {
        return 0;
    }
    std::size_t copied = 0;
    if (File const file = OpenFile(path)) {
        if (std::optional<std::string> const value =
                FindValue(file.get(), section, key)) {
            copied = CopyIfItFits(*value, buffer, size);
        }
    }
    // Contract: an empty value counts as missing, and so does one that is too long.
    return copied != 0 ? copied : CopyIfItFits(fallback, buffer, size);
}

int GetPrivateProfileInt(std::string section, std::string key, unsigned int fallback,
                         std::string path) {
    File const file = OpenFile(path);
    if (!file) {
        return static_cast<int>(fallback);
    }
    // Contract: a value that is missing in the file is 0, not the fallback.
    return std::atoi(FindValue(file.get(), section, key).value_or("0").c_str());
}
