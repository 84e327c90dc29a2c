#include "tools/launchlist_check/near_miss.h"

#include <algorithm>
#include <cctype>
#include <cstddef>
#include <map>

namespace {

constexpr std::size_t kFarthest = 2;
constexpr std::size_t kShortestBeginning = 3;
constexpr std::size_t kLongestWord = 32;

std::string LowerCase(std::string text) {
    std::transform(text.begin(), text.end(), text.begin(), [](unsigned char letter) {
        return static_cast<char>(std::tolower(letter));
    });
    return text;
}

// The number of letters to insert, remove, replace or swap with their neighbour that
// leads from `a` to `b`.
std::size_t EditDistance(std::string const& a, std::string const& b) {
    std::vector<std::vector<std::size_t>> distance(
        a.size() + 1, std::vector<std::size_t>(b.size() + 1));
    for (std::size_t i = 0; i <= a.size(); ++i) {
        for (std::size_t j = 0; j <= b.size(); ++j) {
            if (i == 0 || j == 0) {
                distance[i][j] = i + j;
                continue;
            }
            std::size_t const change = a[i - 1] == b[j - 1] ? 0 : 1;
            distance[i][j] = std::min({distance[i - 1][j] + 1, distance[i][j - 1] + 1,
                                       distance[i - 1][j - 1] + change});
            if (i > 1 && j > 1 && a[i - 1] == b[j - 2] && a[i - 2] == b[j - 1]) {
                distance[i][j] = std::min(distance[i][j], distance[i - 2][j - 2] + 1);
            }
        }
    }
    return distance[a.size()][b.size()];
}

bool BeginsWith(std::string const& text, std::string const& beginning) {
    return beginning.size() >= kShortestBeginning &&
           text.compare(0, beginning.size(), beginning) == 0;
}

// What other supervisors call it.
bool IsOtherWordFor(std::string const& candidate, std::string const& word) {
    static std::map<std::string, std::string> const meanings = {
        {"arguments", "args"}, {"binary", "program"},     {"command", "program"},
        {"count", "argc"},     {"executable", "program"}, {"id", "name"},
        {"label", "name"},     {"parameters", "args"},    {"path", "program"},
    };
    auto const found = meanings.find(word);
    return found != meanings.end() && found->second == candidate;
}

}  // namespace

std::string NearMiss(std::string const& word,
                     std::vector<std::string> const& candidates) {
    if (word.empty() || word.size() > kLongestWord) {
        return "";
    }
    std::string const searched = LowerCase(word);
    std::string nearest;
    std::size_t least = std::min(kFarthest, searched.size() - 1) + 1;
    for (std::string const& candidate : candidates) {
        if (IsOtherWordFor(candidate, searched)) {
            return candidate;
        }
        std::size_t const distance = EditDistance(searched, candidate);
        if (distance < least) {
            nearest = candidate;
            least = distance;
        } else if (nearest.empty() &&
                   (BeginsWith(candidate, searched) || BeginsWith(searched, candidate))) {
            nearest = candidate;
        }
    }
    return nearest;
}
