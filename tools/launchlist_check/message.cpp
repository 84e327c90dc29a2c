#include "tools/launchlist_check/message.h"

#include "tools/common/printable.h"

namespace launchlist_check {

namespace {

constexpr std::size_t kLongestText = 200;

// More keys than that are counted, not named.
constexpr std::size_t kMostNamedKeys = 3;

}  // namespace

char const* const kChain = "a chain of processes grows, one more every 50 ms";
char const* const kChildAborts =
    "every child ends abnormally before it runs the program, and the next one comes 50 "
    "ms later";

std::string Quote(std::string_view text) {
    return '"' + Shorten(text) + '"';
}

std::string Shorten(std::string_view text) {
    if (text.size() <= kLongestText) {
        return std::string(text);
    }
    std::size_t end = kLongestText;
    while (end > 0 && tools::IsContinuation(text[end])) {
        --end;
    }
    return std::string(text.substr(0, end)) + "...";
}

std::string TypeName(Json::Value const& value) {
    switch (value.type()) {
        case Json::nullValue:
            return "null";
        case Json::booleanValue:
            return value.asBool() ? "true" : "false";
        case Json::stringValue:
            return "a string";
        case Json::arrayValue:
            return "an array";
        case Json::objectValue:
            return "an object";
        default:
            return "a number";
    }
}

void KeyList::Add(std::string const& key) {
    if (count < kMostNamedKeys) {
        text += (count == 0 ? "" : ", ") + Quote(key);
    }
    ++count;
}

void KeyList::AddNumbers(int first, int end) {
    for (; first < end && count < kMostNamedKeys; ++first) {
        Add(std::to_string(first));
    }
    count += static_cast<std::size_t>(end - first);
}

std::string KeyList::Text() const {
    return count > kMostNamedKeys
               ? text + " and " + std::to_string(count - kMostNamedKeys) + " more"
               : text;
}

}  // namespace launchlist_check
