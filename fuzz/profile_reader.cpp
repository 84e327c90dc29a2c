// Compares the INI reader with a second one, which has the whole file in memory. An input
// is a line each with the section, the key, the fallback and the size of the buffer
// ("null" for none at all), and then the file.

#include "common/config/profile_reader.h"

#include <algorithm>
#include <climits>
#include <cstring>
#include <optional>
#include <vector>

#include "fuzz/fuzzing.h"
#include "fuzz/input_pipe.h"

namespace {

struct Query {
    std::string section;
    std::string key;
    std::string fallback;
    bool hasBuffer;
    int size;
};

// What a call returned, and what it made of the buffer.
struct Placed {
    std::size_t length;
    std::string buffer;
};

std::size_t const kLongestLine = 2047;
char const kUntouched = '#';

bool IsBlank(char c) {
    return c == ' ' || (c >= '\t' && c <= '\r');
}

std::string Trimmed(std::string const& text) {
    std::size_t begin = 0;
    std::size_t end = text.size();
    while (begin < end && IsBlank(text[begin])) {
        ++begin;
    }
    while (begin < end && IsBlank(text[end - 1])) {
        --end;
    }
    return text.substr(begin, end - begin);
}

std::string Lowered(std::string text) {
    for (char& c : text) {
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c | 0x20) : c;
    }
    return text;
}

// The lines as the rules see them: in pieces, up to the first NUL, and trimmed.
std::vector<std::string> LinesOf(std::string const& content) {
    std::vector<std::string> lines(1);
    for (char const c : content) {
        if (lines.back().size() == kLongestLine ||
            (!lines.back().empty() && lines.back().back() == '\n')) {
            lines.emplace_back();
        }
        lines.back() += c;
    }
    for (std::string& line : lines) {
        line = Trimmed(line.c_str());
    }
    return lines;
}

bool IsHeader(std::string const& line, std::string const& section) {
    return line.size() >= 3 && line[0] == '[' && line[line.size() - 1] == ']' &&
           Lowered(Trimmed(line.substr(1, line.size() - 2))) == Lowered(section);
}

// Returns the value that the line gives the key, if it does.
std::optional<std::string> ValueIn(std::string const& line, std::string const& key) {
    std::size_t const equals = line.find('=');
    if (equals == std::string::npos || equals + 1 == line.size() ||
        Lowered(line.substr(0, equals)) != Lowered(key)) {
        return std::nullopt;
    }
    std::string const rest = line.substr(equals + 1);
    return rest.substr(0, rest.find('='));
}

std::optional<std::string> Find(std::string const& content, Query const& query) {
    bool in_section = false;
    for (std::string const& line : LinesOf(content)) {
        if (in_section) {
            if (line[0] == '[') {
                return std::nullopt;
            }
            if (std::optional<std::string> value = ValueIn(line, query.key)) {
                return value;
            }
        } else {
            in_section = IsHeader(line, Trimmed(query.section));
        }
    }
    return std::nullopt;
}

// Copies the text to `buffer` if it fits, and returns its length; otherwise returns 0.
std::size_t Put(std::string const& text, Query const& query, std::string& buffer) {
    if (static_cast<long>(text.size()) >= query.size) {
        return 0;
    }
    buffer.replace(0, text.size() + 1, text + '\0');
    return text.size();
}

std::string UntouchedBuffer(Query const& query) {
    return std::string(static_cast<std::size_t>(std::max(0, query.size)), kUntouched);
}

Placed Expected(std::string const& content, Query const& query) {
    Placed placed{0, UntouchedBuffer(query)};
    if (!query.hasBuffer || query.size == 0) {
        return placed;
    }
    if (auto const value = Find(content, query)) {
        placed.length = Put(*value, query, placed.buffer);
    }
    if (placed.length == 0) {
        placed.length = Put(query.fallback, query, placed.buffer);
    }
    return placed;
}

// Nothing stands after the buffer, so that a sanitizer sees a write past its end.
Placed Read(std::string const& content, Query const& query) {
    std::string const untouched = UntouchedBuffer(query);
    std::vector<char> buffer(untouched.begin(), untouched.end());
    std::size_t const length = GetPrivateProfileString(
        query.section, query.key, query.fallback,
        query.hasBuffer ? buffer.data() : nullptr, query.size, InputPipe(content).Path());
    return {length, std::string(buffer.begin(), buffer.end())};
}

// Returns the number at the start of `text`; std::nullopt if it is outside the range of
// int, for which the result of atoi is not defined.
std::optional<int> NumberAt(std::string const& text) {
    std::size_t i = 0;
    while (i < text.size() && IsBlank(text[i])) {
        ++i;
    }
    bool const is_negative = text[i] == '-';
    i += is_negative || text[i] == '+' ? 1 : 0;
    long long number = 0;
    for (; text[i] >= '0' && text[i] <= '9'; ++i) {
        number = number * 10 + (is_negative ? '0' - text[i] : text[i] - '0');
        if (number > INT_MAX || number < INT_MIN) {
            return std::nullopt;
        }
    }
    return static_cast<int>(number);
}

Query TakeQuery(std::string& input) {
    Query query;
    query.section = TakeLine(input);
    query.key = TakeLine(input);
    query.fallback = TakeLine(input);
    std::string const size = TakeLine(input);
    query.hasBuffer = size != "null";
    query.size = static_cast<int>(std::strtol(size.c_str(), nullptr, 10) % 5000);
    return query;
}

}  // namespace

int LLVMFuzzerTestOneInput(std::uint8_t const* data, std::size_t size) {
    std::string content(data, data + size);
    Query const query = TakeQuery(content);
    if (content.size() > InputPipe::kCapacity) {
        return 0;
    }

    Placed const placed = Read(content, query);
    Placed const expected = Expected(content, query);
    Require(placed.length == expected.length, "both readers return the same length");
    Require(placed.buffer == expected.buffer, "both readers leave the same buffer");

    int const number =
        GetPrivateProfileInt(query.section, query.key, 7, InputPipe(content).Path());
    std::optional<int> const expected_number =
        NumberAt(Find(content, query).value_or("0"));
    Require(!expected_number || number == *expected_number,
            "both readers return the same number");
    return 0;
}
