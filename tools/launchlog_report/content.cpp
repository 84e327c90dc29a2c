#include "tools/launchlog_report/content.h"

#include <algorithm>

namespace launchlog_report {
namespace {

constexpr std::size_t kKeptBeginning = 4096;
constexpr std::size_t kKeptEnd = 64;

}  // namespace

// The hash is FNV-1a.
void Content::Add(char const* bytes, std::size_t size) {
    for (std::size_t i = 0; i < size; ++i) {
        hash = (hash ^ static_cast<unsigned char>(bytes[i])) * 1099511628211U;
    }
    length += size;
    beginning.append(bytes, std::min(size, kKeptBeginning - beginning.size()));
    end.append(bytes + size - std::min(size, kKeptEnd), std::min(size, kKeptEnd));
    end.erase(0, end.size() - std::min(end.size(), kKeptEnd));
}

bool Content::BeginsLike(Content const& other) const {
    std::size_t const both = std::min(beginning.size(), other.beginning.size());
    return beginning.compare(0, both, other.beginning, 0, both) == 0;
}

bool Content::EndsWith(std::string const& bytes) const {
    return bytes == end;
}

ContentFinder::ContentFinder(std::vector<Content> const& contents) : known(contents) {
    std::sort(known.begin(), known.end(),
              [](Content const& a, Content const& b) { return a.Length() < b.Length(); });
}

void ContentFinder::Add(char const* bytes, std::size_t size) {
    while (next < known.size() && known[next].Length() <= content.Length() + size) {
        auto const piece =
            static_cast<std::size_t>(known[next].Length() - content.Length());
        content.Add(bytes, piece);
        bytes += piece;
        size -= piece;
        if (known[next] == content) {
            known_length = content.Length();
        }
        ++next;
    }
    content.Add(bytes, size);
}

std::uint64_t ContentFinder::KnownLength() const {
    bool const is_beginning_of_known =
        std::any_of(known.begin() + static_cast<std::ptrdiff_t>(next), known.end(),
                    [this](Content const& longer) { return longer.BeginsLike(content); });
    return is_beginning_of_known ? content.Length() : known_length;
}

}  // namespace launchlog_report
