#include "common/strings/text.h"

#include <algorithm>

namespace {

// Replaces as the header says. An empty text is found where the search begins.
template <typename Text>
void ReplaceAll(Text& text, Text const& searched, Text const& replacement) {
    typename Text::size_type position = 0;
    while (position <= text.size()) {
        position = text.find(searched, position);
        if (position == Text::npos) {
            return;
        }
        text.replace(position, searched.size(), replacement);
        // Contract: advances by the length of the searched text, not of the other.
        position += searched.size();
    }
}

}  // namespace

bool ends_with(std::string const& text, std::string const& suffix) {
    return suffix.size() <= text.size() &&
           std::equal(suffix.rbegin(), suffix.rend(), text.rbegin());
}

void replace_all(std::string& text, std::string const& searched,
                 std::string const& replacement) {
    ReplaceAll(text, searched, replacement);
}

void replace_all(std::wstring& text, std::wstring const& searched,
                 std::wstring const& replacement) {
    ReplaceAll(text, searched, replacement);
}
