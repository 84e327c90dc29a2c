#include "tools/launchlist_check/finding.h"

#include <algorithm>
#include <tuple>

#include "tools/common/printable.h"

namespace {

constexpr std::size_t kLongestText = 200;

}  // namespace

bool Findings::Count(std::string const& kind, Severity severity) {
    return ++counts[{kind, severity}] <= most;
}

void Findings::Add(Findings const& others) {
    for (Finding const& finding : others.kept) {
        if (Count(finding.kind, finding.severity)) {
            Add(finding);
        }
    }
    for (auto const& [kind, count] : others.LeftOut()) {
        counts[kind] += count;
    }
}

std::vector<Finding> Findings::InOrder() const {
    std::vector<Finding> ordered = kept;
    auto const place = [](Finding const& finding) {
        return std::tie(finding.position.line, finding.position.column);
    };
    std::stable_sort(
        ordered.begin(), ordered.end(),
        [&place](Finding const& a, Finding const& b) { return place(a) < place(b); });
    return ordered;
}

std::map<Findings::Kind, std::size_t> Findings::LeftOut() const {
    std::map<Kind, std::size_t> left_out;
    for (auto const& [kind, count] : counts) {
        if (count > most) {
            left_out[kind] = count - most;
        }
    }
    return left_out;
}

std::size_t Findings::Count(Severity severity) const {
    std::size_t sum = 0;
    for (auto const& [kind, count] : counts) {
        sum += kind.second == severity ? count : 0;
    }
    return sum;
}

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
