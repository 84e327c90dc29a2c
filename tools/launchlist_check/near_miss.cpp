#include "tools/launchlist_check/near_miss.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <iterator>
#include <map>

#include "tools/common/text.h"

namespace launchlist_check {

namespace {

std::string LowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char letter) {
        return static_cast<char>(std::tolower(letter));
    });
    return text;
}

// Returns how many letters only one of the words has.
std::size_t CountOtherLetters(std::string a, std::string b) {
    std::sort(a.begin(), a.end());
    std::sort(b.begin(), b.end());
    std::string others;
    std::set_symmetric_difference(a.begin(), a.end(), b.begin(), b.end(),
                                  std::back_inserter(others));
    return others.size();
}

bool IsBeginning(std::string const& beginning, std::string const& text) {
    return beginning.size() >= 3 && tools::BeginsWith(text, beginning);
}

// Returns what other supervisors call by this word; an empty string if it is unknown.
std::string Meaning(std::string const& word) {
    static std::map<std::string, std::string> const meanings = {
        {"arguments", "args"}, {"binary", "program"},     {"command", "program"},
        {"count", "argc"},     {"executable", "program"}, {"id", "name"},
        {"label", "name"},     {"parameters", "args"},    {"path", "program"},
    };
    auto const found = meanings.find(word);
    return found == meanings.end() ? "" : found->second;
}

}  // namespace

std::string NearMiss(std::string const& word,
                     std::vector<std::string> const& candidates) {
    std::string const searched = LowerCase(word);
    std::string nearest;
    // Of a word of two letters one may differ, of a single letter none.
    std::size_t limit = std::min<std::size_t>(searched.size(), 3);
    for (std::string const& candidate : candidates) {
        if (Meaning(searched) == candidate) {
            return candidate;
        }
        std::size_t const others = CountOtherLetters(searched, candidate);
        if (others < limit) {
            nearest = candidate;
            limit = others;
        } else if (nearest.empty() && (IsBeginning(searched, candidate) ||
                                       IsBeginning(candidate, searched))) {
            nearest = candidate;
        }
    }
    return nearest;
}

}  // namespace launchlist_check
