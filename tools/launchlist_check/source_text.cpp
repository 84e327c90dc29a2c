#include "tools/launchlist_check/source_text.h"

#include <json/reader.h>

#include <algorithm>
#include <deque>
#include <unordered_set>

#include "tools/common/printable.h"

namespace launchlist_check {

namespace {

constexpr std::size_t kBytesBetweenMarks = 256;

// The parser refuses a value that is inside this many others.
constexpr std::size_t kDeepest = 1000;

char const* const kBlanks = " \t\r\n";

// Returns the offset after the string whose first quotation mark is at `offset`.
std::size_t SkipString(std::string_view text, std::size_t offset) {
    for (std::size_t i = offset + 1; i < text.size(); ++i) {
        if (text[i] == '\\') {
            ++i;
        } else if (text[i] == '"') {
            return i + 1;
        }
    }
    return text.size();
}

// Returns the offset after the comment that begins at `offset`; `offset` if no comment
// begins there.
std::size_t SkipComment(std::string_view text, std::size_t offset) {
    if (text.compare(offset, 2, "//") == 0) {
        return std::min(text.find_first_of("\r\n", offset), text.size());
    }
    if (text.compare(offset, 2, "/*") == 0) {
        std::size_t const end = text.find("*/", offset + 2);
        return end == std::string_view::npos ? offset : end + 2;
    }
    return offset;
}

// Returns what the JSON string `token` stands for.
std::string Decode(std::string_view token) {
    Json::Value value;
    bool const collect_comments = false;
    if (!Json::Reader().parse(token.data(), token.data() + token.size(), value,
                              collect_comments)) {
        return std::string(token);
    }
    return value.asString();
}

// An object or an array whose end has not been seen.
struct OpenValue {
    bool is_object;
    bool expects_key;
    std::string_view key = {};
    std::unordered_set<std::string_view> keys = {};
};

class KeyScanner {
  public:
    KeyScanner(std::string_view scanned,
               std::function<void(RepeatedKey const&)> const& on_repeated_key)
        : text(scanned), on_repeated(on_repeated_key) {}

    KeyScan Scan() {
        for (std::size_t i = 0;
             i < text.size() && !has_ended && open.size() <= kDeepest;) {
            i = Take(i);
        }
        return scan;
    }

  private:
    // Takes the token at `offset` and returns the offset after it.
    std::size_t Take(std::size_t offset) {
        switch (text[offset]) {
            case '{':
            case '[':
                Open(offset);
                break;
            case '}':
            case ']':
                if (!open.empty()) {
                    open.pop_back();
                    has_ended = open.empty();
                }
                break;
            case ',':
                ++scan.values;
                if (!open.empty()) {
                    open.back().expects_key = open.back().is_object;
                }
                break;
            case '"':
                return TakeString(offset);
            case '/':
                return std::max(SkipComment(text, offset), offset + 1);
            default:
                break;
        }
        return offset + 1;
    }

    void Open(std::size_t offset) {
        ++scan.values;
        open.push_back({text[offset] == '{', text[offset] == '{'});
        if (open.size() == kDeepest && scan.deepest == 0) {
            scan.deepest = offset;
        }
    }

    std::size_t TakeString(std::size_t offset) {
        std::size_t const end = SkipString(text, offset);
        if (!open.empty() && open.back().expects_key) {
            OpenValue& object = open.back();
            object.key = Key(text.substr(offset, end - offset));
            object.expects_key = false;
            if (!object.keys.insert(object.key).second) {
                --scan.values;
                if (!IsInArray()) {
                    on_repeated({std::string(object.key), Path(), offset});
                }
            }
        }
        return end;
    }

    // Returns the key that the token stands for: without escapes, a part of the text.
    std::string_view Key(std::string_view token) {
        if (token.find('\\') == std::string_view::npos) {
            return token.substr(1, token.size() - std::min<std::size_t>(2, token.size()));
        }
        return decoded.emplace_back(Decode(token));
    }

    bool IsInArray() const {
        return std::any_of(open.begin(), open.end(),
                           [](OpenValue const& value) { return !value.is_object; });
    }

    std::vector<std::string> Path() const {
        std::vector<std::string> path;
        for (std::size_t i = 0; i + 1 < open.size(); ++i) {
            path.emplace_back(open[i].key);
        }
        return path;
    }

    std::string_view const text;
    std::function<void(RepeatedKey const&)> const& on_repeated;
    std::vector<OpenValue> open;
    // The keys that had escapes. A deque, because views refer to its elements.
    std::deque<std::string> decoded;
    KeyScan scan;
    bool has_ended = false;
};

// Returns the place of the last byte before `offset` that is not blank; npos without such
// a byte.
std::size_t LastBefore(std::string_view text, std::size_t offset) {
    return offset == 0 ? std::string_view::npos
                       : text.find_last_not_of(kBlanks, offset - 1);
}

// Returns true if the character at `place`, in a JSON string, is escaped.
bool IsEscaped(std::string_view text, std::size_t place) {
    std::size_t backslashes = 0;
    while (backslashes < place && text[place - backslashes - 1] == '\\') {
        ++backslashes;
    }
    return backslashes % 2 == 1;
}

}  // namespace

Positions::Positions(std::string_view searched) : text(searched), marks(1) {
    for (std::size_t i = 0; i + kBytesBetweenMarks < text.size();
         i += kBytesBetweenMarks) {
        marks.push_back(Advance(marks.back(), i, i + kBytesBetweenMarks));
    }
}

Position Positions::Find(std::size_t offset) const {
    std::size_t const end = std::min(offset, text.size());
    std::size_t const mark = std::min(end / kBytesBetweenMarks, marks.size() - 1);
    return Advance(marks[mark], mark * kBytesBetweenMarks, end);
}

Position Positions::Advance(Position position, std::size_t begin, std::size_t end) const {
    for (std::size_t i = begin; i < end; ++i) {
        bool const in_pair =
            text[i] == '\r' && i + 1 < text.size() && text[i + 1] == '\n';
        if (text[i] == '\n' || (text[i] == '\r' && !in_pair)) {
            position = {position.line + 1, 1};
        } else if (!tools::IsContinuation(text[i])) {
            ++position.column;
        }
    }
    return position;
}

KeyScan ScanKeys(std::string_view text,
                 std::function<void(RepeatedKey const&)> const& on_repeated) {
    return KeyScanner(text, on_repeated).Scan();
}

std::size_t FindKeyBefore(std::string_view text, std::size_t offset) {
    std::size_t const colon = LastBefore(text, offset);
    if (colon == std::string_view::npos || text[colon] != ':') {
        return offset;
    }
    std::size_t const end = LastBefore(text, colon);
    if (end == std::string_view::npos || end == 0 || text[end] != '"') {
        return offset;
    }
    std::size_t begin = text.rfind('"', end - 1);
    while (begin != std::string_view::npos && begin > 0 && IsEscaped(text, begin)) {
        begin = text.rfind('"', begin - 1);
    }
    return begin == std::string_view::npos ? offset : begin;
}

std::size_t FindTextAfter(std::string_view text, std::size_t offset) {
    std::size_t place = text.find_first_not_of(kBlanks, offset);
    while (place != std::string_view::npos) {
        std::size_t const after = SkipComment(text, place);
        if (after == place) {
            return place;
        }
        place = text.find_first_not_of(kBlanks, after);
    }
    return place;
}

}  // namespace launchlist_check
