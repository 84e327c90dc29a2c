#include "tools/launchlist_check/source_text.h"

#include <json/reader.h>

#include <algorithm>
#include <set>

namespace {

// Says whether the byte continues a character in UTF-8.
bool IsContinuation(char byte) {
    return (static_cast<unsigned char>(byte) & 0xC0U) == 0x80U;
}

// Returns the offset behind the string that begins at `offset` with its quotation mark.
std::size_t SkipString(std::string const& text, std::size_t offset) {
    for (std::size_t i = offset + 1; i < text.size(); ++i) {
        if (text[i] == '\\') {
            ++i;
        } else if (text[i] == '"') {
            return i + 1;
        }
    }
    return text.size();
}

// Returns the offset behind the comment that begins at `offset`, or `offset` if there is
// none.
std::size_t SkipComment(std::string const& text, std::size_t offset) {
    if (text.compare(offset, 2, "//") == 0) {
        return std::min(text.find_first_of("\r\n", offset), text.size());
    }
    if (text.compare(offset, 2, "/*") == 0) {
        std::size_t const end = text.find("*/", offset + 2);
        return end == std::string::npos ? offset : end + 2;
    }
    return offset;
}

// Returns what the JSON string `token` stands for.
std::string Decode(std::string const& token) {
    Json::Value value;
    bool const collect_comments = false;
    if (token.find('\\') == std::string::npos ||
        !Json::Reader().parse(token, value, collect_comments)) {
        return token.substr(1, token.size() - std::min<std::size_t>(2, token.size()));
    }
    return value.asString();
}

// An object or an array whose end has not been seen.
struct OpenValue {
    bool is_object;
    bool expects_key;
    std::string key = {};
    std::set<std::string> keys = {};
};

class KeyScanner {
  public:
    explicit KeyScanner(std::string const& scanned) : text(scanned) {}

    // Takes the token at `offset` and returns the offset behind it.
    std::size_t Take(std::size_t offset) {
        switch (text[offset]) {
            case '{':
            case '[':
                open.push_back({text[offset] == '{', text[offset] == '{'});
                break;
            case '}':
            case ']':
                if (!open.empty()) {
                    open.pop_back();
                }
                break;
            case ',':
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

    std::vector<RepeatedKey> repeated;

  private:
    std::size_t TakeString(std::size_t offset) {
        std::size_t const end = SkipString(text, offset);
        if (!open.empty() && open.back().expects_key) {
            OpenValue& object = open.back();
            object.key = Decode(text.substr(offset, end - offset));
            object.expects_key = false;
            if (!object.keys.insert(object.key).second && !IsInArray()) {
                repeated.push_back({object.key, Path(), offset});
            }
        }
        return end;
    }

    bool IsInArray() const {
        return std::any_of(open.begin(), open.end(),
                           [](OpenValue const& value) { return !value.is_object; });
    }

    std::vector<std::string> Path() const {
        std::vector<std::string> path;
        for (std::size_t i = 0; i + 1 < open.size(); ++i) {
            path.push_back(open[i].key);
        }
        return path;
    }

    std::string const& text;
    std::vector<OpenValue> open;
};

}  // namespace

Position PositionFinder::Find(std::size_t offset) {
    if (offset < place) {
        place = 0;
        position = {1, 1};
    }
    for (; place < std::min(offset, text.size()); ++place) {
        bool const in_pair = text.compare(place, 2, "\r\n") == 0;
        if (text[place] == '\n' || (text[place] == '\r' && !in_pair)) {
            position = {position.line + 1, 1};
        } else if (!IsContinuation(text[place])) {
            ++position.column;
        }
    }
    return position;
}

std::vector<RepeatedKey> FindRepeatedKeys(std::string const& text, std::size_t end) {
    KeyScanner scanner(text);
    for (std::size_t i = 0; i < std::min(end, text.size());) {
        i = scanner.Take(i);
    }
    return scanner.repeated;
}

std::size_t FindTextBehind(std::string const& text, std::size_t offset) {
    for (std::size_t i = offset; i < text.size();) {
        if (std::string(" \t\r\n").find(text[i]) != std::string::npos) {
            ++i;
            continue;
        }
        std::size_t const behind = SkipComment(text, i);
        if (behind == i) {
            return i;
        }
        i = behind;
    }
    return std::string::npos;
}
